#include "linkage/store/import/columns.h"

#include <QHash>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace TC::statement {

namespace {

struct Meaning {
    EColumn column;
    int rank;  ///< the lower, the more precise is the name
};

/// What each name means; some stand for more than one thing.
const QMultiHash<QString, Meaning>& meanings() {
    static const QMultiHash<QString, Meaning> all = [] {
        // Per column, the most precise name first.
        const std::pair<EColumn, const char*> rows[] = {
            {COL_CODE, "证券代码 股票代码 证券编码 代码 合约代码 基金代码 债券代码 产品代码"},
            {COL_MARKET, "交易市场 交易所 交易所名称 市场名称 证券市场 市场 市场类型 市场类别"},
            {COL_DATE,
             "成交日期 交易日期 发生日期 成交日 业务日期 日期 清算日期 交割日期 交收日期"},
            {COL_TIME, "成交时间 发生时间 交易时间 时间"},
            {COL_SIDE,
             "买卖标志 买卖方向 操作 买卖 买卖标识 买卖类别 交易方向 成交方向 委托方向 方向 "
             "操作类型 操作方向 委托类别 交易类别 交易类型 业务类型 业务类别 业务标志 摘要"},
            {COL_BUSINESS, "业务名称"},
            {COL_PRICE, "成交价格 成交均价 成交价 均价 价格 单价"},
            {COL_VOLUME, "成交数量 成交股数 成交量 成交份额 发生数量 数量 股数"},
            {COL_AMOUNT, "成交金额 成交额 成交总额 成交总金额"},
            {COL_DEAL_NUMBER, "成交编号 成交序号 成交号 成交号码 成交流水号"},
            {COL_ORDER_NUMBER,
             "委托编号 合同编号 合同号 委托序号 委托号 合同序号 申报编号 申请编号 订单编号"},
            {COL_HOLDER,
             "股东代码 股东账号 股东帐号 股东账户 股东帐户 证券账户 证券帐户 证券账号 证券帐号 "
             "股东卡号"},
            {COL_FUND_ACCOUNT, "资金账号 资金帐号 资金账户 资金帐户 交易账号 账号 帐号 账户 帐户"},
            {COL_ORDER_DATE, "委托日期 申报日期"},
            {COL_ORDER_TIME, "委托时间 申报时间"},
            {COL_ORDER_PRICE, "委托价格 委托价 申报价格 订单价格"},
            {COL_ORDER_VOLUME, "委托数量 委托股数 委托量 申报数量 订单数量"},
            {COL_CANCELLED, "撤单数量 撤消数量 撤销数量 已撤数量 撤单股数"},
            {COL_STATUS, "委托状态 状态 状态说明 订单状态 状态名称 成交状态"},
            {COL_REMARK, "备注"},
            {COL_REQUEST, "委托类型 委托类别 成交类型 成交类别"},
        };
        QMultiHash<QString, Meaning> names;
        for (const auto& [column, words] : rows) {
            int rank = 0;
            for (const QString& word : QString::fromUtf8(words).split(' ')) {
                names.insert(word, {column, rank++});
            }
        }
        return names;
    }();
    return all;
}

/// A header's text without blanks and marks, divided into its name and the text in brackets.
struct HeaderText {
    QString name;
    QString unit;
};

HeaderText headerText(const QString& text) {
    const QString whole = plainText(text).remove('*');
    const int bracket = whole.indexOf('(');
    if (bracket <= 0 || !whole.endsWith(')')) return {whole, QString()};
    return {whole.left(bracket), whole.mid(bracket + 1, whole.size() - bracket - 2)};
}

bool isAmong(EColumn column, std::initializer_list<EColumn> columns) {
    return std::find(columns.begin(), columns.end(), column) != columns.end();
}

/// The unit of a column's figures; nothing when the unit is not known. Columns without figures
/// ("证券代码(A股)") may have any text in brackets.
std::optional<EUnit> unitOf(EColumn column, const QString& unit) {
    static const QStringList ones =
        QStringLiteral("元 人民币 人民币元 股 份 张 股/张 股/份 元/股 元/份 元/张").split(' ');
    static const QStringList tenThousands = QStringLiteral("万 万元 万股 万份 万张").split(' ');
    const bool isVolume = isAmong(column, {COL_VOLUME, COL_ORDER_VOLUME, COL_CANCELLED});
    const bool isPrice = isAmong(column, {COL_PRICE, COL_ORDER_PRICE});
    if (!isVolume && !isPrice && column != COL_AMOUNT) return EUnit::One;
    if (unit.isEmpty() || ones.contains(unit)) return EUnit::One;
    if (tenThousands.contains(unit) && !isPrice) return EUnit::TenThousand;
    if (unit == QStringLiteral("手") && isVolume) return EUnit::Lot;
    return {};
}

bool names(const QString& name, EColumn column) {
    const auto [begin, end] = meanings().equal_range(name);
    return std::any_of(begin, end, [&](const Meaning& each) { return each.column == column; });
}

}  // namespace

