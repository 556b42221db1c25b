#include "lab/dials.h"

#include <charconv>

namespace lab {

namespace {

struct Kind {
    const char* name;
    int percent;
    const char* meaning;
};

// In the order of EFault.
constexpr std::array<Kind, FAULT_COUNT> KINDS = {{
    {"late", 8, "a report is told 2 to 50 s late"},
    {"doubled", 8, "a report is told twice"},
    {"reordered", 6, "a report is told behind later ones of its order"},
    {"missed", 4, "the data center keeps a report and announces it to nobody"},
    {"dealFirst", 15, "a deal is told before its order's report"},
    {"dealBehind", 15, "a deal is told behind its order's report"},
    {"lateOrder", 6, "an order is told of 5 to 100 s late, whatever it trades by then"},
    {"unnamed", 12, "day: no deal names its order"},
    {"unnumbered", 5, "day: the command center gives no numbers"},
    {"noAnswer", 4, "a command's completion never comes"},
    {"lateAnswer", 15, "the completion of a command or of a task's end comes 1 to 20 s late"},
    {"latePast", 30, "the answer to a question for a past day comes 1 to 20 s late"},
    {"refused", 5, "a command is refused at once"},
    {"refusedLater", 3, "a command gets its number and is refused afterwards"},
    {"tooLateRefused", 4, "an error comes for a command that has orders"},
    {"vanished", 4, "an order of a command never shows up"},
    {"rejected", 5, "the exchange rejects an order"},
    {"lateCancel", 15, "a cancellation is done 5 to 45 s late"},
    {"crossedCancel", 15, "a cancellation crosses with fills"},
    {"noCancel", 8, "a cancellation is never answered"},
    {"twice", 30, "a balance is asked for again a little later"},
    {"manual", 50, "the trader sends orders while balances are under way"},
    {"atOnce", 25, "a form that sends at once is called"},
    {"history", 20, "day: earlier days left something unequal"},
    {"task", 8, "day: an algorithmic task runs"},
    {"oddLots", 30, "an order is no whole number of lots"},
    {"noPrice", 4, "day: a stock has no price"},
    {"noInstrument", 3, "day: a stock has no instrument detail"},
    {"excluded", 15, "day: a stock trades that is never followed"},
    {"times", 15, "the trader edits balance times"},
    {"import", 4, "day: the trader imports a statement"},
    {"reload", 30, "day: an account is loaded again"},
    {"login", 12, "day: the proxy logs in again"},
    {"disconnect", 10, "day: nothing is announced for a while, until the next login"},
    {"midnight", 10, "day: the clock passes midnight"},
    {"rollover", 8, "day: a new trading date begins"},
    {"sameDate", 4, "day: the trading date is announced again"},
    {"restart", 15, "day: the client is restarted"},
    {"crash", 12, "day: the client crashes"},
    {"crashInSend", 10, "day: it crashes around the sending of a command"},
    {"crashInCancel", 4, "day: it crashes around a cancellation"},
    {"crashAtStep", 6, "day: it crashes at a step of writing its book"},
    {"crashInSave", 15, "day: it crashes at a step of a save"},
    {"disk", 10, "day: the disk fails for a while"},
    {"diskInSave", 8, "day: the disk fails at a step of a save"},
    {"feesThrow", 6, "the fee limits of an account throw"},
    {"feesEmpty", 4, "they answer with nothing"},
    {"quoteThrows", 6, "the quotes throw"},
    {"quoteEmpty", 4, "they answer with nothing"},
    {"instrumentThrows", 10, "the instruments throw"},
    {"instrumentEmpty", 4, "they answer with nothing"},
    {"dataThrows", 10, "the data center throws"},
    {"commandThrows", 5, "the command center throws"},
    {"cancelThrows", 6, "a cancellation throws"},
    {"cancelEmpty", 5, "a cancellation is refused"},
    {"pastThrows", 3, "a question for a past day throws"},
    {"pastEmpty", 3, "it is answered with nothing"},
    {"pastLost", 3, "it is never answered"},
}};

std::optional<int> percentOf(std::string_view text) {
    int percent = 0;
    const auto end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data(), end, percent);
    if (error != std::errc() || at != end || percent < 0 || percent > 100) return std::nullopt;
    return percent;
}

std::optional<std::size_t> kindOf(std::string_view name) {
    for (std::size_t at = 0; at < KINDS.size(); ++at) {
        if (name == KINDS[at].name) return at;
    }
    return std::nullopt;
}

}  // namespace

const char* nameOf(EFault fault) { return KINDS[static_cast<std::size_t>(fault)].name; }
const char* meaningOf(EFault fault) { return KINDS[static_cast<std::size_t>(fault)].meaning; }

Dials Dials::none() { return {}; }

Dials Dials::usual() {
    Dials dials;
    for (std::size_t at = 0; at < KINDS.size(); ++at) dials.m_percents[at] = KINDS[at].percent;
    return dials;
}

std::optional<Dials> Dials::parse(std::string_view text) {
    Dials dials;
    while (!text.empty()) {
        const std::size_t comma = text.find(',');
        const std::string_view entry = text.substr(0, comma);
        text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
        if (entry == "all" || entry == "none") {
            dials = entry == "all" ? usual() : none();
            continue;
        }
        const std::size_t sign = entry.find('=');
        const auto kind = kindOf(entry.substr(0, sign));
        if (!kind) return std::nullopt;
        const auto percent = sign == std::string_view::npos ? std::optional(KINDS[*kind].percent)
                                                            : percentOf(entry.substr(sign + 1));
        if (!percent) return std::nullopt;
        dials.m_percents[*kind] = *percent;
    }
    return dials;
}

}  // namespace lab
