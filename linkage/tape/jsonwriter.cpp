#include "linkage/tape/jsonwriter.h"

#include <fmt/compile.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace TC {

namespace {

constexpr double EXACT_INTEGERS = 9007199254740992.0;  // 2^53
constexpr int FIXED_DIGITS = 21;                       ///< an exponent is written from 1e21 on

constexpr std::string_view REPLACEMENT = "\xEF\xBF\xBD";

bool needsEscape(char c) { return static_cast<unsigned char>(c) < 0x20 || c == '"' || c == '\\'; }

/// Whether a text is ASCII without escapes, as most are; it goes into JSON as it is.
bool isPlain(std::string_view text) {
    bool plain = true;
    for (const char c : text) {
        plain &= static_cast<signed char>(c) >= 0x20 && c != '"' && c != '\\';
    }
    return plain;
}

void append(TextBuffer& out, std::string_view text) {
    out.append(text.data(), text.data() + text.size());
}

void appendEscaped(TextBuffer& out, char c) {
    switch (c) {
        case '"':
            append(out, "\\\"");
            return;
        case '\\':
            append(out, "\\\\");
            return;
        case '\n':
            append(out, "\\n");
            return;
        case '\r':
            append(out, "\\r");
            return;
        case '\t':
            append(out, "\\t");
            return;
        case '\b':
            append(out, "\\b");
            return;
        case '\f':
            append(out, "\\f");
            return;
        default:
            break;
    }
    static constexpr char HEX[] = "0123456789abcdef";
    append(out, "\\u00");
    out.push_back(HEX[static_cast<unsigned char>(c) >> 4]);
    out.push_back(HEX[c & 15]);
}

/// Length of the sequence of UTF-8 that starts here, 0 when it is none.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    if (first < 0xC2 || first > 0xF4) return 0;
    const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (length > text.size()) return 0;
    for (std::size_t at = 1; at < length; ++at) {
        if ((byte(at) & 0xC0) != 0x80) return 0;
    }
    // Longer forms than needed, halves of surrogate pairs, and what is above the last character.
    const unsigned second = byte(1);
    const bool bad = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                     (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    return bad ? 0 : length;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

/// Bytes that are no UTF-8 become replacement characters.
std::string repaired(std::string_view text) {
    std::string good;
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        good += length ? text.substr(0, length) : REPLACEMENT;
        text.remove_prefix(length ? length : 1);
    }
    return good;
}

/// From digits "d.ddd" and a decimal exponent, as JavaScript writes them.
void appendWithExponent(TextBuffer& out, std::string_view digits, int exponent) {
    if (exponent < 0 || exponent >= FIXED_DIGITS) {
        append(out, digits);
        append(out, exponent < 0 ? "e-" : "e+");
        append(out, std::to_string(std::abs(exponent)));
        return;
    }
    int missing = exponent + 1;
    for (char c : digits) {
        if (c == '.') continue;
        out.push_back(c);
        --missing;
    }
    for (; missing > 0; --missing) out.push_back('0');
}

}  // namespace

void appendNumber(TextBuffer& out, double number) {
    std::array<char, 64> text;
    char* const begin = text.data();
    char* const end = begin + text.size();
    if (!std::isfinite(number)) {
        append(out, "null");
        return;
    }
    const double size = std::fabs(number);
    if (size < EXACT_INTEGERS && number == std::trunc(number)) {
        out.append(begin, std::to_chars(begin, end, static_cast<std::int64_t>(number)).ptr);
        return;
    }
    if (size >= 1e-4 && size < EXACT_INTEGERS) {
        // This gives the same digits as the code below, and faster. It would write smaller numbers
        // with exponents.
        fmt::format_to(fmt::appender(out), FMT_COMPILE("{}"), number);
        return;
    }
    if (size >= 1e-6 && size < EXACT_INTEGERS) {
        out.append(begin, std::to_chars(begin, end, number, std::chars_format::fixed).ptr);
        return;
    }
    if (number < 0) out.push_back('-');
    char* const last = std::to_chars(begin, end, size, std::chars_format::scientific).ptr;
    const std::string_view scientific(begin, static_cast<std::size_t>(last - begin));
    const std::size_t mark = scientific.find('e');
    const char* exponentText = begin + mark + 1 + (scientific[mark + 1] == '+');
    int exponent = 0;
    std::from_chars(exponentText, last, exponent);
    appendWithExponent(out, scientific.substr(0, mark), exponent);
}

void CJsonWriter::raw(std::string_view text) {
    std::copy(text.begin(), text.end(), room(text.size()));
}

void CJsonWriter::key(std::string_view name) {
    char* to = room(name.size() + 3);
    *to++ = '"';
    to = std::copy(name.begin(), name.end(), to);
    *to++ = '"';
    *to = ':';
}

void CJsonWriter::textKey(std::string_view name) {
    value(name);
    m_out.push_back(':');
}

void CJsonWriter::value(std::string_view text) {
    if (isPlain(text)) {
        char* to = room(text.size() + 2);
        *to++ = '"';
        to = std::copy(text.begin(), text.end(), to);
        *to = '"';
    } else if (isUtf8(text)) {
        quoted(text);
    } else {
        quoted(repaired(text));
    }
}

void CJsonWriter::quoted(std::string_view text) {
    *room(1) = '"';
    std::size_t plain = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!needsEscape(text[i])) continue;
        append(m_out, text.substr(plain, i - plain));
        appendEscaped(m_out, text[i]);
        plain = i + 1;
    }
    append(m_out, text.substr(plain));
    m_out.push_back('"');
}

void CJsonWriter::value(double number) {
    const bool isUsual =
        std::fabs(number) < EXACT_INTEGERS && (number != 0.0 || !std::signbit(number));
    if (m_bExact && !isUsual) return exact(number);
    room(0);
    appendNumber(m_out, number);
}

void CJsonWriter::exact(double number) {
    if (number == 0.0) return raw("-0.0");
    if (std::isnan(number)) return raw("\"nan\"");
    if (std::isinf(number)) return raw(number > 0 ? "\"inf\"" : "\"-inf\"");
    std::array<char, 64> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number,
                                   std::chars_format::scientific);
    raw({text.data(), end.ptr});
}

void CJsonWriter::integer(std::int64_t number) {
    std::array<char, 24> text;
    raw({text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr});
}

void CJsonWriter::integer(std::uint64_t number) {
    std::array<char, 24> text;
    raw({text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr});
}

}  // namespace TC
