#pragma once

#include "desk/rowsview.h"

#include <QWidget>

class QLabel;

namespace desk {

struct Picture;

/// What the accounts have, and the positions of the chosen one.
class CAccountPage final : public QWidget {
    Q_OBJECT

public:
    explicit CAccountPage(QWidget* parent = nullptr);

    /// `account`: whose positions are shown, once the picture has them.
    void show(const Picture& picture, const std::string& account);

private:
    CRowsView* m_pFunds;
    CRowsView* m_pPositions;
    QLabel* m_pTitle;
};

}  // namespace desk
