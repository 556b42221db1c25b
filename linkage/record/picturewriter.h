#pragma once

#include "linkage/record/pictureledger.h"
#include "linkage/record/recordlines.h"
#include "linkage/tape/jsonwriter.h"
#include "platform/records/idata.h"

#include <boost/shared_ptr.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace TC {

/// Writes a picture of the manager (picturemembers.h) as an object, into a CJsonWriter or what is
/// used as one (CStateSum). What is as a fresh object has it is left out. Records of the client
/// stand in it as numbers, from 1 on in the order of records().
///
/// Threads: one. The caller guards what is written.
template <class Out>
class CPictureWriter {
public:
    static constexpr bool READS = false;
    using RecordPtr = boost::shared_ptr<const vexservice::IData>;

    /// `exact`: only what is the same when a recording is played; records stand in it with all they
    /// hold. Saves are not on the tape, and balance times change without the manager's lock.
    explicit CPictureWriter(Out& out, bool exact = false) : m_out(out), m_bExact(exact) {}
    bool isExact() const { return m_bExact; }

    /// All of it.
    void write(CLinkageManager& manager) {
        m_out.beginObject();
        PictureMembers::of(*this, manager);
        m_out.endObject();
    }

    template <class T>
    void operator()(std::string_view name, T& value) {
        if (isFresh(value)) return;
        m_out.key(name);
        put(value);
    }
    /// A member that a fresh object has as `fresh`.
    template <class T>
    void operator()(std::string_view name, T& value, T fresh) {
        if (value == fresh) return;
        m_out.key(name);
        put(value);
    }
    /// `count` objects; `each` gets this writer and the object's rank.
    template <class Each>
    void rows(std::string_view name, std::size_t count, const Each& each) {
        if (count == 0) return;
        m_out.key(name);
        m_out.beginArray();
        for (std::size_t at = 0; at < count; ++at) {
            m_out.beginObject();
            each(*this, static_cast<std::uint32_t>(at));
            m_out.endObject();
        }
        m_out.endArray();
    }

    /// Traded figures have numbers from 1 on, in the order in which they are numbered.
    void number(const Figures& figures) { number(&figures.record); }
    /// The number of figures of the ledger.
    void figures(std::string_view name, Figures* figures) {
        if (!figures) return;
        if (const std::uint64_t number = numberOf(&figures->record)) m_out.member(name, number);
    }

    // What a picture has in another form than the manager.
    void requests(std::string_view name,
                  const std::map<std::string, boost::shared_ptr<CQuoteRequest>>& requests) {
        std::vector<std::string> stocks;
        stocks.reserve(requests.size());
        for (const auto& [stock, request] : requests) stocks.push_back(stock);
        (*this)(name, stocks);
    }
    void balances(std::string_view name, const std::map<int, GuardedBalance>& balances) {
        std::string lines;
        for (const auto& [number, balance] : balances) lines += bookLine(balance, "picture", 0);
        (*this)(name, lines);
    }
    void timer(const CServerHistory::Timer& /*timer*/) {}

    const std::vector<RecordPtr>& records() const { return m_records; }

private:
    template <class T>
    static bool isFresh(const T& value) {
        if constexpr (requires { value.empty(); }) {
            return value.empty();
        } else if constexpr (std::is_same_v<T, double>) {
            return value == 0.0 && !std::signbit(value);
        } else if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
            return value == T();
        } else if constexpr (requires { value.has_value(); }) {
            return !value.has_value();
        } else if constexpr (requires { value.get() == nullptr; }) {
            return !value;
        } else {
            return false;
        }
    }

    void put(bool value) { m_out.value(value); }
    void put(double value) { m_out.value(value); }
    void put(const std::string& value) { m_out.value(value); }
    template <class T>
    requires(std::is_integral_v<T>) void put(T value) { m_out.value(value); }
    template <class T>
    requires(std::is_enum_v<T>) void put(T value) { m_out.value(static_cast<int>(value)); }
    template <class T>
    void put(const std::optional<T>& value) {
        put(*value);
    }
    template <class Left, class Right>
    void put(const std::pair<Left, Right>& value) {
        m_out.beginArray();
        put(value.first);
        put(value.second);
        m_out.endArray();
    }
    template <class... Values>
    void put(const std::tuple<Values...>& value) {
        m_out.beginArray();
        std::apply([&](const auto&... each) { (put(each), ...); }, value);
        m_out.endArray();
    }
    template <picture::List T>
    void put(const T& values) {
        // Two pictures of the same are the same text.
        if constexpr (requires { values.hash_function(); }) {
            std::vector<std::pair<typename T::key_type, typename T::mapped_type>> sorted(
                values.begin(), values.end());
            std::sort(sorted.begin(), sorted.end(),
                      [](const auto& left, const auto& right) { return left.first < right.first; });
            putAll(sorted);
        } else {
            putAll(values);
        }
    }
    template <picture::Record T>
    void put(const boost::shared_ptr<T>& record) {
        if (!record) return m_out.value(0);
        if constexpr (requires { m_out.record(*record); }) {
            m_out.record(*record);
        } else if (m_bExact) {
            // One report may be two objects where the recording is played.
            m_out.beginObject();
            writeRecord(m_out, {}, *record);
            m_out.endObject();
        } else {
            const auto [at, isNew] = m_numbers.try_emplace(record.get(), m_records.size() + 1);
            if (isNew) m_records.push_back(record);
            m_out.value(at->second);
        }
    }
    template <class T>
    requires(!picture::Record<T>) void put(const boost::shared_ptr<T>& value) {
        if (!value) return m_out.null();
        put(*value);
    }
    template <class T>
    void put(const std::shared_ptr<T>& value) {
        if (!value) return m_out.null();
        put(*value);
    }
    /// Figures that the ledger does not have stand here with all they hold.
    void put(const boost::shared_ptr<LinkagePeriodExtData>& figures) {
        const std::uint64_t known = figures ? numberOf(figures.get()) : 0;
        if (known != 0 || !figures) return m_out.value(known);
        number(figures.get());
        m_out.beginObject();
        PictureMembers::of(*this, *figures);
        m_out.endObject();
    }
    template <picture::Object T>
    void put(const T& value) {
        m_out.beginObject();
        PictureMembers::of(*this, const_cast<T&>(value));
        m_out.endObject();
    }

    template <class T>
    void putAll(const T& values) {
        m_out.beginArray();
        for (const auto& each : values) put(each);
        m_out.endArray();
    }
    void number(const LinkagePeriodExtData* figures) {
        m_figures.try_emplace(figures, ++m_nFigures);
    }
    std::uint64_t numberOf(const LinkagePeriodExtData* figures) const {
        const auto at = m_figures.find(figures);
        return at == m_figures.end() ? 0 : at->second;
    }

    Out& m_out;
    const bool m_bExact;
    std::uint64_t m_nFigures = 0;
    std::unordered_map<const LinkagePeriodExtData*, std::uint64_t> m_figures;
    std::unordered_map<const vexservice::IData*, std::uint64_t> m_numbers;
    std::vector<RecordPtr> m_records;
};

}  // namespace TC
