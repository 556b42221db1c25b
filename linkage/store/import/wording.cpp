#include "linkage/store/import/wording.h"

#include "linkage/store/import/cellvalues.h"
#include "platform/records/enums.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QStringList>

#include <algorithm>

namespace TC::statement {

namespace {

QStringList wordsOf(const char* words) { return QString::fromUtf8(words).split(' '); }

QSet<QString> setOf(const char* words) {
    const QStringList list = wordsOf(words);
    return {list.begin(), list.end()};
}

/// The text without what it says of the way of trading, "" when nothing else is left.
QString withoutWays(QString text) {
    static const QRegularExpression brackets(QStringLiteral("\\([^()买卖撤冲]*\\)"));
    static const QRegularExpression marks(QStringLiteral("[-_/:·.,、]"));
    static const QStringList ways = [] {
        QStringList words = wordsOf(
            "证券 股票 普通 担保品 债券 可转债 基金 限价 市价 竞价 集中竞价 连续竞价 盘后定价 "
            "盘后固定价格 盘后 大宗交易 大宗 协议 五档即成剩撤 五档即成转限 五档即成剩转限 "
            "最优五档即时成交剩余撤销 最优五档即时成交剩余转限价 即时成交剩余撤销 最优五档 "
            "五档 即成剩撤 即成转限 对手方最优 本方最优 最优价格 全额成交或撤销 全额成交或撤 "
            "全成或撤 强制平仓 强平 平仓 A股 B股 ETF LOF 创业板 科创板 北交所 深市 沪市 申报 "
            "委托 成交 交易 场内 二级市场 信用 确认");
        std::stable_sort(words.begin(), words.end(),
                         [](const QString& a, const QString& b) { return a.size() > b.size(); });
        return words;
    }();
    text.remove(brackets);
    text.remove(marks);
    for (const QString& way : ways) text.remove(way);
    return text;
}

const QHash<QString, ESide>& sideWords() {
    static const QHash<QString, ESide> sides = [] {
        const std::pair<ESide, const char*> rows[] = {
            {ESide::Buy,
             "买 买入 买进 证券买入 股票买入 普通买入 担保品买入 融资买入 信用买入 融券买入 "
             "买券还券 "
             "债券买入 基金买入 限价买入 市价买入 竞价买入 买入成交 B BUY"},
            {ESide::Sell,
             "卖 卖出 证券卖出 股票卖出 普通卖出 担保品卖出 融券卖出 融资卖出 信用卖出 卖券还款 "
             "债券卖出 基金卖出 限价卖出 市价卖出 竞价卖出 卖出成交 S SELL"},
        };
        QHash<QString, ESide> all;
        for (const auto& [side, words] : rows) {
            for (const QString& word : wordsOf(words)) all.insert(word, side);
        }
        return all;
    }();
    return sides;
}

}  // namespace

std::optional<ESide> sideOf(const QString& text) {
    const QString plain = plainText(text);
    auto found = sideWords().constFind(plain);
    if (found == sideWords().constEnd() && !saysVoid(plain)) {
        found = sideWords().constFind(withoutWays(plain));
    }
    return found == sideWords().constEnd() ? std::nullopt : std::optional(found.value());
}

bool speaksOfSide(const QString& text) {
    static const QRegularExpression side(QStringLiteral("[买卖]|BUY|SELL"));
    return side.match(plainText(text)).hasMatch();
}

bool namesTradeOnly(const QString& text) {
    const QString plain = plainText(text);
    return !plain.isEmpty() && withoutWays(plain).isEmpty();
}

std::optional<int> orderStatusOf(const QString& text) {
    using namespace vexservice;
    static const QHash<QString, int> statuses = [] {
        const std::pair<int, const char*> rows[] = {
            {STATUS_UNREPORTED, "未报 未申报"},
            {STATUS_WAIT_REPORTING, "待报 正报 待申报"},
            {STATUS_REPORTED, "已报 已申报 未成交 已受理 已委托"},
            {STATUS_REPORTED_CANCEL, "已报待撤 待撤"},
            {STATUS_PARTSUCC_CANCEL, "部成待撤"},
            {STATUS_PART_CANCEL, "部撤 部成部撤 部分撤单 部成已撤 部分成交部分撤单"},
            {STATUS_CANCELED, "已撤 已撤单 全撤 全部撤单 撤单 撤单成功 场内撤单"},
            {STATUS_PART_SUCC, "部成 部分成交"},
            {STATUS_SUCCEEDED, "已成 已成交 全成 全部成交 成交"},
            {STATUS_JUNK, "废单 非法委托 无效委托 已拒绝 拒单"},
        };
        QHash<QString, int> all;
        for (const auto& [status, words] : rows) {
            for (const QString& word : wordsOf(words)) all.insert(word, status);
        }
        return all;
    }();
    const auto found = statuses.constFind(plainText(text));
    return found == statuses.constEnd() ? std::nullopt : std::optional(found.value());
}

bool saysNotDealt(const QString& text) {
    using namespace vexservice;
    const auto status = orderStatusOf(text);
    if (!status) return saysVoid(text);
    return *status != STATUS_SUCCEEDED && *status != STATUS_PART_SUCC &&
           *status != STATUS_PART_CANCEL && *status != STATUS_PARTSUCC_CANCEL;
}

bool saysDealt(const QString& text) {
    const auto status = orderStatusOf(text);
    if (status) return !saysNotDealt(text);
    static const QSet<QString> dealt = setOf(
        "成交确认 正常 正常成交 普通成交 普通 有效 成功 完成 已完成 成交完成 已清算 已交收 "
        "已交割 已结算 已确认 买入成交 卖出成交 买入 卖出 成交成功 交易成功");
    return dealt.contains(plainText(text));
}

bool saysVoid(const QString& text) {
    static const QRegularExpression voided(QStringLiteral(
        "(?<![未余则或可非部分])(撤单|撤销|撤消|撤回|已撤)|作废|废单|冲销|冲正|红冲|红字|失败|无效|"
        "拒绝|拒单|非法|^废|^撤|^已取消|^取消$"));
    return voided.match(plainText(text)).hasMatch();
}

bool saysSum(const QString& text) {
    static const QRegularExpression sum(
        QStringLiteral("^(本|当|全)?(日|天|月|页|周|期|部)?(合计|小计|总计|累计|汇总)[:：]?$"));
    const QString plain = plainText(text);
    return plain.size() <= 6 && sum.match(plain).hasMatch();
}

std::optional<bool> flagOf(const QString& text) {
    static const QSet<QString> yes = setOf("是 Y YES TRUE 1 T √");
    static const QSet<QString> no = setOf("否 N NO FALSE 0 F - -- 未撤 未撤单 正常 ×");
    const QString plain = plainText(text);
    if (yes.contains(plain)) return true;
    if (text.trimmed().isEmpty() || no.contains(plain)) return false;
    return std::nullopt;
}

bool namesOtherCurrency(const QString& text) {
    static const QRegularExpression currency(QStringLiteral(
        "美元|美金|港元|港币|港幣|欧元|日元|英镑|外币|USD|HKD|EUR|JPY|GBP|US\\$|HK\\$"));
    return currency.match(plainText(text)).hasMatch();
}

bool saysMarketPrice(const QString& text) {
    return plainText(text).contains(QStringLiteral("市价"));
}

}  // namespace TC::statement
