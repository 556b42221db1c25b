#pragma once

#include "replay/aliases.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace replay {

/// What a text of a recording is, as far as names go.
enum class EText {
    Plain,       ///< tells of no account
    Account,     ///< the key of an account
    Name,        ///< another name: an account's ID or name, a broker, a user
    Holder,      ///< as a statement names an account
    Strategy,    ///< stays, unless a name is in it
    HistoryKey,  ///< an account's key and a strategy in one
    BalanceKey,  ///< the same with a colon between them
    Hash,        ///< the hash of an account's key, in decimal
    Number,      ///< of the trading system, as it writes them: names of some length may be in it
    Words,       ///< said by people or programs: names may be in it
};

/// The names of a recording, and their aliases (CAliases). It is shown every text twice: first it
/// learns the names and gives each text back as it is, then it gives the text without names.
///
/// Threads: one. Failure: throws LineError for a text that cannot do without its names.
class CNames {
public:
    std::string operator()(EText what, std::string_view text);

    /// All names are known. Throws LineError when some of them leave no room for aliases; `seed`
    /// decides what is drawn.
    void draw(std::uint64_t seed);

private:
    void learn(EText what, std::string_view text);
    std::string replaced(EText what, const std::string& text) const;

    void splitKeys();
    void findHolders();
    bool drawAliases(std::uint64_t seed);

    std::string historyKey(const std::string& text) const;
    std::string balanceKey(const std::string& text) const;
    std::string hash(const std::string& text) const;
    std::string holder(const std::string& text) const;
    /// The text with aliases for the names in it; short names only where they stand as words.
    std::string without(const std::string& text, bool words) const;
    bool hasName(const std::string& text) const;
    /// How much of the text is an account's key, each longest first.
    std::vector<std::size_t> accountsAt(const std::string& text) const;

    bool m_bDrawn = false;
    std::set<std::string> m_accounts;
    std::set<std::string> m_names;  ///< with the accounts
    std::set<std::string> m_strategies;
    std::set<std::string> m_historyKeys;
    std::set<std::string> m_balanceKeys;
    std::set<std::string> m_asHeld;                ///< names as statements write them
    std::map<std::string, std::string> m_holders;  ///< by that, the name; "": one of several
    std::map<std::string, std::string> m_hashes;   ///< account by hash
    CAliases m_aliases;
    CAliases m_strategyAliases;
    mutable std::map<std::pair<EText, std::string>, std::string> m_known;
};

}  // namespace replay
