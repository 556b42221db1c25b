#include "replay/disknames.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace replay {

namespace {

using TC::disk::EStep;

template <class Value>
struct Named {
    std::string_view name;
    Value value;
};

constexpr Named<EStep> STEPS[] = {
    {"open", EStep::Open},     {"write", EStep::Write},   {"flush", EStep::Flush},
    {"rename", EStep::Rename}, {"remove", EStep::Remove}, {"makeDirectory", EStep::MakeDirectory},
    {"any", EStep::Any},
};

constexpr Named<int> ERRORS[] = {
    {"ENOSPC", ENOSPC},
    {"EIO", EIO},
    {"EACCES", EACCES},
    {"crash", TC::disk::Fault::CRASH},
};

template <class Table>
auto valueIn(const Table& table, std::string_view name) {
    const auto at = std::find_if(std::begin(table), std::end(table),
                                 [name](const auto& each) { return each.name == name; });
    return at == std::end(table) ? std::nullopt : std::optional(at->value);
}

template <class Table, class Value>
std::string_view nameIn(const Table& table, Value value) {
    const auto at = std::find_if(std::begin(table), std::end(table),
                                 [value](const auto& each) { return each.value == value; });
    return at == std::end(table) ? std::string_view() : at->name;
}

}  // namespace

std::optional<EStep> stepNamed(std::string_view name) { return valueIn(STEPS, name); }
std::optional<int> errorNamed(std::string_view name) { return valueIn(ERRORS, name); }
std::string_view nameOf(EStep step) { return nameIn(STEPS, step); }
std::string_view nameOfError(int error) { return nameIn(ERRORS, error); }

}  // namespace replay
