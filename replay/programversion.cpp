#include "replay/programversion.h"

#include "linkage/version.h"

#include <cstdio>
#include <string_view>

namespace replay {

bool printsVersion(int argc, char** argv, const char* program) {
    if (argc != 2 || std::string_view(argv[1]) != "--version") return false;
    std::printf("%s %s\n", program, TC::loadedVersion());
    return true;
}

}  // namespace replay