bool Header::holdsOrders() const {
    const bool told = has(COL_STATUS) || has(COL_REMARK) || has(COL_CANCELLED) ||
                      has(COL_ORDER_TIME) || has(COL_ORDER_DATE) || !has(COL_PRICE);
    return has(COL_CODE) && has(COL_SIDE) && has(COL_ORDER_VOLUME) && has(COL_ORDER_PRICE) &&
           !has(COL_DEAL_NUMBER) && told;
}

bool Header::holdsDeals() const {
    return has(COL_CODE) && (has(COL_SIDE) || has(COL_BUSINESS)) && has(COL_VOLUME) &&
           has(COL_PRICE);
}

bool Header::namesTable() const {
    const auto named =
        std::count_if(place.begin(), place.end(), [](int column) { return column >= 0; });
    return has(COL_CODE) && (has(COL_SIDE) || has(COL_BUSINESS) || named > 2);
}

Header headerOf(const CWorkbook& book, std::span<const Cell> cells) {
    Header header;
    header.place.fill(-1);
    std::array<int, COL_COUNT> rank;
    rank.fill(1 << 20);
    for (const Cell& cell : cells) {
        if (cell.isNumber) continue;
        const HeaderText text = headerText(book.text(cell));
        const auto [begin, end] = meanings().equal_range(text.name);
        for (auto at = begin; at != end; ++at) {
            const auto unit = unitOf(at->column, text.unit);
            if (!unit) {
                header.foreignUnits << book.text(cell);
                continue;
            }
            if (at->rank >= rank[at->column]) continue;
            rank[at->column] = at->rank;
            header.place[at->column] = cell.column;
            header.unit[at->column] = *unit;
        }
    }
    // One column cannot be both. When no better column names the side, it counts as the side.
    if (header.place[COL_REQUEST] == header.place[COL_SIDE]) header.place[COL_REQUEST] = -1;
    return header;
}

RowValues valuesOf(const CWorkbook& book, const Header& header, std::span<const Cell> cells) {
    RowValues values;
    for (std::size_t column = 0; column < COL_COUNT; ++column) {
        const int place = header.place[column];
        if (place < 0) continue;
        const auto found =
            std::lower_bound(cells.begin(), cells.end(), place,
                             [](const Cell& cell, int wanted) { return cell.column < wanted; });
        if (found == cells.end() || found->column != place) continue;
        values[column] =
            found->isNumber ? Value{true, found->number, {}} : Value{false, 0.0, book.text(*found)};
        values[column].isLots = header.unit[column] == EUnit::Lot;
        if (header.unit[column] != EUnit::TenThousand) continue;
        if (const auto number = cellNumber(values[column])) {
            values[column] = {true, *number * 10'000, {}};
        }
    }
    return values;
}

void readTitleLine(const CWorkbook& book, std::span<const Cell> cells, TitleLines& titles) {
    static const QRegularExpression account(
        QStringLiteral("(?:资金|交易)?[账帐][号户]:([A-Z0-9]+)"));
    static const QRegularExpression written(
        QStringLiteral("(?:打印|制表|导出|生成|下载)(?:日期|时间)[:\\s]*"
                       "\\d{4}[-/.年]?\\d{1,2}[-/.月]?\\d{1,2}"));
    static const QRegularExpression date(
        QStringLiteral("(?<!\\d)(\\d{4}[-/.年]\\d{1,2}[-/.月]\\d{1,2}|(?<=日期:)\\d{8})"));
    QString line;
    for (const Cell& cell : cells) {
        const Value value =
            cell.isNumber ? Value{true, cell.number, {}} : Value{false, 0.0, book.text(cell)};
        QString text = plainText(value.display().left(1000));
        if (names(text, COL_FUND_ACCOUNT)) text += ':';
        line += (line.endsWith(':') ? QString() : QStringLiteral(" ")) + text;
    }
    const auto named = account.match(line);
    if (named.hasMatch() && titles.fundAccount.isEmpty()) titles.fundAccount = named.captured(1);
    line.remove(written);
    for (auto found = date.globalMatch(line); found.hasNext();) {
        const auto day = dateOf({false, 0.0, found.next().captured(1)});
        if (day &&
            std::find(titles.dates.begin(), titles.dates.end(), day->date) == titles.dates.end()) {
            titles.dates.push_back(day->date);
        }
    }
}

}  // namespace TC::statement
