#include "desk/plandialog.h"

#include "desk/balancespage.h"
#include "desk/rowsview.h"
#include "desk/texts.h"
#include "linkage/core/clinkagemanager.h"
#include "platform/utils/text.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <tuple>
#include <utility>

namespace desk {

namespace {

constexpr int LEAST_ROWS = 6;

std::vector<Column> planColumns() {
    return {{CPlanDialog::tr("Stock")},
            {CPlanDialog::tr("Name")},
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

/// What an order leaves of the difference, and why; empty when it leaves nothing.
QString restText(const TC::StockBalance& stock) {
    const std::int64_t rest = std::abs(std::int64_t(stock.difference)) - stock.volume;
    if (rest == 0) return {};
    const QString shares = formatted(qlonglong(std::abs(rest)), EFormat::Count);
    if (stock.least != stock.most)
        return CPlanDialog::tr("%1 shares wait for open orders").arg(shares);
    return rest > 0 ? CPlanDialog::tr("Rounded: %1 shares stay unequal").arg(shares)
                    : CPlanDialog::tr("Rounded up by %1 shares").arg(shares);
}

Row planRow(const TC::StockBalance& stock, const PlanPreview& preview) {
    const auto& lastPrices = preview.lastPrices;
    const auto name = preview.names.find(stock.stockKey);
    Row row;
    row.key = Pim::sToQs(stock.stockKey);
    row.cells = {row.key, name == preview.names.end() ? QString() : Pim::sToQs(name->second),
                 stock.bought, stock.sold, stock.difference};
    if (stock.outcome == TC::EBalanceOutcome::Order) {
        row.cells.insert(row.cells.end(),
                         {stock.side == vexservice::OPT_BUY, qlonglong(stock.volume),
                          libraryText(TC::getPriceTypeQString(stock.priceType)),
                          stock.price > 0.0 ? QVariant(stock.price) : QVariant(),
                          amountOf(stock, lastPrices), restText(stock)});
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
    return text.join('\n');
}

/// Whether another order, or another reason for none, would follow. Prices change all the time and
/// do not count.
bool isSamePlan(const PlanPreview& one, const PlanPreview& other) {
    const auto facts = [](const TC::StockBalance& stock) {
        return std::tuple(stock.stockKey, stock.bought, stock.sold, stock.outcome, stock.side,
                          stock.volume, stock.priceType);
    };
    return one.runningOrders == other.runningOrders && one.runningTasks == other.runningTasks &&
           one.plan.refusal == other.plan.refusal &&
           std::equal(one.plan.stocks.begin(), one.plan.stocks.end(), other.plan.stocks.begin(),
                      other.plan.stocks.end(),
                      [&facts](const auto& a, const auto& b) { return facts(a) == facts(b); });
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

CPlanDialog::CPlanDialog(const QString& title, const PlanPreview& preview, const QString& time,
                         QWidget* parent)
    : QDialog(parent), m_preview(preview) {
    setObjectName("planDialog");
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);
    auto* heading = new QLabel(title, this);
    heading->setObjectName("planHeading");
    heading->setProperty("role", "heading");
    m_pSummary = new QLabel(this);
    m_pSummary->setObjectName("planSummary");
    m_pSummary->setWordWrap(true);
    m_pTable = new CRowsView(planColumns(), CRowsView::ESorting::Off, this);
    m_pTable->setObjectName("planTable");
    m_pFreshness = new QLabel(this);
    m_pFreshness->setObjectName("planFreshness");
    for (QWidget* part :
         std::initializer_list<QWidget*>{heading, m_pSummary, m_pTable, m_pFreshness})
        layout->addWidget(part);
    makeButtons();
    show(preview, time);
}

void CPlanDialog::makeButtons() {
    auto* buttons = new QDialogButtonBox(this);
    m_pGo = buttons->addButton(tr("Balance"), QDialogButtonBox::AcceptRole);
    m_pGo->setObjectName("planAccept");
    m_pGo->setAutoDefault(false);
    QPushButton* no = buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    no->setObjectName("planReject");
    no->setDefault(true);
    no->setFocus();
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout()->addWidget(buttons);
}

void CPlanDialog::show(const PlanPreview& preview, const QString& time) {
    if (!isSamePlan(m_preview, preview)) m_changed = time;
    m_preview = preview;
    const bool refused = preview.plan.refusal != TC::EBalanceRefusal::None;
    m_pSummary->setText(summaryOf(preview));
    std::vector<Row> rows;
    rows.reserve(preview.plan.stocks.size());
    for (const TC::StockBalance& stock : preview.plan.stocks)
        rows.push_back(planRow(stock, preview));
    m_pTable->rows().setRows(std::move(rows));
    m_pTable->setMinimumSize(m_pTable->neededWidth(true), m_pTable->heightOf(LEAST_ROWS));
    m_pTable->setVisible(!refused);
    m_pFreshness->setText(m_changed.isEmpty()
                              ? tr("As of %1.").arg(time)
                              : tr("As of %1; it changed at %2.").arg(time, m_changed));
    m_pGo->setEnabled(!refused);
}

}  // namespace desk
