#pragma once

#include "linkage/core/clinkagemanager.h"
#include "linkage/core/enginestate.h"
#include "linkage/record/pictureledger.h"

namespace TC {

/// The whole manager (picturemembers.h). Hold its lock, which cannot be named where this is
/// declared.
template <class P>
LINKAGE_TS(no_thread_safety_analysis)
void PictureMembers::of(P& p, CLinkageManager& manager) {
    published(p, "tradeDate", *manager.m_pTradeDate);
    p("user", manager.m_strUserData);
    p("retries", manager.m_pEngine->m_retries.works);
    p("retryWait", manager.m_pEngine->m_retries.wait);
    p("accounts", manager.m_pAccounts->m_infos);
    p("ledger", *manager.m_pLedger);
    p("quotes", *manager.m_pQuotes);
    p("reconciliations", *manager.m_pReconciliations);
    p("curves", *manager.m_pCurveData);
    p("positions", *manager.m_pPositionReports);
    p("balance", *manager.m_pBalance);
    p("history", *manager.m_pHistory);
    p("serverHistory", *manager.m_pServerHistory);
    p("imports", *manager.m_pImports);
    if (manager.m_pGuarded) p("guarded", *manager.m_pGuarded);
}

}  // namespace TC
