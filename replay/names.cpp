#include "replay/names.h"

#include "linkage/store/import/cellvalues.h"
#include "platform/utils/keys.h"
#include "replay/scenarioline.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace replay {

namespace {

constexpr std::size_t LONGEST = 1000;  ///< bytes of a name; what is longer is none
constexpr std::size_t LONG = 6;        ///< bytes from which on a name is found inside of words
constexpr std::size_t MOST_KNOWN = 100'000;
constexpr int DRAWS = 50;

bool isWordPart(uint character) {
    return character < 0x80 && std::isalnum(static_cast<int>(character)) != 0;
}

std::size_t sizeOf(const CAliases::Text& text, int at, int count) {
    return QString::fromUcs4(text.data() + at, count).toStdString().size();
}

std::string plainName(const std::string& name) {
    return TC::statement::plainText(QString::fromStdString(name)).toStdString();
}

/// Workbooks lose the zeros in front of numbers.
std::string withoutZeros(const std::string& name) {
    const bool number =
        std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
    const std::size_t begin = name.find_first_not_of('0');
    return number && begin != std::string::npos ? name.substr(begin) : name;
}

}  // namespace

std::string CNames::operator()(EText what, std::string_view text) {
    if (what == EText::Plain || text.empty()) return std::string(text);
    if (!m_bDrawn) {
        learn(what, text);
        return std::string(text);
    }
    if (m_known.size() > MOST_KNOWN) m_known.clear();
    const auto [at, isNew] = m_known.try_emplace({what, std::string(text)});
    if (isNew) {
        try {
            at->second = replaced(what, at->first.second);
        } catch (...) {
            m_known.erase(at);
            throw;
        }
    }
    return at->second;
}

// ------------------------------------------------------------------------- learning

void CNames::learn(EText what, std::string_view text) {
    const bool isName = what != EText::Words && what != EText::Number && what != EText::Hash;
    if (isName && text.size() > LONGEST) throw LineError("a name is too long for an alias");
    switch (what) {
        case EText::Account:
            m_accounts.emplace(text);
            m_names.emplace(text);
            break;
        case EText::Name:
            m_names.emplace(text);
            break;
        case EText::Holder:
            m_asHeld.emplace(text);
            break;
        case EText::Strategy:
            m_strategies.emplace(text);
            break;
        case EText::HistoryKey:
            m_historyKeys.emplace(text);
            break;
        case EText::BalanceKey:
            m_balanceKeys.emplace(text);
            break;
        default:
            break;
    }
}

std::vector<std::size_t> CNames::accountsAt(const std::string& text) const {
    std::vector<std::size_t> sizes;
    for (std::size_t size = text.size(); size > 0; --size) {
        if (m_accounts.count(text.substr(0, size)) > 0) sizes.push_back(size);
    }
    return sizes;
}

/// Keys that were put together may name accounts that nothing else does.
void CNames::splitKeys() {
    for (const std::string& key : m_balanceKeys) {
        const auto sizes = accountsAt(key);
        const bool known = std::any_of(sizes.begin(), sizes.end(), [&](std::size_t size) {
            return size == key.size() || key[size] == ':';
        });
        if (known) continue;
        const std::string account = key.substr(0, key.find(':'));
        if (account.empty()) continue;
        m_accounts.insert(account);
        m_names.insert(account);
    }
    for (const std::string& key : m_historyKeys) {
        if (!accountsAt(key).empty()) continue;
        m_accounts.insert(key);
        m_names.insert(key);
    }
}

/// Which account a statement means, as the library finds it.
void CNames::findHolders() {
    std::map<std::string, std::string> byName;
    std::map<std::string, std::string> byNumber;
    const auto add = [](auto& names, const std::string& text, const std::string& name) {
        const auto [at, isNew] = names.emplace(text, name);
        if (!isNew && at->second != name) at->second.clear();
    };
    for (const std::string& name : m_names) {
        add(byName, plainName(name), name);
        add(byNumber, withoutZeros(plainName(name)), name);
    }
    for (const std::string& held : m_asHeld) {
        const std::string plain = plainName(held);
        auto found = byName.find(plain);
        if (found == byName.end()) {
            found = byNumber.find(withoutZeros(plain));
            if (found == byNumber.end()) found = byName.emplace(plain, held).first;
        }
        m_holders[held] = found->second;
    }
    for (const auto& [held, name] : m_holders) {
        if (!name.empty()) m_names.insert(name);
    }
}

// -------------------------------------------------------------------------- drawing

