#include "desk/historypage.h"

#include "desk/question.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace desk {

namespace {

QString rowKey(const HistoryRow& row) {
    return QString::fromStdString(row.key) + '\n' + QString::fromStdString(row.stock);
}

}  // namespace

CHistoryPage::CHistoryPage(CActions& actions, QWidget* parent)
    : QWidget(parent), m_actions(actions) {
    m_pTable = new CRowsView({{tr("Account")},
                              {tr("Strategy")},
                              {tr("Stock")},
                              {tr("Bought"), EFormat::Count},
                              {tr("Sold"), EFormat::Count},
                              {tr("Difference"), EFormat::Count},
                              {tr("Bought amount"), EFormat::Yuan},
                              {tr("Sold amount"), EFormat::Yuan}},
                             CRowsView::ESorting::Off, this);
    m_pTable->setObjectName("history");
    m_pTable->setPlaceholder(tr("Nothing was carried over from earlier days"));

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_pTable);
    // Two lines, so that the window fits a small screen.
    m_pButtons = new QHBoxLayout;
    layout->addLayout(m_pButtons);
    m_pCarry = addButton(tr("Carry over today"), "historyCarry");
    m_pBalance = addButton(tr("Balance…"), "historyBalance");
    m_pButtons->addStretch();
    m_pButtons = new QHBoxLayout;
    layout->addLayout(m_pButtons);
    m_pDeleteStock = addButton(tr("Delete stock…"), "historyDeleteStock");
    m_pDeleteBalanced = addButton(tr("Delete balanced…"), "historyDeleteBalanced");
    m_pDeleteAll = addButton(tr("Delete all…"), "historyDeleteAll");
    connect(m_pCarry, &QPushButton::clicked, this, &CHistoryPage::carryOver);
    connect(m_pBalance, &QPushButton::clicked, this, [this] {
        if (const HistoryRow* row = current())
            Q_EMIT sigBalance(QString::fromStdString(row->account),
                              QString::fromStdString(row->strategy));
    });
    connect(m_pDeleteStock, &QPushButton::clicked, this, &CHistoryPage::confirmDeleteStock);
    connect(m_pDeleteBalanced, &QPushButton::clicked, this, [this] {
        confirm(tr("Delete all pairs whose totals are balanced? This cannot be undone."),
                [this] { m_actions.deleteBalancedHistory(); });
    });
    connect(m_pDeleteAll, &QPushButton::clicked, this, [this] {
        confirm(tr("Delete the whole history store? This cannot be undone."),
                [this] { m_actions.deleteAllHistory(); });
    });

    m_pButtons->addStretch();
    show({}, {});
}

QPushButton* CHistoryPage::addButton(const QString& text, const char* name) {
    auto* button = new QPushButton(text, this);
    button->setObjectName(name);
    m_pButtons->addWidget(button);
    return button;
}

const HistoryRow* CHistoryPage::current() const {
    const QString key = m_pTable->currentKey();
    const auto found = std::find_if(m_history.begin(), m_history.end(),
                                    [&key](const HistoryRow& row) { return rowKey(row) == key; });
    return found == m_history.end() ? nullptr : &*found;
}

void CHistoryPage::carryOver() {
    const QString pair = QString::fromStdString(m_chosen.account + " / " + m_chosen.strategy);
    m_actions.carryOver(m_chosen, [this, pair](bool fresh) {
        Q_EMIT sigMessage(fresh ? tr("%1 was carried over into the history.").arg(pair)
                                : tr("%1 was carried over today already.").arg(pair));
    });
}

void CHistoryPage::confirmDeleteStock() {
    const HistoryRow* row = current();
    if (!row) return;
    confirm(
        tr("Delete %1 of %2 / %3 from the history? This cannot be undone.")
            .arg(QString::fromStdString(row->stock), QString::fromStdString(row->account),
                 QString::fromStdString(row->strategy)),
        [this, key = row->key, stock = row->stock] { m_actions.deleteHistoryStock(key, stock); });
}

void CHistoryPage::confirm(const QString& question, std::function<void()> go) {
    ask(this, {QStringLiteral("historyDelete"), tr("Delete history"), question, tr("Delete")},
        std::move(go));
}

void CHistoryPage::show(const std::vector<HistoryRow>& history, const Selection& chosen) {
    m_history = history;
    m_chosen = chosen;
    std::vector<Row> rows;
    rows.reserve(history.size());
    for (const HistoryRow& row : history) {
        rows.push_back(
            {rowKey(row),
             {QString::fromStdString(row.account), QString::fromStdString(row.strategy),
              QString::fromStdString(row.stock), qlonglong(row.bought), qlonglong(row.sold),
              qlonglong(row.bought - row.sold), row.boughtAmount, row.soldAmount},
             false});
    }
    m_pTable->rows().setRows(std::move(rows));
    const bool may = m_actions.mayCommand();
    m_pCarry->setEnabled(may && !chosen.strategy.empty());
    const HistoryRow* row = current();
    m_pBalance->setEnabled(row && may);
    m_pDeleteStock->setEnabled(row && may && !row->stock.empty());
    m_pDeleteBalanced->setEnabled(may && !history.empty());
    m_pDeleteAll->setEnabled(may && !history.empty());
}

}  // namespace desk
