#pragma once

#include "desk/actions.h"
#include "desk/engine.h"

#include <QMainWindow>

#include <memory>

class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QSplitter;
class QTabWidget;

namespace desk {

class CBalancesPage;
class CBalanceTimesPage;
class CChart;
class CDetailTables;
class CHistoryPage;
class CImportPage;
class CPastDaysPage;
class CRowsView;

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

    /// Chooses the first strategy that has traded and its first stock.
    void chooseFirst();
    /// Whether the picture on the screen is that of the choice.
    bool isSettled() const;
    /// Resets widths, scroll positions and division, as if this picture were the first one
    /// shown.
    void tidy();

Q_SIGNALS:
    /// Another picture is on the screen.
    void sigShown();
    /// Nothing can be played, or the run was stopped.
    void sigFault(const QString& text);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QWidget* makeTopBar();
    void makePace(QWidget* bar);
    QWidget* makeBody();
    void makeSplitters();
    void makeStatusBar();
    void divide();
    QWidget* titled(const QString& title, QWidget* content);
    void collect();
    void show(std::shared_ptr<const Picture> picture);
    void showPairs(const Picture& picture);
    void showClock(const Picture& picture);
    void showCounts(const Picture& picture);
    void chooseForTheUser(const Picture& picture);
    void choosePair(const QString& key);
    void chooseStock(const QString& key);
    void setPaused(bool paused);
    void showPaused();
    void askBalance(const Selection& pair, bool history);
    void showMessage(const QString& text);
    void enableActions(bool alive);

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
    QSplitter* m_pBoth = nullptr;
    QSplitter* m_pRight = nullptr;
    bool m_bSplitByHand = false;
    std::unique_ptr<CDetailTables> m_pTables;
    CBalancesPage* m_pBalances = nullptr;
    CBalanceTimesPage* m_pTimes = nullptr;
    CHistoryPage* m_pHistory = nullptr;
    CImportPage* m_pImport = nullptr;
    CPastDaysPage* m_pPast = nullptr;
    QPushButton* m_pImportNow = nullptr;
    bool m_bAlive = true;
    bool m_bHalted = false;
    QLabel* m_pCounts = nullptr;
    QLabel* m_pMessage = nullptr;
};

}  // namespace desk