void CNames::draw(std::uint64_t seed) {
    splitKeys();
    findHolders();
    for (const std::string& account : m_accounts) {
        m_hashes[std::to_string(utils::hash(account))] = account;
    }
    for (const std::string& name : m_names) m_aliases.add(name);
    for (const std::string& account : m_accounts) {
        for (const std::string& strategy : m_strategies) {
            m_aliases.keepBehind(account, strategy);
        }
    }
    for (const std::string& strategy : m_strategies) {
        if (hasName(strategy)) {
            m_strategyAliases.add(strategy);
        } else {
            m_strategyAliases.keep(strategy);
        }
    }
    for (int draws = 0; draws < DRAWS; ++draws) {
        if (drawAliases(seed + static_cast<std::uint64_t>(draws))) {
            m_bDrawn = true;
            return;
        }
    }
    throw LineError("the names leave no room for aliases: they are too short, or too many");
}

/// False when a name shows in an alias.
bool CNames::drawAliases(std::uint64_t seed) {
    m_aliases.draw(seed);
    m_strategyAliases.draw(seed);
    const bool shows = std::any_of(m_names.begin(), m_names.end(), [&](const std::string& name) {
        if (!CAliases::canChange(name)) return false;
        const std::string alias = m_aliases.of(name);
        return alias == name || hasName(alias);
    });
    if (shows) return false;
    return std::none_of(m_strategies.begin(), m_strategies.end(), [&](const std::string& each) {
        return hasName(m_strategyAliases.of(each));
    });
}

// ------------------------------------------------------------------------ replacing

std::string CNames::replaced(EText what, const std::string& text) const {
    switch (what) {
        case EText::Account:
        case EText::Name:
            return m_aliases.of(text);
        case EText::Holder:
            return holder(text);
        case EText::Strategy:
            return m_strategyAliases.of(text);
        case EText::HistoryKey:
            return historyKey(text);
        case EText::BalanceKey:
            return balanceKey(text);
        case EText::Hash:
            return hash(text);
        case EText::Number:
            return without(text, false);
        case EText::Words:
            return without(text, true);
        default:
            return text;
    }
}

std::string CNames::historyKey(const std::string& text) const {
    const std::vector<std::size_t> sizes = accountsAt(text);
    if (sizes.empty()) return m_aliases.of(text);
    // Where several accounts fit, that one of which a strategy follows.
    std::size_t size = sizes.front();
    for (const std::size_t each : sizes) {
        if (m_strategies.count(text.substr(each)) == 0) continue;
        size = each;
        break;
    }
    return m_aliases.of(text.substr(0, size)) +
           without(m_strategyAliases.of(text.substr(size)), false);
}

std::string CNames::balanceKey(const std::string& text) const {
    for (const std::size_t size : accountsAt(text)) {
        std::string account = m_aliases.of(text.substr(0, size));
        if (size == text.size()) return account;
        if (text[size] != ':') continue;
        return account + ':' + without(m_strategyAliases.of(text.substr(size + 1)), false);
    }
    return without(text, false);
}

std::string CNames::hash(const std::string& text) const {
    const auto found = m_hashes.find(text);
    if (found == m_hashes.end()) throw LineError("the account of hash " + text + " is not known");
    return std::to_string(utils::hash(m_aliases.of(found->second)));
}

std::string CNames::holder(const std::string& text) const {
    const auto found = m_holders.find(text);
    if (found == m_holders.end() || found->second.empty()) {
        throw LineError("the account of a statement may be one of several");
    }
    return m_aliases.of(found->second);
}

bool CNames::hasName(const std::string& text) const {
    return m_names.count(text) > 0 || without(text, false) != text;
}

std::string CNames::without(const std::string& text, bool words) const {
    const CAliases::Text characters = CAliases::textOf(text);
    std::string result;
    int done = 0;
    const auto copy = [&](int to) {
        result += QString::fromUcs4(characters.data() + done, to - done).toStdString();
        done = to;
    };
    for (int at = 0; at < characters.size();) {
        const int count = m_aliases.longestAt(characters, at);
        const int end = at + count;
        const bool isWord = words && (at == 0 || !isWordPart(characters[at - 1])) &&
                            (end == characters.size() || !isWordPart(characters[end]));
        if (count == 0 || (!isWord && sizeOf(characters, at, count) < LONG)) {
            ++at;
            continue;
        }
        copy(at);
        result += m_aliases.of(QString::fromUcs4(characters.data() + at, count).toStdString());
        done = at = end;
    }
    copy(characters.size());
    return result;
}

}  // namespace replay
