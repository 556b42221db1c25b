#include "desk/plandialog.h"

#include "desk/balancespage.h"
#include "desk/rowsview.h"
#include "desk/texts.h"
#include "linkage/core/clinkagemanager.h"
#include "platform/utils/text.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include <map>

namespace desk {

namespace {

constexpr int LEAST_ROWS = 6;

std::vector<Column> planColumns() {
    return {{CPlanDialog::tr("Stock")},
            {CPlanDialog::tr("Bought"), EFormat::Count},
            {CPlanDialog::tr("Sold"), EFormat::Count},
            {CPlanDialog::tr("Difference"), EFormat::Count},
            {CPlanDialog::tr("Order"), EFormat::Side},
            {CPlanDialog::tr("Volume"), EFormat::Count},
            {CPlanDialog::tr("Price type")},
            {CPlanDialog::tr("Price"), EFormat::Price},
            {CPlanDialog::tr("Amount about"), EFormat::Yuan},
            {CPlanDialog::tr("Remark")}};
}

/// The order's amount at its price, or at the newest price where it has none; empty when
/// neither is known.
QVariant amountOf(const TC::StockBalance& stock, const std::map<std::string, double>& lastPrices) {
    const auto last = lastPrices.find(stock.stockKey);
    const double price = stock.price > 0.0          ? stock.price
                         : last != lastPrices.end() ? last->second
                                                    : 0.0;
    return price > 0.0 ? QVariant(price * static_cast<double>(stock.volume)) : QVariant();
}

Row planRow(const TC::StockBalance& stock, const std::map<std::string, double>& lastPrices) {
    Row row;
    row.key = Pim::sToQs(stock.stockKey);
    row.cells = {row.key, stock.bought, stock.sold, stock.difference};
    if (stock.outcome == TC::EBalanceOutcome::Order) {
        row.cells.insert(row.cells.end(),
                         {stock.side == vexservice::OPT_BUY, qlonglong(stock.volume),
                          libraryText(TC::getPriceTypeQString(stock.priceType)),
                          stock.price > 0.0 ? QVariant(stock.price) : QVariant(),
                          amountOf(stock, lastPrices), QString()});
    } else {
        row.cells.insert(row.cells.end(), {QVariant(), QVariant(), QVariant(), QVariant(),
                                           QVariant(), outcomeText(stock.outcome)});
    }
    return row;
}

/// What would be sent and cancelled, in words.
QString summaryOf(const PlanPreview& preview) {
    if (preview.plan.refusal != TC::EBalanceRefusal::None) return refusalText(preview.plan.refusal);
    int orders = 0;
    double buys = 0.0, sells = 0.0;
    for (const TC::StockBalance& stock : preview.plan.stocks) {
        if (stock.outcome != TC::EBalanceOutcome::Order) continue;
        ++orders;
        const double amount = amountOf(stock, preview.lastPrices).toDouble();
        (stock.side == vexservice::OPT_BUY ? buys : sells) += amount;
    }
    QStringList text;
    if (preview.runningOrders + preview.runningTasks > 0) {
        text << CPlanDialog::tr("Cancelled first: running orders %1, running tasks %2.")
                    .arg(preview.runningOrders)
                    .arg(preview.runningTasks);
    }
    text << CPlanDialog::tr(
                "Orders that would be sent now: %1, buying for about %2 yuan and "
                "selling for about %3 yuan.")
                .arg(orders)
                .arg(formatted(buys, EFormat::Yuan), formatted(sells, EFormat::Yuan));
    text << CPlanDialog::tr("Figures and prices may still change.");
    return text.join('\n');
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
        case TC::EBalanceRefusal::NoAnswer:
            return bookText("a service of the client did not answer");
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
        case TC::EBalanceOutcome::Waiting:
            return CPlanDialog::tr("Open orders may settle it");
        case TC::EBalanceOutcome::TaskRunning:
            return CPlanDialog::tr("A task trades it");
        case TC::EBalanceOutcome::NoAnswer:
            return bookText("a service of the client did not answer");
    }
    return {};
}

CPlanDialog::CPlanDialog(const QString& title, const PlanPreview& preview, QWidget* parent)
    : QDialog(parent) {
    setObjectName("planDialog");
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);
    const bool refused = preview.plan.refusal != TC::EBalanceRefusal::None;
    auto* heading = new QLabel(title, this);
    heading->setObjectName("planHeading");
    heading->setProperty("role", "heading");
    layout->addWidget(heading);
    auto* summary = new QLabel(summaryOf(preview), this);
    summary->setObjectName("planSummary");
    summary->setWordWrap(true);
    layout->addWidget(summary);

    auto* table = new CRowsView(planColumns(), CRowsView::ESorting::Off, this);
    table->setObjectName("planTable");
    std::vector<Row> rows;
    for (const TC::StockBalance& stock : preview.plan.stocks)
        rows.push_back(planRow(stock, preview.lastPrices));
    table->rows().setRows(std::move(rows));
    table->setMinimumSize(table->neededWidth(true), table->heightOf(LEAST_ROWS));
    table->setVisible(!refused);
    layout->addWidget(table);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* go = buttons->addButton(tr("Balance"), QDialogButtonBox::AcceptRole);
    go->setObjectName("planAccept");
    go->setProperty("primary", true);
    go->style()->polish(go);  // the button box polished it before the property was set
    go->setEnabled(!refused);
    buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole)->setObjectName("planReject");
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

}  // namespace desk
