#pragma once

/// Marks what the linkage library exports.
#define LINKAGE_EXPORT __attribute__((visibility("default")))
