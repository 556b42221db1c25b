#pragma once

#include <cstdint>

namespace lab {

/// Numbers that depend on a seed alone, the same on every machine (splitmix64).
class CRandom {
public:
    explicit CRandom(std::uint64_t seed) : m_nState(seed) {}

    /// A stream for one part of a seed's day. What one part takes changes no other part, so a
    /// step can be left out and the rest stays as it was.
    static CRandom of(std::uint64_t seed, std::uint64_t part, std::uint64_t number) {
        return CRandom(CRandom(CRandom(seed).next() ^ (part << 32U) ^ number).next());
    }

    std::uint64_t next() {
        std::uint64_t z = m_nState += 0x9E3779B97F4A7C15U;
        z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
        z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
        return z ^ (z >> 31U);
    }

    /// 0 to bound - 1.
    int below(int bound) {
        return static_cast<int>(next() % static_cast<std::uint64_t>(bound < 1 ? 1 : bound));
    }
    int between(int least, int most) { return least + below(most - least + 1); }
    /// It always takes one number, so that another percentage changes nothing behind it.
    bool chance(int percent) { return below(100) < percent; }

private:
    std::uint64_t m_nState;
};

}  // namespace lab
