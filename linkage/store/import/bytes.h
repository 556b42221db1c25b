#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace TC::statement {

/// Little-endian numbers out of a block of bytes. Reading beyond its end gives 0 and
/// leaves a mark, so that a reader may check once after several reads.
class CBytes {
public:
    CBytes() = default;
    explicit CBytes(std::span<const unsigned char> bytes) : m_bytes(bytes) {}
    CBytes(const char* data, std::size_t size)
        : m_bytes(reinterpret_cast<const unsigned char*>(data), size) {}

    std::size_t size() const { return m_bytes.size(); }
    bool overrun() const { return m_bOverrun; }
    bool holds(std::size_t at, std::size_t length) const {
        return at <= m_bytes.size() && length <= m_bytes.size() - at;
    }
    std::span<const unsigned char> part(std::size_t at, std::size_t length) const {
        return check(at, length) ? m_bytes.subspan(at, length) : std::span<const unsigned char>();
    }

    std::uint8_t u8(std::size_t at) const { return number<std::uint8_t>(at); }
    std::uint16_t u16(std::size_t at) const { return number<std::uint16_t>(at); }
    std::uint32_t u32(std::size_t at) const { return number<std::uint32_t>(at); }
    double real(std::size_t at) const {
        const auto bits = number<std::uint64_t>(at);
        double value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

private:
    bool check(std::size_t at, std::size_t length) const {
        if (!holds(at, length)) m_bOverrun = true;
        return holds(at, length);
    }

    template <class T>
    T number(std::size_t at) const {
        if (!check(at, sizeof(T))) return 0;
        T value = 0;
        for (std::size_t i = sizeof(T); i-- > 0;) {
            value = static_cast<T>(static_cast<std::uint64_t>(value) << 8 | m_bytes[at + i]);
        }
        return value;
    }

    std::span<const unsigned char> m_bytes;
    mutable bool m_bOverrun = false;
};

}  // namespace TC::statement
