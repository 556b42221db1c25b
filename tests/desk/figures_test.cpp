#include "platform/services/quoteclient.h"
#include "platform/services/stockmanager.h"
#include "replay/times.h"
#include "tests/desk/deskfixture.h"

#include <QRegularExpression>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace {

using desk::CRowsView;
using Manager = TC::CLinkageManager;

/// Cells by row key, as the library has them; an empty optional: no figure of the library's.
using Table = std::map<QString, std::vector<std::optional<QVariant>>>;
using Tables = std::map<std::string, Table>;
constexpr std::nullopt_t NOT_ITS = std::nullopt;

QString text(const std::string& utf8) { return QString::fromStdString(utf8); }

QVariant known(double price) { return price > 0.0 ? QVariant(price) : QVariant(); }

QVariant priceOr(double price) { return price > 0.0 ? QVariant(price) : QVariant("market"); }

std::string strategyOf(const boost::shared_ptr<vexservice::CCommandRecord>& command) {
    return command ? command->m_strStrategyName : std::string();
}

double lastPrice(const std::string& stock) {
    const auto price =
        utils::CManualSingletonT<TC::CQuoteClient>::instance()->getStockPrice(text(stock));
    return price ? price->m_dLastPrice : 0.0;
}

std::string nameOf(const std::string& stock) {
    return utils::CSingletonT<TC::CStockManager>::instance()
        ->getInstrumentDetail(text(stock))
        ->m_strName;
}

/// Asks the library for every figure, each by the query that is nearest to it: volumes and amounts
/// by the deals, running orders and lots by the orders.
class CLibrary {
public:
    CLibrary(Manager& manager, const desk::Selection& chosen)
        : m_manager(manager), m_chosen(chosen), m_day(replay::dayNumber(manager.getTradeDate())) {}

    Tables tables() {
        for (const auto& account : m_manager.getAccounts()) addAccount(account->m_strKey);
        addChosen();
        for (const auto& [key, time] : m_manager.getBalanceTime())
            m_tables["balanceTimes"][text(key)] = {NOT_ITS, NOT_ITS, text(time)};
        for (const TC::BalanceRecord& each : m_manager.getBalances()) addBalance(each);
        return m_tables;
    }

    struct Traded {
        std::int64_t bought = 0, sold = 0;
        double paid = 0.0, got = 0.0;
    };

private:
    /// By stock; the strategy "" is the whole account.
    std::map<std::string, Traded> traded(const std::string& account, const std::string& strategy) {
        std::map<std::string, Traded> stocks;
        each(m_manager, &Manager::getDealDetails, account,
             [&](const std::string& stock, const auto& deal) {
                 if (!strategy.empty() && strategyOf(deal.m_pCommand) != strategy) return;
                 Traded& sum = stocks[stock];
                 const bool buys = deal.m_eDirection == vexservice::ENTRUST_BUY;
                 (buys ? sum.bought : sum.sold) += deal.m_nVolume;
                 (buys ? sum.paid : sum.got) += deal.m_dAmount;
             });
        return stocks;
    }

    template <class Query, class Work>
    void each(Manager& manager, Query query, const std::string& account, Work work) {
        for (const std::string& stock : manager.getStocks()) {
            for (const auto& [key, records] : (manager.*query)(m_day, stock, {account})) {
                for (const auto& [record, detail] : records) work(stock, *detail);
            }
        }
    }

    double profit(const std::string& account, const std::string& strategy) {
        double sum = 0.0;
        for (const auto& [stock, record] : m_manager.getTradeStatDatas(account, strategy))
            sum += record->worth().m_dProfit;
        return sum;
    }

