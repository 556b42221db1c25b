#include "replay/operations.h"

#include <map>

namespace replay {

namespace {

std::map<std::string_view, const Operation*> allOperations() {
    std::map<std::string_view, const Operation*> all;
    for (const auto family : {actionOperations(), queryOperations(), reportOperations()}) {
        for (const Operation& operation : family) all.emplace(operation.name, &operation);
    }
    return all;
}

}  // namespace

const Operation& findOperation(const CallEvent& event) {
    static const auto OPERATIONS = allOperations();
    const auto found = OPERATIONS.find(event.op);
    if (found == OPERATIONS.end()) throw LineError("unknown \"op\": \"" + event.op + "\"");
    const Operation& operation = *found->second;
    simdjson::dom::array args;
    if (event.args && event.args->get(args)) throw LineError("field \"args\": wrong type");
    const std::size_t given = event.args ? args.size() : 0;
    const std::size_t least = operation.arguments - operation.optional;
    if (given < least || given > operation.arguments) {
        throw LineError("field \"args\": " + event.op + " takes " +
                        (operation.optional > 0 ? std::to_string(least) + " to " : std::string()) +
                        std::to_string(operation.arguments) + " arguments, not " +
                        std::to_string(given));
    }
    return operation;
}

}  // namespace replay
