#pragma once

#include "desk/actions.h"
#include "desk/rowsview.h"

#include <QWidget>

#include <vector>

class QLabel;
class QPushButton;

namespace desk {

/// All running orders of all accounts, and their cancellation: of one order at once, by a double
/// click, the key Delete or the button; of all orders of a strategy after a question.
class CRunningPage final : public QWidget {
    Q_OBJECT

public:
    explicit CRunningPage(CActions& actions, QWidget* parent = nullptr);

    /// The newest running orders, and how many there are of each strategy.
    void show(const std::vector<RunningRow>& orders, const std::vector<PairRow>& pairs);

Q_SIGNALS:
    void sigMessage(const QString& text);

private:
    const RunningRow* current() const;
    void cancel();
    void askCancelAll();

    CActions& m_actions;
    std::vector<RunningRow> m_orders;
    std::vector<PairRow> m_pairs;
    CRowsView* m_pTable;
    QLabel* m_pShown;
    QPushButton* m_pCancel;
    QPushButton* m_pCancelAll;
};

}  // namespace desk