    void addAccount(const std::string& account) {
        Traded day;
        double bound = 0.0;
        for (const std::string& strategy : strategiesOf(account)) {
            Traded sum;
            double unequal = 0.0;
            for (const auto& [stock, part] : traded(account, strategy)) {
                sum.bought += part.bought, sum.sold += part.sold;
                sum.paid += part.paid, sum.got += part.got;
                unequal += std::abs(double(part.bought - part.sold)) * lastPrice(stock);
            }
            if (strategy.empty()) day = sum;
            m_tables["pairs"][text(account + '\n' + strategy)] = {
                NOT_ITS,
                profit(account, strategy),
                qlonglong(sum.bought),
                qlonglong(sum.sold),
                m_manager.getRunningOrders(account, strategy),
                m_manager.getRunningTasks(account, strategy),
                NOT_ITS,
                unequal,
                NOT_ITS};
        }
        each(m_manager, &Manager::getOrderDetails, account,
             [&](const std::string& stock, const vexservice::COrderDetail& order) {
                 if (!vexservice::isRunningStatus(order.m_eStatus)) return;
                 const bool buys = order.m_eDirection == vexservice::ENTRUST_BUY;
                 bound += buys ? order.m_dPrice * (order.m_nVolume - order.m_nTradedVolume) : 0.0;
                 m_tables["running"][text(account) + '\n' + text(order.getKey())] = {
                     NOT_ITS,
                     text(stock),
                     buys,
                     priceOr(order.m_dPrice),
                     order.m_nVolume,
                     order.m_nTradedVolume,
                     text(strategyOf(order.m_pCommand)),
                     NOT_ITS,
                     text(account),
                     text(nameOf(stock))};
             });
        addFunds(account, day, bound);
    }

    std::set<std::string> strategiesOf(const std::string& account) {
        std::set<std::string> strategies{""};
        for (const std::string& strategy : m_manager.getStrategys()) {
            if (!m_manager.getTradeStatDatas(account, strategy).empty() ||
                m_manager.getRunningOrders(account, strategy) > 0 ||
                m_manager.getRunningTasks(account, strategy) > 0)
                strategies.insert(strategy);
        }
        return strategies;
    }

    void addFunds(const std::string& account, const Traded& day, double bound) {
        double value = 0.0, gain = 0.0, fees = 0.0;
        const auto deals = traded(account, "");
        for (const char* stock : {"SH600001", "SZ000001"}) {
            QList<QString> ids;
            QList<int> volumes, sellable;
            m_manager.getPositionNumber(stock, ids, volumes, sellable, {text(account)});
            const double cost = 9.9;  // of all positions of the day
            if (volumes.isEmpty()) continue;
            const double worth = volumes[0] * lastPrice(stock);
            value += worth;
            gain += worth - volumes[0] * cost;
            if (account != m_chosen.account) continue;
            const auto net = deals.find(stock);
            m_tables["positions"][stock] = {
                QString(stock),
                text(nameOf(stock)),
                volumes[0],
                sellable[0],
                cost,
                lastPrice(stock),
                worth,
                worth - volumes[0] * cost,
                net == deals.end() ? 0 : qlonglong(net->second.bought - net->second.sold)};
        }
        for (const auto& [stock, record] : m_manager.getTradeStatDatas(account, ""))
            fees += record->deals().m_dCommission;
        m_tables["funds"][text(account)] = {text(account), value,    gain,    profit(account, ""),
                                            bound,         day.paid, day.got, fees,
                                            NOT_ITS};
    }

    void addChosen() {
        const auto& [account, strategy, chosen] = m_chosen;
        auto parts = traded(account, strategy);  // of a stock with orders alone: nothing
        for (const auto& [stock, record] : m_manager.getTradeStatDatas(account, strategy)) {
            const Traded& part = parts[stock];
            const double last = lastPrice(stock);
            const auto price =
                utils::CManualSingletonT<TC::CQuoteClient>::instance()->getStockPrice(text(stock));
            const double reference = stock == "SH600001" ? 10.0 : 20.0;
            m_tables["stocks"][text(stock)] = {text(stock),
                                               text(nameOf(stock)),
                                               last,
                                               record->worth().m_dProfit.get(),
                                               qlonglong(part.bought),
                                               qlonglong(part.sold),
                                               qlonglong(part.bought - part.sold),
                                               record->worth().m_dPositionValue.get(),
                                               part.paid,
                                               part.got,
                                               record->deals().m_dCommission.get(),
                                               (last / reference - 1.0) * 100.0,
                                               QString(),
                                               known(price->m_bids.front().m_dPrice),
                                               known(price->m_asks.front().m_dPrice)};
        }
        addRecords(account, strategy, chosen);
    }

