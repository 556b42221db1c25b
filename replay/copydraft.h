#pragma once

#include "replay/linereader.h"
#include "replay/recordingplayer.h"

#include <stdexcept>
#include <string>

/// A recording that is made of another one.
namespace replay {

/// What came of a copy.
struct RecordingCopy {
    std::string fault;         ///< "FILE:LINE: why there is no copy"; "" when there is one
    RecordingVerdict verdict;  ///< of the copy
};

/// Why there is no copy.
struct CopyFault : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The copy before it has its name: a file beside it, which goes unless the copy is published.
class CCopyDraft {
public:
    /// Throws CopyFault when `into` is there already.
    explicit CCopyDraft(std::string into);
    ~CCopyDraft();
    CCopyDraft(const CCopyDraft&) = delete;
    CCopyDraft& operator=(const CCopyDraft&) = delete;

    const std::string& path() const { return m_path; }
    /// The file is about to be made: it is ours, unless it is there already.
    void take();
    /// Gives the copy its name. Throws CopyFault when a file has that name meanwhile.
    void publish() const;

private:
    const std::string m_into;
    const std::string m_path;
    bool m_bOurs = false;
};

/// Runs `make` on a draft of `into`, and tells why there is no copy, if there is none. `make` gives
/// the verdict of the copy; it throws CopyFault or another std::runtime_error.
template <class Make>
RecordingCopy makeCopy(const std::string& recording, const std::string& into, const Make& make) {
    RecordingCopy copy;
    try {
        if (recording == "-") throw CopyFault("-: a recording is read twice");
        CCopyDraft draft(into);
        copy.verdict = make(draft);
        draft.publish();
    } catch (const InputError& fault) {
        copy.fault = recording + ": " + fault.what();
    } catch (const std::runtime_error& fault) {
        copy.fault = fault.what();
    }
    return copy;
}

}  // namespace replay
