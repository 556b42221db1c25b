#pragma once

#include <QString>

#include <optional>

/// The words by which statements tell sides, states and currencies. Pure.
namespace TC::statement {

enum class ESide { Buy, Sell };

/// The side that a text names, with whatever else it says of the way of trading ("盘后定价
/// 买入", "买入(普通)"); nothing for what is no deal (dividends, fees, subscriptions,
/// transfers, designations, cancellations) and for what is not understood.
std::optional<ESide> sideOf(const QString& text);

/// Whether a text speaks of buying or selling, understood or not.
bool speaksOfSide(const QString& text);

/// Whether a text names a way of trading and no side: the side stands elsewhere.
bool namesTradeOnly(const QString& text);

/// The status (EEntrustStatus) that a text of an order list names.
std::optional<int> orderStatusOf(const QString& text);

/// Whether a text in a list of deals says that its row is none: withdrawn, refused, or an
/// order that has not traded yet.
bool saysNotDealt(const QString& text);

/// Whether a text in the place of a deal's status says that it was dealt.
bool saysDealt(const QString& text);

/// Whether a text says that its row was cancelled, voided, reversed or failed. Names of
/// ways to trade that speak of cancelling the rest ("五档即成剩撤") do not.
bool saysVoid(const QString& text);

/// Whether a text marks a sum under rows ("合计", "本日小计").
bool saysSum(const QString& text);

/// Whether a flag ("撤单标志") is set; nothing where the text is no answer to that.
std::optional<bool> flagOf(const QString& text);

/// Whether a text names a currency other than the yuan.
bool namesOtherCurrency(const QString& text);

/// Whether a text in the place of a price says that the order took the market's.
bool saysMarketPrice(const QString& text);

}  // namespace TC::statement
