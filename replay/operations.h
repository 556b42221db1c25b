#pragma once

#include "linkage/core/clinkagemanager.h"
#include "replay/records.h"

#include "replay/event.h"

#include <span>

/// The operations of the manager that a scenario can call by name.
namespace replay {

/// One call: the manager, the arguments, and where the result goes.
struct Call {
    TC::CLinkageManager& manager;
    const CList& args;
    CJsonWriter& result;

    CValue arg(std::size_t index) const { return args.at(index); }
    bool has(std::size_t index) const { return index < args.size(); }
};

struct Operation {
    std::string_view name;
    std::size_t arguments;  ///< the most that it takes
    void (*run)(Call&);
    std::size_t optional = 0;  ///< how many of the last ones may be left out
};

/// By family; see operations.cpp.
std::span<const Operation> actionOperations();
std::span<const Operation> queryOperations();
std::span<const Operation> reportOperations();

/// Throws LineError when there is no such operation, or when it takes fewer or more arguments.
const Operation& findOperation(const CallEvent& event);

template <class T>
T readArgument(const CValue& value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value.flag();
    } else if constexpr (std::is_integral_v<T>) {
        return value.whole<T>();
    } else if constexpr (std::is_floating_point_v<T>) {
        return value.real();
    } else if constexpr (std::is_same_v<T, std::string>) {
        return std::string(value.text());
    } else if constexpr (std::is_same_v<T, QString>) {
        const std::string_view text = value.text();
        return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
    } else if constexpr (std::is_same_v<T, TC::TradeStatData>) {
        return readStat(value);
    } else {
        T list;
        value.list().each([&](const CValue& entry) {
            list.insert(list.end(), readArgument<typename T::value_type>(entry));
        });
        return list;
    }
}

/// Runs `work` with the call's arguments, read as its parameter types, and writes what it returns;
/// null when it returns nothing.
template <class Result, class... Parameters, class Work>
void runTyped(Call& call, const Work& work) {
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        if constexpr (std::is_void_v<Result>) {
            work(readArgument<std::decay_t<Parameters>>(call.arg(I))...);
            call.result.null();
        } else {
            write(call.result, work(readArgument<std::decay_t<Parameters>>(call.arg(I))...));
        }
    }
    (std::index_sequence_for<Parameters...>());
}

template <class Result, class... Parameters>
using Member = Result (TC::CLinkageManager::*)(Parameters...);
template <class Result, class... Parameters>
using ConstMember = Result (TC::CLinkageManager::*)(Parameters...) const;

template <class Result, class... Parameters>
constexpr std::size_t countOf(Member<Result, Parameters...>) {
    return sizeof...(Parameters);
}
template <class Result, class... Parameters>
constexpr std::size_t countOf(ConstMember<Result, Parameters...>) {
    return sizeof...(Parameters);
}

template <class Result, class... Parameters>
void runMember(Call& call, Member<Result, Parameters...> member) {
    runTyped<Result, Parameters...>(call, [&](auto&&... arguments) -> Result {
        return (call.manager.*member)(std::forward<decltype(arguments)>(arguments)...);
    });
}
template <class Result, class... Parameters>
void runMember(Call& call, ConstMember<Result, Parameters...> member) {
    runTyped<Result, Parameters...>(call, [&](auto&&... arguments) -> Result {
        return (call.manager.*member)(std::forward<decltype(arguments)>(arguments)...);
    });
}

/// An operation whose argument types and result type say how they are read and written.
template <auto MEMBER>
constexpr Operation operation(std::string_view name) {
    return {name, countOf(MEMBER), [](Call& call) { runMember(call, MEMBER); }};
}

}  // namespace replay
