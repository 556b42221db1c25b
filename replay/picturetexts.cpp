#include "replay/picturetexts.h"

namespace replay {

namespace {

using Is = EText;
using As = EPicturePart;

struct TextAt {
    std::string_view path;
    EText text;
};

/// Names of members, with dots between them. "*" is each element of a list; a map is a list of
/// lists of which 0 is the key and 1 the value.
constexpr TextAt TEXTS[] = {
    {"do", Is::Plain},
    {"at", Is::Plain},
    {"state.tradeDate", Is::Plain},
    {"state.user", Is::Name},
    {"state.accounts.*.0", Is::Account},
    {"state.accounts.*.1.key", Is::Account},
    {"state.accounts.*.1.id", Is::Name},
    {"state.accounts.*.1.name", Is::Name},
    {"state.accounts.*.1.broker", Is::Name},

    {"state.ledger.strategies.*.key", Is::Strategy},
    {"state.ledger.accounts.*.key", Is::Account},
    {"state.ledger.stocks.*.key", Is::Plain},
    {"state.ledger.listings.*.market", Is::Plain},
    {"state.ledger.listings.*.code", Is::Plain},
    {"state.ledger.tasks.*.account", Is::Account},
    {"state.ledger.taskDetails.*.0", Is::Plain},
    {"state.ledger.taskDetails.*.1.*.0", Is::Account},
    {"state.ledger.runningTasks.sets.*.0", Is::Account},
    {"state.ledger.runningTasks.sets.*.1.*.0", Is::Strategy},
    {"state.ledger.positions.*.0", Is::Plain},
    {"state.ledger.positions.*.1.*.0", Is::Account},

    {"state.quotes.historyPrices.*.0", Is::Plain},
    {"state.quotes.requests.*", Is::Plain},
    {"state.quotes.markers.*.0", Is::Account},
    {"state.quotes.markers.*.1.*", Is::Plain},

    {"state.reconciliations.all.*.account", Is::Account},
    {"state.reconciliations.all.*.positions.*.0", Is::Plain},
    {"state.reconciliations.openings.*.0", Is::Account},
    {"state.reconciliations.openings.*.1.tradeDate", Is::Plain},
    {"state.reconciliations.openings.*.1.volumes.*.0", Is::Plain},

    {"state.curves.date", Is::Plain},
    {"state.curves.bars.*.0", Is::Plain},
    {"state.curves.seen.*.0", Is::Plain},
    {"state.curves.totals.*.0", Is::Account},
    {"state.curves.totals.*.1.*.0", Is::Plain},
    {"state.curves.totals.*.1.*.1.held.*.0", Is::Strategy},
    {"state.curves.totals.*.1.*.1.next.*.0", Is::Strategy},
    {"state.curves.suspects.*", Is::Account},
    {"state.curves.due.*.0", Is::Account},
    {"state.curves.due.*.1.*", Is::Plain},
    {"state.curves.renewed.*", Is::Plain},

    {"state.positions.parts.*.0", Is::Account},
    {"state.positions.parts.*.1.*.0", Is::Plain},

    {"state.balance.starts.*.0", Is::Account},
    {"state.balance.starts.*.1.*.0", Is::Strategy},
    {"state.balance.times.*.0", Is::BalanceKey},
    {"state.balance.times.*.1", Is::Plain},

    {"state.history.stats.*.0", Is::HistoryKey},
    {"state.history.stats.*.1.account", Is::Account},
    {"state.history.stats.*.1.accountId", Is::Name},
    {"state.history.stats.*.1.accountName", Is::Name},
    {"state.history.stats.*.1.accountType", Is::Plain},
    {"state.history.stats.*.1.broker", Is::Name},
    {"state.history.stats.*.1.strategy", Is::Strategy},
    {"state.history.stats.*.1.added", Is::Plain},
    {"state.history.stats.*.1.balanceTime", Is::Plain},
    {"state.history.figures.*.0", Is::HistoryKey},
    {"state.history.figures.*.1.*.0", Is::Plain},
    {"state.history.added.*", Is::HistoryKey},
    {"state.history.tradeKeys.*.0", Is::HistoryKey},
    {"state.history.tradeKeys.*.1.*", Is::Number},
    {"state.history.owners.*.0", Is::HistoryKey},
    {"state.history.owners.*.1.0", Is::Account},
    {"state.history.owners.*.1.1", Is::Strategy},
    {"state.history.orders.sets.*.0", Is::Account},
    {"state.history.orders.sets.*.1.*.0", Is::Strategy},
    {"state.history.tasks.sets.*.0", Is::Account},
    {"state.history.tasks.sets.*.1.*.0", Is::Strategy},
    {"state.history.written", Is::Plain},
    {"state.history.shared.*.*", Is::HistoryKey},

    {"state.serverHistory.requests.*.1.account", Is::Account},
    {"state.serverHistory.requests.*.1.first", Is::Plain},
    {"state.serverHistory.requests.*.1.last", Is::Plain},
    {"state.serverHistory.requests.*.1.fault", Is::Words},
    {"state.serverHistory.days.*.0.1", Is::Account},
    {"state.serverHistory.days.*.0.2", Is::Plain},
    {"state.serverHistory.days.*.1.result.fault", Is::Words},
    {"state.serverHistory.open.*.1.query.account", Is::Account},
    {"state.serverHistory.open.*.1.query.day", Is::Plain},
    {"state.serverHistory.open.*.1.query.last", Is::Plain},
    {"state.serverHistory.filed.*.0.1", Is::Account},
    {"state.serverHistory.filed.*.0.2", Is::Plain},
    {"state.serverHistory.filed.*.1.deals.*.0", Is::Number},

    {"state.imports.summaries.*.1.time", Is::Plain},
    {"state.imports.refiling.*", Is::Account},

    {"state.guarded.date", Is::Plain},
    {"state.guarded.ownOrders.*.0", Is::Account},
    {"state.guarded.inLoad.*", Is::Account},
    {"state.guarded.loadedIn.*.0", Is::Account},
    {"state.guarded.finals.*.0", Is::Account},
    {"state.guarded.news.*", Is::Account},
    {"state.guarded.dirty.*", Is::Account},
    {"state.guarded.armedFor.*.0", Is::Account},
};

/// Of imported deals and of imported orders.
constexpr TextAt IMPORTED[] = {
    {"*.0.0", Is::Account},
    {"*.1.groups.*.0", Is::Number},
    {"*.1.groups.*.1.reported.*.number", Is::Number},
    {"*.1.groups.*.1.reported.*.time", Is::Plain},
    {"*.1.reported.*.1", Is::Number},
    {"*.1.touched.*", Is::Number},
};

struct PartAt {
    std::string_view path;
    EPicturePart part;
};
constexpr PartAt PARTS[] = {
    {"left.*", As::Work},
    {"state.retries.*.0", As::RetryName},
    {"state.retries.*.1", As::Work},
    {"state.balance.keptTimes", As::BalanceTimes},
    {"state.history.refused", As::Refused},
    {"state.imports.summaries.*.1.path", As::ImportPath},
    {"state.guarded.balances", As::Book},
};

/// Work of CLinkageManager::workOf().
const std::map<std::string_view, std::vector<EText>> WORKS = {
    {"askHistory", {Is::Plain, Is::Plain, Is::Account, Is::Plain, Is::Plain}},
    {"curveSlice", {Is::Plain}},
    {"curves", {Is::Plain}},
    {"endLoading", {}},
    {"guard", {Is::Account}},
    {"historyPass", {}},
    {"loadAccounts", {Is::Plain}},
    {"loadAgain", {Is::Account}},
    {"loadTasks", {}},
    {"newDay", {Is::Plain}},
    {"pass", {}},
    {"refile", {Is::Account}},
    {"retry", {}},
    {"retryBook", {}},
    {"start", {Is::Account, Is::Strategy}},
    {"startHistory", {Is::Plain, Is::Plain, Is::Account, Is::Plain, Is::Plain}},
    {"watchdog", {}},
    {"writeBook", {}},
};

PicturePlace& placeAt(PicturePlace& from, std::string_view path) {
    PicturePlace* place = &from;
    for (;;) {
        const std::size_t dot = path.find('.');
        place = &place->members[std::string(path.substr(0, dot))];
        if (dot == std::string_view::npos) return *place;
        path.remove_prefix(dot + 1);
    }
}

PicturePlace makePlaces() {
    PicturePlace line;
    for (const TextAt& each : TEXTS) placeAt(line, each.path).text = each.text;
    for (const char* const records : {"state.imports.deals", "state.imports.orders"}) {
        PicturePlace& place = placeAt(line, records);
        for (const TextAt& each : IMPORTED) placeAt(place, each.path).text = each.text;
    }
    for (const PartAt& each : PARTS) placeAt(line, each.path).part = each.part;
    return line;
}

}  // namespace

const PicturePlace* PicturePlace::member(std::string_view name) const {
    const auto found = members.find(name);
    return found == members.end() ? nullptr : &found->second;
}

const PicturePlace* PicturePlace::element(std::size_t at) const {
    const PicturePlace* const each = member("*");
    return each || members.empty() ? each : member(std::to_string(at));
}

const PicturePlace& pictureTexts() {
    static const PicturePlace LINE_PLACES = makePlaces();
    return LINE_PLACES;
}

const std::vector<EText>* workTexts(std::string_view name) {
    const auto known = WORKS.find(name);
    return known == WORKS.end() ? nullptr : &known->second;
}

}  // namespace replay
