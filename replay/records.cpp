#include "replay/records.h"

namespace replay {

std::string strategyOf(const boost::shared_ptr<vexservice::CCommandRecord>& command) {
    if (!command) return {};
    return command->m_strStrategyName.empty() ? command->m_strStrategyName2
                                              : command->m_strStrategyName;
}

bool isBuy(const vexservice::COrderDetail& order) {
    return vexservice::isBuyByDirection(order.m_eDirection, order.m_eOffsetFlag);
}

bool isBuy(const vexservice::CDealDetail& deal) {
    return vexservice::isBuyByDirection(deal.m_eDirection, deal.m_eOffsetFlag);
}

void write(CJsonWriter& out, const TC::TradeStatData& record) {
    out.beginObject();
    out.member("accountKey", record.m_strAccountKey);
    out.member("accountName", record.m_strAccountName);
    out.member("accountType", record.m_strAccountType);
    out.member("broker", record.m_strBroker);
    out.member("buyAmount", record.m_dTotalBuyAmount);
    out.member("buyVolume", record.m_nTotalBuyVolume);
    out.member("fundAccountId", record.m_strFundAccountId);
    out.member("id", record.m_nId);
    out.member("positionValue", record.m_dTotalPositionValue);
    out.member("sellAmount", record.m_dTotalSellAmount);
    out.member("sellVolume", record.m_nTotalSellVolume);
    out.member("strategy", record.m_strStrategy);
    out.endObject();
}

void write(CJsonWriter& out, const TC::LinkagePeriodExtData& record) {
    const TC::DealFigures& deals = record.deals();
    out.beginObject();
    out.member("buyAmount", deals.m_dBuyAmount.get());
    out.member("buyAmountSum", record.m_buyAmounts.sum());
    out.member("buySum", record.m_buyVolumes.sum());
    out.member("buyVolume", deals.m_nBuyVolume.get());
    out.member("commission", deals.m_dCommission.get());
    out.member("plain", record.m_bPlain.get());
    out.member("positionValue", record.worth().m_dPositionValue.get());
    out.member("profit", record.worth().m_dProfit.get());
    out.member("sellAmount", deals.m_dSellAmount.get());
    out.member("sellAmountSum", record.m_sellAmounts.sum());
    out.member("sellSum", record.m_sellVolumes.sum());
    out.member("sellVolume", deals.m_nSellVolume.get());
    out.endObject();
}

void write(CJsonWriter& out, const vexservice::COrderDetail& order) {
    out.beginObject();
    out.member("amount", order.m_dTradedAmount);
    out.member("price", order.m_dPrice);
    out.member("side", isBuy(order) ? "buy" : "sell");
    out.member("status", static_cast<int>(order.m_eStatus));
    out.member("strategy", strategyOf(order.m_pCommand));
    out.member("traded", order.m_nTradedVolume);
    out.member("volume", order.m_nVolume);
    out.endObject();
}

void write(CJsonWriter& out, const vexservice::CDealDetail& deal) {
    out.beginObject();
    out.member("amount", deal.m_dAmount);
    out.member("price", deal.m_dPrice);
    out.member("side", isBuy(deal) ? "buy" : "sell");
    out.member("strategy", strategyOf(deal.m_pCommand));
    out.member("time", deal.m_strTradeTime);
    out.member("volume", deal.m_nVolume);
    out.endObject();
}

void write(CJsonWriter& out, const vexservice::CTaskDetail& task) {
    out.beginObject();
    out.member("status", static_cast<int>(task.m_eStatus));
    out.endObject();
}

TC::TradeStatData readStat(const CValue& value) {
    const CFields in = value.fields();
    TC::TradeStatData record;
    record.m_nId = in.whole<std::int32_t>("id", 0);
    record.m_strAccountKey = in.text("accountKey", "");
    record.m_strFundAccountId = in.text("fundAccountId", "");
    record.m_strAccountName = in.text("accountName", "");
    record.m_strAccountType = in.text("accountType", "");
    record.m_strBroker = in.text("broker", "");
    record.m_strStrategy = in.text("strategy", "");
    record.m_nTotalBuyVolume = in.whole<std::int64_t>("buyVolume", 0);
    record.m_nTotalSellVolume = in.whole<std::int64_t>("sellVolume", 0);
    record.m_dTotalBuyAmount = in.real("buyAmount", 0.0);
    record.m_dTotalSellAmount = in.real("sellAmount", 0.0);
    record.m_dTotalPositionValue = in.real("positionValue", 0.0);
    return record;
}

}  // namespace replay
