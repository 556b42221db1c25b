#include "bench/measure.h"
#include "bench/programs.h"

#include <QDateTime>

#include <memory>
#include <set>
#include <stdexcept>

// Queries that copy, on the library after a quarter of a million reports.

namespace bench {

namespace {

constexpr int CALLS = 200;

class CFilled {
public:
    CFilled() {
        Size size;
        size.orderReports = 153'239;
        size.dealReports = 96'761;
        m_day = makeDay(size);
        m_pLibrary = std::make_unique<CLibraryProgram>(m_day);
        play(*m_pLibrary, m_day);
    }

    template <class Query>
    double ask(Query query) {
        std::size_t answers = 0;
        const double taken = seconds([&] {
            for (int call = 0; call < CALLS; ++call) answers += query(m_pLibrary->manager(), m_day);
        });
        if (answers == 0) throw std::runtime_error("a query found nothing");
        return taken;
    }

private:
    Workload m_day;
    std::unique_ptr<CLibraryProgram> m_pLibrary;
};

template <class Query>
void addQuery(const std::string& name, Query query) {
    add("query/" + name, 2, CALLS, [query] { return CFilled().ask(query); });
}

std::set<std::string> allAccounts(const Workload& day) {
    std::set<std::string> keys;
    for (const auto& account : day.accounts) keys.insert(account.key);
    return keys;
}

int dayOf(const Workload& day) {
    const auto date = QDateTime::fromString(QString::fromStdString(day.tradeDate), "yyyyMMdd");
    return static_cast<int>(date.toSecsSinceEpoch());
}

}  // namespace

void addQueries() {
    addQuery("getTradeStatDatas, account-wide", [](auto& manager, const Workload& day) {
        return manager.getTradeStatDatas(day.accounts[0].key, "").size();
    });
    addQuery("getOrderDetails, all accounts", [](auto& manager, const Workload& day) {
        return manager.getOrderDetails(dayOf(day), day.stockKeys[0], allAccounts(day)).size();
    });
    addQuery("getTotalProfits, today", [](auto& manager, const Workload&) {
        return manager.getTotalProfits({}, {}, {}, true).size();
    });
    addQuery("getStocks",
             [](auto& manager, const Workload&) { return manager.getStocks().size(); });
}

}  // namespace bench
