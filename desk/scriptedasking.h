#pragma once

#include "desk/balancewatch.h"

#include <optional>
#include <string_view>

namespace desk {

/// Seconds after which a balance starts that an operation of the manager asks for; empty: it asks
/// for none.
std::optional<int> balanceDelay(std::string_view operation);

/// While this lives, an operation that a scenario or a recording names runs on this thread: the
/// balances and cancellations that it asks for are not the trader's.
class CScriptedAsking {
public:
    CScriptedAsking(CBalanceWatch& watch, std::string_view operation, const replay::PairKey& pair,
                    EAskedBy by);

private:
    std::optional<CBalanceWatch::CAsking> m_asking;
    std::optional<CBalanceWatch::CCancelling> m_cancelling;
};

}  // namespace desk
