#pragma once

#include <simdjson.h>

#include <array>
#include <concepts>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace replay {

/// A line that cannot be used; the text says what is wrong with it.
struct LineError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Where in a line a value stands, for messages: a chain on the stack, written out only
/// when something is wrong.
struct Place {
    const Place* outer = nullptr;
    std::string_view name;
    long index = -1;
    bool recorded = false;  ///< of the outermost: whether the line stands in a recording

    /// As in `items[2].account`.
    std::string text() const;
    bool isRecorded() const { return outer ? outer->isRecorded() : recorded; }
};

class CFields;
class CList;

/// One JSON value of a line, read as a type. Every reader throws LineError when the
/// value is of another type or out of range.
class CValue {
public:
    CValue(simdjson::dom::element element, Place place) : m_element(element), m_place(place) {}

    bool isNull() const { return m_element.is_null(); }
    bool isList() const { return m_element.is_array(); }
    const simdjson::dom::element& json() const { return m_element; }
    const Place& place() const { return m_place; }

    std::string_view text() const;
    bool flag() const;
    /// In a recording also what CJsonWriter writes of a figure that is not finite.
    double real() const;
    double realFrom(double least) const;
    double realWithin(double least, double most) const;
    /// A date "yyyyMMdd" that exists and that the library can tell from others.
    std::string_view date() const;
    CList list() const;
    /// A list of so many values.
    CList list(std::size_t size) const;
    CFields fields() const;

    template <std::integral T>
    T whole(T least = std::numeric_limits<T>::min(), T most = std::numeric_limits<T>::max()) const {
        if constexpr (std::is_unsigned_v<T>) {
            return static_cast<T>(natural(least, most));
        } else {
            return static_cast<T>(integer(least, most));
        }
    }

    [[noreturn]] void fail(const std::string& what) const;

private:
    std::int64_t integer(std::int64_t least, std::int64_t most) const;
    std::uint64_t natural(std::uint64_t least, std::uint64_t most) const;

    simdjson::dom::element m_element;
    Place m_place;
};

/// The values of a JSON array.
class CList {
public:
    CList(simdjson::dom::array array, Place place) : m_array(array), m_place(place) {}

    std::size_t size() const { return m_array.size(); }
    const Place& place() const { return m_place; }
    /// Throws LineError when the list is shorter.
    CValue at(std::size_t index) const;

    template <class Work>
    void each(Work work) const {
        long index = 0;
        for (simdjson::dom::element element : m_array) {
            work(CValue(element, Place{&m_place, {}, index++}));
        }
    }

private:
    simdjson::dom::array m_array;
    Place m_place;
};

/// The fields of a JSON object. Looking fields up in the order in which they usually
/// stand costs one comparison each. Fields that nobody asks for are ignored.
class CFields {
public:
    explicit CFields(simdjson::dom::object object, Place place = {});

    std::optional<CValue> find(std::string_view name) const;
    /// Throws LineError when the field is missing.
    CValue need(std::string_view name) const;

    std::string_view text(std::string_view name) const { return need(name).text(); }
    std::string_view text(std::string_view name, std::string_view fallback) const {
        const auto found = find(name);
        return found ? found->text() : fallback;
    }
    bool flag(std::string_view name, bool fallback) const {
        const auto found = find(name);
        return found ? found->flag() : fallback;
    }
    double real(std::string_view name) const { return need(name).real(); }
    double real(std::string_view name, double fallback) const {
        const auto found = find(name);
        return found ? found->real() : fallback;
    }
    template <std::integral T>
    T whole(std::string_view name) const {
        return need(name).whole<T>();
    }
    template <std::integral T>
    T whole(std::string_view name, std::type_identity_t<T> fallback) const {
        const auto found = find(name);
        return found ? found->whole<T>() : fallback;
    }

    const Place& place() const { return m_place; }

private:
    struct Field {
        std::string_view name;
        simdjson::dom::element element;
    };
    static constexpr std::size_t USUAL = 24;

    const Field& field(std::size_t index) const {
        return index < USUAL ? m_fields[index] : m_more[index - USUAL];
    }

    Place m_place;
    std::array<Field, USUAL> m_fields;
    std::vector<Field> m_more;
    std::size_t m_count = 0;
    mutable std::size_t m_next = 0;
};

/// Parses one line. Throws LineError when it is not one JSON object. The text must have
/// simdjson's padding behind it; the object lives until the parser's next line.
CFields parseLine(simdjson::dom::parser& parser, std::string_view line, bool recorded = false);

}  // namespace replay
