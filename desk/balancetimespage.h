#pragma once

#include "desk/actions.h"
#include "desk/rowsview.h"

#include <QWidget>

#include <map>

class QLabel;
class QPushButton;
class QTimeEdit;

namespace desk {

/// The balance-time table: the user edits times in the table; the line below it sets the time
/// of the chosen strategy.
class CBalanceTimesPage final : public QWidget {
    Q_OBJECT

public:
    explicit CBalanceTimesPage(CActions& actions, QWidget* parent = nullptr);

    void show(const std::map<std::string, std::string>& times, const Selection& chosen);

private:
    CActions& m_actions;
    Selection m_chosen;
    CRowsView* m_pTable;
    QLabel* m_pChosen;
    QTimeEdit* m_pTime;
    QPushButton* m_pSet;
    QPushButton* m_pDelete;
};

}  // namespace desk
