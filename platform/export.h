#pragma once

/// What leaves the platform library. Everything else is compiled hidden, so that
/// a client links against the port and nothing behind it.
#define PLATFORM_EXPORT __attribute__((visibility("default")))
