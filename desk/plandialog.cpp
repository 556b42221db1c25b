#include "desk/plandialog.h"

#include "desk/rowsview.h"
#include "desk/texts.h"
#include "linkage/core/clinkagemanager.h"
#include "platform/utils/text.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>

namespace desk {

namespace {

std::vector<Column> planColumns() {
    return {{CPlanDialog::tr("Stock")},
            {CPlanDialog::tr("Bought"), EFormat::Count},
            {CPlanDialog::tr("Sold"), EFormat::Count},
            {CPlanDialog::tr("Difference"), EFormat::Count},
            {CPlanDialog::tr("Order"), EFormat::Side},
            {CPlanDialog::tr("Volume"), EFormat::Count},
            {CPlanDialog::tr("Price type")},
            {CPlanDialog::tr("Price"), EFormat::Price},
            {CPlanDialog::tr("Remark")}};
}

Row planRow(const TC::StockBalance& stock) {
    Row row;
    row.key = Pim::sToQs(stock.stockKey);
    row.cells = {row.key, stock.bought, stock.sold, stock.difference};
    if (stock.outcome == TC::EBalanceOutcome::Order) {
        row.cells.insert(
            row.cells.end(),
            {stock.side == vexservice::OPT_BUY, qlonglong(stock.volume),
             libraryText(TC::getPriceTypeQString(stock.priceType)), stock.price, QString()});
    } else {
        row.cells.insert(row.cells.end(), {QVariant(), QVariant(), QVariant(), QVariant(),
                                           outcomeText(stock.outcome)});
    }
    return row;
}

}  // namespace

QString refusalText(TC::EBalanceRefusal refusal) {
    switch (refusal) {
        case TC::EBalanceRefusal::None:
            return {};
        case TC::EBalanceRefusal::NoAccountData:
            return CPlanDialog::tr("The account is not known to the data center.");
        case TC::EBalanceRefusal::NoAccountInfo:
            return CPlanDialog::tr("The data of the account is not loaded yet.");
        case TC::EBalanceRefusal::WrongAccountType:
            return CPlanDialog::tr("Only stock and credit accounts are balanced.");
        case TC::EBalanceRefusal::NoFigures:
            return CPlanDialog::tr("The strategy has traded nothing on this account.");
    }
    return {};
}

QString outcomeText(TC::EBalanceOutcome outcome) {
    switch (outcome) {
        case TC::EBalanceOutcome::Order:
            return {};
        case TC::EBalanceOutcome::Balanced:
            return CPlanDialog::tr("Already balanced");
        case TC::EBalanceOutcome::BelowLot:
            return CPlanDialog::tr("Less than one lot");
        case TC::EBalanceOutcome::NoInstrument:
            return CPlanDialog::tr("Instrument not known");
    }
    return {};
}

CPlanDialog::CPlanDialog(const QString& title, const TC::BalancePlan& plan, QWidget* parent)
    : QDialog(parent) {
    setObjectName("planDialog");
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);

    const auto orders = std::count_if(
        plan.stocks.begin(), plan.stocks.end(),
        [](const auto& stock) { return stock.outcome == TC::EBalanceOutcome::Order; });
    const bool refused = plan.refusal != TC::EBalanceRefusal::None;
    auto* summary = new QLabel(
        refused ? refusalText(plan.refusal)
                : tr("Orders that would be sent now: %1. Figures and prices may still change.")
                      .arg(orders),
        this);
    summary->setObjectName("planSummary");
    summary->setWordWrap(true);
    layout->addWidget(summary);

    auto* table = new CRowsView(planColumns(), CRowsView::ESorting::Off, this);
    table->setObjectName("planTable");
    std::vector<Row> rows;
    for (const TC::StockBalance& stock : plan.stocks) rows.push_back(planRow(stock));
    table->rows().setRows(std::move(rows));
    table->setMinimumSize(table->neededWidth() + 24, 220);
    table->setVisible(!refused);
    layout->addWidget(table);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* go = buttons->addButton(tr("Balance"), QDialogButtonBox::AcceptRole);
    go->setObjectName("planAccept");
    go->setProperty("primary", true);
    go->style()->polish(go);  // the box has polished it already
    go->setEnabled(!refused);
    buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole)->setObjectName("planReject");
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

}  // namespace desk
