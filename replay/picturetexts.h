#pragma once

#include "replay/names.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What the texts of the line "picture" are, as far as names go.
namespace replay {

/// How the value at a place is copied, where not text by text.
enum class EPicturePart {
    Values,        ///< text by text
    Book,          ///< lines of the book of balances, in one text
    BalanceTimes,  ///< the file of the kept balance times, as a text
    ImportPath,    ///< the path of an imported statement: any name does
    Refused,       ///< what saves left out; only their log lines need it
    RetryName,     ///< what a retry is of
    Work,          ///< work that waits, or is tried again
};

/// A place in a picture: a member, or an element of a list. Texts of which nothing is known may
/// name an account.
struct PicturePlace {
    std::map<std::string, PicturePlace, std::less<>> members;  ///< "*": each element of a list
    std::optional<EText> text;                                 ///< what a text is
    EPicturePart part = EPicturePart::Values;

    /// Null: nothing is known of the texts there.
    const PicturePlace* member(std::string_view name) const;
    const PicturePlace* element(std::size_t at) const;
};
/// That of the whole line.
const PicturePlace& pictureTexts();

/// The texts that work needs; null for work that is not known.
const std::vector<EText>* workTexts(std::string_view name);

}  // namespace replay
