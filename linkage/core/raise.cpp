#include "linkage/core/raise.h"

#include "platform/log.h"

#include <exception>

namespace TC {

void logThrown(const char* operation) noexcept {
    try {
        try {
            throw;
        } catch (const std::exception& error) {
            g_VexStdLogger.error(operation, error.what());
        } catch (...) {
            g_VexStdLogger.error(operation, "something that is no std::exception was thrown");
        }
    } catch (...) {
        // No memory for the text.
    }
}

}  // namespace TC
