#pragma once

#include "lab/model.h"
#include "linkage/balance/balancebook.h"

#include <map>
#include <string>
#include <vector>

namespace lab {

/// A balance as its last whole line in the book tells it.
struct BookEntry {
    TC::BalanceRecord record;
    EForm form = EForm::Single;
    bool atOnce = false;
    std::string step;
    std::vector<SentCommand> commands;
};

/// Reads books of balances on its own.
class CBookReader {
public:
    explicit CBookReader(const Plan& plan) : m_plan(plan) {}

    /// By number. Lines that are no JSON object are passed over, as after a crash.
    std::map<int, BookEntry> read(const std::string& text) const;
    /// The last line alone; its number is 0 when there is none.
    BookEntry last(const std::string& text) const;

private:
    bool readLine(const std::string& line, BookEntry& entry) const;

    const Plan& m_plan;
};

/// Where a name stands in a list of the plan; -1 when it does not.
int placeOf(const std::vector<std::string>& names, const std::string& name);
int placeOf(const std::vector<Stock>& stocks, const std::string& key);

}  // namespace lab
