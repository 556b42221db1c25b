#include "desk/detailtables.h"

#include "desk/picture.h"
#include "desk/texts.h"
#include "linkage/core/clinkagemanager.h"

#include <QCoreApplication>
#include <QTabWidget>

#include <array>

namespace desk {

namespace {

constexpr int CHANGE_COLUMN = 11;

struct Tables {
    Q_DECLARE_TR_FUNCTIONS(Tables)
};

CRowsView* makeTable(QWidget* parent, const char* name, std::vector<Column> columns) {
    auto* table = new CRowsView(std::move(columns), CRowsView::ESorting::ByUser, parent);
    table->setObjectName(name);
    return table;
}

/// At a limit nobody can trade out of a position on the wrong side; the library then values it
/// one limit further.
QString limitText(const StockRow& row) {
    if (row.limit == 0) return {};
    const std::int64_t net = row.bought - row.sold;
    const bool further = row.limit > 0 ? net < 0 : net > 0;
    if (row.limit > 0)
        return further ? Tables::tr("up, valued one limit higher") : Tables::tr("up");
    return further ? Tables::tr("down, valued one limit lower") : Tables::tr("down");
}

Row stockRow(const StockRow& row) {
    const auto known = [](double price) { return price > 0.0 ? QVariant(price) : QVariant(); };
    const bool changes = row.lastPrice > 0.0 && row.referencePrice > 0.0;
    const QVariant change =
        changes ? QVariant((row.lastPrice / row.referencePrice - 1.0) * 100.0) : QVariant();
    return {
        text(row.stock),
        {text(row.stock), text(row.name), known(row.lastPrice), row.profit, qlonglong(row.bought),
         qlonglong(row.sold), qlonglong(row.bought - row.sold), row.positionValue, row.boughtAmount,
         row.soldAmount, row.commission, change, limitText(row), known(row.bid), known(row.ask)},
        false};
}

Row orderRow(const OrderRow& row) {
    const QString key = QString::number(row.key);
    return {key,
            {qulonglong(row.key), row.buys,
             row.price > 0.0 ? QVariant(row.price) : QVariant(Tables::tr("market")), row.volume,
             row.traded, libraryText(TC::getOrderStatusQString(row.status)), text(row.seen)},
            false};
}

Row dealRow(const DealRow& row) {
    return {QString::number(row.key),
            {text(row.time), row.buys, row.price, row.volume, row.amount,
             row.ofHistory ? Tables::tr("balances earlier days") : QString()},
            false};
}

Row taskRow(const TaskRow& row) {
    const QString key = QString::number(row.key);
    return {key,
            {qulonglong(row.key), libraryText(TC::getTaskStatusQString(row.status)),
             row.server ? Tables::tr("Server") : Tables::tr("Client"), row.volume, row.traded},
            false};
}

QString sidesText(const LevelRow& row) {
    if (row.buys && row.sells) return Tables::tr("Buy and sell");
    return formatted(row.buys, EFormat::Side);
}

Row levelRow(const LevelRow& row) {
    return {QString::number(row.price, 'f', 4),
            {row.price > 0.0 ? QVariant(row.price) : QVariant(Tables::tr("market")), row.lots,
             sidesText(row)},
            false};
}

}  // namespace

Column firstSeenColumn() {
    Column column{Tables::tr("First seen")};
    column.tip = Tables::tr(
        "Orders carry no time. This is when the first report of the order "
        "came; empty: before the desk was there");
    return column;
}

CDetailTables::CDetailTables(QWidget* parent, QTabWidget* tabs) {
    m_pStocks = makeTable(parent, "stocks",
                          {{Tables::tr("Stock")},
                           {Tables::tr("Name")},
                           {Tables::tr("Last"), EFormat::Price, false, CHANGE_COLUMN},
                           {Tables::tr("Profit"), EFormat::Profit},
                           {Tables::tr("Bought"), EFormat::Count},
                           {Tables::tr("Sold"), EFormat::Count},
                           {Tables::tr("Net bought"), EFormat::Count},
                           {Tables::tr("Position value"), EFormat::Yuan},
                           {Tables::tr("Bought amount"), EFormat::Yuan},
                           {Tables::tr("Sold amount"), EFormat::Yuan},
                           {Tables::tr("Commission"), EFormat::Money},
                           {Tables::tr("Change"), EFormat::Change},
                           {Tables::tr("Limit")},
                           {Tables::tr("Bid"), EFormat::Price},
                           {Tables::tr("Ask"), EFormat::Price}});
    m_pOrders = makeTable(tabs, "orders",
                          {{Tables::tr("Order")},
                           {Tables::tr("Side"), EFormat::Side},
                           {Tables::tr("Price"), EFormat::Price},
                           {Tables::tr("Volume"), EFormat::Count},
                           {Tables::tr("Traded"), EFormat::Count},
                           {Tables::tr("Status")},
                           firstSeenColumn()});
    m_pDeals = makeTable(tabs, "deals",
                         {{Tables::tr("Time"), EFormat::Time},
                          {Tables::tr("Side"), EFormat::Side},
                          {Tables::tr("Price"), EFormat::Price},
                          {Tables::tr("Volume"), EFormat::Count},
                          {Tables::tr("Amount"), EFormat::Money},
                          {Tables::tr("Remark")}});
    m_pTasks = makeTable(tabs, "tasks",
                         {{Tables::tr("Task")},
                          {Tables::tr("Status")},
                          {Tables::tr("Runs on")},
                          {Tables::tr("Volume"), EFormat::Count},
                          {Tables::tr("Traded"), EFormat::Count}});
    m_pLevels = makeTable(tabs, "levels",
                          {{Tables::tr("Price"), EFormat::Price},
                           {Tables::tr("Open lots"), EFormat::Count},
                           {Tables::tr("Side")}});
    nameTables(tabs);
}

void CDetailTables::nameTables(QTabWidget* tabs) {
    m_pStocks->setPlaceholder(Tables::tr("Nothing traded today"));
    m_pOrders->setPlaceholder(Tables::tr("No orders of this stock yet"));
    m_pDeals->setPlaceholder(Tables::tr("No deals of this stock yet"));
    m_pTasks->setPlaceholder(Tables::tr("No tasks of this stock"));
    m_pLevels->setPlaceholder(Tables::tr("No lots of this stock rest at the exchange"));
    tabs->addTab(m_pOrders, Tables::tr("Orders"));
    tabs->addTab(m_pDeals, Tables::tr("Deals"));
    tabs->addTab(m_pTasks, Tables::tr("Tasks"));
    tabs->addTab(m_pLevels, Tables::tr("Open lots"));
}

CRowsView* CDetailTables::table(int which) const {
    const std::array<CRowsView*, COUNT> tables{m_pStocks, m_pOrders, m_pDeals, m_pTasks, m_pLevels};
    return tables[static_cast<std::size_t>(which)];
}

void CDetailTables::show(const Picture& picture, int which) {
    CRowsView* table = this->table(which);
    if (table == m_pStocks) table->fill(picture.stocks, stockRow);
    if (table == m_pOrders) table->fill(picture.orders, orderRow);
    if (table == m_pDeals) table->fill(picture.deals, dealRow);
    if (table == m_pTasks) table->fill(picture.tasks, taskRow);
    if (table == m_pLevels) table->fill(picture.levels, levelRow);
}

}  // namespace desk
