#include "adaptercheck/cases.h"

#include <exception>

namespace adaptercheck {

std::vector<Case> allCases() {
    std::vector<Case> all;
    for (const auto family : {clientCases, dataCenterCases, recordCases, commandCases,
                              tradeClientCases, quoteCases, referenceCases, stormCases}) {
        const std::vector<Case> cases = family();
        all.insert(all.end(), cases.begin(), cases.end());
    }
    return all;
}

Result runCase(const Case& tried, const Factory& factory, Seconds patience,
               const std::function<void()>& beat) {
    try {
        CStage stage(factory, patience, beat);
        try {
            tried.run(stage);
        } catch (const Skipped&) {
            stage.judge();
            throw;
        }
        stage.remove();
        stage.judge();
        return {};
    } catch (const Failed& failed) {
        return {EVerdict::Failed, failed.why};
    } catch (const Skipped& skipped) {
        return {EVerdict::Skipped, skipped.why};
    } catch (const std::exception& fault) {
        return {EVerdict::Failed, std::string("it threw: ") + fault.what()};
    } catch (...) {
        return {EVerdict::Failed, "it threw what is no exception"};
    }
}

}  // namespace adaptercheck
