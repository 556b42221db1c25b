#pragma once

namespace TC {

/// Who asks for a balance: the trader, or the client at a balance time.
enum class EBalanceAsker { Demand, Schedule };

}  // namespace TC
