#include "replay/anonymise.h"
#include "replay/cut.h"
#include "replay/journal.h"
#include "replay/programversion.h"
#include "replay/recordingplayer.h"
#include "replay/replay.h"

#include <QCoreApplication>

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <random>
#include <utility>

namespace {

constexpr int USAGE_ERROR = 2;
constexpr int LINE_ERROR = 2;
constexpr int FAILURE = 1;

constexpr const char* USAGE =
    "usage: linkage-replay [--data-dir DIR] [--journal FILE] [--record FILE [--record-from N]]\n"
    "                      [--no-log] SCENARIO...\n"
    "       linkage-replay --interactive [--data-dir DIR] [--journal FILE] [--no-log]\n"
    "       linkage-replay --verify RECORDING...\n"
    "       linkage-replay --anonymise RECORDING --into COPY\n"
    "       linkage-replay --cut RECORDING [--from TIME] [--to TIME] [--account KEY]... --into "
    "COPY\n"
    "       linkage-replay --version\n"
    "Plays scenario files (\"-\": standard input) against the linkage library and prints\n"
    "what the library did, one JSON object a line. With --interactive it reads standard input,\n"
    "answers each line before it reads the next, and ends each answer with an empty line.\n";

struct Arguments {
    replay::ReplayOptions options;
    std::vector<std::string> scenarios;
    bool help = false;
    bool verify = false;
    std::string anonymise;  ///< a recording
    std::string cut;        ///< a recording
    replay::CutOptions part;
    std::string into;
};

/// False when it is none that tells of a copy.
bool readCopyOption(std::string_view option, const char* value, Arguments& arguments) {
    replay::CutOptions& part = arguments.part;
    if (option == "--account") {
        part.accounts.insert(value);
        return true;
    }
    const std::pair<std::string_view, std::string*> texts[] = {
        {"--anonymise", &arguments.anonymise},
        {"--cut", &arguments.cut},
        {"--from", &part.from},
        {"--to", &part.to},
        {"--into", &arguments.into}};
    for (const auto& [name, text] : texts) {
        if (option != name) continue;
        *text = value;
        return true;
    }
    return false;
}

/// A copy is made of one recording, in one way.
bool copiesOneWay(const Arguments& arguments) {
    const bool cuts = !arguments.cut.empty();
    const replay::CutOptions& part = arguments.part;
    if (!cuts && !(part.from.empty() && part.to.empty() && part.accounts.empty())) return false;
    if (cuts && !arguments.anonymise.empty()) return false;
    if ((cuts || !arguments.anonymise.empty()) == arguments.into.empty()) return false;
    if (!arguments.into.empty()) return arguments.scenarios.empty();
    return arguments.help || !arguments.scenarios.empty();
}

/// False when they cannot be understood.
bool readArguments(int argc, char** argv, Arguments& arguments) {
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        const std::string text = argv[i];
        const bool hasNext = i + 1 < argc;
        if (optionsEnded || text == "-" || !text.starts_with("-")) {
            arguments.scenarios.push_back(text);
        } else if (text == "--") {
            optionsEnded = true;
        } else if (text == "--interactive") {
            arguments.options.answers = true;
        } else if (text == "--no-log") {
            arguments.options.log = false;
        } else if (text == "--help") {
            arguments.help = true;
        } else if (text == "--verify") {
            arguments.verify = true;
        } else if (text == "--record" && hasNext) {
            arguments.options.record = argv[++i];
        } else if (text == "--record-from" && hasNext) {
            const std::string_view count = argv[++i];
            const char* const end = count.data() + count.size();
            const auto read = std::from_chars(count.data(), end, arguments.options.recordFrom);
            if (read.ec != std::errc() || read.ptr != end) return false;
        } else if (hasNext && readCopyOption(text, argv[i + 1], arguments)) {
            ++i;
        } else if (text == "--data-dir" && hasNext) {
            arguments.options.dataDir = argv[++i];
        } else if (text == "--journal" && hasNext) {
            arguments.options.journal = argv[++i];
        } else {
            return false;
        }
    }
    if (arguments.options.answers) {
        if (!arguments.scenarios.empty()) return false;
        arguments.scenarios.emplace_back("-");
    }
    if (arguments.options.recordFrom != 0 && arguments.options.record.empty()) return false;
    return copiesOneWay(arguments);
}

