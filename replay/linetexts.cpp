#include "replay/linetexts.h"

#include <set>

namespace replay {

namespace {

using Is = EText;

/// Texts that stand in a line under the same name wherever they stand.
const Members LINE = {
    {"account", Is::Account},
    {"at", Is::Plain},
    {"code", Is::Plain},
    {"date", Is::Plain},
    {"dealId", Is::Number},
    {"do", Is::Plain},
    {"fileEncoding", Is::Plain},
    {"key", Is::Plain},
    {"market", Is::Plain},
    {"name", Is::Plain},
    {"now", Is::Plain},
    {"of", Is::Plain},
    {"op", Is::Plain},
    {"operator", Is::Name},
    {"out", Is::Plain},
    {"owner", Is::Account},
    {"remark", Is::Words},
    {"side", Is::Plain},
    {"stock", Is::Plain},
    {"strategy", Is::Strategy},
    {"strategy2", Is::Strategy},
    {"strategyName", Is::Strategy},
    {"strategyName2", Is::Strategy},
    {"sysId", Is::Number},
    {"tag", Is::Number},
    {"text", Is::Words},
    {"throws", Is::Words},
    {"time", Is::Plain},
    {"timeZone", Is::Plain},
    {"tradeDate", Is::Plain},
    {"user", Is::Name},
};
/// What an account's info and statistics say.
const Members ACCOUNT = {
    {"accountKey", Is::Account}, {"accountName", Is::Name},   {"accountType", Is::Plain},
    {"broker", Is::Name},        {"fundAccountId", Is::Name}, {"id", Is::Name},
    {"key", Is::Account},        {"name", Is::Name},          {"strategy", Is::Strategy},
    {"throws", Is::Words},
};
const Members INSTRUMENT = {{"code", Is::Plain},
                            {"market", Is::Plain},
                            {"name", Is::Plain},
                            {"product", Is::Plain},
                            {"throws", Is::Words}};
const Members BOOK_LINE = {
    {"account", Is::Account},   {"at", Is::Plain},    {"by", Is::Plain},     {"date", Is::Plain},
    {"form", Is::Plain},        {"order", Is::Plain}, {"reason", Is::Words}, {"remark", Is::Words},
    {"side", Is::Plain},        {"state", Is::Plain}, {"step", Is::Plain},   {"stock", Is::Plain},
    {"strategy", Is::Strategy}, {"text", Is::Words},
};

const std::map<std::string_view, Question> QUESTIONS = {
    {"account", {Is::Hash, 1, Is::Account}},
    {"accounts", {Is::Plain, 1, Is::Account}},
    {"asShown", {}},
    {"bars", {}},
    {"book", {}},
    {"bookLines", {}},
    {"bookPosted", {}},
    {"cancel", {}},
    {"command", {}},
    {"fee", {Is::Account, 2}},
    {"historyDeals", {Is::Account, 2}},
    {"historyOrders", {Is::Account, 2}},
    {"info", {Is::Account, 1, Is::Plain, &ACCOUNT}},
    {"instrument", {Is::Plain, 1, Is::Plain, &INSTRUMENT}},
    {"lastTradeDate", {}},
    {"lot", {}},
    {"operate", {}},
    {"orderPrice", {}},
    {"orderSetting", {}},
    {"price", {}},
    {"quotes", {}},
    {"records", {Is::Account, 2}},
    {"registRules", {}},
    {"subscribe", {Is::Account, 2}},
    {"taskData", {Is::Plain, 1, Is::Account}},
    {"taskHandler", {}},
    {"time", {}},
    {"timeRange", {}},
    {"tradeSetting", {}},
    {"tradingDate", {}},
    {"tradingDay", {}},
    {"typed", {}},
    {"userNumber", {}},
    {"userText", {Is::Plain, 1, Is::Words}},
    {"waiting", {Is::Account}},
};

/// The texts among the arguments of each call that has any.
const std::map<std::string_view, std::vector<EText>> CALLS = {
    {"addBalanceTime", {Is::BalanceKey, Is::Plain}},
    {"addHistoryLinkdata", {Is::Account, Is::Strategy}},
    {"addHistoryStat", {Is::HistoryKey, Is::Plain}},
    {"cancelAllOrders", {Is::Account, Is::Strategy}},
    {"cancelAllTasks", {Is::Account, Is::Strategy}},
    {"cancelTask", {Is::Plain, Is::Words}},
    {"deleteBalanceTime", {Is::BalanceKey}},
    {"deleteHistoryLinkageData", {Is::HistoryKey, Is::Plain}},
    {"doHistoryBalance", {Is::Account, Is::Strategy}},
    {"doHistoryBalanceBySignalTask", {Is::Account, Is::Strategy}},
    {"doStockBalance", {Is::Account, Is::Strategy}},
    {"doStockBalanceBySignalTask", {Is::Account, Is::Strategy}},
    {"giveHistoryDayUp", {Is::Plain, Is::Words}},
    {"requestAccount", {Is::Account}},
    {"requestAccountDeals", {Is::Account, Is::Plain, Is::Plain}},
    {"requestAccountOrders", {Is::Account, Is::Plain, Is::Plain}},
    {"runAutoBalance", {Is::Account, Is::Strategy, Is::Plain}},
    {"runAutoBalanceTimer", {Is::Account, Is::Strategy}},
    {"setHistoryStatDataId", {Is::HistoryKey, Is::Plain}},
    {"settleBalances", {Is::Account}},
    {"tryAutoBalance", {Is::Account, Is::Strategy}},
};

const std::set<std::string_view> KNOWN_LINES = {
    "config",        "order",  "deal",       "position",      "task",
    "report",        "price",  "barsAnswer", "work",          "historyAnswer",
    "commandAnswer", "init",   "login",      "accountReady",  "newTradingDate",
    "leave",         "resume", "end",        "referenceData", "nothing"};
const std::set<std::string_view> KNOWN_MARKS = {"signal", "command", "cancelOrder", "operateTask",
                                                "figures"};

}  // namespace

const Members& lineTexts() { return LINE; }
const Members& accountTexts() { return ACCOUNT; }
const Members& bookTexts() { return BOOK_LINE; }

const Question* questionTexts(std::string_view name) {
    const auto known = QUESTIONS.find(name);
    return known == QUESTIONS.end() ? nullptr : &known->second;
}

const std::vector<EText>& callTexts(std::string_view operation) {
    static const std::vector<EText> NONE;
    const auto known = CALLS.find(operation);
    return known == CALLS.end() ? NONE : known->second;
}

bool isKnownLine(std::string_view kind) { return KNOWN_LINES.count(kind) > 0; }
bool isKnownMark(std::string_view kind) { return KNOWN_MARKS.count(kind) > 0; }

}  // namespace replay
