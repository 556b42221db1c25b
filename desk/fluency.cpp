#include "desk/fluency.h"

#include "desk/chart.h"
#include "desk/mainwindow.h"
#include "desk/rowsview.h"

#include <QCoreApplication>
#include <QMouseEvent>
#include <QTabBar>
#include <QTabWidget>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace desk {

namespace {

constexpr std::size_t MOST_SLOWEST = 10;
constexpr int LIMIT_MILLIS = 5000;
constexpr int SHORTEST_WAIT = 10;
constexpr int LONGEST_WAIT = 120;
/// While there is nothing to click on.
constexpr int NOTHING_YET = 100;
const QEvent::Type PAINTED = QEvent::Type(QEvent::registerEventType());

/// The smallest time that so many of a hundred clicks do not exceed; `times` in ascending order.
double percentile(const std::vector<double>& times, double percent) {
    const auto rank =
        static_cast<std::size_t>(std::ceil(percent / 100.0 * static_cast<double>(times.size())));
    return times[std::max<std::size_t>(rank, 1) - 1];
}

QString lineOf(const char* name, std::vector<double> times) {
    if (times.empty()) return {};
    std::sort(times.begin(), times.end());
    const auto number = [](double millis) { return QString::number(millis, 'f', 1); };
    return QString("%1  clicks %2  p50 %3 ms  p99 %4 ms  worst %5 ms\n")
        .arg(name, -10)
        .arg(times.size(), 5)
        .arg(number(percentile(times, 50)), 6)
        .arg(number(percentile(times, 99)), 6)
        .arg(number(times.back()), 6);
}

}  // namespace

CFluency::CFluency(CMainWindow& window, const FluencyTerms& terms)
    : m_window(window), m_terms(terms), m_random(terms.seed), m_pLimit(new QTimer(this)) {
    m_pLimit->setSingleShot(true);
    connect(m_pLimit, &QTimer::timeout, this, [this] { finish(true); });
    connect(&window, &CMainWindow::sigShown, this, &CFluency::onShown);
    for (auto* rows : window.findChildren<CRowsView*>()) {
        connect(rows->horizontalHeader(), &QHeaderView::sortIndicatorChanged, this, [this, rows] {
            if (m_kind == EKind::Heading && m_pWatched == rows->viewport()) arrive();
        });
    }
    QCoreApplication::instance()->installEventFilter(this);
    waitAWhile();
}

int CFluency::random(int least, int most) {
    return std::uniform_int_distribution<int>(least, most)(m_random);
}

CRowsView* CFluency::table(const char* name) const {
    return m_window.findChild<CRowsView*>(QString::fromLatin1(name));
}

QWidget* CFluency::page(const char* tabs) const {
    return m_window.findChild<QTabWidget*>(QString::fromLatin1(tabs))->currentWidget();
}

void CFluency::waitAWhile() {
    QTimer::singleShot(random(SHORTEST_WAIT, LONGEST_WAIT), this, &CFluency::clickNext);
}

void CFluency::clickNext() {
    std::array kinds{EKind::Strategy, EKind::Strategy, EKind::Stock, EKind::Page, EKind::Heading};
    std::shuffle(kinds.begin(), kinds.end(), m_random);
    const bool clicked = m_window.isSettled() && std::any_of(kinds.begin(), kinds.end(),
                                                             [this](EKind k) { return click(k); });
    if (!clicked) QTimer::singleShot(NOTHING_YET, this, &CFluency::clickNext);
}

/// False when there is nothing of this kind to click on.
bool CFluency::click(EKind kind) {
    switch (kind) {
        case EKind::Strategy:
            return clickRow(kind, *table("pairs"));
        case EKind::Stock:
            return clickRow(kind, *table("stocks"));
        case EKind::Page:
            return clickPage();
        case EKind::Heading:
            return clickHeading();
    }
    return false;
}

