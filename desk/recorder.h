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
    /// When a recording begins, or goes on in a next file, the oldest recordings of the directory
    /// are removed until what is left has no more bytes.
    std::uint64_t mostBytes = std::uint64_t{10} << 30;
    /// Likewise those that began more days ago; 0: none for its age.
    std::uint32_t mostDays = 30;

    bool operator==(const RecordTerms&) const = default;
};

/// Records sessions into files with the time of their beginning,
/// "linkage-desk-20260105-093000.rec"; a long one goes on in "linkage-desk-20260105-093000-2.rec".
///
/// Threads: one, the engine's. Failure: a session that cannot be recorded is an event of the day;
/// the session goes on.
class CRecorder {
public:
    explicit CRecorder(CDayWitness& witness) : m_witness(witness) {}
    CRecorder(const CRecorder&) = delete;
    CRecorder& operator=(const CRecorder&) = delete;

    void setTerms(const RecordTerms& terms) { m_terms = terms; }
    /// A manager that has not begun: records it when every session is to be recorded.
    void sessionBegins(TC::CLinkageManager& manager);
    /// Records the manager, in the middle of its session, when it can be recorded then.
    bool recordNow(TC::CLinkageManager& manager);

private:
    bool begin(TC::CLinkageManager& manager);
    std::optional<QString> freeFile() const;
    void tell(const std::string& fault);

    CDayWitness& m_witness;
    RecordTerms m_terms;
};

}  // namespace desk
