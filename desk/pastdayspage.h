#pragma once

#include "desk/actions.h"
#include "desk/rowsview.h"

#include <QWidget>

#include <string>

class QComboBox;
class QDateEdit;
class QLabel;
class QPushButton;

namespace desk {

/// The deals and orders that are filed of the chosen account under a day, where they come from,
/// and the question for them to the trading server. While it is on the screen it is read anew
/// every second.
class CPastDaysPage final : public QWidget {
    Q_OBJECT

public:
    explicit CPastDaysPage(CActions& actions, QWidget* parent = nullptr);

    /// Follows the choice of the account; call it with each picture.
    void show(const std::string& account, bool alive);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void makeControls();
    void makeTables();
    void chooseDay(const std::string& date);
    void read();
    void take(const PastDay& day);
    void showDays();
    void showRecords();
    void showServer();
    const FiledRows& shownRows() const;

    CActions& m_actions;
    std::string m_account;
    std::string m_date;  ///< as the user chose it; empty: the newest
    PastDay m_day;       ///< that is shown
    bool m_bReading = false;
    bool m_bStale = true;     ///< something else was chosen or done since the last reading
    bool m_bFilling = false;  ///< what changes is no choice of the user's
    int m_nPictures = 0;      ///< since the last reading
    QDateEdit* m_pDate = nullptr;
    QComboBox* m_pKind = nullptr;
    QPushButton* m_pAsk = nullptr;
    QLabel* m_pServer = nullptr;
    QLabel* m_pTotals = nullptr;
    CRowsView* m_pDays = nullptr;
    CRowsView* m_pDeals = nullptr;
    CRowsView* m_pOrders = nullptr;
};

}  // namespace desk
