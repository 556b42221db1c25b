#include "platform/utils/referencedata.h"

#include <atomic>

namespace utils {

namespace {
std::atomic<std::uint64_t> g_revision{1};
}

std::uint64_t referenceDataRevision() { return g_revision.load(std::memory_order_acquire); }

void referenceDataChanged() { g_revision.fetch_add(1, std::memory_order_acq_rel); }

}  // namespace utils
