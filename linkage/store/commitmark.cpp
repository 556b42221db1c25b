#include "linkage/store/commitmark.h"

#include <fmt/format.h>

#include <cstdint>
#include <sstream>

namespace TC::commit {

namespace {

constexpr char FIRST_LINE[] = "save 1";
constexpr char LAST_LINE[] = "end";

}  // namespace

// FNV-1a: against mistakes, not against malice.
std::string digest(const std::string& bytes) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char byte : bytes) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211ULL;
    }
    return fmt::format("{}:{:016x}", bytes.size(), hash);
}

std::string textOf(const Mark& mark) {
    std::string text = std::string(FIRST_LINE) + "\n";
    for (const auto& [name, change] : mark) {
        text += fmt::format("{},{},{}\n", name, change.before, change.after);
    }
    return text + LAST_LINE + "\n";
}

std::optional<Mark> markFrom(const std::string& text) {
    std::istringstream lines(text);
    std::string line;
    if (!std::getline(lines, line) || line != FIRST_LINE) return std::nullopt;
    Mark mark;
    while (std::getline(lines, line)) {
        if (line == LAST_LINE) return mark;
        std::istringstream fields(line);
        std::string name;
        Change change;
        if (!std::getline(fields, name, ',') || name.empty() || name.find('/') != name.npos) break;
        std::getline(fields, change.before, ',');
        std::getline(fields, change.after);
        mark[name] = change;
    }
    return std::nullopt;
}

EStep stepFor(const Change& change, const std::string& now, const std::string& beside) {
    if (now == change.after) return EStep::None;
    if (now != change.before) return EStep::Leave;
    if (change.after.empty()) return EStep::Remove;
    return beside == change.after ? EStep::Place : EStep::Leave;
}

}  // namespace TC::commit
