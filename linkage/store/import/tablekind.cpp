#include "linkage/store/import/tablekind.h"

#include "linkage/store/import/wording.h"

#include <QSet>

#include <algorithm>

namespace TC::statement {

namespace {

using Kind = ImportReport::Kind;

constexpr std::size_t kRowsForKind = 500;
/// So much more must speak for the other kind before the columns are not believed.
constexpr int kClearly = 3;

bool isUndone(const RowValues& values) {
    for (const EColumn column : {COL_STATUS, COL_REMARK}) {
        if (orderStatusOf(values[column].display()) && saysNotDealt(values[column].display())) {
            return true;
        }
    }
    const auto ordered = cellNumber(values[COL_ORDER_VOLUME]);
    const auto traded = cellNumber(values[COL_VOLUME]);
    return ordered && *ordered != 0 && values[COL_CODE].display().size() > 0 &&
           (values[COL_VOLUME].isEmpty() || (traded && *traded == 0));
}

/// Whether a volume of the rows is negative at all; most lists have none.
bool hasNegativeVolume(const CWorkbook& book, const Header& header,
                       std::span<const SheetRow> rows) {
    const int place = header.place[COL_VOLUME];
    return std::any_of(rows.begin(), rows.end(), [&](const SheetRow& row) {
        return std::any_of(row.cells.begin(), row.cells.end(), [&](const Cell& cell) {
            if (cell.column != place) return false;
            return cell.isNumber ? cell.number < 0 : book.text(cell).contains('-');
        });
    });
}

bool hasReversals(const CWorkbook& book, const Header& header, std::span<const SheetRow> rows) {
    if (!hasNegativeVolume(book, header, rows)) return false;
    bool taken = false;
    bool given = false;
    for (const SheetRow& row : rows) {
        const RowValues values = valuesOf(book, header, row.cells);
        const Value& named =
            values[COL_BUSINESS].isEmpty() ? values[COL_SIDE] : values[COL_BUSINESS];
        if (sideOf(named.display()) != ESide::Sell) continue;
        const auto volume = cellNumber(values[COL_VOLUME]);
        taken = taken || (volume && *volume < 0);
        given = given || (volume && *volume > 0);
    }
    return taken && given;
}

}  // namespace

Contents contentsOf(const CWorkbook& book, const Header& header, std::span<const SheetRow> rows) {
    Contents contents;
    const Header orders = header.asOrders();
    const bool isEither = header.mayHoldDeals() && header.mayHoldOrders();
    QSet<QString> numbers;
    for (const SheetRow& row : rows.first(std::min(rows.size(), isEither ? kRowsForKind : 0))) {
        const RowValues values = valuesOf(book, orders, row.cells);
        contents.hasUndone = contents.hasUndone || isUndone(values);
        const QString number = values[COL_ORDER_NUMBER].display().trimmed();
        if (values[COL_ORDER_NUMBER].isEmpty() || !isUsableNumber(number)) continue;
        contents.repeatsOrders = contents.repeatsOrders || numbers.contains(number);
        numbers.insert(number);
    }
    contents.hasReversals = header.mayHoldDeals() && hasReversals(book, header, rows);
    return contents;
}

TableKind kindOf(const Header& header, const TitleLines& titles, const Contents& contents) {
    const bool deals = header.mayHoldDeals();
    const bool orders = header.mayHoldOrders();
    int forDeals = header.ofDeals;
    int forOrders = header.ofOrders;
    if (titles.ofDeals != titles.ofOrders) (titles.ofDeals ? forDeals : forOrders) += 3;
    if (deals && orders) {
        if (contents.hasUndone) forOrders += 3;
        if (contents.repeatsOrders) forDeals += 3;
        if (forDeals == forOrders) return {Kind::None, true};
        return {forDeals > forOrders ? Kind::Deals : Kind::Orders, false};
    }
    if (deals && forOrders - forDeals >= kClearly) return {Kind::None, true};
    if (orders && forDeals - forOrders >= kClearly) return {Kind::None, true};
    return {deals ? Kind::Deals : orders ? Kind::Orders : Kind::None, false};
}

}  // namespace TC::statement
