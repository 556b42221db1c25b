#include "desk/runningpage.h"

#include "desk/detailtables.h"
#include "desk/question.h"
#include "desk/texts.h"
#include "linkage/core/clinkagemanager.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace desk {

namespace {

QString keyOf(const RunningRow& row) {
    return QString::fromStdString(row.account) + '\n' + QString::number(row.order.key);
}

Row rowOf(const RunningRow& row) {
    const OrderRow& order = row.order;
    return {keyOf(row),
            {QString::fromStdString(order.seen), QString::fromStdString(row.stock), order.buys,
             order.price > 0.0 ? QVariant(order.price) : QVariant(CRunningPage::tr("market")),
             order.volume, order.traded, QString::fromStdString(row.strategy),
             libraryText(TC::getOrderStatusQString(order.status)),
             QString::fromStdString(row.account), QString::fromStdString(row.name)},
            false};
}

}  // namespace

CRunningPage::CRunningPage(CActions& actions, QWidget* parent)
    : QWidget(parent), m_actions(actions) {
    m_pTable = new CRowsView({firstSeenColumn(),
                              {tr("Stock")},
                              {tr("Side"), EFormat::Side},
                              {tr("Price"), EFormat::Price},
                              {tr("Volume"), EFormat::Count},
                              {tr("Traded"), EFormat::Count},
                              {tr("Strategy")},
                              {tr("Status")},
                              {tr("Account")},
                              {tr("Name")}},
                             CRowsView::ESorting::ByUser, this);
    m_pTable->setObjectName("running");
    m_pTable->setPlaceholder(tr("No order is running"));
    connect(m_pTable, &QTableView::doubleClicked, this, &CRunningPage::cancel);
    auto* key = new QAction(tr("Cancel or&der"), m_pTable);
    key->setShortcut(QKeySequence::Delete);
    key->setShortcutContext(Qt::WidgetShortcut);
    connect(key, &QAction::triggered, this, &CRunningPage::cancel);
    m_pTable->addAction(key);

    m_pCancel = new QPushButton(tr("Cancel order"), this);
    m_pCancel->setObjectName("runningCancel");
    m_pCancel->setToolTip(tr("Also by a double click on the order, or the key Delete"));
    connect(m_pCancel, &QPushButton::clicked, this, &CRunningPage::cancel);
    m_pCancelAll = new QPushButton(tr("Cancel all of the strategy…"), this);
    m_pCancelAll->setObjectName("runningCancelAll");
    connect(m_pCancelAll, &QPushButton::clicked, this, &CRunningPage::askCancelAll);

    auto* line = new QHBoxLayout;
    m_pShown = new QLabel(this);
    m_pShown->setWordWrap(true);
    line->addWidget(m_pCancel);
    line->addStretch();
    line->addWidget(m_pCancelAll);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_pTable);
    layout->addWidget(m_pShown);
    layout->addLayout(line);
    show({}, {});
}

const RunningRow* CRunningPage::current() const {
    const QString key = m_pTable->currentKey();
    const auto found = std::find_if(m_orders.begin(), m_orders.end(),
                                    [&key](const RunningRow& row) { return keyOf(row) == key; });
    return found == m_orders.end() ? nullptr : &*found;
}

void CRunningPage::cancel() {
    const RunningRow* row = current();
    if (!row) return;
    if (!m_actions.mayCommand()) {
        Q_EMIT sigMessage(noCommandText());
        return;
    }
    const QString name = QString::number(row->order.key);
    m_actions.cancelOrder(row->account, row->order.key, [this, name](const QString& fault) {
        Q_EMIT sigMessage(fault.isEmpty()
                              ? tr("The cancellation of order %1 was asked for.").arg(name)
                              : tr("Order %1 is not cancelled: %2.").arg(name, fault));
    });
}

void CRunningPage::askCancelAll() {
    const RunningRow* row = current();
    if (!row || row->strategy.empty()) return;
    const Selection pair{row->account, row->strategy, {}};
    const auto counted = std::find_if(m_pairs.begin(), m_pairs.end(), [&pair](const PairRow& each) {
        return each.account == pair.account && each.strategy == pair.strategy;
    });
    const int count = counted == m_pairs.end() ? 0 : counted->runningOrders;
    ask(this,
        {QStringLiteral("runningCancelAll"), tr("Cancel orders"),
         tr("Cancel all running orders of %1 / %2? Now there are %3.")
             .arg(QString::fromStdString(pair.account), QString::fromStdString(pair.strategy))
             .arg(count),
         tr("Cancel the orders")},
        [this, pair] { m_actions.cancelAllOrders(pair); });
}

void CRunningPage::show(const std::vector<RunningRow>& orders, const std::vector<PairRow>& pairs) {
    m_orders = orders;
    m_pairs = pairs;
    int all = 0;
    for (const PairRow& pair : pairs) {
        if (pair.strategy.empty()) all += pair.runningOrders;
    }
    const bool isCut = all > static_cast<int>(orders.size()) && !orders.empty();
    m_pShown->setVisible(isCut);
    m_pShown->setText(isCut ? tr("The newest %1 of %2").arg(orders.size()).arg(all) : QString());
    std::vector<Row> rows;
    rows.reserve(orders.size());
    for (const RunningRow& order : orders) rows.push_back(rowOf(order));
    m_pTable->rows().setRows(std::move(rows));
    const RunningRow* row = current();
    const bool may = m_actions.mayCommand();
    m_pCancel->setEnabled(row && may);
    m_pCancelAll->setEnabled(row && may && !row->strategy.empty());
}

}  // namespace desk
