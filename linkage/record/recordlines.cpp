#include "linkage/record/recordlines.h"

#include <fmt/compile.h>

#include <cmath>
#include <ctime>
#include <variant>

namespace TC {

using namespace vexservice;

namespace {

void writeText(CJsonWriter& out, std::string_view name, const std::string& text) {
    if (!text.empty()) out.member(name, text);
}
template <class Number>
void writeNumber(CJsonWriter& out, std::string_view name, Number number) {
    if (number != 0) out.member(name, number);
}
void writeNumber(CJsonWriter& out, std::string_view name, double number) {
    if (number != 0.0 || std::signbit(number)) out.member(name, number);
}

/// A carrier without any text is another thing than none.
void writeCarrier(CJsonWriter& out, const boost::shared_ptr<CCommandRecord>& command) {
    if (!command) return;
    out.member("strategy", command->m_strStrategyName);
    writeText(out, "strategy2", command->m_strStrategyName2);
    writeText(out, "tag", command->m_strTag);
    writeNumber(out, "command", command->m_nCommand);
}

/// Whose record it is, where that is not the account that reports it.
void writeOwner(CJsonWriter& out, const std::string& account,
                const boost::shared_ptr<CAccountInfo>& info) {
    if (!info) {
        out.key("owner");
        out.null();
    } else if (info->m_strKey != account) {
        out.member("owner", info->m_strKey);
    }
}

template <class Record>
void writeTrade(CJsonWriter& out, const std::string& account, const Record& record) {
    out.member("account", account);
    out.member("key", record.recordKey());
    out.member("market", record.m_strMarket);
    out.member("code", record.m_strCode);
    out.member("side", record.m_eDirection == ENTRUST_BUY ? "buy" : "sell");
    out.member("price", record.m_dPrice);
    out.member("volume", record.m_nVolume);
}

template <class Record>
void writeRest(CJsonWriter& out, const std::string& account, const Record& record) {
    out.member("tradeDate", record.m_strTradeDate);
    writeNumber(out, "offset", static_cast<int>(record.m_eOffsetFlag));
    writeOwner(out, account, record.m_pAccountInfo);
    writeCarrier(out, record.m_pCommand);
}

void write(CJsonWriter& out, const std::string& account, const COrderDetail& order) {
    writeTrade(out, account, order);
    out.member("status", static_cast<int>(order.m_eStatus));
    writeNumber(out, "traded", order.m_nTradedVolume);
    writeNumber(out, "amount", order.m_dTradedAmount);
    writeText(out, "sysId", order.m_strSysID);
    writeText(out, "remark", order.m_strRemark);
    writeRest(out, account, order);
}

void write(CJsonWriter& out, const std::string& account, const CDealDetail& deal) {
    writeTrade(out, account, deal);
    out.member("amount", deal.m_dAmount);
    out.member("time", deal.m_strTradeTime);
    out.member("dealId", deal.m_strDealID);
    writeNumber(out, "order", deal.m_nOrderKey);
    writeRest(out, account, deal);
}

void write(CJsonWriter& out, const std::string& account, const CPositionStatics& position) {
    out.member("account", account);
    out.member("key", position.recordKey());
    out.member("market", position.m_strMarket);
    out.member("code", position.m_strCode);
    out.member("volume", position.m_nVolume);
    writeNumber(out, "available", position.m_nAvailable);
    writeNumber(out, "cost", position.m_dCost);
    writeOwner(out, account, position.m_pAccountInfo);
}

void writeItem(CJsonWriter& out, const CTaskItem& item) {
    out.beginObject();
    if (item.m_pAccountInfo) out.member("account", item.m_pAccountInfo->m_strKey);
    out.member("market", item.m_strMarket);
    out.member("code", item.m_strCode);
    writeNumber(out, "volume", item.m_nVolume);
    writeNumber(out, "traded", item.m_nTradedVolume);
    out.endObject();
}

void write(CJsonWriter& out, const std::string& /*account*/, const CTaskDetail& task) {
    out.member("key", task.recordKey());
    out.member("status", static_cast<int>(task.m_eStatus));
    out.key("items");
    out.beginArray();
    for (const auto& item : task.m_items) {
        if (item) {
            writeItem(out, *item);
        } else {
            out.null();
        }
    }
    out.endArray();
    out.key("command");
    if (task.m_pCommand) {
        const CCommandRecord& command = *task.m_pCommand;
        out.beginObject();
        out.member("user", command.m_strUser);
        writeNumber(out, "kind", command.m_nKind);
        out.member("tradeDate", command.m_strTradeDate);
        writeText(out, "strategy", command.m_strStrategyName);
        writeText(out, "strategy2", command.m_strStrategyName2);
        writeText(out, "tag", command.m_strTag);
        writeNumber(out, "number", command.m_nCommand);
        out.endObject();
    } else {
        out.null();
    }
    if (!task.m_bServerTask) out.member("server", false);
}

/// Calls `visit` with the record as what it is.
template <class Visit>
void visitRecord(const IData& record, const Visit& visit) {
    if (const auto* const order = dynamic_cast<const COrderDetail*>(&record)) {
        visit(*order, "order", DATA_ORDER);
    } else if (const auto* const deal = dynamic_cast<const CDealDetail*>(&record)) {
        visit(*deal, "deal", DATA_DEAL);
    } else if (const auto* const position = dynamic_cast<const CPositionStatics*>(&record)) {
        visit(*position, "position", DATA_POSITION);
    } else if (const auto* const task = dynamic_cast<const CTaskDetail*>(&record)) {
        visit(*task, "task", DATA_TASK);
    }
}

void writeLevels(CJsonWriter& out, std::string_view name, const std::vector<CPriceLevel>& levels) {
    if (levels.empty()) return;
    out.key(name);
    out.beginArray();
    for (const CPriceLevel& level : levels) {
        out.beginArray();
        out.value(level.m_dPrice);
        out.value(level.m_nVolume);
        out.endArray();
    }
    out.endArray();
}

void writeOrder(CJsonWriter& out, const CCodeOrderParam& order) {
    out.beginObject();
    out.member("account", order.m_pAccountInfo ? order.m_pAccountInfo->getKey() : std::string());
    out.member("code", order.m_stock.m_strCode);
    out.member("marker", order.m_nStrategyMarker);
    out.member("market", order.m_stock.m_strMarket);
    out.member("operationType", static_cast<int>(order.m_eOperationType));
    out.member("orderKind", order.m_nOrderKind);
    out.member("price", order.m_dPrice);
    out.member("priceType", static_cast<int>(order.m_ePriceType));
    out.member("strategyName", order.m_strStrategyName);
    out.member("strategyName2", order.m_strStrategyName2);
    out.member("volume", order.m_nVolume);
    out.endObject();
}

void writeSetting(CJsonWriter& out, std::string_view name, const COrderSetting& setting) {
    out.key(name);
    out.beginArray();
    out.value(static_cast<int>(setting.m_ePriceType));
    out.value(setting.m_dPrice);
    out.endArray();
}

/// Writes each kind of answer as a JSON value.
struct AnswerWriter {
    CJsonWriter& out;

