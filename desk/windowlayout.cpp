#include "desk/accountpage.h"
#include "desk/balancespage.h"
#include "desk/balancetimespage.h"
#include "desk/chart.h"
#include "desk/detailtables.h"
#include "desk/eventspage.h"
#include "desk/historypage.h"
#include "desk/importpage.h"
#include "desk/mainwindow.h"
#include "desk/pastdayspage.h"
#include "desk/rowsview.h"
#include "desk/runningpage.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QShortcut>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <iterator>
#include <set>

/// How the main window is put together.
namespace desk {

namespace {

constexpr int MOST_STOCK_ROWS = 6;
/// The tabs' share of the height below the stocks, in percent; the chart gets the rest.
constexpr int TABS_PERCENT = 36;
/// The left side's share of the width, and the strategies' of the left side's height, at most.
constexpr int LEFT_PERCENT = 44;
constexpr int PAIRS_PERCENT = 60;
constexpr double SPEEDS[] = {1, 2, 5, 10, 20, 60, 100, 300, 1000};

QLabel* makeLabel(QWidget* parent, const char* role, const QString& text = {}) {
    auto* label = new QLabel(text, parent);
    label->setProperty("role", role);
    return label;
}

}  // namespace

/// Pause, speed and progress of a recording.
void CMainWindow::makePace(QWidget* bar) {
    m_pPause = new QPushButton(bar);
    m_pPause->setObjectName("pause");
    m_pSpeed = new QComboBox(bar);
    m_pSpeed->setObjectName("speed");
    // A speed that was given on the command line has its place among the others.
    std::set<double> speeds(std::begin(SPEEDS), std::end(SPEEDS));
    const double given = std::min(m_engine.speed(), *speeds.rbegin());
    speeds.insert(given);
    for (const double speed : speeds) m_pSpeed->addItem(QString("%1×").arg(speed), speed);
    m_pSpeed->setCurrentIndex(m_pSpeed->findData(given));
    connect(m_pSpeed, QOverload<int>::of(&QComboBox::activated), this,
            [this](int index) { m_engine.setSpeed(m_pSpeed->itemData(index).toDouble()); });
    m_pProgress = new QProgressBar(bar);
    m_pProgress->setRange(0, 1000);
    m_pProgress->setTextVisible(false);
    m_pProgress->setFixedWidth(220);
    for (QWidget* control : std::initializer_list<QWidget*>{m_pPause, m_pSpeed, m_pProgress})
        control->setVisible(m_engine.canBePaced());
}

QWidget* CMainWindow::makeTopBar() {
    auto* bar = new QWidget(this);
    m_pClock = makeLabel(bar, "clock", "00:00:00");
    m_pDate = makeLabel(bar, "faint", "0000-00-00");
    makePace(bar);
    auto* kind = makeLabel(bar, "faint",
                           m_engine.isRecording() ? tr("Recording: nothing can be sent")
                                                  : tr("Built-in market, live"));
    kind->setObjectName("kind");
    m_pBalance = new QPushButton(tr("Balance now…"), bar);
    m_pBalance->setObjectName("balanceNow");
    m_pBalance->setProperty("primary", true);
    m_pBalance->setEnabled(false);
    m_pImportNow = new QPushButton(tr("Import…"), bar);
    m_pImportNow->setObjectName("importNow");
    connect(m_pImportNow, &QPushButton::clicked, this, [this] {
        m_pTabs->setCurrentWidget(m_pImport);
        m_pImport->chooseFiles();
    });

    m_pRecord = new QPushButton(tr("Record…"), bar);
    m_pRecord->setObjectName("record");
    m_pRecord->setToolTip(tr("Records what the library does, and says what is recorded"));
    connect(m_pRecord, &QPushButton::clicked, this, &CMainWindow::openRecording);

    kind->setVisible(m_engine.isRecording() || !m_engine.canBePaced());
    auto* line = new QHBoxLayout(bar);
    line->setContentsMargins(12, 8, 12, 4);
    line->setSpacing(10);
    for (QWidget* control :
         std::initializer_list<QWidget*>{m_pClock, m_pDate, m_pPause, m_pSpeed, m_pProgress, kind})
        line->addWidget(control);
    line->addStretch();
    line->addWidget(m_pRecord);
    line->addWidget(m_pImportNow);
    line->addWidget(m_pBalance);
    return bar;
}

QWidget* CMainWindow::titled(const QString& title, QWidget* content) {
    auto* box = new QWidget(this);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(makeLabel(box, "title", title));
    layout->addWidget(content);
    return box;
}

void CMainWindow::makePairs() {
    m_pPairs = new CRowsView({{tr("Account")},
                              {tr("Profit"), EFormat::Profit},
                              {tr("Bought"), EFormat::Count},
                              {tr("Sold"), EFormat::Count},
                              {tr("Orders"), EFormat::Count},
                              {tr("Tasks"), EFormat::Count},
                              {tr("Balance"), EFormat::Time},
                              {tr("Unequal"), EFormat::Yuan},
                              {tr("State")}},
                             CRowsView::ESorting::ByUser, this);
    m_pPairs->setObjectName("pairs");
}

/// Below the stock: what belongs to it and to the day.
void CMainWindow::makeTabs() {
    m_pTabs = new QTabWidget(this);
    m_pTabs->setObjectName("tabs");
    m_pTables = std::make_unique<CDetailTables>(this, m_pTabs);
    m_pBalances = new CBalancesPage(m_pTabs);
    m_pTimes = new CBalanceTimesPage(m_actions, m_pTabs);
    m_pHistory = new CHistoryPage(m_actions, m_pTabs);
    m_pImport = new CImportPage(m_actions, m_pTabs);
    m_pPast = new CPastDaysPage(m_actions, m_pTabs);
    m_pTabs->addTab(m_pBalances, tr("Balances"));
    m_pTabs->addTab(m_pTimes, tr("Balance times"));
    m_pTabs->addTab(m_pHistory, tr("History"));
    m_pTabs->addTab(m_pImport, tr("Import"));
    m_pTabs->addTab(m_pPast, tr("Past days"));
}

QWidget* CMainWindow::makeBody() {
    makePairs();
    makeTabs();
    m_pChart = new CChart(this);
    makeSplitters();

    auto* body = new QWidget(this);
    auto* layout = new QVBoxLayout(body);
    layout->setContentsMargins(12, 4, 12, 4);
    layout->addWidget(m_pBoth);
    makeStatusBar();
    return body;
}

void CMainWindow::makeSplitters() {
    m_pRight = new QSplitter(Qt::Vertical, this);
    m_pRight->setObjectName("right");
    m_pRight->addWidget(titled(tr("Stocks of the strategy"), m_pTables->stocks()));
    m_pRight->addWidget(m_pChart);
    m_pRight->addWidget(m_pTabs);
    m_pRight->setStretchFactor(1, 1);
    m_pDayTabs = new QTabWidget(this);
    m_pDayTabs->setObjectName("dayTabs");
    m_pRunning = new CRunningPage(m_actions, m_pDayTabs);
    m_pEvents = new CEventsPage(m_pDayTabs);
    m_pDayTabs->addTab(m_pRunning, tr("Running orders"));
    m_pDayTabs->addTab(m_pEvents, tr("Events"));
    m_pAccount = new CAccountPage(m_pDayTabs);
    m_pDayTabs->addTab(m_pAccount, tr("Funds and positions"));
    m_pLeft = new QSplitter(Qt::Vertical, this);
    m_pLeft->setObjectName("left");
    m_pLeft->addWidget(titled(tr("Accounts and strategies"), m_pPairs));
    m_pLeft->addWidget(m_pDayTabs);
    m_pLeft->setStretchFactor(1, 1);
    m_pBoth = new QSplitter(Qt::Horizontal, this);
    m_pBoth->setObjectName("both");
    m_pBoth->addWidget(m_pLeft);
    m_pBoth->addWidget(m_pRight);
    m_pBoth->setStretchFactor(1, 1);
    for (QSplitter* splitter : {m_pLeft, m_pRight, m_pBoth}) {
        splitter->setChildrenCollapsible(false);
        connect(splitter, &QSplitter::splitterMoved, this, [this] { m_bSplitByHand = true; });
    }
}

void CMainWindow::makeStatusBar() {
    m_pMessage = makeLabel(this, "faint");
    m_pMessage->setObjectName("message");
    m_pRecording = makeLabel(this, "faint");
    m_pRecording->setObjectName("recording");
    m_pCounts = makeLabel(this, "faint");
    statusBar()->addWidget(m_pMessage, 1);
    statusBar()->addPermanentWidget(m_pRecording);
    statusBar()->addPermanentWidget(m_pCounts);
    statusBar()->setSizeGripEnabled(false);
    statusBar()->setContentsMargins(12, 0, 12, 4);
}

/// Gives the tables on the left and above what their columns and rows need; the user's
/// own division of the window is left alone.
void CMainWindow::divide() {
    if (m_bSplitByHand) return;
    const int left = std::min(m_pPairs->neededWidth(true), m_pBoth->width() * LEFT_PERCENT / 100);
    if (left != m_pLeft->width())
        m_pBoth->setSizes({left, m_pBoth->width() - left - m_pBoth->handleWidth()});
    const int most = m_pLeft->height() * PAIRS_PERCENT / 100;
    const int pairs = std::min(most, m_pPairs->parentWidget()->sizeHint().height() -
                                         m_pPairs->sizeHint().height() +
                                         m_pPairs->heightOf(m_pPairs->rows().rowCount() + 1));
    if (pairs != m_pPairs->parentWidget()->height())
        m_pLeft->setSizes({pairs, m_pLeft->height() - pairs - m_pLeft->handleWidth()});

    CRowsView* stocks = m_pTables->stocks();
    const int title = stocks->parentWidget()->sizeHint().height() - stocks->sizeHint().height();
    const int upper =
        title + stocks->heightOf(std::clamp(stocks->rows().rowCount(), 3, MOST_STOCK_ROWS));
    const int rest = m_pRight->height() - upper - 2 * m_pRight->handleWidth();
    const int lower = rest * TABS_PERCENT / 100;
    if (upper != stocks->parentWidget()->height()) m_pRight->setSizes({upper, rest - lower, lower});
}

void CMainWindow::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    divide();
}

