#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace TC {

/// A gzip file that grows at its end and can be read up to the last flush, whatever happens then.
///
/// Threads: one at a time. Failure: write() and flush() give false, and fault() says why; nothing
/// can be written any more then.
class CRecordFile {
public:
    /// Makes the file, for its owner alone to read; it must not be there yet, so that no recording
    /// is lost to a second one. Throws std::runtime_error.
    explicit CRecordFile(const std::string& path);
    ~CRecordFile();
    CRecordFile(const CRecordFile&) = delete;
    CRecordFile& operator=(const CRecordFile&) = delete;

    bool write(std::string_view text);
    /// What was written can be read by others. It survives the process, not a loss of power.
    bool flush();
    /// Ends the file, so that it is whole.
    bool close();

    std::uint64_t bytes() const;
    const std::string& fault() const;

private:
    struct State;
    const std::unique_ptr<State> m_pState;
};

}  // namespace TC