    void operator()(std::monostate) const { out.null(); }
    void operator()(bool value) const { out.value(value); }
    void operator()(std::int64_t value) const { out.value(value); }
    void operator()(double value) const { out.value(value); }
    void operator()(const std::string& value) const { out.value(value); }
    void operator()(const TapeThrown& thrown) const {
        out.beginObject();
        out.member("throws", thrown.text);
        out.endObject();
    }
    void operator()(const std::vector<std::string>& texts) const {
        out.beginArray();
        for (const std::string& text : texts) out.value(text);
        out.endArray();
    }
    void operator()(const std::vector<boost::shared_ptr<const IData>>&) const { out.null(); }
    void operator()(const boost::shared_ptr<CAccountInfo>& info) const {
        if (!info) return out.null();
        out.beginObject();
        out.member("key", info->m_strKey);
        out.member("id", info->m_strID);
        out.member("name", info->m_strName);
        out.member("type", info->m_nType);
        out.member("broker", info->m_strBroker);
        out.endObject();
    }
    void operator()(const std::shared_ptr<CInstrumentDetail>& detail) const {
        if (!detail) return out.null();
        out.beginObject();
        out.member("market", detail->m_strMarket);
        out.member("code", detail->m_strCode);
        out.member("name", detail->m_strName);
        out.member("product", detail->m_strProductID);
        out.member("tick", detail->m_dPriceTick);
        out.member("reference", detail->m_dReferencePrice);
        out.member("limitUp", detail->m_dLimitUp);
        out.member("limitDown", detail->m_dLimitDown);
        out.endObject();
    }
    void operator()(const boost::shared_ptr<CPriceData>& price) const {
        if (!price) return out.null();
        out.beginObject();
        writePrice(out, price->m_strStockKey, *price);
        out.endObject();
    }
    void operator()(const boost::shared_ptr<CStkExchangeRateLimit>& fee) const {
        if (!fee) return out.null();
        out.beginObject();
        out.member("rate", fee->m_dRate);
        out.member("minimum", fee->m_dMinimum);
        out.member("transfer", fee->m_dTransfer);
        out.member("stamp", fee->m_dStamp);
        out.endObject();
    }
    void operator()(const CTradeSetting& setting) const {
        out.beginObject();
        writeSetting(out, "stock", setting.m_stock);
        writeSetting(out, "credit", setting.m_credit);
        out.endObject();
    }
    void operator()(const CCodeOrderParam& order) const {
        out.beginObject();
        out.member("volume", order.m_nVolume);
        out.member("priceType", static_cast<int>(order.m_ePriceType));
        out.member("price", order.m_dPrice);
        out.member("from", order.m_nValidFrom);
        out.member("to", order.m_nValidTo);
        out.endObject();
    }
};

}  // namespace

std::string_view recordKind(const IData& record) {
    std::string_view kind;
    visitRecord(record, [&](const auto&, const char* name, EDataType) { kind = name; });
    return kind;
}

std::pair<int, std::uint64_t> recordName(const IData& record) {
    std::pair<int, std::uint64_t> name;
    visitRecord(record, [&](const auto& known, const char*, EDataType type) {
        name = {type, known.recordKey()};
    });
    return name;
}

void writeRecord(CJsonWriter& out, const std::string& account, const IData& record) {
    visitRecord(record,
                [&](const auto& known, const char*, EDataType) { write(out, account, known); });
}

void writePrice(CJsonWriter& out, const std::string& stockKey, const CPriceData& price) {
    constexpr std::size_t MARKET = 2;
    out.member("market", std::string_view(stockKey).substr(0, MARKET));
    out.member("code", stockKey.size() > MARKET ? std::string_view(stockKey).substr(MARKET)
                                                : std::string_view());
    out.key("last");
    if (price.m_dLastPrice == CPriceData::UNKNOWN) {
        out.null();
    } else {
        out.value(price.m_dLastPrice);
    }
    writeLevels(out, "asks", price.m_asks);
    writeLevels(out, "bids", price.m_bids);
}

void writeBars(CJsonWriter& out, const BarsInput& bars) {
    out.member("stock", bars.stockKey);
    out.member("date", bars.day);
    out.member("finished", bars.finished);
    out.key("closes");
    out.beginArray();
    for (const CMinuteBar& bar : bars.bars) {
        out.beginArray();
        out.value(bar.m_nMinute);
        out.value(bar.m_dClose);
        out.endArray();
    }
    out.endArray();
}

void writeCommand(CJsonWriter& out, const COrderComandParam& command, std::optional<int> number) {
    out.member("commandType", command.m_nCommandType);
    out.member("flag", command.m_bGroup);
    out.member("marker", command.m_nStrategyMarker);
    if (number) out.member("number", *number);
    out.key("orders");
    out.beginArray();
    for (const auto& order : command.m_orders) writeOrder(out, *order);
    out.endArray();
    out.member("out", "command");
    out.member("strategyName", command.m_strStrategyName);
    out.member("strategyName2", command.m_strStrategyName2);
}

void writeAnswer(CJsonWriter& out, const TapeAnswer& answer) {
    std::visit(AnswerWriter{out}, answer);
}

std::string momentText(std::int64_t micros) {
    constexpr std::int64_t SECOND = 1'000'000;
    thread_local std::time_t known = -1;
    thread_local std::string text;
    const std::time_t second = micros / SECOND;
    if (second != known) {
        std::tm local{};
        localtime_r(&second, &local);
        text =
            fmt::format(FMT_COMPILE("{:04}-{:02}-{:02} {:02}:{:02}:{:02}."), local.tm_year + 1900,
                        local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
        known = second;
    }
    return text + fmt::format(FMT_COMPILE("{:06}"), micros % SECOND);
}

}  // namespace TC