void CMainWindow::makeShortcuts() {
    const auto add = [this](const QKeySequence& keys, auto work) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, work);
    };
    const auto click = [&add](QPushButton* button, const QKeySequence& keys) {
        add(keys, [button] { button->click(); });
        button->setToolTip(keys.toString(QKeySequence::NativeText));
    };
    click(m_pPause, Qt::Key_F5);
    click(m_pBalance, Qt::Key_F9);
    click(m_pImportNow, int(Qt::CTRL) | int(Qt::Key_I));
    add(int(Qt::CTRL) | int(Qt::Key_Down), [this] { stepPair(1); });
    add(int(Qt::CTRL) | int(Qt::Key_Up), [this] { stepPair(-1); });
    const auto choose = [&add](QTabWidget* tabs, int modifier) {
        for (int tab = 0; tab < tabs->count(); ++tab) {
            const QKeySequence keys(modifier | (int(Qt::Key_1) + tab));
            add(keys, [tabs, tab] { tabs->setCurrentIndex(tab); });
            tabs->setTabToolTip(tab, keys.toString(QKeySequence::NativeText));
        }
    };
    choose(m_pTabs, int(Qt::CTRL));
    choose(m_pDayTabs, int(Qt::ALT));
}

/// Chooses the next row, or the one before.
void CMainWindow::stepPair(int steps) {
    const int count = m_pPairs->model()->rowCount();
    if (count == 0) return;
    const int row = std::clamp(m_pPairs->currentIndex().row() + steps, 0, count - 1);
    m_pPairs->setCurrentIndex(m_pPairs->model()->index(row, 0));
}

void CMainWindow::saveTo(QSettings& settings) const {
    settings.setValue(QStringLiteral("window"), saveGeometry());
    if (m_bSplitByHand) {
        for (const QSplitter* splitter : {m_pLeft, m_pRight, m_pBoth})
            settings.setValue(QString("splitter/%1").arg(splitter->objectName()),
                              splitter->saveState());
    }
    for (const auto* table : findChildren<CRowsView*>()) {
        const QString key = QString("table/%1").arg(table->objectName());
        if (const QByteArray state = table->layoutState(); !state.isEmpty())
            settings.setValue(key, state);
    }
}

void CMainWindow::restoreFrom(const QSettings& settings) {
    restoreGeometry(settings.value(QStringLiteral("window")).toByteArray());
    for (QSplitter* splitter : {m_pLeft, m_pRight, m_pBoth}) {
        const QByteArray state =
            settings.value(QString("splitter/%1").arg(splitter->objectName())).toByteArray();
        m_bSplitByHand |= !state.isEmpty() && splitter->restoreState(state);
    }
    for (auto* table : findChildren<CRowsView*>())
        table->restoreLayout(
            settings.value(QString("table/%1").arg(table->objectName())).toByteArray());
}

}  // namespace desk
