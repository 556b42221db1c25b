#pragma once

#include "desk/rowsview.h"

class QTabWidget;

namespace desk {

struct Picture;

/// When an order was seen first; its heading's tip says why.
Column firstSeenColumn();

/// The tables of the chosen strategy and stock.
class CDetailTables {
public:
    /// Adds a tab for each table except the stocks.
    CDetailTables(QWidget* parent, QTabWidget* tabs);

    static constexpr int COUNT = 5;
    /// Fills one of the tables.
    void show(const Picture& picture, int which);
    CRowsView* table(int which) const;

    CRowsView* stocks() { return m_pStocks; }

private:
    void nameTables(QTabWidget* tabs);

    CRowsView* m_pStocks;
    CRowsView* m_pOrders;
    CRowsView* m_pDeals;
    CRowsView* m_pTasks;
    CRowsView* m_pLevels;
};

}  // namespace desk
