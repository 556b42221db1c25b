#include "fuzz/target.h"
#include "replay/eventparser.h"
#include "replay/scenarioline.h"

#include <algorithm>
#include <string_view>

// The lines of a scenario, each by itself. A line that cannot be read is told, and the next one
// is read all the same.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    replay::CEventParser parser;
    std::string text = fuzz::textOf(data, size);
    text.reserve(text.size() + 64);  // the parser reads ahead
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        try {
            parser.parse(std::string_view(text).substr(at, end - at));
            fuzz::require(!parser.minified().empty(), "a line that was read has a text");
        } catch (const replay::LineError& error) {
            fuzz::require(*error.what() != '\0', "a refused line says why");
        }
        at = end + 1;
    }
    return 0;
}
