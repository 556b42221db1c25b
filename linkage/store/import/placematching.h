#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace TC::statement {

/// A row of a statement, or a report, as matching sees it.
struct MatchItem {
    static constexpr int REPORT = 0;

    int import = REPORT;    ///< which import it is of; imports come in rising order
    std::uint64_t key = 0;  ///< record key
    std::string number;     ///< "": none
    std::string time;       ///< "": none
};

/// Puts items of equal values into places, one place to a trade.
///
/// First come the items that tell which trade they are, by key, number or time; each that
/// finds no place opens one. Then places that may be the same trade are joined: neither
/// two numbers nor two times of statements speak against it, and no list has both. Done
/// in the other order, a vague row would take the place of a precise one.
///
/// The work grows with the number of items, not with its square: of each list of candidates
/// a set of imports looks at every place once, because what speaks against a place stays.
class CPlaceMatching {
public:
    struct Place {
        std::vector<std::uint32_t> items;  ///< the rows in it, in the order of their imports
        bool isReported = false;
    };

    /// `joins`: places may be joined; not where equal values tell nothing.
    CPlaceMatching(const std::vector<MatchItem>& items, bool joins);

    /// Empty places were joined to others.
    const std::vector<Place>& places() const { return m_places; }

    /// How many candidates were looked at.
    std::size_t looks() const { return m_nLooks; }

private:
    static constexpr std::uint32_t NONE = ~std::uint32_t(0);
    using Imports = std::vector<int>;

    /// Places that may take a row, and for each set of imports how far it has looked.
    struct Candidates {
        std::vector<std::uint32_t> places;
        std::map<Imports, std::size_t> looked;
    };
    /// What is known of a place; 0: nothing.
    struct Known {
        int number = 0;
        int time = 0;  ///< as reported
        int told = 0;  ///< as a statement tells it
    };
    using ByWord = std::unordered_map<int, Candidates>;

    static int wordOf(std::unordered_map<std::string, int>& words, const std::string& text);
    template <class Fits>
    std::uint32_t first(Candidates& candidates, const Imports& imports, Fits fits);
    bool shares(std::uint32_t place, const Imports& imports) const;
    Imports importsOf(std::uint32_t place) const;
    std::uint32_t open();
    void placeReport(std::uint32_t item);
    void placeRow(std::uint32_t item);
    std::uint32_t placeByWords(int import, int number, int time);
    void learn(std::uint32_t place, int number, int told);
    void joinPlaces();
    std::uint32_t partnerOf(std::uint32_t from);
    void offer(std::uint32_t place);

    const std::vector<MatchItem>& m_items;
    std::vector<Place> m_places;
    std::vector<Known> m_known;
    std::unordered_map<std::string, int> m_numbers;
    std::unordered_map<std::string, int> m_times;
    std::unordered_map<std::uint64_t, std::uint32_t> m_byKey;
    ByWord m_byNumber;
    ByWord m_byTime;            ///< reported or told
    ByWord m_byTimeNumberless;  ///< of these, places without a number
    // while joining: what is known of the places in each
    Candidates m_all;
    Candidates m_vague;       ///< neither number nor told time
    Candidates m_timeless;    ///< no told time
    Candidates m_numberless;  ///< no number
    ByWord m_told;
    ByWord m_toldNumberless;
    std::size_t m_nLooks = 0;
};

}  // namespace TC::statement
