#pragma once

/// @file
/// What is visible outside the library.

/// Marks what the platform library exports. Everything else is compiled hidden, so that a client
/// links against the port and against nothing behind it.
#define LINKAGE_PLATFORM_EXPORT __attribute__((visibility("default")))
