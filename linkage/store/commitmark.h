#pragma once

#include <map>
#include <optional>
#include <string>

/// The commit mark: the text that says which files belong to a save.
///
/// A save writes its files beside the old ones. From the moment the mark has its name the
/// save counts, and what it lists is put in place, now or at a later start. Without a mark
/// what stands beside counts for nothing.
namespace TC::commit {

/// What tells two contents apart; "" stands for no file.
std::string digest(const std::string& bytes);

/// What a file was and what it becomes, as digests.
struct Change {
    std::string before;
    std::string after;

    bool operator==(const Change&) const = default;
};
using Mark = std::map<std::string, Change>;  ///< by file name

std::string textOf(const Mark& mark);
/// Nothing when the text is no whole mark.
std::optional<Mark> markFrom(const std::string& text);

enum class EStep {
    None,    ///< the file is what the mark wants
    Place,   ///< what stands beside takes its place
    Remove,  ///< it goes
    Leave,   ///< somebody changed it since, and his change stays
};

/// What is left to do for a file that is `now`, with `beside` at its side.
EStep stepFor(const Change& change, const std::string& now, const std::string& beside);

}  // namespace TC::commit
