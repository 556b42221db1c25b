#include "bench/measure.h"
#include "bench/programs.h"

#include <QDateTime>

#include <list>
#include <map>
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

/// Counts answers.
class CAnswers {
public:
    template <class Container>
    void take(const Container& answer) {
        m_nTaken += answer.size();
    }
    std::size_t taken() const { return m_nTaken; }

private:
    std::size_t m_nTaken = 0;
};

}  // namespace

std::size_t askEverything(TC::CLinkageManager& manager, const Workload& day) {
    CAnswers answers;
    const int date = dayOf(day);
    const std::set<std::string> accounts = allAccounts(day);
    const std::string& account = day.accounts[0].key;
    const std::string& strategy = day.strategies[1];
    const std::string& stock = day.stockKeys[0];
    for (const std::string& name : {std::string(), strategy}) {
        answers.take(manager.getTradeStatDatas(account, name));
        answers.take(manager.getPeriodCurve(account, name));
        answers.take(manager.getHistoryOfPair(account, name));
    }
    std::map<std::string, std::map<std::string, boost::shared_ptr<TC::LinkagePeriodExtData>>> wide;
    manager.getTradeStatDatas(std::list<std::string>(), "", wide);
    answers.take(wide);
    answers.take(manager.getStocks());
    answers.take(manager.getStrategys());
    answers.take(manager.getAccounts());
    answers.take(manager.getAccountIds(0));
    answers.take(manager.getOrderDetails(date, stock, accounts));
    answers.take(manager.getDealDetails(date, stock, accounts));
    answers.take(manager.getTaskDetails(stock, accounts));
    answers.take(manager.getAccountOrders(account, date));
    answers.take(manager.getAccountDeals(account, date));
    answers.take(manager.getFiledDays(account));
    answers.take(manager.getRecordSources(TC::EHistoryRecords::Deals, account, date));
    answers.take(manager.getRecordSources(TC::EHistoryRecords::Orders, account, date));
    answers.take(manager.getTotalProfits({}, {}, {}, true));
    answers.take(manager.getTotalBalances({}, {}, {}, true));
    answers.take(manager.getTotalBuySellAmounts({}, {}, {}, false));
    answers.take(manager.getHistoryStatData());
    answers.take(manager.getBalanceTime());
    answers.take(manager.getBalances());
    answers.take(manager.getReconciliations());
    answers.take(manager.getHistoryRequests());
    answers.take(manager.getImports());
    manager.getDealAmplitude({}, {});
    manager.getOrderAmplitude({}, {});
    manager.getBuySellVolumes(date, stock, accounts);
    manager.getBuySellAmounts(date, stock, accounts);
    manager.getOrderNumberByPrice(QString::fromStdString(strategy), day.prices[0], 0.01);
    return answers.taken();
}

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
    // A new reader: answer after answer until it knows the day.
    addQuery("getChanges, 1,000 at a time",
             [cursor = TC::ChangeCursor()](auto& manager, const Workload&) mutable {
                 return manager.getChanges(cursor, TC::CHANGES_AT_ONCE).size();
             });
    addQuery("getStocks",
             [](auto& manager, const Workload&) { return manager.getStocks().size(); });
}

}  // namespace bench
