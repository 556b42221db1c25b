#include "replay/programversion.h"
#include "replay/sampleday.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr const char* USAGE =
    "usage: linkage-makeday [--accounts N] [--strategies N] [--stocks N] [--orders N]\n"
    "                       [--seed N]\n"
    "       linkage-makeday --version\n"
    "Writes a made-up trading day as a scenario to standard output; the same options\n"
    "give the same day.\n";

template <class T>
bool readNumber(const char* text, T least, T most, T& number) {
    const char* end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, number);
    return error == std::errc() && stop == end && number >= least && number <= most;
}

bool readOption(const std::string& name, const char* text, replay::SampleOptions& options) {
    if (name == "--accounts") return readNumber(text, 1, 99, options.accounts);
    if (name == "--strategies") return readNumber(text, 1, 99, options.strategies);
    if (name == "--stocks") return readNumber(text, 1, 900, options.stocks);
    if (name == "--orders") return readNumber(text, 0, 10'000'000, options.orders);
    if (name == "--seed") return readNumber<std::uint64_t>(text, 0, UINT64_MAX, options.seed);
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (replay::printsVersion(argc, argv, "linkage-makeday")) return 0;
    if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
        std::fputs(USAGE, stdout);
        return 0;
    }
    replay::SampleOptions options;
    for (int i = 1; i < argc; i += 2) {
        if (i + 1 >= argc || !readOption(argv[i], argv[i + 1], options)) {
            std::fputs(USAGE, stderr);
            return 2;
        }
    }
    replay::writeSampleDay(options, [](std::string_view line) {
        std::fwrite(line.data(), 1, line.size(), stdout);
        std::fputc('\n', stdout);
    });
    return std::fflush(stdout) == 0 && !std::ferror(stdout) ? 0 : 1;
}
