#include "replay/anonymousstatement.h"

#include "linkage/store/import/readers.h"
#include "linkage/store/import/statement.h"
#include "replay/scenarioline.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

namespace replay {

namespace {

using TC::statement::Parsed;
using TC::statement::Statement;
using vexservice::CDealDetail;
using vexservice::COrderDetail;

constexpr char DEAL_COLUMNS[] =
    "成交日期,成交时间,证券代码,交易市场,买卖标志,成交价格,成交数量,成交金额,成交编号,委托编号,"
    "资金账号,股东代码\n";
constexpr char ORDER_COLUMNS[] =
    "委托日期,证券代码,交易市场,买卖标志,委托价格,委托数量,成交数量,成交金额,委托状态,委托编号,"
    "资金账号,股东代码\n";
constexpr int FIRST_STATUS = vexservice::STATUS_UNREPORTED;
constexpr const char* STATUSES[] = {"未报",     "待报", "已报",     "已报待撤", "部成待撤",
                                    "部成部撤", "已撤", "部分成交", "已成",     "废单"};

std::optional<Statement> readRows(const QByteArray& bytes, const std::string& tradeDate) {
    try {
        return TC::statement::readStatement(TC::statement::readBytes(bytes), tradeDate);
    } catch (const TC::statement::Refusal&) {
        return std::nullopt;
    }
}

std::string marketWord(const std::string& market) {
    return market == "SH" ? "上海" : market == "SZ" ? "深圳" : market == "BJ" ? "北京" : market;
}

const char* sideWord(vexservice::EEntrustBS side) {
    return side == vexservice::ENTRUST_BUY ? "买入" : "卖出";
}

template <class Record>
std::string accountCells(const Parsed<Record>& row, CNames& names) {
    const std::string fund = names(EText::Holder, row.fundAccount.toStdString());
    // The library looks at a holder's code only where a row names no fund account.
    const std::string holder = fund.empty() ? row.holder.toStdString() : std::string();
    return fund + ',' + names(EText::Holder, holder);
}

std::string lineOf(const Parsed<CDealDetail>& row, CNames& names) {
    const CDealDetail& deal = *row.record;
    return fmt::format(
        "{},{},{},{},{},{},{},{},{},{},{}\n", deal.m_strTradeDate, deal.m_strTradeTime,
        deal.m_strCode, marketWord(deal.m_strMarket), sideWord(deal.m_eDirection), deal.m_dPrice,
        deal.m_nVolume, deal.m_dAmount, names(EText::Number, deal.m_strDealID),
        names(EText::Number, row.orderNumber.toStdString()), accountCells(row, names));
}

std::string lineOf(const Parsed<COrderDetail>& row, CNames& names) {
    const COrderDetail& order = *row.record;
    const int status = order.m_eStatus - FIRST_STATUS;
    const bool known = status >= 0 && status < static_cast<int>(std::size(STATUSES));
    return fmt::format("{},{},{},{},{},{},{},{},{},{},{}\n", order.m_strTradeDate, order.m_strCode,
                       marketWord(order.m_strMarket), sideWord(order.m_eDirection), order.m_dPrice,
                       order.m_nVolume, order.m_nTradedVolume, order.m_dTradedAmount,
                       known ? STATUSES[status] : "", names(EText::Number, order.m_strSysID),
                       accountCells(row, names));
}

template <class Record>
bool sharesAll(const Record& a, const Record& b) {
    return a.recordKey() == b.recordKey() && a.m_strTradeDate == b.m_strTradeDate &&
           a.m_strMarket == b.m_strMarket && a.m_strCode == b.m_strCode &&
           a.m_eDirection == b.m_eDirection && a.m_dPrice == b.m_dPrice &&
           a.m_nVolume == b.m_nVolume;
}

bool isSame(const CDealDetail& a, const CDealDetail& b) {
    return sharesAll(a, b) && a.m_dAmount == b.m_dAmount && a.m_strDealID == b.m_strDealID &&
           a.m_strTradeTime == b.m_strTradeTime;
}
bool isSame(const COrderDetail& a, const COrderDetail& b) {
    return sharesAll(a, b) && a.m_dTradedAmount == b.m_dTradedAmount &&
           a.m_nTradedVolume == b.m_nTradedVolume && a.m_eStatus == b.m_eStatus &&
           a.m_strSysID == b.m_strSysID;
}

template <class Record>
bool areSame(const std::vector<Parsed<Record>>& rows, const std::vector<Parsed<Record>>& copied) {
    return std::equal(rows.begin(), rows.end(), copied.begin(), copied.end(),
                      [](const auto& a, const auto& b) { return isSame(*a.record, *b.record); });
}

}  // namespace

QByteArray anonymousStatement(const QByteArray& statement, const std::string& tradeDate,
                              CNames& names) {
    const auto read = readRows(statement, tradeDate);
    if (!read) return {};
    const bool ofOrders = read->kind == TC::ImportReport::Kind::Orders;
    std::string text = ofOrders ? ORDER_COLUMNS : DEAL_COLUMNS;
    for (const auto& row : read->deals) text += lineOf(row, names);
    for (const auto& row : read->orders) text += lineOf(row, names);
    QByteArray copy = QByteArray::fromStdString(text);
    const auto again = readRows(copy, tradeDate);
    const bool isEmpty = read->deals.empty() && read->orders.empty();
    const bool same = again ? again->kind == read->kind && areSame(read->deals, again->deals) &&
                                  areSame(read->orders, again->orders)
                            : isEmpty;
    if (!same) throw LineError("the statement cannot be written without names");
    return copy;
}

}  // namespace replay
