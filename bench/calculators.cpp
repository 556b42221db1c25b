#include "bench/measure.h"
#include "bench/programs.h"

#include <fmt/format.h>

#include <memory>
#include <stdexcept>

// Revaluation of 100,000 records (and the account-wide ones), and one record that gets
// very many deals.

namespace bench {

namespace {

constexpr std::size_t PASSES = 20;

class CPasses {
public:
    double limit() {
        prepare();
        const std::vector<bool> all(m_traded.size.stocks, true);
        std::vector<double> sums;
        return seconds([&] {
            for (std::size_t pass = 0; pass < PASSES; ++pass) {
                m_pLimit->limit().revalue(all, sums);
            }
        });
    }

    /// Passes of the library after new prices of every `each`th stock.
    double library(std::uint32_t each) {
        prepare();
        double taken = 0.0;
        for (std::size_t pass = 0; pass < PASSES; ++pass) {
            for (std::uint32_t stock = 0; stock < m_traded.size.stocks; stock += each) {
                m_pLibrary->price(stock, m_traded.prices[stock]);
            }
            taken += seconds([&] { m_pLibrary->runCalculator(); });
        }
        return taken;
    }

private:
    // Makes the programs once for all of the group, and checks that all their profits are equal
    // before any pass is timed.
    void prepare() {
        if (m_pLibrary) return;
        figures().keep([this] { *this = CPasses(); });
        m_traded = makeTraded();
        m_pLimit = std::make_unique<CLimitProgram>(m_traded);
        m_pLibrary = std::make_unique<CLibraryProgram>(m_traded);
        play(*m_pLimit, m_traded);
        play(*m_pLibrary, m_traded);
        limit();
        library(1);
        TC::ManagerState expected = m_pLimit->state();
        TC::ManagerState actual = m_pLibrary->state();
        expected.latestPrices.clear();  // the library empties them in a pass
        const std::string difference = textbook::firstDifference(expected, actual);
        if (!difference.empty()) throw std::runtime_error("passes disagree: " + difference);
    }

    Workload m_traded;
    std::unique_ptr<CLimitProgram> m_pLimit;
    std::unique_ptr<CLibraryProgram> m_pLibrary;
};

class CManyDeals {
public:
    static constexpr std::size_t DEALS = 20'000;
    static constexpr std::size_t PART = 1'000;

    /// Seconds for each thousand deals, with a query after each deal.
    std::vector<double> run() {
        Workload world = makeWorld({});
        Report ids;
        ids.strategy = 1;
        std::vector<Report> reports;
        for (std::size_t i = 0; i < DEALS; ++i) {
            Report report = ids;
            report.deal =
                makeDeal(world, ids, 1'000'000'000 + i, static_cast<int>(i * 14'000 / DEALS));
            reports.push_back(std::move(report));
        }
        CLibraryProgram program(world);
        const std::string& account = world.accounts[0].key;
        const std::string& strategy = world.strategies[1];
        std::vector<double> parts;
        for (std::size_t from = 0; from < DEALS; from += PART) {
            parts.push_back(seconds([&] {
                for (std::size_t at = from; at < from + PART; ++at) {
                    program.deal(0, reports[at]);
                    const auto read = program.manager().getTradeStatDatas(account, strategy);
                    const auto traded = TC::effectiveFigures(*read.begin()->second, false);
                    if (traded.buyVolume != static_cast<int>(at + 1) * 100) {
                        throw std::runtime_error("a deal is missing");
                    }
                }
            }));
        }
        return parts;
    }
};

}  // namespace

void addCalculators() {
    const auto passes = std::make_shared<CPasses>();
    add("pass/limit", 5, PASSES, [passes] { return passes->limit(); });
    add("pass/all", 5, PASSES, [passes] { return passes->library(1); });
    add("pass/one-percent", 5, PASSES, [passes] { return passes->library(100); });
    add("deals/20,000 on one record", 5, CManyDeals::DEALS, [] {
        const std::vector<double> parts = CManyDeals().run();
        figures().note("deals/first thousand", parts.front() / CManyDeals::PART);
        figures().note("deals/last thousand", parts.back() / CManyDeals::PART);
        double all = 0.0;
        for (const double part : parts) all += part;
        return all;
    });
}

}  // namespace bench
