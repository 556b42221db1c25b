#pragma once

#include "linkage/tape/tapepart.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

namespace TC {

/// The parts of steps on their way from the threads that take the steps to the thread that writes.
///
/// They go in two lanes: one is filled under the manager's lock, the other one under a lock of its
/// own. So whoever has the manager's lock adds a part without any other, and without an instruction
/// that waits for what the step has stored. A lane is a row of blocks, whose memory goes round; the
/// writer may take what is in the last one while it still grows.
///
/// Threads: any for add(), open(), flush() and stop(), one for wait() and pass().
class CPartQueue {
public:
    /// `most`: how many parts may be in the queue. `open`: what is added may be taken at once.
    CPartQueue(std::uint64_t most, bool open);
    ~CPartQueue();
    CPartQueue(const CPartQueue&) = delete;
    CPartQueue& operator=(const CPartQueue&) = delete;

    /// False: the queue is full. `hasLock`: the thread has the manager's lock. Throws
    /// std::bad_alloc; the part is not added then.
    bool add(TapePart&& part, bool hasLock);
    /// What is added may be taken from now on.
    void open();
    /// What is in the queue is to be taken soon, and flushed.
    void flush();
    /// The same, and nothing will come any more.
    void stop();

    struct Asked {
        bool flush = false;
        bool stop = false;  ///< the next pass takes the rest
    };
    /// Waits until there is enough to write, or somebody asks for it.
    Asked wait();
    /// Gives `work` parts, as a span in the order in which they were added to their lane. They go
    /// when it is done. `work` must not throw. A pass ends, however much is added meanwhile.
    template <class Work>
    void pass(const Work& work) {
        for (Lane* const lane : {&m_held, &m_free}) {
            for (std::size_t turn = 0; turn < BLOCKS_PER_PASS; ++turn) {
                Block& block = *lane->first;
                const std::size_t end = block.size.load(std::memory_order_acquire);
                const std::size_t count = end - block.taken;
                work(std::span(block.parts + block.taken, count));
                block.clear(end);
                m_nWritten.fetch_add(count, std::memory_order_relaxed);
                if (end < BLOCK || !leave(*lane)) break;
            }
        }
    }

private:
    static constexpr std::size_t BLOCK = 1024;
    static constexpr std::size_t BLOCKS_PER_PASS = 16;

    struct Block {
        Block() {}
        ~Block() { clear(size.load(std::memory_order_acquire)); }
        Block(const Block&) = delete;
        Block& operator=(const Block&) = delete;
        /// Destroys those that are not gone yet, up to `end`.
        void clear(std::size_t end);

        alignas(64) std::atomic<std::size_t> size{0};
        std::atomic<Block*> next{nullptr};
        alignas(64) std::size_t taken = 0;  ///< those before it are gone; of the writer
        union {
            TapePart parts[BLOCK];
        };
    };
    struct Lane {
        ~Lane();
        Block* open = nullptr;  ///< the last one; of those who add
        std::atomic<std::uint64_t> added{0};
        Block* first = nullptr;  ///< of the writer
    };
    bool put(Lane& lane, TapePart&& part);
    void openBlock(Lane& lane);
    /// Leaves the first block, which is taken; false: it is the only one.
    bool leave(Lane& lane);

    const std::uint64_t m_nMost;
    alignas(64) Lane m_held;
    alignas(64) Lane m_free;
    std::mutex m_freeMutex;
    alignas(64) std::atomic<std::uint64_t> m_nWritten{0};

    alignas(64) std::mutex m_mutex;  ///< of what follows
    std::condition_variable m_changed;
    std::vector<std::unique_ptr<Block>> m_spare;
    std::size_t m_nFull = 0;  ///< blocks that are not left yet
    bool m_bOpen;
    bool m_bFlush = false;
    bool m_bStop = false;
};

}  // namespace TC
