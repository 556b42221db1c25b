#pragma once

#include <fmt/format.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace TC {

/// A growing text; new room in it is not filled first, and no terminator follows it.
using TextBuffer = fmt::memory_buffer;

inline std::string_view viewOf(const TextBuffer& text) { return {text.data(), text.size()}; }

/// Appends JSON to a text, without blanks. Integers are written as integers, doubles
/// with the fewest digits that read back to the same value (an exponent only below
/// 1e-6 and from 1e21 on), a value that is not finite as null. Whoever writes an object
/// writes its keys in byte order.
class CJsonWriter {
public:
    explicit CJsonWriter(TextBuffer& out) : m_out(out) {}

    /// From now on every double reads back as it was. Large ones have exponents, so that readers do
    /// not take them for integers that have no room; a zero keeps its sign; what is not finite is a
    /// text: "nan", "inf" or "-inf".
    void writesExactly() { m_bExact = true; }

    void beginObject() { open('{'); }
    void endObject() { m_out.push_back('}'); }
    void beginArray() { open('['); }
    void endArray() { m_out.push_back(']'); }
    /// A key that needs no escapes; its value comes next.
    void key(std::string_view name);
    /// Any text as a key.
    void textKey(std::string_view name);

    void null() { raw("null"); }
    /// Values or members that are JSON already.
    void written(std::string_view json) { raw(json); }
    void value(std::string_view text);
    void value(const std::string& text) { value(std::string_view(text)); }
    void value(const char* text) { value(std::string_view(text)); }
    void value(double number);
    void value(std::same_as<bool> auto flag) { raw(flag ? "true" : "false"); }
    template <std::integral T>
    requires(!std::same_as<T, bool>) void value(T number) {
        if constexpr (std::is_signed_v<T>) {
            integer(static_cast<std::int64_t>(number));
        } else {
            integer(static_cast<std::uint64_t>(number));
        }
    }

    template <class T>
    void member(std::string_view name, const T& content) {
        key(name);
        value(content);
    }

private:
    /// Makes room for an element of `size` characters, and puts a comma before it unless the text
    /// ends where a first element may stand.
    char* room(std::size_t size) {
        const std::size_t end = m_out.size();
        const char last = end == 0 ? '\n' : m_out[end - 1];
        const bool first = last == '{' || last == '[' || last == ':' || last == '\n';
        m_out.resize(end + !first + size);
        char* const at = m_out.data() + end;
        if (first) return at;
        *at = ',';
        return at + 1;
    }
    void open(char bracket) { *room(1) = bracket; }
    void raw(std::string_view text);
    void quoted(std::string_view text);
    void exact(double number);
    void integer(std::int64_t number);
    void integer(std::uint64_t number);

    TextBuffer& m_out;
    bool m_bExact = false;
};

/// Appends a number as CJsonWriter writes it.
void appendNumber(TextBuffer& out, double number);

}  // namespace TC
