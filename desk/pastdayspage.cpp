#include "desk/pastdayspage.h"

#include "desk/importtexts.h"
#include "desk/texts.h"
#include "linkage/core/clinkagemanager.h"

#include <QComboBox>
#include <QDateEdit>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

#include <utility>

namespace desk {

namespace {

/// A picture comes ten times a second. A day with many records is read less often.
constexpr int PICTURES_TO_A_READING = 10;
constexpr std::size_t ROWS_TO_A_READING = 500;
constexpr int MARGIN = 6;
const QString FILED = QStringLiteral("yyyyMMdd");

QString sourceText(const FiledRow& row) {
    switch (row.source.kind) {
        case TC::RecordSource::EKind::Reported:
            return CPastDaysPage::tr("reported");
        case TC::RecordSource::EKind::Answered:
            return CPastDaysPage::tr("answered by the server");
        case TC::RecordSource::EKind::Imported:
            break;
    }
    return row.file.empty()
               ? CPastDaysPage::tr("imported")
               : CPastDaysPage::tr("imported from %1").arg(QFileInfo(text(row.file)).fileName());
}

QString answerText(const FiledRows& filed) {
    using EState = TC::HistoryDay::EState;
    if (filed.isAsked || (filed.answer && filed.answer->state == EState::Waiting))
        return CPastDaysPage::tr("asked, no answer yet");
    if (!filed.answer) return CPastDaysPage::tr("not asked");
    switch (filed.answer->state) {
        case EState::Waiting:
            break;
        case EState::Answered:
            return CPastDaysPage::tr("answered, %1 filed").arg(filed.answer->records);
        case EState::NoTrading:
            return CPastDaysPage::tr("no trading that day");
        case EState::Failed:
            return CPastDaysPage::tr("not answered: %1").arg(importText(text(filed.answer->fault)));
    }
    return {};
}

// The columns that tell the sources stand before those that a narrow window has no room for.
Row dealRow(const FiledRow& row) {
    return {QString::number(row.key),
            {text(row.time), text(row.stock), row.buys, row.price, qlonglong(row.traded),
             row.amount, sourceText(row), text(row.strategy), text(row.number)},
            false};
}

Row orderRow(const FiledRow& row) {
    return {QString::number(row.key),
            {text(row.stock), row.buys, row.price, qlonglong(row.volume), qlonglong(row.traded),
             row.amount, libraryText(TC::getOrderStatusQString(row.status)), sourceText(row),
             text(row.strategy), text(row.number)},
            false};
}

/// The sums of the rows that are shown.
QString totalsOf(const FiledRows& filed, bool deals) {
    qint64 volumes[2] = {};
    double amounts[2] = {};
    for (const FiledRow& row : filed.rows) {
        volumes[row.buys] += row.traded;
        amounts[row.buys] += row.amount;
    }
    const QString sums =
        CPastDaysPage::tr("bought %1 shares for %2 yuan, sold %3 for %4 yuan")
            .arg(formatted(volumes[true], EFormat::Count), formatted(amounts[true], EFormat::Money),
                 formatted(volumes[false], EFormat::Count),
                 formatted(amounts[false], EFormat::Money));
    const QString count = formatted(qlonglong(filed.rows.size()), EFormat::Count);
    return deals ? CPastDaysPage::tr("Deals: %1, %2").arg(count, sums)
                 : CPastDaysPage::tr("Orders: %1, %2").arg(count, sums);
}

}  // namespace

CPastDaysPage::CPastDaysPage(CActions& actions, QWidget* parent)
    : QWidget(parent), m_actions(actions) {
    makeControls();
    makeTables();
    auto* line = new QHBoxLayout;
    for (QWidget* control : std::initializer_list<QWidget*>{m_pDate, m_pKind, m_pAsk})
        line->addWidget(control);
    line->addWidget(m_pServer, 1);
    auto* tables = new QHBoxLayout;
    tables->addWidget(m_pDays);
    tables->addWidget(m_pDeals, 1);
    tables->addWidget(m_pOrders, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(MARGIN, MARGIN, MARGIN, MARGIN);
    layout->setSpacing(MARGIN);
    layout->addLayout(line);
    layout->addLayout(tables, 1);
    layout->addWidget(m_pTotals);
    showRecords();
    showServer();
}

void CPastDaysPage::makeControls() {
    m_pDate = new QDateEdit(this);
    m_pDate->setObjectName("pastDate");
    m_pDate->setDisplayFormat("yyyy-MM-dd");
    m_pDate->setCalendarPopup(true);
    m_pDate->setKeyboardTracking(false);
    connect(m_pDate, &QDateEdit::dateChanged, this, [this](const QDate& date) {
        if (!m_bFilling) chooseDay(date.toString(FILED).toStdString());
    });
    m_pKind = new QComboBox(this);
    m_pKind->setObjectName("pastKind");
    m_pKind->addItems({tr("Deals"), tr("Orders")});
    connect(m_pKind, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &CPastDaysPage::showRecords);
    m_pAsk = new QPushButton(tr("Ask the server"), this);
    m_pAsk->setObjectName("pastAsk");
    m_pAsk->setToolTip(tr("Asks the trading server for the deals and orders of this day"));
    connect(m_pAsk, &QPushButton::clicked, this, [this] {
        m_actions.askPastDay(m_day.account, m_day.date);
        m_bStale = true;
        m_pAsk->setEnabled(false);
    });
    for (QLabel** label : {&m_pServer, &m_pTotals}) {
        *label = new QLabel(this);
        (*label)->setWordWrap(true);
        (*label)->setTextFormat(Qt::PlainText);
    }
    m_pServer->setObjectName("pastServer");
    m_pTotals->setObjectName("pastTotals");
}

void CPastDaysPage::makeTables() {
    constexpr int LEAST_ROWS = 3;
    m_pDays = new CRowsView({{tr("Day")}}, CRowsView::ESorting::Off, this);
    m_pDays->setObjectName("pastDays");
    connect(m_pDays, &CRowsView::sigChosen, this, [this](const QString& key) {
        if (!m_bFilling) chooseDay(key.toStdString());
    });
    m_pDeals = new CRowsView({{tr("Time"), EFormat::Time},
                              {tr("Stock")},
                              {tr("Side"), EFormat::Side},
                              {tr("Price"), EFormat::Price},
                              {tr("Volume"), EFormat::Count},
                              {tr("Amount"), EFormat::Money},
                              {tr("Source")},
                              {tr("Strategy")},
                              {tr("Number")}},
                             CRowsView::ESorting::ByUser, this);
    m_pDeals->setObjectName("pastDeals");
    m_pOrders = new CRowsView({{tr("Stock")},
                               {tr("Side"), EFormat::Side},
                               {tr("Price"), EFormat::Price},
                               {tr("Volume"), EFormat::Count},
                               {tr("Traded"), EFormat::Count},
                               {tr("Amount"), EFormat::Money},
                               {tr("Status")},
                               {tr("Source")},
                               {tr("Strategy")},
                               {tr("Number")}},
                              CRowsView::ESorting::ByUser, this);
    m_pOrders->setObjectName("pastOrders");
    for (CRowsView* table : {m_pDeals, m_pOrders}) {
        table->setMinimumHeight(table->heightOf(LEAST_ROWS) +
                                table->horizontalScrollBar()->sizeHint().height());
    }
    m_pDays->setFixedWidth(fontMetrics().horizontalAdvance("0000-00-00") + 60);
}

// ------------------------------------------------------------------- reading

void CPastDaysPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_bStale = true;
}

void CPastDaysPage::show(const std::string& account, bool alive) {
    if (account != m_account) {
        m_account = account;
        chooseDay({});
    }
    ++m_nPictures;
    if (!alive || m_account.empty() || !isVisible() || m_bReading) return;
    const std::size_t rows = m_day.deals.rows.size() + m_day.orders.rows.size();
    const auto readings = static_cast<int>(1 + rows / ROWS_TO_A_READING);
    if (m_bStale || m_nPictures >= PICTURES_TO_A_READING * readings) read();
}

void CPastDaysPage::chooseDay(const std::string& date) {
    m_date = date;
    m_bStale = true;
    m_pAsk->setEnabled(false);
}

void CPastDaysPage::read() {
    m_bReading = true;
    m_bStale = false;
    m_nPictures = 0;
    m_actions.readPastDay(
        m_account, m_date,
        [self = QPointer<CPastDaysPage>(this), date = m_date](const PastDay& day) {
            if (!self) return;
            self->m_bReading = false;
            // Of an earlier choice nothing is shown, or the rows would flicker.
            if (day.account == self->m_account && date == self->m_date) self->take(day);
        });
}

void CPastDaysPage::take(const PastDay& day) {
    m_day = day;
    m_bFilling = true;
    showDays();
    m_pDate->setDate(QDate::fromString(text(day.date), FILED));
    m_bFilling = false;
    showRecords();
    showServer();
}

// ------------------------------------------------------------------- showing

const FiledRows& CPastDaysPage::shownRows() const {
    return m_pKind->currentIndex() == 0 ? m_day.deals : m_day.orders;
}

void CPastDaysPage::showDays() {
    std::vector<Row> rows;
    rows.reserve(m_day.days.size());
    for (const std::string& date : m_day.days)
        rows.push_back({text(date), {dashedDate(date)}, false});
    m_pDays->rows().setRows(std::move(rows));
    const QString shown = text(m_day.date);
    if (m_pDays->rows().indexOf(shown) < 0) {
        m_pDays->setCurrentIndex({});
    } else if (m_pDays->currentKey() != shown) {
        m_pDays->chooseKey(shown);
    }
}

void CPastDaysPage::showRecords() {
    const bool deals = m_pKind->currentIndex() == 0;
    const FiledRows& filed = shownRows();
    CRowsView* table = deals ? m_pDeals : m_pOrders;
    std::vector<Row> rows;
    rows.reserve(filed.rows.size());
    for (const FiledRow& row : filed.rows) rows.push_back(deals ? dealRow(row) : orderRow(row));
    table->rows().setRows(std::move(rows));
    QString nothing =
        deals ? tr("No deals are filed under this day") : tr("No orders are filed under this day");
    if (m_day.account.empty()) nothing = tr("Choose an account");
    table->setPlaceholder(nothing);
    table->viewport()->update();
    m_pDeals->setVisible(deals);
    m_pOrders->setVisible(!deals);
    m_pTotals->setText(totalsOf(filed, deals));
}

void CPastDaysPage::showServer() {
    const bool isPast = !m_day.account.empty() && m_day.date < m_day.tradeDate;
    const bool isAsked = m_day.deals.isAsked || m_day.orders.isAsked;
    m_pAsk->setEnabled(m_actions.mayCommand() && isPast && !isAsked && !m_bStale);
    m_pDate->setEnabled(!m_day.account.empty());
    m_pServer->setText(isPast ? tr("Server: deals %1; orders %2.")
                                    .arg(answerText(m_day.deals), answerText(m_day.orders))
                              : QString());
}

}  // namespace desk
