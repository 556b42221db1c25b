#pragma once

namespace replay {

/// Answers "--version" as the only argument: prints the program's name with the version of the
/// library that it has loaded. False, and nothing is printed, for any other arguments.
bool printsVersion(int argc, char** argv, const char* program);

}  // namespace replay
