#pragma once

#include "desk/arrivals.h"
#include "desk/balancewatch.h"
#include "desk/daynotes.h"
#include "desk/faultlog.h"

namespace desk {

/// What the desk hears itself of the day, beside what it asks the library for. The stage starts
/// it, because whoever looks only at pictures misses what happens between two of them.
///
/// Threads: the engine's, except where its parts say otherwise.
struct CDayWitness {
    CFaultLog faults;
    CArrivals arrivals;
    CBalanceWatch balances;
    CDayNotes notes;

    /// The client is there, and no manager yet.
    void clientIsThere() {
        faults.listen();
        arrivals.listen();
    }
};

}  // namespace desk