    void addRecords(const std::string& account, const std::string& strategy,
                    const std::string& chosen) {
        std::map<QString, int> lots;
        const auto isChosen = [&](const std::string& stock, const auto& record) {
            return stock == chosen &&
                   (strategy.empty() || strategyOf(record.m_pCommand) == strategy);
        };
        each(m_manager, &Manager::getOrderDetails, account,
             [&](const std::string& stock, const vexservice::COrderDetail& order) {
                 if (!isChosen(stock, order)) return;
                 m_tables["orders"][text(order.getKey())] = {
                     qulonglong(order.recordKey()),
                     order.m_eDirection == vexservice::ENTRUST_BUY,
                     priceOr(order.m_dPrice),
                     order.m_nVolume,
                     order.m_nTradedVolume,
                     NOT_ITS,
                     NOT_ITS};
                 if (vexservice::isRunningStatus(order.m_eStatus))
                     lots[QString::number(order.m_dPrice, 'f', 4)] +=
                         (order.m_nVolume - order.m_nTradedVolume) / 100;
             });
        for (const auto& [price, count] : lots)
            m_tables["levels"][price] = {priceOr(price.toDouble()), count, NOT_ITS};
        each(m_manager, &Manager::getDealDetails, account,
             [&](const std::string& stock, const vexservice::CDealDetail& deal) {
                 if (!isChosen(stock, deal)) return;
                 m_tables["deals"][text(deal.getKey())] = {
                     text(deal.m_strTradeTime),
                     deal.m_eDirection == vexservice::ENTRUST_BUY,
                     deal.m_dPrice,
                     deal.m_nVolume,
                     deal.m_dAmount,
                     QString()};
             });
        for (const auto& [key, tasks] : m_manager.getTaskDetails(chosen, {account})) {
            for (const auto& [record, task] : tasks) {
                if (!strategy.empty() && strategyOf(task->m_pCommand) != strategy) continue;
                m_tables["tasks"][text(task->getKey())] = {
                    qulonglong(record), NOT_ITS, NOT_ITS, task->m_items[0]->m_nVolume,
                    m_manager.getTaskItemFinishNumber(task, chosen)};
            }
        }
    }

    void addBalance(const TC::BalanceRecord& balance) {
        std::int64_t sent = 0, filled = 0;
        for (const auto& [stock, part] : balance.stocks) {
            sent += std::abs(part.sent);
            filled += std::abs(part.filled);
        }
        m_tables["balances"][QString::number(balance.number)] = {
            balance.number,
            text(balance.asked),
            NOT_ITS,
            text(balance.account),
            text(balance.strategy),
            NOT_ITS,
            qlonglong(balance.cancelledOrders + balance.cancelledTasks),
            qlonglong(sent),
            qlonglong(filled),
            NOT_ITS};
    }

    Manager& m_manager;
    const desk::Selection m_chosen;
    const int m_day;
    Tables m_tables;
};

