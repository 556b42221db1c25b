#pragma once

#include "linkage/record/recordlines.h"
#include "platform/records/idata.h"

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace TC {

/// A check sum of a picture: CPictureWriter fills it as it would write the text, which would take
/// ten times as long. A record of the client counts with its name.
///
/// Threads: one.
class CStateSum {
public:
    std::uint64_t sum() const { return m_nSum; }

    void beginObject() { add('{'); }
    void endObject() { add('}'); }
    void beginArray() { add('['); }
    void endArray() { add(']'); }
    void key(std::string_view name) { value(name); }
    void null() { add('0'); }
    void value(std::string_view text) {
        add(text.size());
        for (; text.size() >= sizeof(std::uint64_t); text.remove_prefix(sizeof(std::uint64_t))) {
            add(word(text.data(), sizeof(std::uint64_t)));
        }
        if (!text.empty()) add(word(text.data(), text.size()));
    }
    /// What is no number has many forms, and a recording does not tell which.
    void value(double number) { add(number == number ? std::bit_cast<std::uint64_t>(number) : 1); }
    template <std::integral T>
    void value(T number) {
        add(static_cast<std::uint64_t>(number));
    }
    template <class T>
    void member(std::string_view name, const T& content) {
        key(name);
        value(content);
    }
    template <class Record>
    void record(const Record& record) {
        if constexpr (requires { record.recordKey(); }) {
            value(record.recordKey());
        } else {
            value(recordName(record).second);
        }
    }

private:
    static std::uint64_t word(const char* bytes, std::size_t size) {
        std::uint64_t value = 0;
        std::memcpy(&value, bytes, size);
        return value;
    }
    void add(std::uint64_t value) {
        constexpr std::uint64_t PRIME = 0x9e3779b97f4a7c15;
        m_nSum = std::rotl((m_nSum ^ value) * PRIME, 29);
    }

    std::uint64_t m_nSum = 0;
};

}  // namespace TC
