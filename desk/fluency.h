#pragma once

#include "desk/picture.h"

#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <chrono>
#include <map>
#include <random>
#include <vector>

class QTimer;

namespace desk {

class CMainWindow;
class CRowsView;

struct FluencyTerms {
    int clicks = 300;
    unsigned seed = 1;
    double atMost = 0.0;  ///< milliseconds that the 99th percentile may take; 0: any
};

/// Measures how soon the window answers. Clicks with the mouse on strategies, stocks, pages and
/// headings at random moments while the day plays, and takes the time from the click until the rows
/// that belong to it are painted. Each click waits for the one before. A click that is not answered
/// in 5 seconds is lost.
///
/// Threads: the window's. Reads the machine's steady clock: it measures, and decides nothing.
class CFluency final : public QObject {
    Q_OBJECT

public:
    CFluency(CMainWindow& window, const FluencyTerms& terms);

    /// Count, percentiles and the worst, in milliseconds, of all clicks and of each kind, and the
    /// slowest clicks.
    QString report() const;
    /// Whether no click was lost and the terms are kept.
    bool isWell() const;

Q_SIGNALS:
    void sigDone();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool event(QEvent* event) override;

private:
    using Clock = std::chrono::steady_clock;
    enum class EKind { Strategy, Stock, Page, Heading };

    int random(int least, int most);
    CRowsView* table(const char* name) const;
    QWidget* page(const char* tabs) const;
    void waitAWhile();
    void clickNext();
    bool click(EKind kind);
    bool clickRow(EKind kind, CRowsView& rows);
    bool clickPage();
    bool clickHeading();
    void post(EKind kind, const QString& what, QWidget& target, const QPoint& place,
              QWidget* watched);
    void aim(const QPoint& place);
    void onShown();
    void arrive();
    void finish(bool lost);

    CMainWindow& m_window;
    const FluencyTerms m_terms;
    std::mt19937 m_random;
    QTimer* m_pLimit;
    std::map<EKind, std::vector<double>> m_times;  ///< milliseconds
    std::multimap<double, QString> m_slowest;      ///< what was clicked on
    int m_nLost = 0;

    // the click that is under way
    EKind m_kind = EKind::Strategy;
    QString m_strWhat;
    bool m_bWaiting = false;
    bool m_bArrived = false;  ///< what belongs to the click is in the tables
    bool m_bPainted = false;
    Clock::time_point m_begun;
    Selection m_wanted;
    QPointer<QWidget> m_pWatched;
    QPointer<CRowsView> m_pRows;  ///< whose row is clicked on, until it is
};

}  // namespace desk
