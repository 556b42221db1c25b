#include "linkage/store/import/columns.h"

#include "linkage/store/import/wording.h"

#include <QHash>
#include <QSet>
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
            {COL_VOIDED,
             "撤单标志 撤单标识 撤销标志 撤消标志 冲销标志 冲销标识 冲正标志 红冲标志 作废标志 "
             "取消标志 是否撤单 是否撤销 是否冲销 是否作废"},
            {COL_VALID, "有效标志 是否有效"},
            {COL_CURRENCY, "币种 币种名称 币种类别 币别 货币 货币类型 交易币种 结算币种"},
            {COL_ANY_PRICE, "价格 单价"},
            {COL_ANY_VOLUME, "数量 股数"},
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
    constexpr int LONGEST = 64;
    if (text.size() > LONGEST) return {};
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
    const bool isVolume =
        isAmong(column, {COL_VOLUME, COL_ORDER_VOLUME, COL_CANCELLED, COL_ANY_VOLUME});
    const bool isPrice = isAmong(column, {COL_PRICE, COL_ORDER_PRICE, COL_ANY_PRICE});
    if (!isVolume && !isPrice && column != COL_AMOUNT) return EUnit::One;
    if (unit.isEmpty() || ones.contains(unit)) return EUnit::One;
    if (tenThousands.contains(unit) && !isPrice) return EUnit::TenThousand;
    if (unit == QStringLiteral("手") && isVolume) return EUnit::Lot;
    return {};
}

bool hasMeaning(const QString& name, EColumn column) {
    const auto [begin, end] = meanings().equal_range(name);
    return std::any_of(begin, end, [&](const Meaning& each) { return each.column == column; });
}

/// Names of columns that other lists have: holdings, flows of money, subscriptions.
bool isColumnOfOthers(const QString& name) {
    static const QSet<QString> others = [] {
        const QStringList words =
            QStringLiteral(
                "证券名称 股票名称 名称 余额 股份余额 证券余额 当前余额 剩余数量 可用余额 可用数量 "
                "可卖数量 冻结数量 持仓数量 持仓 市值 最新市值 参考市值 成本价 参考成本价 "
                "摊薄成本价 "
                "盈亏 浮动盈亏 参考盈亏 盈亏比例 市价 最新价 当前价 现价 资金余额 本次余额 "
                "后资金额 "
                "可用金额 发生金额 收入金额 付出金额 起始配号 配号数量 中签数量 申购代码 申购日期 "
                "利息 序号 笔数 成交笔数 流水号")
                .split(' ');
        return QSet<QString>(words.begin(), words.end());
    }();
    return others.contains(name);
}

/// What a column's name tells of the kind of its list.
void weigh(const QString& name, Header& header) {
    static const QStringList fees =
        QStringLiteral(
            "佣金 手续费 印花税 过户费 规费 经手费 证管费 清算金额 交收金额 发生金额 净佣金")
            .split(' ');
    if (hasMeaning(name, COL_DEAL_NUMBER)) header.ofDeals += 3;
    const bool ofDeal = name.startsWith(QStringLiteral("成交")) ||
                        name.startsWith(QStringLiteral("交割")) ||
                        name.startsWith(QStringLiteral("清算"));
    if (ofDeal && (hasMeaning(name, COL_DATE) || hasMeaning(name, COL_TIME))) header.ofDeals += 2;
    if (fees.contains(name)) header.ofDeals += 1;
    if (hasMeaning(name, COL_CANCELLED)) header.ofOrders += 3;
    if (hasMeaning(name, COL_STATUS) && !name.startsWith(QStringLiteral("成交"))) {
        header.ofOrders += name.startsWith(QStringLiteral("状态")) ? 2 : 3;
    }
}

/// Where a second table begins: the code is named twice, and the names before it repeat
/// those of the first table.
int besideOf(const std::vector<HeaderCell>& cells) {
    const auto code = std::find_if(cells.begin(), cells.end(), [](const HeaderCell& cell) {
        return hasMeaning(headerText(cell.text).name, COL_CODE);
    });
    if (code == cells.end()) return -1;
    const auto found = [&](auto from, auto to, const QString& text) {
        return std::find_if(from, to, [&](const HeaderCell& cell) { return cell.text == text; });
    };
    auto again = found(code + 1, cells.end(), code->text);
    if (again == cells.end()) return -1;
    while (again - 1 != code && found(cells.begin(), code, (again - 1)->text) != code) --again;
    return again->column;
}

}  // namespace

