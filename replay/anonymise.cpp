#include "replay/anonymise.h"

#include "linkage/record/recordfile.h"
#include "replay/anonymousline.h"
#include "replay/linereader.h"
#include "replay/scenarioline.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <stdexcept>

namespace replay {

namespace {

/// A fault of the file at a line of the recording.
struct CopyFault : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads the recording to the last whole line; `take` gets each line's copy and its number.
void copyLines(const std::string& path, CAnonymousLines& lines,
               const std::function<void(const std::string&, std::size_t)>& take) {
    CLineReader reader(path);
    lines.begin();
    for (;;) {
        std::string_view line;
        try {
            if (!reader.next(line)) return;
        } catch (const LineError&) {
            return;  // it breaks off there
        }
        try {
            take(lines.copy(line), reader.number());
        } catch (const LineError& fault) {
            throw CopyFault(path + ':' + std::to_string(reader.number()) + ": " + fault.what());
        }
    }
}

void write(const std::string& recording, CAnonymousLines& lines, const std::string& into) {
    TC::CRecordFile file(into);
    std::size_t written = 0;
    bool good = true;
    copyLines(recording, lines, [&](const std::string& line, std::size_t number) {
        // Blank lines for what is left out.
        const std::string ends(number - written, '\n');
        written = number;
        good = good && file.write(ends.substr(1) + line + '\n');
    });
    if (!file.close() || !good) throw CopyFault(into + ": " + file.fault());
}

/// The copy before it has its name.
class CDraft {
public:
    explicit CDraft(std::string into) : m_into(std::move(into)), m_path(m_into + ".part") {
        if (::access(m_into.c_str(), F_OK) == 0) throw CopyFault(m_into + ": it is there already");
    }
    ~CDraft() {
        if (m_bOurs) ::unlink(m_path.c_str());
    }
    CDraft(const CDraft&) = delete;
    CDraft& operator=(const CDraft&) = delete;

    const std::string& path() const { return m_path; }
    /// From now on the file is ours.
    void take() { m_bOurs = true; }
    void publish() {
        // Other than a renaming this takes no other file's place.
        if (::link(m_path.c_str(), m_into.c_str()) != 0) {
            throw CopyFault(m_into + ": " + std::strerror(errno));
        }
    }

private:
    const std::string m_into;
    const std::string m_path;
    bool m_bOurs = false;
};

bool isSame(const RecordingVerdict& a, const RecordingVerdict& b) {
    const bool bothDiffer = a.difference.has_value() == b.difference.has_value();
    return bothDiffer && a.steps == b.steps && a.marks == b.marks && a.breaksOff == b.breaksOff &&
           (!a.difference || a.difference->line == b.difference->line);
}

RecordingVerdict proved(const std::string& recording, const std::string& copy) {
    const RecordingVerdict expected = verifyRecording(recording);
    if (!expected.fault.empty()) throw CopyFault(expected.fault);
    RecordingVerdict found = verifyRecording(copy);
    if (isSame(expected, found)) return found;
    const std::size_t line = found.difference      ? found.difference->line
                             : expected.difference ? expected.difference->line
                                                   : 0;
    throw CopyFault(recording + ':' + std::to_string(line) +
                    ": without its names it is played in another way" +
                    (found.fault.empty() ? "" : " (" + found.fault + ")"));
}

}  // namespace

AnonymousCopy anonymise(const std::string& recording, const std::string& into, std::uint64_t seed) {
    AnonymousCopy copy;
    try {
        if (recording == "-") throw CopyFault("-: a recording is read twice");
        CDraft draft(into);
        CNames names;
        CAnonymousLines lines(names);
        copyLines(recording, lines, [](const std::string&, std::size_t) {});
        try {
            names.draw(seed);
        } catch (const LineError& fault) {
            throw CopyFault(recording + ": " + fault.what());
        }
        if (::access(draft.path().c_str(), F_OK) != 0) draft.take();
        write(recording, lines, draft.path());
        copy.verdict = proved(recording, draft.path());
        draft.publish();
    } catch (const InputError& fault) {
        copy.fault = recording + ": " + fault.what();
    } catch (const std::runtime_error& fault) {
        copy.fault = fault.what();
    }
    return copy;
}

}  // namespace replay
