#include "replay/dayreport.h"
#include "replay/programversion.h"

#include <QCoreApplication>

#include <unistd.h>

#include <cstdio>
#include <exception>

namespace {

constexpr const char* USAGE =
    "usage: linkage-day [--data-dir DIR] SCENARIO\n"
    "       linkage-day --version\n"
    "Plays a scenario (plain or gzip-compressed, \"-\": standard input) and ends with what\n"
    "each account and strategy did, and how they were balanced.\n";

int play(const std::string& path, const replay::ReplayOptions& options) {
    replay::COutput nowhere([](std::string_view) {});
    replay::CDayReport report(isatty(STDERR_FILENO));
    const std::string fault = replay::playFile(path, options, nowhere, &report);
    if (!fault.empty()) {
        std::fprintf(stderr, "%s\n", fault.c_str());
        return 2;
    }
    const std::string text = replay::reportText(report.days());
    std::fputs(text.c_str(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
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
        return 2;
    }
    const QCoreApplication application(argc, argv);
    try {
        return play(path, options);
    } catch (const std::exception& fault) {
        std::fprintf(stderr, "linkage-day: %s\n", fault.what());
        return 1;
    }
}
