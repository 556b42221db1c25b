#include "linkage/store/import/columns.h"
#include "linkage/store/import/wording.h"

#include <QRegularExpression>

#include <algorithm>

namespace TC::statement {

void readTitleWords(const QString& text, TitleLines& titles) {
    static const QRegularExpression deals(
        QStringLiteral("^(当日|今日|本日|历史|客户|证券|普通)*成交"
                       "(查询|明细|记录|列表|清单|单|回报|流水|情况|汇报)*$|^(历史|电子)?交割单"));
    static const QRegularExpression orders(
        QStringLiteral("^(当日|今日|本日|历史|客户|证券|普通)*委托"
                       "(查询|明细|记录|列表|清单|单|流水|情况)*$"));
    static const QRegularExpression others(QStringLiteral(
        "^(.{0,6}(资金|现金)(流水|明细|变动|股份流水).{0,4}|.{0,6}(持仓|持股|股份余额|证券余额)"
        "(查询|明细|情况|汇总|列表)*|.{0,4}(新股|配号|中签).{0,6}|.{0,8}(汇总|统计)(表|如下)?|"
        ".{0,8}合计表)[:：]?$"));
    static const QRegularExpression hongKong(QStringLiteral("港股|沪港通|深港通"));
    const QString plain = plainText(text);
    titles.ofDeals = titles.ofDeals || deals.match(plain).hasMatch();
    titles.ofOrders = titles.ofOrders || orders.match(plain).hasMatch();
    titles.ofOthers = titles.ofOthers || (others.match(plain).hasMatch() && !saysSum(plain));
    titles.ofHongKong = titles.ofHongKong || hongKong.match(plain).hasMatch();
}

namespace {

void readAccount(const QString& line, TitleLines& titles) {
    static const QRegularExpression account(
        QStringLiteral("(?<!股东)(?<!证券)(?<!基金)[账帐][号户](?::([A-Z0-9]+)|([0-9]{4,}))"));
    static const QRegularExpression mention(
        QStringLiteral("(?<!股东)(?<!证券)(?<!基金)[账帐][号户]|客户"));
    const auto named = account.match(line);
    if (named.hasMatch()) {
        titles.fundAccount = named.captured(named.lastCapturedIndex());
        titles.namesUnknownAccount = false;
    } else if (titles.fundAccount.isEmpty() && mention.match(line).hasMatch()) {
        titles.namesUnknownAccount = true;
    }
}

void readDays(const QString& line, TitleLines& titles) {
    static const QRegularExpression date(
        QStringLiteral("(?<!\\d)(\\d{4}[-/.年]\\d{1,2}[-/.月]\\d{1,2}|(?<=日期:)\\d{8}|"
                       "(?<=^ )\\d{8}$)"));
    static const QRegularExpression mention(
        QStringLiteral("\\d月\\d|星期|周[一二三四五]|(?<![\\d.,])\\d{1,2}[-/]\\d{1,2}(?![\\d.,])"));
    // That there are several is enough to know.
    for (auto found = date.globalMatch(line); found.hasNext() && titles.dates.size() < 2;) {
        const auto day = dateOf({false, 0.0, found.next().captured(1)});
        if (!day) continue;
        if (std::find(titles.dates.begin(), titles.dates.end(), day->date) == titles.dates.end()) {
            titles.dates.push_back(day->date);
        }
    }
    titles.namesUnknownDay =
        titles.dates.empty() && (titles.namesUnknownDay || mention.match(line).hasMatch());
}

}  // namespace

void readTitleLine(const CWorkbook& book, std::span<const Cell> cells, TitleLines& titles) {
    static const QRegularExpression written(
        QStringLiteral("(?:打印|制表|导出|生成|下载)(?:日期|时间)[:\\s]*"
                       "\\d{4}[-/.年]?\\d{1,2}[-/.月]?\\d{1,2}"));
    static const QRegularExpression currency(QStringLiteral("币种?别?:(\\S+)"));
    // A title is short; many rows may repeat a long remark.
    constexpr int LONGEST_CELL = 200;
    constexpr int LONGEST_LINE = 1000;
    QString line;
    for (const Cell& cell : cells) {
        if (line.size() > LONGEST_LINE) break;
        const Value value =
            cell.isNumber ? Value{true, cell.number, {}} : Value{false, 0.0, book.text(cell)};
        QString text = plainText(value.display().left(LONGEST_CELL));
        if (cells.size() == 1 && cell.isNumber) {
            const auto day = dateOf(value, book.dates1904());
            if (day) text = QString::fromStdString(day->date);
        }
        readTitleWords(text, titles);
        if (namesFundAccount(text)) text += ':';
        line += (line.endsWith(':') ? QString() : QStringLiteral(" ")) + text;
    }
    const auto named = currency.match(line);
    if (named.hasMatch() && namesOtherCurrency(named.captured(1))) {
        titles.currency = named.captured(1);
    }
    line.remove(written);
    readAccount(line, titles);
    readDays(line, titles);
}

}  // namespace TC::statement
