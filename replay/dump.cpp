#include "replay/records.h"

namespace replay {

namespace {

/// Writes the members of the state object; the callers keep them in byte order.
class CStateWriter {
public:
    explicit CStateWriter(CJsonWriter& out) : m_out(out) {}

    template <class Content>
    void whole(std::string_view name, const Content& content) {
        m_out.key(name);
        write(m_out, content);
    }
    template <class Map, class Leaf>
    void leaves(std::string_view name, const Map& map, const Leaf& leaf) {
        m_out.key(name);
        writeMap(m_out, map, leaf, EKeys::DECIMAL);
    }
    template <class Map, class Leaf>
    void byDay(std::string_view name, const Map& map, const Leaf& leaf) {
        m_out.key(name);
        writeMap(m_out, map, leaf, EKeys::DAYS);
    }
    template <class Map>
    void keys(std::string_view name, const Map& map) {
        m_out.key(name);
        m_out.beginArray();
        for (const auto& entry : map) m_out.value(entry.first);
        m_out.endArray();
    }

private:
    CJsonWriter& m_out;
};

constexpr auto AS_WRITTEN = [](CJsonWriter& out, const auto& value) { write(out, value); };

void orderLeaf(CJsonWriter& out, const boost::shared_ptr<vexservice::COrderDetail>& order) {
    out.beginObject();
    out.member("status", static_cast<int>(order->m_eStatus));
    out.member("traded", order->m_nTradedVolume);
    out.member("volume", order->m_nVolume);
    out.endObject();
}

void minuteLeaf(CJsonWriter& out, const TC::LinkagePeriodTradeData& minute) {
    out.beginArray();
    out.value(minute.m_nBuyVolume);
    out.value(minute.m_nSellVolume);
    out.value(minute.m_dBuyAmount);
    out.value(minute.m_dSellAmount);
    out.value(minute.m_dCommission);
    out.endArray();
}

constexpr auto VOLUME_LEAF = [](CJsonWriter& out, const auto& record) {
    out.value(record->m_nVolume);
};

constexpr auto STATUS_LEAF = [](CJsonWriter& out, const auto& task) {
    out.value(static_cast<int>(task->m_eStatus));
};

}  // namespace

void writeState(CJsonWriter& out, const TC::ManagerState& state) {
    CStateWriter to(out);
    out.beginObject();
    to.keys("accounts", state.accounts);
    to.whole("alreadyAddedKeys", state.alreadyAddedKeys);
    to.whole("autoBalanceStarts", state.autoBalanceStarts);
    to.whole("balanceTimes", state.balanceTimes);
    to.byDay("buySellAmounts", state.buySellAmounts, AS_WRITTEN);
    to.byDay("buySellVolumes", state.buySellVolumes, AS_WRITTEN);
    to.whole("dealAmplitudes", state.dealAmplitudes);
    to.byDay("dealDetails", state.dealDetails, VOLUME_LEAF);
    to.whole("historyLinkageData", state.historyLinkageData);
    to.whole("historyOrders", state.historyOrders);
    to.whole("historyPrices", state.historyPrices);
    to.whole("historyStatData", state.historyStatData);
    to.whole("historyTasks", state.historyTasks);
    to.whole("latestPrices", state.latestPrices);
    to.whole("orderAmplitudes", state.orderAmplitudes);
    to.byDay("orderDetails", state.orderDetails, orderLeaf);
    to.whole("orderPrices", state.orderPrices);
    to.leaves("periodTrades", state.periodTrades, minuteLeaf);
    to.leaves("positions", state.positions, VOLUME_LEAF);
    to.whole("quoteRequests", state.quoteRequests);
    to.whole("runningOrders", state.runningOrders);
    to.whole("runningTasks", state.runningTasks);
    to.whole("strategys", state.strategys);
    to.leaves("taskDetails", state.taskDetails, STATUS_LEAF);
    to.whole("tradeDate", state.tradeDate);
    to.whole("tradeStatDatas", state.tradeStatDatas);
    to.whole("userData", state.userData);
    to.whole("writtenTradeKeys", state.writtenTradeKeys);
    out.endObject();
}

}  // namespace replay