void writeAll(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = write(STDOUT_FILENO, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw std::runtime_error(std::string("output: ") + std::strerror(errno));
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

/// Each scenario has a journal and a recording of its own, because it has one config.
std::string ownPath(const std::string& given, std::size_t index) {
    return given.empty() ? given : replay::numberedName(given, index + 1);
}

/// A journal must not take the place of a scenario, not even of one that comes later.
bool journalsAreApart(const Arguments& arguments) {
    const auto& scenarios = arguments.scenarios;
    for (std::size_t i = 0; i < scenarios.size(); ++i) {
        const std::string journal = ownPath(arguments.options.journal, i);
        for (const std::string& scenario : scenarios) {
            if (journal.empty() || !replay::overwrites(journal, scenario)) continue;
            std::fprintf(stderr, "%s: the journal would overwrite it\n", scenario.c_str());
            return false;
        }
    }
    return true;
}

int playAll(const Arguments& arguments) {
    if (!journalsAreApart(arguments)) return USAGE_ERROR;
    replay::COutput output(writeAll);
    for (std::size_t i = 0; i < arguments.scenarios.size(); ++i) {
        replay::ReplayOptions options = arguments.options;
        options.journal = ownPath(options.journal, i);
        if (i > 0 && !options.record.empty())
            options.record.append("-").append(std::to_string(i + 1));
        const std::string fault = replay::playFile(arguments.scenarios[i], options, output);
        output.flush();
        if (fault.empty()) continue;
        std::fprintf(stderr, "%s\n", fault.c_str());
        return LINE_ERROR;
    }
    return 0;
}

void printVerdict(const std::string& path, const replay::RecordingVerdict& verdict) {
    std::printf("%s: %llu steps, %llu marks", path.c_str(),
                static_cast<unsigned long long>(verdict.steps),
                static_cast<unsigned long long>(verdict.marks));
    if (verdict.difference) {
        const replay::RecordingDifference& found = *verdict.difference;
        std::printf(", different at line %zu, %s\n  expected: %s\n  got:      %s\n", found.line,
                    found.at.c_str(), found.expected.c_str(), found.got.c_str());
    } else {
        std::printf(", no difference%s\n",
                    verdict.breaksOff ? ", and the recording breaks off there" : "");
    }
}

/// 0 when all recordings are played and nothing differs.
int verifyAll(const Arguments& arguments) {
    int status = 0;
    for (const std::string& path : arguments.scenarios) {
        const replay::RecordingVerdict verdict = replay::verifyRecording(path);
        if (!verdict.fault.empty()) {
            std::fprintf(stderr, "%s\n", verdict.fault.c_str());
            status = LINE_ERROR;
            continue;
        }
        printVerdict(path, verdict);
        if (verdict.difference && status == 0) status = FAILURE;
    }
    return status;
}

replay::RecordingCopy anonymousCopy(const Arguments& arguments) {
    std::random_device chance;
    const std::uint64_t seed = (std::uint64_t{chance()} << 32) | chance();
    return replay::anonymise(arguments.anonymise, arguments.into, seed);
}

int makeCopy(const Arguments& arguments) {
    const replay::RecordingCopy copy =
        arguments.cut.empty() ? anonymousCopy(arguments)
                              : replay::cutRecording(arguments.cut, arguments.into, arguments.part);
    if (!copy.fault.empty()) {
        std::fprintf(stderr, "%s\n", copy.fault.c_str());
        return LINE_ERROR;
    }
    printVerdict(arguments.into, copy.verdict);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (replay::printsVersion(argc, argv, "linkage-replay")) return 0;
    Arguments arguments;
    if (!readArguments(argc, argv, arguments)) {
        std::fputs(USAGE, stderr);
        return USAGE_ERROR;
    }
    if (arguments.help) {
        std::fputs(USAGE, stdout);
        return 0;
    }
    const QCoreApplication application(argc, argv);
    try {
        if (!arguments.into.empty()) return makeCopy(arguments);
        return arguments.verify ? verifyAll(arguments) : playAll(arguments);
    } catch (const std::exception& fault) {
        std::fprintf(stderr, "linkage-replay: %s\n", fault.what());
        return FAILURE;
    }
}
