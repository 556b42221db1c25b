#pragma once

#include "adaptercheck/stage.h"

/// The cases: each holds one sentence of a contract.
namespace adaptercheck {

struct Case {
    int number;
    const char* name;
    const char* header;    ///< of platform/, that has the sentence
    const char* sentence;  ///< word for word
    void (*run)(CStage& stage);
};

// A family each; a family's numbers begin with the same digit.
std::vector<Case> clientCases();
std::vector<Case> dataCenterCases();
std::vector<Case> recordCases();
std::vector<Case> commandCases();
std::vector<Case> tradeClientCases();
std::vector<Case> quoteCases();
std::vector<Case> referenceCases();
std::vector<Case> stormCases();

/// In the order of their numbers.
std::vector<Case> allCases();

enum class EVerdict { Passed, Failed, Skipped };

struct Result {
    EVerdict verdict = EVerdict::Passed;
    std::string reason;
};

/// Runs a case against a new adapter.
Result runCase(const Case& tried, const Factory& factory, Seconds patience,
               const std::function<void()>& beat);

}  // namespace adaptercheck
