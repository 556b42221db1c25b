#include "linkage/version.h"

namespace TC {

const char* loadedVersion() { return VERSION; }

}  // namespace TC