bool Header::mayHoldOrders() const {
    const bool plain =
        has(COL_ANY_PRICE) && has(COL_ANY_VOLUME) && place[COL_VOLUME] != place[COL_ANY_VOLUME];
    const bool ordered = has(COL_ORDER_VOLUME) && has(COL_ORDER_PRICE);
    return has(COL_CODE) && has(COL_SIDE) && (ordered || plain);
}

bool Header::mayHoldDeals() const {
    return has(COL_CODE) && (has(COL_SIDE) || has(COL_BUSINESS)) && has(COL_VOLUME) &&
           has(COL_PRICE);
}

Header Header::asOrders() const {
    Header orders = *this;
    const auto take = [&](EColumn ordered, EColumn any, EColumn dealt) {
        if (orders.has(ordered)) return;
        orders.place[ordered] = place[any];
        orders.unit[ordered] = unit[any];
        if (place[dealt] == place[any]) orders.place[dealt] = -1;
    };
    take(COL_ORDER_VOLUME, COL_ANY_VOLUME, COL_VOLUME);
    take(COL_ORDER_PRICE, COL_ANY_PRICE, COL_PRICE);
    return orders;
}

bool Header::namesTable() const {
    const auto named =
        std::count_if(place.begin(), place.end(), [](int column) { return column >= 0; });
    return names > 2 || (has(COL_CODE) && (has(COL_SIDE) || has(COL_BUSINESS) || named > 2));
}

Header headerOf(const std::vector<HeaderCell>& cells) {
    Header header;
    header.place.fill(-1);
    header.beside = besideOf(cells);
    std::array<int, COL_COUNT> rank;
    rank.fill(1 << 20);
    for (const HeaderCell& cell : cells) {
        if (header.beside >= 0 && cell.column >= header.beside) break;
        const HeaderText text = headerText(cell.text);
        header.last = std::max(header.last, cell.column);
        const auto [begin, end] = meanings().equal_range(text.name);
        header.names += begin != end || isColumnOfOthers(text.name);
        weigh(text.name, header);
        for (auto at = begin; at != end; ++at) {
            const auto unit = unitOf(at->column, text.unit);
            if (!unit) {
                if (!header.foreignUnits.contains(cell.text)) header.foreignUnits << cell.text;
                if (namesOtherCurrency(text.unit)) header.currency = cell.text;
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
    if (header.has(COL_ORDER_DATE) || header.has(COL_ORDER_TIME)) header.ofOrders += 1;
    if (header.has(COL_ANY_VOLUME) && header.place[COL_VOLUME] != header.place[COL_ANY_VOLUME]) {
        header.ofOrders += 1;
    }
    return header;
}

Header headerOf(const CWorkbook& book, std::span<const Cell> cells) {
    std::vector<HeaderCell> texts;
    for (const Cell& cell : cells) {
        if (!cell.isNumber) texts.push_back({cell.column, book.text(cell)});
    }
    return headerOf(texts);
}

Header headerOf(const CWorkbook& book, std::span<const Cell> upper, std::span<const Cell> lower) {
    std::vector<HeaderCell> cells;
    auto above = upper.begin();
    QString spanning;
    const auto takeAbove = [&](int upTo) {
        for (; above != upper.end() && above->column <= upTo; ++above) {
            spanning = above->isNumber ? QString() : book.text(*above);
            if (above->column < upTo && !spanning.isEmpty()) {
                cells.push_back({above->column, spanning});
            }
        }
    };
    for (const Cell& cell : lower) {
        if (cell.isNumber) return headerOf(std::vector<HeaderCell>());
        takeAbove(cell.column);
        const QString& own = book.text(cell);
        const QString both = spanning + own;
        cells.push_back({cell.column, meanings().contains(headerText(both).name) ? both : own});
    }
    takeAbove(kMaxColumns);
    return headerOf(cells);
}

bool namesFundAccount(const QString& text) { return hasMeaning(text, COL_FUND_ACCOUNT); }

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

}  // namespace TC::statement
