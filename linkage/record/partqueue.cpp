#include "linkage/record/partqueue.h"

#include <utility>

namespace TC {

namespace {

constexpr std::size_t MOST_SPARE = 16;

// A block that comes round is in the cache of the writing thread; to store there would wait for it.
void prefetchAfter(TapePart* part) {
    constexpr std::size_t AHEAD = 6;
    constexpr std::size_t LINE = 64;
    static_assert(sizeof(TapePart) <= 2 * LINE);
    const char* const place = reinterpret_cast<const char*>(part + AHEAD);
    __builtin_prefetch(place, 1);
    __builtin_prefetch(place + LINE, 1);
}

}  // namespace

void CPartQueue::Block::clear(std::size_t end) {
    for (; taken < end; ++taken) std::destroy_at(&parts[taken]);
}

CPartQueue::Lane::~Lane() {
    while (first) {
        const std::unique_ptr<Block> block(first);
        first = block->next.load(std::memory_order_acquire);
    }
}

CPartQueue::CPartQueue(std::uint64_t most, bool open) : m_nMost(most), m_bOpen(open) {
    m_spare.reserve(MOST_SPARE);
    for (Lane* const lane : {&m_held, &m_free}) lane->first = lane->open = new Block;
}

CPartQueue::~CPartQueue() = default;

bool CPartQueue::add(TapePart&& part, bool hasLock) {
    if (hasLock) return put(m_held, std::move(part));
    const std::lock_guard lock(m_freeMutex);
    return put(m_free, std::move(part));
}

bool CPartQueue::put(Lane& lane, TapePart&& part) {
    const std::uint64_t added =
        m_held.added.load(std::memory_order_relaxed) + m_free.added.load(std::memory_order_relaxed);
    const std::uint64_t written = m_nWritten.load(std::memory_order_relaxed);
    // What the other lane has may be read a little late.
    if (added > written && added - written >= m_nMost) return false;
    std::size_t size = lane.open->size.load(std::memory_order_relaxed);
    if (size == BLOCK) {
        openBlock(lane);
        size = 0;
    }
    TapePart* const place = std::construct_at(&lane.open->parts[size], std::move(part));
    prefetchAfter(place);
    lane.open->size.store(size + 1, std::memory_order_release);
    lane.added.store(lane.added.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    return true;
}

void CPartQueue::openBlock(Lane& lane) {
    {
        const std::lock_guard lock(m_mutex);
        std::unique_ptr<Block> block;
        if (m_spare.empty()) {
            block = std::make_unique<Block>();
        } else {
            block = std::move(m_spare.back());
            m_spare.pop_back();
        }
        lane.open->next.store(block.get(), std::memory_order_release);
        lane.open = block.release();
        ++m_nFull;
    }
    m_changed.notify_one();
}

bool CPartQueue::leave(Lane& lane) {
    Block* const next = lane.first->next.load(std::memory_order_acquire);
    if (!next) return false;
    std::unique_ptr<Block> block(std::exchange(lane.first, next));
    const std::lock_guard lock(m_mutex);
    --m_nFull;
    if (m_spare.size() == MOST_SPARE) return true;
    block->size.store(0, std::memory_order_relaxed);
    block->next.store(nullptr, std::memory_order_relaxed);
    block->taken = 0;
    m_spare.push_back(std::move(block));
    return true;
}

void CPartQueue::open() {
    {
        const std::lock_guard lock(m_mutex);
        m_bOpen = true;
    }
    m_changed.notify_one();
}

void CPartQueue::flush() {
    {
        const std::lock_guard lock(m_mutex);
        m_bFlush = true;
    }
    m_changed.notify_one();
}

void CPartQueue::stop() {
    {
        const std::lock_guard lock(m_mutex);
        m_bStop = true;
    }
    m_changed.notify_one();
}

CPartQueue::Asked CPartQueue::wait() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return m_bStop || (m_bOpen && (m_bFlush || m_nFull > 0)); });
    // What was asked for may be further back than one pass comes.
    if (m_nFull >= BLOCKS_PER_PASS) return {};
    return {std::exchange(m_bFlush, false), m_bStop};
}

}  // namespace TC
