#include "replay/scenarioline.h"

#include "replay/jsonvalues.h"
#include "replay/output.h"

#include <QDate>
#include <QString>

#include <cmath>

namespace replay {

namespace {

constexpr double EXACT_INTEGERS = 9007199254740992.0;  // 2^53

/// The first and the last date whose whole day fits into 32 bits of seconds in every time zone.
constexpr std::string_view FIRST_DATE = "19700102";
constexpr std::string_view LAST_DATE = "21060206";

std::string numberText(double number) {
    TextBuffer text;
    appendNumber(text, number);
    return std::string(viewOf(text));
}

std::string_view typeName(simdjson::dom::element element) {
    switch (element.type()) {
        case simdjson::dom::element_type::ARRAY:
            return "a list";
        case simdjson::dom::element_type::OBJECT:
            return "an object";
        case simdjson::dom::element_type::STRING:
            return "a text";
        case simdjson::dom::element_type::BOOL:
            return "true or false";
        case simdjson::dom::element_type::NULL_VALUE:
            return "null";
        default:
            return "a number";
    }
}

[[noreturn]] void wrongType(const CValue& value, const std::string& needed) {
    value.fail("wrong type: " + needed + " is needed, not " + std::string(typeName(value.json())));
}

template <class T>
[[noreturn]] void outOfRange(const CValue& value, const std::string& number, T least, T most) {
    value.fail("number out of range: " + number + " is not within " + std::to_string(least) +
               " to " + std::to_string(most));
}

/// Whether the text is a number as JSON writes it, of whatever size.
bool isNumber(std::string_view text) {
    std::size_t i = 0;
    const auto digits = [&] {
        const std::size_t begin = i;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i;
        return i - begin;
    };
    if (i < text.size() && text[i] == '-') ++i;
    const std::size_t whole = i;
    const std::size_t count = digits();
    if (count == 0 || (count > 1 && text[whole] == '0')) return false;
    if (i < text.size() && text[i] == '.') {
        ++i;
        if (digits() == 0) return false;
    }
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        ++i;
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
        if (digits() == 0) return false;
    }
    return i == text.size();
}

/// The parser refuses malformed numbers and numbers that are too large alike. Returns a number of
/// the line that is too large, or "" when a number is malformed.
std::string_view tooLargeNumber(std::string_view line) {
    static constexpr std::string_view IN_NUMBER = "+-.0123456789eE";
    std::string_view large;
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (quoted && c == '\\') {
            ++i;
        } else if (c == '"') {
            quoted = !quoted;
        } else if (!quoted && (c == '-' || (c >= '0' && c <= '9'))) {
            const std::size_t end = std::min(line.find_first_not_of(IN_NUMBER, i), line.size());
            const std::string_view number = line.substr(i, end - i);
            if (!isNumber(number)) return {};
            if (number.size() > 18 && large.empty()) large = number;
            if (!std::isfinite(std::strtod(std::string(number).c_str(), nullptr))) large = number;
            i = end - 1;
        }
    }
    return large;
}

}  // namespace

std::string Place::text() const {
    std::string result = outer ? outer->text() : std::string();
    if (index >= 0) return result + "[" + std::to_string(index) + "]";
    if (name.empty()) return result;
    if (!result.empty()) result += ".";
    return result + std::string(name);
}

void CValue::fail(const std::string& what) const {
    throw LineError("field \"" + m_place.text() + "\": " + what);
}

std::string_view CValue::text() const {
    std::string_view result;
    if (m_element.get(result)) wrongType(*this, "a text");
    return result;
}

bool CValue::flag() const {
    bool result = false;
    if (m_element.get(result)) wrongType(*this, "true or false");
    return result;
}

double CValue::real() const {
    double result = 0.0;
    if (m_element.get(result)) {
        std::string_view text;
        const bool isText = m_place.isRecorded() && !m_element.get(text);
        const auto figure = isText ? notFinite(text) : std::nullopt;
        if (!figure) wrongType(*this, "a number");
        result = *figure;
    }
    return result;
}

double CValue::realFrom(double least) const {
    const double result = real();
    if (result < least) {
        fail("number out of range: " + numberText(result) + " is less than " + numberText(least));
    }
    return result;
}

double CValue::realWithin(double least, double most) const {
    const double result = realFrom(least);
    if (result > most) {
        fail("number out of range: " + numberText(result) + " is more than " + numberText(most));
    }
    return result;
}

