#pragma once

#include <QString>

#include <cstdint>
#include <optional>
#include <string>

namespace TC {
class CLinkageManager;
}

namespace desk {

struct CDayWitness;

/// How the trader wants sessions to be recorded.
struct RecordTerms {
    QString directory;
    bool everySession = false;  ///< from their start
    /// Before a session begins, the oldest recordings of the directory are removed until what is
    /// left has no more bytes.
    std::uint64_t mostBytes = std::uint64_t{10} << 30;

    bool operator==(const RecordTerms&) const = default;
};

/// Records sessions into files with the time of their beginning,
/// "linkage-desk-20260105-093000.rec".
///
/// Threads: one, the engine's. Failure: a session that cannot be recorded is an event of the day;
/// the session goes on.
class CRecorder {
public:
    explicit CRecorder(CDayWitness& witness) : m_witness(witness) {}
    ~CRecorder() { letGo(); }
    CRecorder(const CRecorder&) = delete;
    CRecorder& operator=(const CRecorder&) = delete;

    void setTerms(const RecordTerms& terms) { m_terms = terms; }
    /// A manager that has not begun: records it when every session is to be recorded.
    void sessionBegins(TC::CLinkageManager& manager);
    /// Records the manager, in the middle of its session, when it can be recorded then.
    bool recordNow(TC::CLinkageManager& manager);

    /// Removes the oldest recordings of a directory until what is left has no more than
    /// `mostBytes`: files of ours that nobody records into.
    static void removeOldest(const QString& directory, std::uint64_t mostBytes);
    /// Whether a file has the name of a recording of the desk.
    static bool isNameOfOurs(const QString& name);

private:
    bool begin(TC::CLinkageManager& manager);
    std::optional<QString> freeFile() const;
    void hold(const QString& file);
    void letGo();
    void tell(const std::string& fault);

    CDayWitness& m_witness;
    RecordTerms m_terms;
    int m_nHeld = -1;  ///< keeps other desks from removing the file
};

}  // namespace desk
