#include "replay/aliases.h"

#include <algorithm>
#include <random>
#include <set>
#include <utility>
#include <vector>

namespace replay {

namespace {

using Random = std::mt19937_64;

/// Characters that take each other's places; all others are marks, which stay.
struct Alphabet {
    uint first;
    uint last;
};
constexpr Alphabet ALPHABETS[] = {
    {'0', '9'},       {'A', 'Z'},       {'a', 'z'},       {0x00C0, 0x024F}, {0x0391, 0x03C9},
    {0x0410, 0x044F}, {0x3041, 0x3096}, {0x30A1, 0x30FA}, {0x3400, 0x4DBF}, {0x4E00, 0x9FA5},
    {0xAC00, 0xD7A3}, {0xFF10, 0xFF19}, {0xFF21, 0xFF3A}, {0xFF41, 0xFF5A}, {0x20000, 0x2A6DF},
};

const Alphabet* alphabetOf(uint character) {
    for (const Alphabet& each : ALPHABETS) {
        if (character >= each.first && character <= each.last) return &each;
    }
    return nullptr;
}

/// So many different characters out of a range, sorted.
std::set<uint> drawn(std::size_t count, uint first, uint last, Random& random) {
    std::set<uint> characters;
    while (characters.size() < count) {
        characters.insert(first + static_cast<uint>(random() % (last - first + 1)));
    }
    return characters;
}

/// The children of a node that share an alphabet, with none between them that stays.
template <class Node>
class CRun {
public:
    /// Gives them aliases between the characters `above` and `below`.
    void draw(uint above, uint below, Random& random) {
        if (m_members.empty()) return;
        const auto members = std::exchange(m_members, {});
        const Alphabet& letters = *alphabetOf(members.front().first);
        const uint first = std::max(letters.first, above + 1);
        const uint last = std::min(letters.last, below - 1);
        std::set<uint> aliases = drawn(members.size(), first, last, random);
        const bool isSame = members.size() == 1 && *aliases.begin() == members.front().first;
        if (isSame && first < last) {
            const uint own = members.front().first;
            aliases = {own < last ? own + 1 : first};
        }
        auto alias = aliases.begin();
        for (const auto& [character, node] : members) node->alias = *alias++;
    }
    bool takes(uint character) const {
        return m_members.empty() || alphabetOf(m_members.back().first) == alphabetOf(character);
    }
    void add(uint character, Node& node) { m_members.emplace_back(character, &node); }

private:
    std::vector<std::pair<uint, Node*>> m_members;
};

template <class Node>
void drawBelow(Node& node, Random& random) {
    constexpr uint BEHIND_ALL = 0x110000;
    CRun<Node> run;
    uint above = 0;
    for (auto& [character, child] : node.next) {
        const bool stays = child.isKept || !alphabetOf(character);
        if (stays || !run.takes(character)) run.draw(above, character, random);
        if (stays) {
            child.alias = above = character;
        } else {
            run.add(character, child);
        }
    }
    run.draw(above, BEHIND_ALL, random);
    for (auto& [character, child] : node.next) drawBelow(child, random);
}

}  // namespace

CAliases::Text CAliases::textOf(std::string_view utf8) {
    return QString::fromUtf8(utf8.data(), static_cast<int>(utf8.size())).toUcs4();
}

bool CAliases::canChange(std::string_view utf8) {
    const Text text = textOf(utf8);
    return std::any_of(text.begin(), text.end(), alphabetOf);
}

CAliases::Node* CAliases::find(std::string_view text) {
    Node* node = &m_root;
    for (const uint character : textOf(text)) {
        const auto at = node->next.find(character);
        if (at == node->next.end()) return nullptr;
        node = &at->second;
    }
    return node;
}

void CAliases::add(std::string_view name) {
    Node* node = &m_root;
    for (const uint character : textOf(name)) node = &node->next[character];
    node->isName = true;
}

void CAliases::keepBehind(std::string_view name, std::string_view text) {
    Node* node = find(name);
    // No other name goes on there.
    if (!node || (!name.empty() && node->next.empty())) return;
    for (const uint character : textOf(text)) {
        node = &node->next[character];
        node->isKept = true;
    }
}

void CAliases::draw(std::uint64_t seed) {
    Random random(seed);
    drawBelow(m_root, random);
}

std::string CAliases::of(std::string_view text) const {
    Text characters = textOf(text);
    const Node* node = &m_root;
    for (uint& character : characters) {
        const auto at = node->next.find(character);
        if (at == node->next.end()) break;
        node = &at->second;
        character = node->alias;
    }
    return QString::fromUcs4(characters.data(), characters.size()).toStdString();
}

int CAliases::longestAt(const Text& text, int at) const {
    int longest = 0;
    const Node* node = &m_root;
    for (int end = at; end < text.size(); ++end) {
        const auto next = node->next.find(text[end]);
        if (next == node->next.end()) break;
        node = &next->second;
        if (node->isName) longest = end + 1 - at;
    }
    return longest;
}

}  // namespace replay
