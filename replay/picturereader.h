#pragma once

#include "linkage/record/pictureledger.h"
#include "linkage/tape/taped.h"
#include "replay/recordedclient.h"
#include "replay/scenarioline.h"

#include <boost/make_shared.hpp>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace replay {

/// Reads what CPictureWriter has written.
///
/// Threads: one. Failure: throws LineError.
class CPictureReader {
public:
    static constexpr bool READS = true;

    /// What the whole of a picture shares.
    struct Shared {
        CRecordedClient& client;
        boost::asio::io_service& service;         ///< of timers
        std::vector<TC::FiguresPtr> figures;      ///< by number
        std::vector<TC::Figures*> ledgerFigures;  ///< likewise; the first of them
    };

    CPictureReader(const CFields& fields, Shared& shared) : m_fields(fields), m_shared(shared) {}

    bool isExact() const { return false; }

    template <class T>
    void operator()(std::string_view name, T& value) {
        if (const auto found = m_fields.find(name)) {
            get(*found, value);
        } else if constexpr (std::is_move_assignable_v<T>) {
            value = T();
        }
    }
    template <class T>
    void operator()(std::string_view name, T& value, T fresh) {
        value = fresh;
        if (const auto found = m_fields.find(name)) get(*found, value);
    }
    template <class Each>
    void rows(std::string_view name, std::size_t /*count*/, const Each& each) {
        const auto found = m_fields.find(name);
        if (!found) return;
        std::uint32_t at = 0;
        found->list().each([&](const CValue& value) {
            CPictureReader row(value.fields(), m_shared);
            each(row, at++);
        });
    }

    void number(TC::Figures& figures) {
        m_shared.figures.push_back(figures.share());
        m_shared.ledgerFigures.push_back(&figures);
    }
    void figures(std::string_view name, TC::Figures*& figures) {
        std::size_t number = 0;
        (*this)(name, number);
        if (number > m_shared.ledgerFigures.size()) throw LineError("there are no such figures");
        figures = number == 0 ? nullptr : m_shared.ledgerFigures[number - 1];
    }
    void requests(std::string_view name,
                  std::map<std::string, boost::shared_ptr<TC::CQuoteRequest>>& requests) {
        std::vector<std::string> stocks;
        (*this)(name, stocks);
        for (const std::string& stock : stocks) requests[stock] = TC::silentSubscription();
    }
    void balances(std::string_view name, std::map<int, TC::GuardedBalance>& balances) {
        std::string lines;
        (*this)(name, lines);
        int damaged = 0;
        balances = TC::readBook(lines, damaged);
    }
    void timer(TC::CServerHistory::Timer& timer) {
        timer = boost::make_shared<utils::DeadlineTimer>(m_shared.service);
    }

private:
    void get(const CValue& value, bool& out) { out = value.flag(); }
    void get(const CValue& value, double& out) { out = value.real(); }
    void get(const CValue& value, std::string& out) { out = value.text(); }
    template <class T>
    requires(std::is_integral_v<T>) void get(const CValue& value, T& out) {
        out = value.whole<T>();
    }
    template <class T>
    requires(std::is_enum_v<T>) void get(const CValue& value, T& out) {
        out = static_cast<T>(value.whole<int>());
    }
    template <class T>
    void get(const CValue& value, std::optional<T>& out) {
        get(value, out.emplace());
    }
    template <class Left, class Right>
    void get(const CValue& value, std::pair<Left, Right>& out) {
        const CList both = value.list(2);
        get(both.at(0), const_cast<std::remove_const_t<Left>&>(out.first));
        get(both.at(1), out.second);
    }
    template <class... Values>
    void get(const CValue& value, std::tuple<Values...>& out) {
        const CList all = value.list(sizeof...(Values));
        std::size_t at = 0;
        std::apply([&](auto&... each) { (get(all.at(at++), each), ...); }, out);
    }
    template <class T, std::size_t Size>
    void get(const CValue& value, std::array<T, Size>& out) {
        const CList all = value.list(Size);
        for (std::size_t at = 0; at < Size; ++at) get(all.at(at), out[at]);
    }
    template <TC::picture::List T>
    void get(const CValue& value, T& out) {
        out.clear();
        value.list().each([&](const CValue& each) {
            if constexpr (requires { typename T::mapped_type; }) {
                // In its place in the map, because not all of it can be moved.
                const CList both = each.list(2);
                typename T::key_type key{};
                get(both.at(0), key);
                if constexpr (requires { out[key]; }) {
                    get(both.at(1), out[key]);
                } else {
                    get(both.at(1), out.emplace(key, typename T::mapped_type())->second);
                }
            } else if constexpr (requires { typename T::key_type; }) {
                typename T::key_type key{};
                get(each, key);
                out.insert(std::move(key));
            } else {
                get(each, out.emplace_back());
            }
        });
    }
    template <TC::picture::Record T>
    void get(const CValue& value, boost::shared_ptr<T>& out) {
        const auto number = value.whole<std::uint64_t>();
        out = boost::dynamic_pointer_cast<T>(m_shared.client.record(number));
        if (number != 0 && !out) value.fail("there is no such record");
    }
    void get(const CValue& value, boost::shared_ptr<vexservice::CAccountInfo>& out) {
        if (value.isNull()) return out.reset();
        vexservice::CAccountInfo info;
        get(value, info);
        out = m_shared.client.account(info.m_strKey);
        *out = info;
    }
    void get(const CValue& value, TC::FeePtr& out) {
        out = boost::make_shared<vexservice::CStkExchangeRateLimit>();
        get(value, *out);
    }
    template <class T>
    void get(const CValue& value, std::shared_ptr<const T>& out) {
        if (value.isNull()) return out.reset();
        const auto made = std::make_shared<T>();
        get(value, *made);
        out = made;
    }
    void get(const CValue& value, TC::FiguresPtr& out) {
        if (!value.json().is_object()) {
            out = figures(value);
            return;
        }
        out = TC::LinkagePeriodExtData::make();
        m_shared.figures.push_back(out);
        get(value, *out);
    }
    template <TC::picture::Object T>
    void get(const CValue& value, T& out) {
        CPictureReader inner(value.fields(), m_shared);
        TC::PictureMembers::of(inner, out);
    }

    TC::FiguresPtr figures(const CValue& value) const {
        const auto number = value.whole<std::size_t>();
        if (number == 0) return {};
        if (number > m_shared.figures.size()) value.fail("there are no such figures");
        return m_shared.figures[number - 1];
    }

    const CFields m_fields;
    Shared& m_shared;
};

}  // namespace replay
