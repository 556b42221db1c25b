#pragma once

#include "linkage/balance/balanceplan.h"

#include <QDialog>

namespace desk {

/// Shows what a balance would send, stock by stock, and asks for the word.
class CPlanDialog final : public QDialog {
    Q_OBJECT

public:
    CPlanDialog(const QString& title, const TC::BalancePlan& plan, QWidget* parent);
};

/// Why a pair, or a stock of it, gets no order.
QString refusalText(TC::EBalanceRefusal refusal);
QString outcomeText(TC::EBalanceOutcome outcome);

}  // namespace desk
