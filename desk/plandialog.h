#pragma once

#include "desk/actions.h"

#include <QDialog>

namespace desk {

/// Shows what a balance would send and cancel, stock by stock, and asks the user to confirm.
class CPlanDialog final : public QDialog {
    Q_OBJECT

public:
    CPlanDialog(const QString& title, const PlanPreview& preview, QWidget* parent);
};

/// Why a pair, or a stock of it, gets no order.
QString refusalText(TC::EBalanceRefusal refusal);
QString outcomeText(TC::EBalanceOutcome outcome);

}  // namespace desk
