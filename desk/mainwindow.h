#pragma once

#include "desk/actions.h"
#include "desk/engine.h"

#include <QMainWindow>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QSplitter;
class QSettings;
class QTabWidget;

namespace desk {

class CAccountPage;
class CBalancesPage;
class CBalanceTimesPage;
class CChart;
class CDetailTables;
class CEventsPage;
class CHistoryPage;
class CImportPage;
class CPastDaysPage;
class CPlanDialog;
class CRowsView;
class CRunningPage;

/// The one window of the desk. It shows pictures of the library's state and passes the user's
/// requests on; it waits for neither.
class CMainWindow final : public QMainWindow {
    Q_OBJECT

public:
    /// The engine must outlive the window and not be started before it.
    explicit CMainWindow(CEngine& engine);
    ~CMainWindow() override;

    /// The picture that is on the screen; empty before the first.
    std::shared_ptr<const Picture> shown() const { return m_pShown; }
    const RecordTerms& recordTerms() const { return m_recordTerms; }

    /// Chooses the first strategy that has traded and its first stock.
    void chooseFirst();
    /// Whether the picture on the screen is that of the choice.
    bool isSettled() const;
    /// Resets widths, scroll positions and division, as if this picture were the first one
    /// shown.
    void tidy();

    /// Fills the pages that nobody sees now, and not in their turn.
    void fillHidden();

    /// What the user did to the window, its tables and splitters. Nothing is read or written
    /// unless one of these is called.
    void restoreFrom(const QSettings& settings);
    void saveTo(QSettings& settings) const;

Q_SIGNALS:
    /// Another picture is on the screen.
    void sigShown();
    /// Nothing can be played, or the run was stopped.
    void sigFault(const QString& text);
    /// The user has chosen how sessions are recorded.
    void sigRecordingChosen();

protected:
    void resizeEvent(QResizeEvent* event) override;
    /// Asks first while a balance is under way or still to come: it would not happen.
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* makeTopBar();
    void makePace(QWidget* bar);
    QWidget* makeBody();
    void makePairs();
    void makeTabs();
    void makeSplitters();
    void makeShortcuts();
    void stepPair(int steps);
    QString pendingText() const;
    void follow(CPlanDialog* dialog, const Selection& pair, bool history);
    void expireMessage(const Picture& picture);
    void makeStatusBar();
    void openRecording();
    void setRecording(const RecordTerms& terms);
    void divide();
    QWidget* titled(const QString& title, QWidget* content);
    void collect();
    void show(std::shared_ptr<const Picture> picture);
    void listPages();
    void showPages();
    void showHiddenPage();
    void showPairs(const Picture& picture);
    void showClock(const Picture& picture);
    void showCounts(const Picture& picture);
    void chooseForTheUser(const Picture& picture);
    void choosePair(const QString& key);
    void chooseStock(const QString& key);
    void setPaused(bool paused);
    void showPaused();
    void askBalance(const Selection& pair, bool history);
    /// `seconds` of client time after which the text is not true any more; 0: it stays.
    void showMessage(const QString& text, int seconds = 0);
    void enableActions(bool alive);
    void explainCommands();

    CEngine& m_engine;
    CActions m_actions;
    Selection m_selection;
    std::shared_ptr<const Picture> m_pShown;

    QLabel* m_pClock = nullptr;
    QLabel* m_pDate = nullptr;
    QPushButton* m_pPause = nullptr;
    QComboBox* m_pSpeed = nullptr;
    QProgressBar* m_pProgress = nullptr;
    QPushButton* m_pBalance = nullptr;
    CRowsView* m_pPairs = nullptr;
    CChart* m_pChart = nullptr;
    QTabWidget* m_pTabs = nullptr;
    QTabWidget* m_pDayTabs = nullptr;
    QSplitter* m_pBoth = nullptr;
    QSplitter* m_pLeft = nullptr;
    QSplitter* m_pRight = nullptr;
    bool m_bSplitByHand = false;
    struct Page {
        QWidget* widget;
        std::function<void(const Picture&)> show;
    };
    std::vector<Page> m_pages;
    std::size_t m_nHidden = 0;      ///< the page that is filled next, if nobody sees it
    std::size_t m_nHiddenLeft = 0;  ///< how many have not met the newest picture
    QTimer m_hidden;
    std::unique_ptr<CDetailTables> m_pTables;
    CRunningPage* m_pRunning = nullptr;
    CEventsPage* m_pEvents = nullptr;
    CAccountPage* m_pAccount = nullptr;
    CBalancesPage* m_pBalances = nullptr;
    CBalanceTimesPage* m_pTimes = nullptr;
    CHistoryPage* m_pHistory = nullptr;
    CImportPage* m_pImport = nullptr;
    CPastDaysPage* m_pPast = nullptr;
    QPushButton* m_pImportNow = nullptr;
    QPushButton* m_pRecord = nullptr;
    RecordTerms m_recordTerms;
    bool m_bAlive = true;
    bool m_bHalted = false;
    bool m_bCloseAgreed = false;
    bool m_bPreviewing = false;  ///< a preview for the open plan is under way
    /// Seconds of the client's day: until then a balance asked for here may be under way, though
    /// there is no book that tells; and until then the message holds (0: no end).
    int m_nBalancingUntil = 0;
    int m_nMessageUntil = 0;
    QLabel* m_pRecording = nullptr;
    QLabel* m_pCounts = nullptr;
    QLabel* m_pMessage = nullptr;
};

}  // namespace desk
