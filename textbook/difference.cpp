#include "textbook/textbook.h"

#include <fmt/format.h>

#include <cmath>

namespace textbook {

namespace {

/// Compares two containers entry by entry and describes the first difference.
class CComparison {
public:
    const std::string& found() const { return m_strFound; }

    template <class Key, class Leaf>
    bool same(const std::string& way, const std::map<Key, Leaf>& expected,
              const std::map<Key, Leaf>& actual) {
        for (const auto& [key, leaf] : expected) {
            const std::string here = fmt::format("{}[{}]", way, key);
            const auto at = actual.find(key);
            if (at == actual.end()) return differs(here, "there", "missing");
            if (!same(here, leaf, at->second)) return false;
        }
        for (const auto& [key, leaf] : actual) {
            if (!expected.count(key))
                return differs(fmt::format("{}[{}]", way, key), "none", "there");
        }
        return true;
    }

    template <class Key>
    bool same(const std::string& way, const std::set<Key>& expected, const std::set<Key>& actual) {
        if (expected == actual) return true;
        return differs(way, fmt::format("{{{}}}", fmt::join(expected, ", ")),
                       fmt::format("{{{}}}", fmt::join(actual, ", ")));
    }

    template <class First, class Second>
    bool same(const std::string& way, const std::pair<First, Second>& expected,
              const std::pair<First, Second>& actual) {
        return same(way + " bought", expected.first, actual.first) &&
               same(way + " sold", expected.second, actual.second);
    }

    template <class Value>
    requires std::is_arithmetic_v<Value> || std::is_same_v<Value, std::string>
    bool same(const std::string& way, const Value& expected, const Value& actual) {
        return expected == actual ||
               differs(way, fmt::format("{}", expected), fmt::format("{}", actual));
    }

    template <class Record>
    requires std::is_base_of_v<vexservice::IData, Record>
    bool same(const std::string& way, const boost::shared_ptr<Record>& expected,
              const boost::shared_ptr<Record>& actual) {
        return expected == actual || differs(way, "the newest report", "another report");
    }

    bool same(const std::string& way, const TC::LinkagePeriodTradeData& expected,
              const TC::LinkagePeriodTradeData& actual) {
        return same(way + " bought volume", expected.m_nBuyVolume, actual.m_nBuyVolume) &&
               same(way + " sold volume", expected.m_nSellVolume, actual.m_nSellVolume) &&
               same(way + " bought amount", expected.m_dBuyAmount, actual.m_dBuyAmount) &&
               same(way + " sold amount", expected.m_dSellAmount, actual.m_dSellAmount) &&
               same(way + " commission", expected.m_dCommission, actual.m_dCommission);
    }

    bool same(const std::string& way, const boost::shared_ptr<TC::LinkagePeriodExtData>& expected,
              const boost::shared_ptr<TC::LinkagePeriodExtData>& actual) {
        const TC::DealFigures& left = expected->deals();
        const TC::DealFigures& right = actual->deals();
        return same(way + " bought volume", left.m_nBuyVolume.get(), right.m_nBuyVolume.get()) &&
               same(way + " sold volume", left.m_nSellVolume.get(), right.m_nSellVolume.get()) &&
               same(way + " bought amount", left.m_dBuyAmount.get(), right.m_dBuyAmount.get()) &&
               same(way + " sold amount", left.m_dSellAmount.get(), right.m_dSellAmount.get()) &&
               same(way + " commission", left.m_dCommission.get(), right.m_dCommission.get()) &&
               same(way + " profit", expected->worth().m_dProfit.get(),
                    actual->worth().m_dProfit.get()) &&
               same(way + " value", expected->worth().m_dPositionValue.get(),
                    actual->worth().m_dPositionValue.get()) &&
               same(way + " plain", expected->m_bPlain.get(), actual->m_bPlain.get()) &&
               same(way + " bought sum", expected->m_buyVolumes.sum(),
                    actual->m_buyVolumes.sum()) &&
               same(way + " sold sum", expected->m_sellVolumes.sum(),
                    actual->m_sellVolumes.sum()) &&
               near(way + " bought amount sum", expected->m_buyAmounts.sum(),
                    actual->m_buyAmounts.sum()) &&
               near(way + " sold amount sum", expected->m_sellAmounts.sum(),
                    actual->m_sellAmounts.sum());
    }

private:
    // Sums may differ in their last digits. A sum that is expected to be 0 must be exactly 0.
    bool near(const std::string& way, double expected, double actual) {
        if (expected == 0.0) return same(way, expected, actual);
        const double size = std::max(1.0, std::fabs(expected));
        return std::fabs(expected - actual) <= 1e-11 * size || same(way, expected, actual);
    }

    bool differs(const std::string& way, const std::string& expected, const std::string& actual) {
        m_strFound = fmt::format("{}: expected {}, found {}", way, expected, actual);
        return false;
    }

    std::string m_strFound;
};

}  // namespace

std::string firstDifference(const TC::ManagerState& expected, const TC::ManagerState& actual) {
    CComparison comparison;
    const auto same = [&](const char* name, const auto& left, const auto& right) {
        return comparison.same(name, left, right);
    };
    same("tradeDate", expected.tradeDate, actual.tradeDate) &&
        same("strategys", expected.strategys, actual.strategys) &&
        same("orderDetails", expected.orderDetails, actual.orderDetails) &&
        same("dealDetails", expected.dealDetails, actual.dealDetails) &&
        same("runningOrders", expected.runningOrders, actual.runningOrders) &&
        same("tradeStatDatas", expected.tradeStatDatas, actual.tradeStatDatas) &&
        same("orderPrices", expected.orderPrices, actual.orderPrices) &&
        same("orderAmplitudes", expected.orderAmplitudes, actual.orderAmplitudes) &&
        same("dealAmplitudes", expected.dealAmplitudes, actual.dealAmplitudes) &&
        same("buySellVolumes", expected.buySellVolumes, actual.buySellVolumes) &&
        same("buySellAmounts", expected.buySellAmounts, actual.buySellAmounts) &&
        same("periodTrades", expected.periodTrades, actual.periodTrades) &&
        same("quoteRequests", expected.quoteRequests, actual.quoteRequests) &&
        same("latestPrices", expected.latestPrices, actual.latestPrices);
    return comparison.found();
}

}  // namespace textbook
