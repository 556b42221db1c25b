#include "desk/mainwindow.h"

#include "desk/accountpage.h"
#include "desk/balancespage.h"
#include "desk/balancetimespage.h"
#include "desk/chart.h"
#include "desk/detailtables.h"
#include "desk/eventspage.h"
#include "desk/historypage.h"
#include "desk/importpage.h"
#include "desk/ownbalances.h"
#include "desk/pastdayspage.h"
#include "desk/plandialog.h"
#include "desk/question.h"
#include "desk/recorddialog.h"
#include "desk/rowsview.h"
#include "desk/runningpage.h"
#include "desk/texts.h"
#include "desk/timeedit.h"

#include <QCloseEvent>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QTabWidget>

#include <algorithm>
#include <utility>

namespace desk {

namespace {

QString pairKey(const std::string& account, const std::string& strategy) {
    return QString::fromStdString(account) + '\n' + QString::fromStdString(strategy);
}

constexpr int LONGEST_BALANCE = BALANCE_DELAY + LONGEST_CANCELLING;

/// From one page that is hidden to the next.
constexpr int HIDDEN_MILLIS = 30;

/// Seconds of the day of "hh:mm:ss".
int secondOf(const std::string& time) {
    return QTime(0, 0).secsTo(typedTime(QString::fromStdString(time)));
}

}  // namespace

CMainWindow::CMainWindow(CEngine& engine)
    : m_engine(engine), m_actions(engine), m_recordTerms(engine.recordTerms()) {
    setWindowTitle(tr("Linkage Desk"));
    setMenuWidget(makeTopBar());
    setCentralWidget(makeBody());
    makeShortcuts();
    const QSize screen = this->screen()->availableSize();
    resize(QSize(1600, 940).boundedTo(screen));

    connect(&m_engine, &CEngine::sigNews, this, &CMainWindow::collect, Qt::QueuedConnection);
    listPages();
    m_hidden.setInterval(HIDDEN_MILLIS);
    connect(&m_hidden, &QTimer::timeout, this, &CMainWindow::showHiddenPage);
    for (QTabWidget* tabs : {m_pTabs, m_pDayTabs})
        connect(tabs, &QTabWidget::currentChanged, this, &CMainWindow::showPages);
    connect(m_pPairs, &CRowsView::sigChosen, this, &CMainWindow::choosePair);
    connect(m_pTables->stocks(), &CRowsView::sigChosen, this, &CMainWindow::chooseStock);
    connect(m_pPause, &QPushButton::clicked, this, [this] { setPaused(!m_engine.paused()); });
    connect(m_pBalance, &QPushButton::clicked, this, [this] { askBalance(m_selection, false); });
    connect(m_pHistory, &CHistoryPage::sigMessage, this,
            [this](const QString& text) { showMessage(text); });
    connect(m_pRunning, &CRunningPage::sigMessage, this,
            [this](const QString& text) { showMessage(text); });
    connect(m_pImport, &CImportPage::sigMessage, this,
            [this](const QString& text) { showMessage(text); });
    connect(m_pHistory, &CHistoryPage::sigBalance, this,
            [this](const QString& account, const QString& strategy) {
                askBalance({account.toStdString(), strategy.toStdString(), {}}, true);
            });
    setPaused(m_engine.paused());
    if (!m_actions.mayCommand()) explainCommands();
}

CMainWindow::~CMainWindow() = default;

void CMainWindow::collect() {
    if (auto picture = m_engine.collect()) show(std::move(picture));
    const QString fault = m_engine.stageFault();
    if (fault.isEmpty()) return;
    enableActions(false);
    showMessage(fault);
    Q_EMIT sigFault(fault);
}

void CMainWindow::show(std::shared_ptr<const Picture> picture) {
    m_pShown = std::move(picture);
    const Picture& now = *m_pShown;
    showClock(now);
    showPairs(now);
    showCounts(now);
    m_pRecording->setText(recordingText(now));
    if (now.selection == m_selection) m_pChart->show(m_pShown);
    showPages();
    m_nHiddenLeft = m_pages.size();
    if (!m_hidden.isActive()) m_hidden.start();
    m_pPast->show(m_selection.account, now.alive);
    enableActions(now.alive);
    divide();
    const bool halted = now.halted && m_engine.paused();
    if (halted && !m_bHalted)
        showMessage(tr("Halted at %1; Play goes on.").arg(QString::fromStdString(now.time)));
    if (m_bHalted && !halted) showMessage({});
    m_bHalted = halted;
    expireMessage(now);
    if (!now.fault.empty()) showMessage(QString::fromStdString(now.fault));
    chooseForTheUser(now);
    Q_EMIT sigShown();
}

/// What is filled from each picture, table by table.
void CMainWindow::listPages() {
    m_pages.reserve(CDetailTables::COUNT + 7);
    for (int which = 0; which < CDetailTables::COUNT; ++which) {
        m_pages.push_back({m_pTables->table(which), [this, which](const Picture& now) {
                               // A picture of an earlier choice is not shown in the tables, or
                               // they would flicker.
                               if (now.selection == m_selection) m_pTables->show(now, which);
                           }});
    }
    const auto add = [this](auto* page, auto show) {
        m_pages.push_back({page, [page, show](const Picture& now) { show(*page, now); }});
    };
    add(m_pRunning, [](auto& page, const auto& now) { page.show(now.running, now.pairs); });
    add(m_pEvents, [](auto& page, const auto& now) { page.show(now.events); });
    add(m_pAccount, [this](auto& page, const auto& now) { page.show(now, m_selection.account); });
    add(m_pBalances, [](auto& page, const auto& now) { page.show(now); });
    add(m_pTimes, [this](auto& page, const auto& now) {
        page.show(now.balanceTimes, m_selection, now.time);
    });
    add(m_pHistory, [this](auto& page, const auto& now) { page.show(now.history, m_selection); });
    add(m_pImport, [](auto& page, const auto& now) { page.show(now.imports); });
}

void CMainWindow::showPages() {
    if (!m_pShown) return;
    for (const Page& page : m_pages) {
        if (page.widget->isVisible()) page.show(*m_pShown);
    }
}

/// Pages that nobody sees are filled one after another, so that none of them keeps the user
/// waiting.
void CMainWindow::showHiddenPage() {
    while (m_nHiddenLeft > 0) {
        --m_nHiddenLeft;
        const Page& page = m_pages[m_nHidden];
        m_nHidden = (m_nHidden + 1) % m_pages.size();
        if (!page.widget->isVisible()) return page.show(*m_pShown);
    }
    m_hidden.stop();
}

/// Without the manager all actions are disabled.
void CMainWindow::enableActions(bool alive) {
    const bool may = m_actions.mayCommand();
    m_pBalance->setEnabled(alive && may && !m_selection.strategy.empty());
    m_pImportNow->setEnabled(alive && may);
    m_pRecord->setEnabled(may);
    for (QWidget* page : std::initializer_list<QWidget*>{m_pTimes, m_pHistory, m_pPast})
        page->setEnabled(alive);
    m_pImport->setAlive(alive);
    if (std::exchange(m_bAlive, alive) != alive)
        showMessage(alive ? QString() : tr("The library is not running."));
}

/// Why a recording offers nothing that could be sent.
void CMainWindow::explainCommands() {
    for (const char* name :
         {"balanceNow", "importNow", "importChoose", "importsUndo", "balanceTimeSet",
          "balanceTimeDelete", "historyCarry", "historyBalance", "historyDeleteStock",
          "historyDeleteBalanced", "historyDeleteAll", "runningCancel", "runningCancelAll",
          "record", "pastAsk"})
        findChild<QPushButton*>(name)->setToolTip(noCommandText());
}

void CMainWindow::showClock(const Picture& picture) {
    showPaused();
    m_pClock->setText(QString::fromStdString(picture.time));
    m_pDate->setText(dashedDate(picture.date));
    m_pProgress->setVisible(picture.progress >= 0.0);
    m_pProgress->setValue(static_cast<int>(picture.progress * m_pProgress->maximum()));
}

void CMainWindow::showPairs(const Picture& picture) {
    std::vector<Row> rows;
    for (const PairRow& pair : picture.pairs) {
        const bool whole = pair.strategy.empty();
        const QString name =
            whole ? QString::fromStdString(pair.account + "  " + pair.accountName).trimmed()
                  : "    " + QString::fromStdString(pair.strategy);
        rows.push_back(
            {pairKey(pair.account, pair.strategy),
             {name, pair.profit, qlonglong(pair.bought), qlonglong(pair.sold), pair.runningOrders,
              pair.runningTasks, QString::fromStdString(pair.balanceTime), pair.unequalValue,
              balanceStateText(picture, pair)},
             whole,
             QString::fromStdString(pair.account)});
    }
    m_pPairs->rows().setRows(std::move(rows));
}

void CMainWindow::showCounts(const Picture& picture) {
    int orders = 0, tasks = 0;
    double profit = 0.0;
    for (const PairRow& pair : picture.pairs) {
        if (!pair.strategy.empty()) continue;
        orders += pair.runningOrders;
        tasks += pair.runningTasks;
        profit += pair.profit;
    }
    m_pCounts->setText(tr("Profit %1    running orders %2    running tasks %3")
                           .arg(formatted(profit, EFormat::Profit),
                                formatted(orders, EFormat::Count),
                                formatted(tasks, EFormat::Count)));
}

/// Until the user has chosen: chooses the first strategy that has traded, and its first stock.
void CMainWindow::chooseForTheUser(const Picture& picture) {
    if (m_selection.account.empty()) {
        const auto first =
            std::find_if(picture.pairs.begin(), picture.pairs.end(), [](const PairRow& pair) {
                return !pair.strategy.empty() && pair.bought + pair.sold > 0;
            });
        if (first != picture.pairs.end())
            m_pPairs->chooseKey(pairKey(first->account, first->strategy));
    } else if (picture.selection == m_selection && !picture.stocks.empty() &&
               std::none_of(
                   picture.stocks.begin(), picture.stocks.end(),
                   [&](const StockRow& stock) { return stock.stock == m_selection.stock; })) {
        m_pTables->stocks()->chooseKey(QString::fromStdString(picture.stocks.front().stock));
    }
}

void CMainWindow::chooseFirst() {
    m_pPairs->setCurrentIndex({});
    m_pTables->stocks()->setCurrentIndex({});
    m_selection = {};
    m_engine.select(m_selection);
    if (m_pShown) chooseForTheUser(*m_pShown);
}

bool CMainWindow::isSettled() const {
    return m_pShown && m_pShown->selection == m_selection &&
           (m_pShown->stocks.empty() || !m_selection.stock.empty());
}

void CMainWindow::fillHidden() {
    while (m_nHiddenLeft > 0) showHiddenPage();
}

void CMainWindow::tidy() {
    fillHidden();
    for (auto* table : findChildren<CRowsView*>()) {
        table->measureAnew();
        table->scrollToTop();
    }
    divide();
}

void CMainWindow::choosePair(const QString& key) {
    const Selection pair{key.section('\n', 0, 0).toStdString(), key.section('\n', 1).toStdString(),
                         m_selection.stock};
    if (pair == m_selection) return;
    m_selection = pair;
    m_engine.select(m_selection);
}

void CMainWindow::chooseStock(const QString& key) {
    m_selection.stock = key.toStdString();
    m_engine.select(m_selection);
}

void CMainWindow::askBalance(const Selection& pair, bool history) {
    m_actions.preview(pair, history, [this, pair, history](const PlanPreview& plan) {
        const QString name = QString::fromStdString(pair.account + " / " + pair.strategy);
        auto* dialog = new CPlanDialog(
            history ? tr("Balance the history of %1").arg(name) : tr("Balance %1").arg(name), plan,
            QString::fromStdString(m_pShown->time), this);
        connect(dialog, &QDialog::accepted, this, [this, pair, history, name] {
            m_nBalancingUntil = secondOf(m_pShown->time) + LONGEST_BALANCE;
            if (history) {
                m_actions.balanceHistory(pair);
                showMessage(tr("The history of %1 is being balanced.").arg(name), LONGEST_BALANCE);
                return;
            }
            m_actions.balance(pair, [this, name](bool asked) {
                if (!asked) m_nBalancingUntil = 0;
                showMessage(
                    asked ? tr("%1 will be balanced in 5 seconds.").arg(name)
                          : tr("%1 is not balanced: another balance stands against it.").arg(name),
                    asked ? BALANCE_DELAY : LONGEST_BALANCE);
            });
        });
        follow(dialog, pair, history);
        dialog->open();
    });
}

void CMainWindow::openRecording() {
    auto* dialog = new CRecordDialog(m_actions, m_recordTerms, this);
    connect(dialog, &CRecordDialog::sigChosen, this, &CMainWindow::setRecording);
    connect(this, &CMainWindow::sigShown, dialog, [this, dialog] { dialog->show(*m_pShown); });
    if (m_pShown) dialog->show(*m_pShown);
    dialog->open();
}

void CMainWindow::setRecording(const RecordTerms& terms) {
    if (m_recordTerms == terms) return;
    m_recordTerms = terms;
    m_actions.setRecording(terms);
    Q_EMIT sigRecordingChosen();
}

/// Keeps an open plan up to date: one question at a time, with each picture.
void CMainWindow::follow(CPlanDialog* dialog, const Selection& pair, bool history) {
    m_bPreviewing = false;
    connect(this, &CMainWindow::sigShown, dialog,
            [this, pair, history, open = QPointer<CPlanDialog>(dialog)] {
                // A question that met no manager is never answered.
                if (!m_pShown->alive) m_bPreviewing = false;
                if (!m_pShown->alive || std::exchange(m_bPreviewing, true)) return;
                m_actions.preview(pair, history, [this, open](const PlanPreview& plan) {
                    m_bPreviewing = false;
                    if (open) open->show(plan, QString::fromStdString(m_pShown->time));
                });
            });
}

/// What would be lost when the desk were closed now; empty when nothing would.
QString CMainWindow::pendingText() const {
    if (!m_pShown || !m_pShown->alive) return {};
    const Picture& now = *m_pShown;
    const int second = secondOf(now.time);
    const auto isOver = [](const replay::BalanceFigures& balance) {
        return balance.state == "ended" || balance.state == "refused" || balance.state.empty();
    };
    auto underWay = static_cast<int>(std::count_if(
        now.balances.begin(), now.balances.end(),
        [&isOver](const replay::BalanceFigures& balance) { return !isOver(balance); }));
    if (underWay == 0 && now.balances.empty() && second < m_nBalancingUntil) underWay = 1;
    const QString clock = QString::fromStdString(now.time).remove(':');
    const auto toCome =
        std::count_if(now.balanceTimes.begin(), now.balanceTimes.end(), [&clock](const auto& time) {
            return typedTime(QString::fromStdString(time.second)).toString("HHmmss") > clock;
        });
    if (underWay + toCome == 0) return {};
    return tr("Balances under way: %1. Balance times still to come today: %2. They stop with the "
              "desk.")
        .arg(underWay)
        .arg(toCome);
}

void CMainWindow::closeEvent(QCloseEvent* event) {
    const QString pending = m_bCloseAgreed ? QString() : pendingText();
    if (pending.isEmpty()) return QMainWindow::closeEvent(event);
    event->ignore();
    ask(this, {QStringLiteral("close"), tr("Close the desk"), pending, tr("Close")}, [this] {
        m_bCloseAgreed = true;
        close();
    });
}

void CMainWindow::setPaused(bool paused) {
    m_engine.setPaused(paused);
    showPaused();
}

void CMainWindow::showPaused() { m_pPause->setText(m_engine.paused() ? tr("Play") : tr("Pause")); }

void CMainWindow::showMessage(const QString& text, int seconds) {
    m_pMessage->setText(text);
    m_nMessageUntil = seconds > 0 && m_pShown ? secondOf(m_pShown->time) + seconds : 0;
}

/// A message goes when it is no longer true, by the client's time.
void CMainWindow::expireMessage(const Picture& picture) {
    if (m_nMessageUntil > 0 && secondOf(picture.time) >= m_nMessageUntil) showMessage({});
}

}  // namespace desk