class DeskFigures : public support::DeskTest {
protected:
    /// The morning with positions, a balance and a rejected order, under the guard.
    static QString day() {
        QFile file(support::MORNING);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        QString lines = QString::fromUtf8(file.readAll());
        lines.replace("\"scheduler\":true", "\"scheduler\":true,\"options\":{\"guard\":true}");
        lines.replace(QRegularExpression("^#.*\n", QRegularExpression::MultilineOption), "");
        const QString position =
            R"({"do":"position","account":"%1","key":%2,"market":"SH","code":"600001","volume":%3,"available":%4,"cost":9.9}
)";
        lines.replace("{\"do\":\"init\"}", position.arg("A01").arg(1).arg(3000).arg(1200) +
                                               position.arg("A02").arg(2).arg(500).arg(500) +
                                               "{\"do\":\"init\"}");
        return lines + R"({"do":"call","op":"addBalanceTime","args":["A01:alpha","101700"]}
{"do":"reject","account":"A02","times":1}
{"do":"send","account":"A02","market":"SZ","code":"000001","side":"buy","volume":300,"price":20,"strategy":"grid"}
{"do":"advance","to":"2024-01-05 10:20:00"}
{"do":"price","market":"SH","code":"600001","last":10.31,"asks":[[10.32,100000]],"bids":[[10.30,100000]]}
{"do":"advance","to":"2024-01-05 10:25:00"}
)";
    }

    /// Time stands still, and the picture on the screen is of this moment.
    void standStill(const desk::Selection& chosen) {
        m_engine->setPaused(true);
        const QString pair = text(chosen.account + '\n' + chosen.strategy);
        find<CRowsView>("pairs")->chooseKey(pair);
        ask([](Manager&) { return 0; });
        const desk::Picture* before = shown();
        ASSERT_TRUE(until([&] {
            return shown() != before && shown()->selection.account == chosen.account &&
                   shown()->selection.strategy == chosen.strategy && m_window->isSettled();
        }));
    }

    /// How many cells were compared.
    int expectShown(const Tables& library, const std::string& when) {
        int compared = 0;
        for (const char* name : {"pairs", "stocks", "orders", "deals", "tasks", "levels", "running",
                                 "balances", "balanceTimes", "funds", "positions"}) {
            desk::CRowsModel& shownRows = rows(name);
            const auto table = library.find(name);
            const Table expected = table == library.end() ? Table() : table->second;
            EXPECT_EQ(shownRows.rowCount(), int(expected.size())) << name << " " << when;
            for (const auto& [key, cells] : expected) {
                for (std::size_t column = 0; column < cells.size(); ++column) {
                    if (!cells[column]) continue;
                    const desk::EFormat format = shownRows.columns()[column].format;
                    EXPECT_EQ(cell(shownRows, key, int(column)).toStdString(),
                              desk::formatted(*cells[column], format).toStdString())
                        << name << " " << key.toStdString() << " " << column << " " << when;
                    ++compared;
                }
            }
        }
        return compared;
    }

    /// Figures that stand in several places.
    void expectSame(const std::string& when) {
        double profit = 0.0;
        int orders = 0, tasks = 0;
        for (const desk::PairRow& pair : shown()->pairs) {
            if (!pair.strategy.empty()) continue;
            profit += pair.profit;
            orders += pair.runningOrders;
            tasks += pair.runningTasks;
            EXPECT_EQ(cell("pairs", text(pair.account) + '\n', 1),
                      cell("funds", text(pair.account), 3))
                << when;
        }
        EXPECT_EQ(rows("running").rowCount(), orders) << when;
        const QString counts = QString("Profit %1    running orders %2    running tasks %3")
                                   .arg(desk::formatted(profit, desk::EFormat::Profit))
                                   .arg(orders)
                                   .arg(tasks);
        const auto labels = m_window->findChildren<QLabel*>();
        EXPECT_TRUE(std::any_of(labels.begin(), labels.end(), [&](const QLabel* label) {
            return label->text() == counts;
        })) << counts.toStdString();
    }
};

TEST_F(DeskFigures, EveryCellIsWhatTheLibrarySaysWhileTheDayPlaysAtThousandTimes) {
    open(day(), 1000);
    const desk::Selection chosen[] = {{"A01", "alpha", ""},
                                      {"A02", "alpha", ""},
                                      {"A01", "grid", ""},
                                      {"A01", "", ""},
                                      {"A02", "twap", ""}};
    ASSERT_TRUE(until([&] { return shown() && shown()->time > "09:32:00"; }));
    std::size_t moments = 0;
    int compared = 0;
    const auto clock = [this] { return QTime::fromString(text(shown()->time), "HH:mm:ss"); };
    const auto look = [&](const desk::Selection& pair) {
        if (rows("pairs").indexOf(text(pair.account + '\n' + pair.strategy)) < 0) return;
        standStill(pair);
        const desk::Selection now = shown()->selection;
        const std::string when = shown()->time + " " + now.account + "/" + now.strategy;
        compared += expectShown(
            ask([&now](Manager& manager) { return CLibrary(manager, now).tables(); }), when);
        expectSame(when);
    };
    while (!shown()->ended && !HasFailure()) {
        const QTime time = clock();
        look(chosen[moments++ % std::size(chosen)]);
        m_engine->setPaused(false);
        ASSERT_TRUE(until([&] { return time.secsTo(clock()) > 200 || shown()->ended; }));
    }
    for (const desk::Selection& pair : chosen) look(pair);
    std::printf("%zu moments, %d cells\n", moments, compared);
    EXPECT_GT(moments, 10u);
    EXPECT_GT(compared, 1000);
    EXPECT_EQ(rows("balances").rowCount(), 1) << "the day had a balance";
}

}  // namespace
