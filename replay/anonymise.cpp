#include "replay/anonymise.h"

#include "linkage/record/recordfile.h"
#include "replay/anonymousline.h"
#include "replay/linereader.h"
#include "replay/scenarioline.h"

#include <functional>

namespace replay {

namespace {

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

RecordingCopy anonymise(const std::string& recording, const std::string& into, std::uint64_t seed) {
    return makeCopy(recording, into, [&](CCopyDraft& draft) {
        CNames names;
        CAnonymousLines lines(names);
        copyLines(recording, lines, [](const std::string&, std::size_t) {});
        try {
            names.draw(seed);
        } catch (const LineError& fault) {
            throw CopyFault(recording + ": " + fault.what());
        }
        draft.take();
        write(recording, lines, draft.path());
        return proved(recording, draft.path());
    });
}

}  // namespace replay
