#pragma once

#include "tests/adaptercheck/faultyservices.h"

#include <set>

namespace faulty {

struct Fault {
    const char* name;
    std::set<int> fails;  ///< the cases that must fail, and no others
    adaptercheck::Factory factory;
    bool alone = false;  ///< only these cases are run: others would only take time, or be changed
};

// A family each; together they have at least one for each case.
std::vector<Fault> clientFaults();
std::vector<Fault> dataCenterFaults();
std::vector<Fault> recordFaults();
std::vector<Fault> commandFaults();
std::vector<Fault> tradeClientFaults();
std::vector<Fault> quoteFaults();
std::vector<Fault> referenceFaults();

}  // namespace faulty