/// Another row than the current one. What belongs to it stands in the stocks, or in the table below
/// them.
bool CFluency::clickRow(EKind kind, CRowsView& rows) {
    const int count = rows.model()->rowCount();
    if (count < 2) return false;
    const int current = rows.currentIndex().row();
    const int other = random(0, count - 2);
    const QModelIndex index = rows.model()->index(other + (current >= 0 && other >= current), 0);
    rows.scrollTo(index);
    if (!rows.viewport()->rect().contains(rows.visualRect(index).center())) return false;
    m_pRows = &rows;
    QWidget* watched = table("stocks")->viewport();
    if (kind == EKind::Stock) {
        auto* below = qobject_cast<CRowsView*>(page("tabs"));
        watched = below ? below->viewport() : m_window.findChild<CChart*>();
    }
    post(kind, {}, *rows.viewport(), rows.visualRect(index).center(), watched);
    return true;
}

/// The row that the click meets: while it was under way a picture may have moved the rows. One that
/// changes nothing is no click to be answered.
void CFluency::aim(const QPoint& place) {
    const CRowsView& rows = *std::exchange(m_pRows, nullptr);
    const QModelIndex index = rows.indexAt(place);
    if (!index.isValid() || index.row() == rows.currentIndex().row()) {
        m_bWaiting = false;
        m_pLimit->stop();
        return waitAWhile();
    }
    const QString key = index.data(CRowsModel::ROLE_KEY).toString();
    m_wanted = m_window.shown()->selection;
    if (m_kind == EKind::Stock) {
        m_wanted.stock = key.toStdString();
    } else {
        m_wanted.account = key.section('\n', 0, 0).toStdString();
        m_wanted.strategy = key.section('\n', 1).toStdString();
    }
    m_strWhat = QString(key).replace('\n', QStringLiteral(" / "));
}

bool CFluency::clickPage() {
    auto* tabs = m_window.findChild<QTabWidget*>(random(0, 3) == 0 ? "dayTabs" : "tabs");
    const int other = random(0, tabs->count() - 2);
    const int index = other + int(other >= tabs->currentIndex());
    QWidget* page = tabs->widget(index);
    auto* rows = qobject_cast<CRowsView*>(page);
    if (!rows) rows = page->findChild<CRowsView*>();
    if (!rows) return false;
    QTabBar* bar = tabs->tabBar();
    post(EKind::Page, tabs->tabText(index), *bar, bar->tabRect(index).center(), rows->viewport());
    m_bArrived = true;
    return true;
}

bool CFluency::clickHeading() {
    std::vector<CRowsView*> tables;
    for (auto* rows : m_window.findChildren<CRowsView*>()) {
        if (rows->isVisible() && rows->isSortingEnabled() && rows->model()->rowCount() > 1)
            tables.push_back(rows);
    }
    if (tables.empty()) return false;
    CRowsView* rows = tables[std::size_t(random(0, int(tables.size()) - 1))];
    const QHeaderView& heading = *rows->horizontalHeader();
    const int column = random(0, rows->model()->columnCount() - 1);
    const int x = heading.sectionViewportPosition(column) + heading.sectionSize(column) / 2;
    const QPoint place(x, heading.viewport()->height() / 2);
    if (heading.isSectionHidden(column) || !heading.viewport()->rect().contains(place))
        return false;
    const QString title = rows->model()->headerData(column, Qt::Horizontal).toString();
    post(EKind::Heading, QString("%1: %2").arg(rows->objectName(), title), *heading.viewport(),
         place, rows->viewport());
    return true;
}

/// The click goes through the window, as one of the mouse does.
void CFluency::post(EKind kind, const QString& what, QWidget& target, const QPoint& place,
                    QWidget* watched) {
    m_kind = kind;
    m_strWhat = what;
    m_pWatched = watched;
    m_bArrived = false;
    m_bPainted = false;
    m_bWaiting = true;
    m_pLimit->start(LIMIT_MILLIS);
    QWindow* window = m_window.windowHandle();
    const QPoint inside = target.mapTo(&m_window, place);
    const QPoint global = window->mapToGlobal(inside);
    m_begun = Clock::now();
    for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        const Qt::MouseButtons held =
            type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
        QCoreApplication::postEvent(window, new QMouseEvent(type, inside, inside, global,
                                                            Qt::LeftButton, held, Qt::NoModifier));
    }
}

