#include "desk/accountpage.h"

#include "desk/picture.h"
#include "desk/texts.h"

#include <QLabel>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace desk {

namespace {

constexpr int MOST_ACCOUNTS = 3;

std::vector<Column> fundsColumns() {
    return {{CAccountPage::tr("Account")},
            {CAccountPage::tr("Market value"), EFormat::Yuan, false, -1,
             CAccountPage::tr("Of the positions, at the newest price")},
            {CAccountPage::tr("Profit"), EFormat::Profit, false, -1,
             CAccountPage::tr("Of the positions, against their cost")},
            {CAccountPage::tr("Profit of the day"), EFormat::Profit, false, -1,
             CAccountPage::tr("Of what was traded today")},
            {CAccountPage::tr("Frozen"), EFormat::Yuan, false, -1,
             CAccountPage::tr("What running buy orders may still take, at their prices")},
            {CAccountPage::tr("Bought"), EFormat::Yuan},
            {CAccountPage::tr("Sold"), EFormat::Yuan},
            {CAccountPage::tr("Commission"), EFormat::Money},
            {CAccountPage::tr("Name")}};
}

std::vector<Column> positionColumns() {
    return {{CAccountPage::tr("Stock")},
            {CAccountPage::tr("Name")},
            {CAccountPage::tr("Volume"), EFormat::Count, false, -1,
             CAccountPage::tr("As the client reported it last")},
            {CAccountPage::tr("Sellable"), EFormat::Count},
            {CAccountPage::tr("Cost"), EFormat::Price},
            {CAccountPage::tr("Last"), EFormat::Price},
            {CAccountPage::tr("Market value"), EFormat::Yuan},
            {CAccountPage::tr("Profit"), EFormat::Profit},
            {CAccountPage::tr("Net bought today"), EFormat::Count, false, -1,
             CAccountPage::tr("By the deals of the day, whether or not the position has them")}};
}

Row fundsRow(const FundsRow& row) {
    return {text(row.account),
            {text(row.account), row.marketValue, row.positionProfit, row.dayProfit, row.bound,
             row.boughtAmount, row.soldAmount, row.commission, text(row.name)},
            false};
}

Row positionRow(const PositionRow& row) {
    const bool priced = row.lastPrice > 0.0;
    const auto known = [priced](double value) { return priced ? QVariant(value) : QVariant(); };
    return {text(row.stock),
            {text(row.stock), text(row.name), row.volume, row.sellable, row.cost,
             known(row.lastPrice), known(row.volume * row.lastPrice),
             known(row.volume * (row.lastPrice - row.cost)), qlonglong(row.netBought)},
            false};
}

}  // namespace

CAccountPage::CAccountPage(QWidget* parent) : QWidget(parent) {
    m_pFunds = new CRowsView(fundsColumns(), CRowsView::ESorting::ByUser, this);
    m_pFunds->setObjectName("funds");
    m_pPositions = new CRowsView(positionColumns(), CRowsView::ESorting::ByUser, this);
    m_pPositions->setObjectName("positions");
    m_pPositions->setPlaceholder(tr("The client has reported no position of this account"));
    auto* remark = new QLabel(tr("The client's records hold no cash: what is available, and the "
                                 "total, are not known here."),
                              this);
    remark->setWordWrap(true);
    m_pTitle = new QLabel(this);
    for (QLabel* label : {remark, m_pTitle}) label->setProperty("role", "faint");
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_pFunds);
    layout->addWidget(remark);
    layout->addWidget(m_pTitle);
    layout->addWidget(m_pPositions, 1);
}

void CAccountPage::show(const Picture& picture, const std::string& account) {
    m_pFunds->fill(picture.funds, fundsRow);
    const int accounts = std::clamp(static_cast<int>(picture.funds.size()), 1, MOST_ACCOUNTS);
    m_pFunds->setFixedHeight(m_pFunds->heightOf(accounts));
    if (picture.selection.account != account) return;
    m_pTitle->setText(tr("Positions of %1").arg(account.empty() ? "–" : text(account)));
    m_pPositions->fill(picture.positions, positionRow);
}

}  // namespace desk
