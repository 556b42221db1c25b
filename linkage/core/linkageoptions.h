#pragma once

namespace TC {

/// What a client may ask of the manager beyond its usual behaviour. With every option at its
/// default the manager does, writes and logs the usual and nothing more.
///
/// Set by CLinkageManager::setOptions before init() and constant afterwards.
struct LinkageOptions {
    /// Balances cannot trade too much: what is sent is bounded by what can still be traded,
    /// and each balance is recorded with what became of it. The client's command center must
    /// give command numbers (see CDovCommandCenter::createCommand).
    bool guard = false;

    /// How often a guarded balance sends at most; 1: once, and what is not filled stays.
    /// 1 to MOST_ROUNDS.
    int rounds = 1;

    /// How long a round's orders stay open before a guarded balance with more than one round
    /// cancels them, in seconds. 1 to LONGEST_ROUND.
    int roundSeconds = 20;

    /// Balance times survive a restart also where the pair has no history record, in a file
    /// of their own. The other files keep their content.
    bool keepBalanceTimes = false;

    /// getBuySellVolumes and getBuySellAmounts of a past day are those of all deals that are
    /// filed under it: reported, answered by the trading server, or imported.
    bool filedTotals = false;

    /// Of how many past trade dates the reported orders and deals of an account are kept in
    /// memory, with the totals of these days; older ones go when a trade date begins. What the
    /// trading server answered goes with them; what was imported stays. Deals of a date that went
    /// do not count any more, also when they are reported again. 0: all are kept.
    int keepDays = 0;

    static constexpr int MOST_ROUNDS = 100;             ///< largest value of `rounds`
    static constexpr int LONGEST_ROUND = 24 * 60 * 60;  ///< largest value of `roundSeconds`: a day
};

/// Empty, or what is wrong with the values.
inline const char* faultOf(const LinkageOptions& options) {
    if (options.rounds < 1 || options.rounds > LinkageOptions::MOST_ROUNDS) {
        return "rounds is out of range";
    }
    if (options.roundSeconds < 1 || options.roundSeconds > LinkageOptions::LONGEST_ROUND) {
        return "roundSeconds is out of range";
    }
    if (options.keepDays < 0) return "keepDays is out of range";
    return "";
}

}  // namespace TC