std::int64_t CValue::integer(std::int64_t least, std::int64_t most) const {
    std::int64_t result = 0;
    if (m_element.get(result)) {
        std::uint64_t large = 0;
        if (!m_element.get(large)) outOfRange(*this, std::to_string(large), least, most);
        double real = 0.0;
        if (m_element.get(real)) wrongType(*this, "a whole number");
        if (real != std::trunc(real)) wrongType(*this, "a whole number");
        if (std::fabs(real) >= EXACT_INTEGERS) outOfRange(*this, numberText(real), least, most);
        result = static_cast<std::int64_t>(real);
    }
    if (result < least || result > most) outOfRange(*this, std::to_string(result), least, most);
    return result;
}

std::uint64_t CValue::natural(std::uint64_t least, std::uint64_t most) const {
    std::uint64_t result = 0;
    if (m_element.get(result)) {
        std::int64_t negative = 0;
        if (!m_element.get(negative)) outOfRange(*this, std::to_string(negative), least, most);
        double real = 0.0;
        if (m_element.get(real)) wrongType(*this, "a whole number");
        if (real != std::trunc(real)) wrongType(*this, "a whole number");
        if (real < 0 || real >= EXACT_INTEGERS) outOfRange(*this, numberText(real), least, most);
        result = static_cast<std::uint64_t>(real);
    }
    if (result < least || result > most) outOfRange(*this, std::to_string(result), least, most);
    return result;
}

std::string_view CValue::date() const {
    const std::string_view result = text();
    const bool exists = result.size() == 8 && QDate::fromString(QString::fromUtf8(result.data(), 8),
                                                                QStringLiteral("yyyyMMdd"))
                                                  .isValid();
    if (!exists) fail("\"" + std::string(result) + "\" is no date \"yyyyMMdd\"");
    if (result < FIRST_DATE || result > LAST_DATE) {
        fail("number out of range: " + std::string(result) + " is not within " +
             std::string(FIRST_DATE) + " to " + std::string(LAST_DATE));
    }
    return result;
}

CList CValue::list() const {
    simdjson::dom::array result;
    if (m_element.get(result)) wrongType(*this, "a list");
    return CList(result, m_place);
}

CList CValue::list(std::size_t size) const {
    const CList result = list();
    if (result.size() > size) fail("the list has more than " + std::to_string(size) + " values");
    return result;
}

CFields CValue::fields() const {
    simdjson::dom::object result;
    if (m_element.get(result)) wrongType(*this, "an object");
    return CFields(result, m_place);
}

CValue CList::at(std::size_t index) const {
    simdjson::dom::element element;
    if (m_array.at(index).get(element)) {
        throw LineError("field \"" + m_place.text() + "\": value " + std::to_string(index + 1) +
                        " of the list is missing");
    }
    return CValue(element, Place{&m_place, {}, static_cast<long>(index)});
}

CFields::CFields(simdjson::dom::object object, Place place) : m_place(place) {
    for (const auto& [name, element] : object) {
        if (m_count < USUAL) {
            m_fields[m_count] = {name, element};
        } else {
            m_more.push_back({name, element});
        }
        ++m_count;
    }
}

std::optional<CValue> CFields::find(std::string_view name) const {
    std::size_t index = m_next;
    for (std::size_t tried = 0; tried < m_count; ++tried, ++index) {
        if (index >= m_count) index = 0;
        if (field(index).name != name) continue;
        m_next = index + 1;
        return CValue(field(index).element, Place{&m_place, name, -1});
    }
    return std::nullopt;
}

CValue CFields::need(std::string_view name) const {
    if (auto found = find(name)) return *found;
    const std::string where = m_place.text();
    throw LineError((where.empty() ? std::string() : where + ": ") + "missing field \"" +
                    std::string(name) + "\"");
}

CFields parseLine(simdjson::dom::parser& parser, std::string_view line, bool recorded) {
    simdjson::dom::element root;
    const auto error = parser.parse(line.data(), line.size(), false).get(root);
    if (error == simdjson::NUMBER_ERROR) {
        const std::string_view number = tooLargeNumber(line);
        if (!number.empty()) throw LineError("number out of range: " + std::string(number));
    }
    if (error) throw LineError(std::string("not JSON: ") + simdjson::error_message(error));
    simdjson::dom::object object;
    if (root.get(object)) throw LineError("a line must be a JSON object");
    return CFields(object, Place{.recorded = recorded});
}

}  // namespace replay
