#pragma once

#include "replay/names.h"

#include <map>
#include <string_view>
#include <vector>

/// What the texts of a recording's lines are, as far as names go. What is in none of these tables
/// may name an account.
namespace replay {

using Members = std::map<std::string_view, EText>;  ///< by name

/// Texts that are the same in every line.
const Members& lineTexts();
/// Of an account's info and of statistics.
const Members& accountTexts();
/// Of a line of the book of balances.
const Members& bookTexts();

/// A question: what it is about, behind a first word where `words` is 2, and what its answer is.
struct Question {
    EText about = EText::Plain;
    int words = 1;
    EText answer = EText::Plain;
    const Members* members = &lineTexts();  ///< of an answer that is an object
};
/// Null for a question that is not known.
const Question* questionTexts(std::string_view name);

/// The texts among the arguments of a call; none for one that has none, or is not known.
const std::vector<EText>& callTexts(std::string_view operation);

/// Whether a line with this "do", or a mark with this "out", is known.
bool isKnownLine(std::string_view kind);
bool isKnownMark(std::string_view kind);

}  // namespace replay
