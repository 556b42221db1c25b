#pragma once

/// @file
/// What is visible outside the library.

/// Marks what the linkage library exports. Everything else is compiled hidden.
#define LINKAGE_EXPORT __attribute__((visibility("default")))

/// Keeps a member of an exported class inside the library, so that clients cannot come to depend
/// on it.
#ifdef Q_MOC_RUN
#define LINKAGE_LOCAL
#else
#define LINKAGE_LOCAL __attribute__((visibility("hidden")))
#endif
