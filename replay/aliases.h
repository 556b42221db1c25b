#pragma once

#include <QString>
#include <QVector>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace replay {

/// Other names for names, drawn by chance, that keep what a program can see of them: how long they
/// are, how they sort, where two of them begin alike, and the marks in them. So maps go through
/// them in the same order, and texts that were put together of them meet where they met before.
///
/// Threads: one.
class CAliases {
public:
    /// Characters, in the order in which UTF-8 sorts them.
    using Text = QVector<uint>;
    static Text textOf(std::string_view utf8);
    /// Whether an alias of the text can be another text: it is not of marks alone.
    static bool canChange(std::string_view utf8);

    /// The name gets an alias.
    void add(std::string_view name);
    /// What stands behind `name` in texts that are put together, and stays as it is. It matters
    /// where another name begins with `name`.
    void keepBehind(std::string_view name, std::string_view text);
    /// A text that stays as it is, and keeps its place among the aliases.
    void keep(std::string_view text) { keepBehind({}, text); }

    /// Draws the aliases; the same seed gives the same ones. Once all names are there.
    void draw(std::uint64_t seed);

    /// The alias of a name. Of another text as much is changed as is the beginning of a name.
    std::string of(std::string_view text) const;
    /// How many characters the longest name has that stands at `at` in the text; 0: none does.
    int longestAt(const Text& text, int at) const;

private:
    struct Node {
        std::map<uint, Node> next;
        uint alias = 0;
        bool isKept = false;  ///< its character is the same in the aliases
        bool isName = false;  ///< a name ends here
    };
    Node* find(std::string_view text);

    Node m_root;
};

}  // namespace replay
