#pragma once

#include "desk/rowsview.h"
#include "replay/balancefigures.h"

#include <QWidget>

#include <string>
#include <vector>

namespace desk {

/// The balances of the day as the book of balances has them: what each did and what remains.
class CBalancesPage final : public QWidget {
    Q_OBJECT

public:
    explicit CBalancesPage(QWidget* parent = nullptr);

    /// The newest stands first.
    void show(const std::vector<replay::BalanceFigures>& balances);

private:
    CRowsView* m_pTable;
};

/// A reason or a state of the book in the language of the desk.
QString bookText(const std::string& text);

}  // namespace desk
