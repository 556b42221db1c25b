#pragma once

/// What leaves the linkage library.
#define LINKAGE_EXPORT __attribute__((visibility("default")))
