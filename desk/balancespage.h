#pragma once

#include "desk/picture.h"
#include "desk/rowsview.h"

#include <QWidget>

#include <string>
#include <vector>

namespace desk {

/// The balances of the day: who asked for each, what it did and what remains.
class CBalancesPage final : public QWidget {
    Q_OBJECT

public:
    explicit CBalancesPage(QWidget* parent = nullptr);

    /// The newest stands first. The picture tells what still runs of a pair that is being
    /// cancelled, and the time.
    void show(const Picture& picture);

private:
    CRowsView* m_pTable;
};

/// What the newest balance of a pair does now, or how it ended; empty when there is none.
QString balanceStateText(const Picture& picture, const PairRow& pair);

/// Who asked for a balance.
QString askedByText(EAskedBy by);

/// A reason or a state of the book in the language of the desk.
QString bookText(const std::string& text);

}  // namespace desk
