#include "fuzz/target.h"
#include "linkage/balance/guardedbalance.h"
#include "linkage/store/commitmark.h"
#include "linkage/store/csvfiles.h"
#include "linkage/store/fileencoding.h"
#include "linkage/store/import/importlines.h"

using namespace TC;

namespace {

// What is read of a damaged file is what the next save writes. So a save and a load of it must
// change nothing more.

// The saver leaves out what would end a line.
void addRow(std::string& out, const std::string& row) {
    if (row.find('\r') == std::string::npos) out += row;
}

std::string rewriteStatistics(const std::string& text) {
    std::string out = csv::statHeader();
    for (const csv::StatRow& row : csv::readStatRows(text)) {
        addRow(out, csv::statRow(row.key, row.record, row.stamp, row.balanceTime));
    }
    return out;
}

std::string rewriteBalances(const std::string& text) {
    std::string out = csv::balanceHeader();
    for (const csv::BalanceRow& row : csv::readBalanceRows(text)) {
        addRow(out, csv::balanceRow(row.key, row.stock, row.figures, "20240102000000"));
    }
    return out;
}

std::string rewriteDetails(const std::string& text) {
    std::string out = csv::detailHeader();
    for (const csv::DetailRow& row : csv::readDetailRows(text)) {
        addRow(out, csv::detailRow(row.key, row.tradeKey));
    }
    return out;
}

std::string rewriteBook(const std::string& text) {
    std::string out;
    int damaged = 0;
    for (const auto& [number, balance] : readBook(text, damaged)) {
        out += bookLine(balance, "progress", 1);
    }
    return out;
}

template <class Rewrite>
void requireStable(Rewrite rewrite, const std::string& text, const char* what) {
    const std::string once = rewrite(text);
    fuzz::require(rewrite(once) == once, what);
}

}  // namespace

// Any file of the directory "Balance".
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes = fuzz::textOf(data, size);
    if (const auto mark = commit::markFrom(bytes)) {
        const auto again = commit::markFrom(commit::textOf(*mark));
        fuzz::require(again && *again == *mark, "a commit mark is read as it was written");
    }
    requireStable(rewriteBook, bytes, "the book is read as it was written");
    const auto imported = [](const std::string& text) {
        return statement::textOf(statement::importOf(text));
    };
    requireStable(imported, bytes, "an import is read as it was written");
    const auto text = decodeText(bytes);
    if (!text) return 0;
    requireStable(rewriteStatistics, *text, "statistics are read as they were written");
    requireStable(rewriteBalances, *text, "balances are read as they were written");
    requireStable(rewriteDetails, *text, "details are read as they were written");
    return 0;
}
