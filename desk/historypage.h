#pragma once

#include "desk/actions.h"
#include "desk/rowsview.h"

#include <QWidget>

#include <functional>

class QHBoxLayout;
class QPushButton;

namespace desk {

/// What earlier days left unequal, stock by stock, and what can be done about it.
class CHistoryPage final : public QWidget {
    Q_OBJECT

public:
    explicit CHistoryPage(CActions& actions, QWidget* parent = nullptr);

    void show(const std::vector<HistoryRow>& history, const Selection& chosen);

Q_SIGNALS:
    /// The user wants to balance the history of a pair.
    void sigBalance(const QString& account, const QString& strategy);
    void sigMessage(const QString& text);

private:
    QPushButton* addButton(const QString& text, const char* name);
    const HistoryRow* current() const;
    void carryOver();
    void confirmDeleteStock();
    void confirm(const QString& question, std::function<void()> go);

    CActions& m_actions;
    Selection m_chosen;
    std::vector<HistoryRow> m_history;
    CRowsView* m_pTable;
    QHBoxLayout* m_pButtons;
    QPushButton* m_pCarry;
    QPushButton* m_pBalance;
    QPushButton* m_pDeleteStock;
    QPushButton* m_pDeleteBalanced;
    QPushButton* m_pDeleteAll;
};

}  // namespace desk
