#pragma once

#include "desk/rowsview.h"
#include "replay/balancefigures.h"

#include <QWidget>

#include <string>
#include <vector>

namespace desk {

struct PairRow;

/// The balances of the day as the book of balances has them: what each did and what remains.
class CBalancesPage final : public QWidget {
    Q_OBJECT

public:
    explicit CBalancesPage(QWidget* parent = nullptr);

    /// The newest stands first. `pairs` tell what still runs of a pair that is being cancelled.
    void show(const std::vector<replay::BalanceFigures>& balances,
              const std::vector<PairRow>& pairs);

private:
    CRowsView* m_pTable;
};

/// What the newest balance of a pair does now, or how it ended; empty when there is none.
QString balanceStateText(const std::vector<replay::BalanceFigures>& balances, const PairRow& pair);

/// A reason or a state of the book in the language of the desk.
QString bookText(const std::string& text);

}  // namespace desk
