#pragma once

#include "linkage/stats/quotestate.h"

namespace TC {

/// The profit and balance curves of the day. Guarded by the manager's lock.
class CPeriodCurves : public QuoteState {};

}  // namespace TC
