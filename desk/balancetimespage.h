#pragma once

#include "desk/actions.h"
#include "desk/rowsview.h"

#include <QTime>
#include <QWidget>

#include <map>
#include <string>

class QLabel;
class QPushButton;

namespace desk {

class CTimeEdit;

/// The balance-time table: the user edits times in the table; the line below it sets the time
/// of the chosen strategy. While a time is typed, the page says what is wrong with it.
class CBalanceTimesPage final : public QWidget {
    Q_OBJECT

public:
    explicit CBalanceTimesPage(CActions& actions, QWidget* parent = nullptr);

    /// `now` is the client's time, "hh:mm:ss".
    void show(const std::map<std::string, std::string>& times, const Selection& chosen,
              const std::string& now);

private:
    QWidget* makeTimeEditor(QWidget* parent);
    void judge(const CTimeEdit& edit);
    void setTime();
    void askDelete();

    CActions& m_actions;
    Selection m_chosen;
    CRowsView* m_pTable;
    QLabel* m_pChosen;
    CTimeEdit* m_pTime;
    QLabel* m_pRemark;
    QTime m_now;
    QPushButton* m_pSet;
    QPushButton* m_pDelete;
};

}  // namespace desk
