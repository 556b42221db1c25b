#pragma once

#include "desk/actions.h"

#include <QDialog>

class QLabel;
class QPushButton;

namespace desk {

class CRowsView;

/// Shows what a balance would send and cancel, stock by stock, and asks the user to confirm. Cancel
/// is the default. While it is open it shows each newer preview, and says when the last change was.
class CPlanDialog final : public QDialog {
    Q_OBJECT

public:
    /// `time` is the client's time of the preview.
    CPlanDialog(const QString& title, const PlanPreview& preview, const QString& time,
                QWidget* parent);

    void show(const PlanPreview& preview, const QString& time);
    using QDialog::show;

private:
    void makeButtons();

    PlanPreview m_preview;
    QString m_changed;  ///< when it last said something else
    QLabel* m_pSummary;
    QLabel* m_pFreshness;
    CRowsView* m_pTable;
    QPushButton* m_pGo = nullptr;
};

/// Why a pair, or a stock of it, gets no order.
QString refusalText(TC::EBalanceRefusal refusal);
QString outcomeText(TC::EBalanceOutcome outcome);

}  // namespace desk
