#include "replay/dayreport.h"
#include "replay/programversion.h"
#include "replay/recordingplayer.h"

#include <QCoreApplication>

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <exception>

namespace {

constexpr const char* USAGE =
    "usage: linkage-day [--data-dir DIR] FILE\n"
    "       linkage-day --version\n"
    "Plays a scenario (plain or gzip-compressed, \"-\": standard input) or a recording, and ends\n"
    "with what each account and strategy did, and how they were balanced.\n";

constexpr int FAILURE = 1;
constexpr int USAGE_ERROR = 2;
constexpr int LINE_ERROR = 2;
/// How often the progress of a recording is shown, in steps.
constexpr std::uint64_t PROGRESS_STEPS = 256;

int print(const replay::CDayReport& report, int status) {
    const std::string text = replay::reportText(report.days());
    std::fputs(text.c_str(), stdout);
    return std::fflush(stdout) == 0 ? status : FAILURE;
}

int play(const std::string& path, const replay::ReplayOptions& options) {
    replay::COutput nowhere([](std::string_view) {});
    replay::CDayReport report(isatty(STDERR_FILENO));
    const std::string fault = replay::playFile(path, options, nowhere, &report);
    if (!fault.empty()) {
        std::fprintf(stderr, "%s\n", fault.c_str());
        return LINE_ERROR;
    }
    return print(report, 0);
}

/// What a recording shows is told also where it breaks off, or differs.
int playRecording(const std::string& path, const replay::ReplayOptions& options) {
    if (!options.dataDir.empty()) {
        std::fputs(
            "linkage-day: a recording brings its own files; --data-dir does not go with "
            "it\n",
            stderr);
        return USAGE_ERROR;
    }
    replay::CDayReport report(isatty(STDERR_FILENO));
    replay::CRecordingPlayer player(path, {.passesDifferences = true, .watcher = &report});
    while (player.playNext()) {
        if (player.verdict().steps % PROGRESS_STEPS == 0) report.progress(player.progress());
    }
    report.finished();
    const replay::RecordingVerdict& verdict = player.verdict();
    if (!verdict.fault.empty()) {
        std::fprintf(stderr, "%s\n", verdict.fault.c_str());
        return LINE_ERROR;
    }
    if (verdict.breaksOff) std::fprintf(stderr, "%s: the recording breaks off\n", path.c_str());
    if (!verdict.difference) return print(report, 0);
    std::fprintf(stderr, "%s: %s\n", path.c_str(), replay::differenceText(verdict).c_str());
    return print(report, LINE_ERROR);
}

}  // namespace

int main(int argc, char** argv) {
    if (replay::printsVersion(argc, argv, "linkage-day")) return 0;
    replay::ReplayOptions options;
    options.log = false;
    std::string path;
    bool help = false;
    for (int i = 1; i < argc; ++i) {
        const std::string text = argv[i];
        if (text == "--data-dir" && i + 1 < argc) {
            options.dataDir = argv[++i];
        } else if (text == "--help") {
            help = true;
        } else if (path.empty() && (text == "-" || !text.starts_with("-"))) {
            path = text;
        } else {
            path.clear();
            break;
        }
    }
    if (help) {
        std::fputs(USAGE, stdout);
        return 0;
    }
    if (path.empty()) {
        std::fputs(USAGE, stderr);
        return USAGE_ERROR;
    }
    const QCoreApplication application(argc, argv);
    try {
        return replay::isRecording(path) ? playRecording(path, options) : play(path, options);
    } catch (const std::exception& fault) {
        std::fprintf(stderr, "linkage-day: %s\n", fault.what());
        return FAILURE;
    }
}