/// The tables have the picture of the wanted selection, with a stock of the strategy.
void CFluency::onShown() {
    if (!m_bWaiting || m_bArrived || m_pRows) return;
    if (m_kind == EKind::Page || m_kind == EKind::Heading) return;
    const Picture& picture = *m_window.shown();
    const Selection& now = picture.selection;
    const bool isPair = now.account == m_wanted.account && now.strategy == m_wanted.strategy;
    const bool isStock =
        m_kind == EKind::Stock
            ? now.stock == m_wanted.stock
            : picture.stocks.empty() ||
                  std::any_of(picture.stocks.begin(), picture.stocks.end(),
                              [&now](const StockRow& row) { return row.stock == now.stock; });
    if (isPair && isStock) arrive();
}

/// Equal rows would not be painted again, so the next painting is asked for.
void CFluency::arrive() {
    m_bArrived = true;
    if (m_pWatched) m_pWatched->update();
}

bool CFluency::eventFilter(QObject* watched, QEvent* event) {
    if (m_pRows && watched == m_pRows->viewport() && event->type() == QEvent::MouseButtonPress)
        aim(static_cast<QMouseEvent*>(event)->pos());
    const bool paints = event->type() == QEvent::Paint && watched == m_pWatched.data();
    if (paints && m_bWaiting && m_bArrived && !std::exchange(m_bPainted, true)) {
        // Comes when the window has painted everything and is back at its events.
        QCoreApplication::postEvent(this, new QEvent(PAINTED), Qt::HighEventPriority);
    }
    return QObject::eventFilter(watched, event);
}

bool CFluency::event(QEvent* event) {
    if (event->type() != PAINTED) return QObject::event(event);
    if (m_bWaiting) finish(false);
    return true;
}

void CFluency::finish(bool lost) {
    const std::chrono::duration<double, std::milli> taken = Clock::now() - m_begun;
    m_bWaiting = false;
    m_pLimit->stop();
    m_times[m_kind].push_back(taken.count());
    m_nLost += int(lost);
    QString page;
    for (const char* name : {"tabs", "dayTabs"}) {
        const auto* tabs = m_window.findChild<QTabWidget*>(QString::fromLatin1(name));
        page += QString(" [%1]").arg(tabs->tabText(tabs->currentIndex()));
    }
    m_slowest.emplace(taken.count(), m_strWhat + page);
    if (m_slowest.size() > MOST_SLOWEST) m_slowest.erase(m_slowest.begin());
    std::size_t clicks = 0;
    for (const auto& [kind, times] : m_times) clicks += times.size();
    if (clicks < static_cast<std::size_t>(m_terms.clicks)) return waitAWhile();
    QCoreApplication::instance()->removeEventFilter(this);
    Q_EMIT sigDone();
}

QString CFluency::report() const {
    static constexpr std::pair<EKind, const char*> NAMES[] = {{EKind::Strategy, "strategies"},
                                                              {EKind::Stock, "stocks"},
                                                              {EKind::Page, "pages"},
                                                              {EKind::Heading, "headings"}};
    QString text;
    std::vector<double> all;
    for (const auto& [kind, name] : NAMES) {
        const auto found = m_times.find(kind);
        if (found == m_times.end()) continue;
        text += lineOf(name, found->second);
        all.insert(all.end(), found->second.begin(), found->second.end());
    }
    text += lineOf("all", all);
    for (auto slow = m_slowest.rbegin(); slow != m_slowest.rend(); ++slow)
        text += QString("%1 ms  %2\n").arg(slow->first, 8, 'f', 1).arg(slow->second);
    if (m_nLost > 0) text += QString("not answered: %1\n").arg(m_nLost);
    return text;
}

bool CFluency::isWell() const {
    std::vector<double> all;
    for (const auto& [kind, times] : m_times) all.insert(all.end(), times.begin(), times.end());
    std::sort(all.begin(), all.end());
    if (m_nLost > 0 || all.empty()) return false;
    return m_terms.atMost <= 0.0 || percentile(all, 99) <= m_terms.atMost;
}

}  // namespace desk
