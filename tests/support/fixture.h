#pragma once

#include "linkage/core/clinkagemanager.h"
#include "linkage/core/managerstate.h"
#include "paper/loop.h"
#include "paper/paperclient.h"

#include <QTemporaryDir>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// A client, a clock and a manager for tests, with verbs in the language of trading.
///
///     Fixture f;
///     f.instrument({.stock = "SH600000", .reference = 10.0});
///     f.account({.key = "A"});
///     f.init();
///     f.order({.account = "A", .key = 1, .status = 50, .strategy = "S"});
///     EXPECT_EQ(f.manager().getRunningOrders("A", "S"), 1);
///
/// Stocks are named by their stock key, whose first two characters are the market.
namespace tests {

using Texts = std::vector<std::string>;

enum class Side { Buy, Sell };

struct Settings {
    std::string now = "2024-01-02 09:00:00";  ///< local time (the tests run in Asia/Shanghai)
    std::string tradeDate;                    ///< "" for the date of `now`
    int clientType = 1;
    std::string userName = "trader";
    double limitPercent = 10.0;
    double limitPercentST = 5.0;
    bool registRules = false;
    bool executes = false;  ///< the paper exchange matches
    bool scheduler = false;
    std::string fileEncoding = "UTF-8";
    TC::LinkageOptions options;
};

struct Stock {
    std::string stock = "SH600000";
    std::string name;
    double tick = 0.01;
    double reference = 0.0;
    double limitUp = 0.0;
    double limitDown = 0.0;
    int unit = 100;
    std::vector<int> types;
    bool detail = true;
};

struct Order {
    std::string account = "A";
    std::uint64_t key = 1;
    std::string stock = "SH600000";
    Side side = Side::Buy;
    double price = 10.0;
    int volume = 100;
    int status = vexservice::STATUS_REPORTED;
    int traded = 0;
    std::optional<double> amount;  ///< traded × price when left out
    std::string sysId;
    std::string tradeDate;  ///< "" for the client's trade date
    std::string strategy;   ///< no strategy carrier when all three texts are empty
    std::string strategy2;
    std::string tag;
    bool push = true;
    int command = 0;  ///< number of its command; 0: not known
};

struct Deal {
    std::string account = "A";
    std::uint64_t key = 1;
    std::string stock = "SH600000";
    Side side = Side::Buy;
    double price = 10.0;
    int volume = 100;
    std::optional<double> amount;     ///< price × volume when left out
    std::optional<std::string> time;  ///< "hhmmss"; the clock when left out
    std::string dealId;               ///< "" for the decimal text of the key
    std::string tradeDate;            ///< "" for the client's trade date
    std::string strategy;
    std::string strategy2;
    std::string tag;
    bool push = true;
    int command = 0;
    std::uint64_t order = 0;  ///< record key of its order; 0: not known
};

struct TaskItem {
    std::string stock = "SH600000";
    int volume = 0;
    int traded = 0;
    std::string account;  ///< "" for the task's account
};

struct Task {
    std::string account = "A";
    std::uint64_t key = 1;
    int status = vexservice::TASK_RUNNING;
    std::vector<TaskItem> items = {TaskItem{}};
    bool command = true;              ///< whether there is a command record
    std::optional<std::string> user;  ///< the user name, "" for client type 3, when left out
    int kind = 0;
    std::string tradeDate;  ///< "" for the client's trade date
    std::string strategy;
    std::string strategy2;
    std::string tag;
    bool server = true;
    bool push = true;
};

struct Position {
    std::string account = "A";
    std::uint64_t key = 1;
    std::string stock = "SH600000";
    int volume = 0;
    int available = 0;
    double cost = 0.0;
    bool push = true;
};

struct Quote {
    std::string stock = "SH600000";
    std::optional<double> last;                           ///< not known when left out
    std::vector<std::pair<double, long long>> asks = {};  ///< price and volume, best first
    std::vector<std::pair<double, long long>> bids = {};
    bool push = true;
};

/// What was seen, with the virtual time "hh:mm:ss.zzz" at which it was seen.
struct LogLine {
    std::string at;
    std::string operation;
    std::string text;
};
struct SeenSignal {
    std::string at;
    std::string name;               ///< as in scenario output: "stocksChanged", ...
    std::vector<std::string> args;  ///< days as "yyyyMMdd", numbers in shortest form
};
struct SentCommand {
    std::string at;
    vexservice::COrderComandParam command;
};
struct AskedCancel {
    std::string at;
    std::uint64_t key;
};
struct TaskOperation {
    std::string at;
    std::uint64_t key;
    bool server;
    vexservice::CTaskOpRecord record;
};

class Fixture : private paper::IClientObserver {
public:
    explicit Fixture(Settings settings = {});
    /// Releases the manager, then the client, then the clock.
    ~Fixture() override;

    // reference data; all verbs run to rest before they return
    void instrument(const Stock& stock);
    void account(paper::Account account);
    void tradeSetting(int block, vexservice::EPriceType priceType, double price = 0.0);

    // the manager
    void create();
    void init();
    void release();
    bool hasManager() const;
    /// The manager; made on first use.
    TC::CLinkageManager& manager();
    TC::ManagerState state() { return manager().state(); }

    // reports and quotes
    void order(const Order& order);
    void deal(const Deal& deal);
    void task(const Task& task);
    void position(const Position& position);
    void price(const Quote& quote);
    void bars(const std::string& stock, const std::string& day,
              const std::vector<std::pair<std::string, double>>& closes);  ///< "hhmm", close

    // records as the verbs report them, for server histories and direct calls
    boost::shared_ptr<vexservice::COrderDetail> makeOrder(const Order& order) const;
    boost::shared_ptr<vexservice::CDealDetail> makeDeal(const Deal& deal) const;
    boost::shared_ptr<vexservice::CTaskDetail> makeTask(const Task& task) const;

    // announcements
    void newTradingDate(const std::string& date, const std::string& signalDate = {});
    void login(bool ok);
    void accountReady(const std::string& accountKey);
    void userDataChanged();

    // the paper exchange
    void send(const Order& order);

    // time
    void advance(double seconds);
    /// "hh:mm:ss" of the same day, or "yyyy-MM-dd hh:mm:ss".
    void advanceTo(const std::string& time);
    void settle();
    /// "hh:mm:ss.zzz"
    std::string now() const;
    /// Local midnight of "yyyyMMdd" in seconds since the epoch.
    static int day(const std::string& date);

    // the Balance directory
    QString dataDir() const { return m_directory.path(); }
    void writeFile(const std::string& name, const std::string& text);
    std::optional<std::string> file(const std::string& name) const;

    // what was seen since the start or the last forget()
    std::vector<LogLine> log() const { return copied(m_seen.log); }
    Texts logTexts() const { return column(log(), &LogLine::text); }
    std::vector<SeenSignal> signals() const { return copied(m_seen.signals); }
    Texts signalNames() const { return column(signals(), &SeenSignal::name); }
    std::vector<SentCommand> commands() const { return copied(m_seen.commands); }
    std::vector<AskedCancel> cancels() const { return copied(m_seen.cancels); }
    std::vector<TaskOperation> taskOperations() const { return copied(m_seen.operations); }
    void forget();

    /// Runs within each request of the library, after it was noted; may throw, as a service may.
    std::function<void()> onRequest;

    paper::CVirtualLoop& loop() { return *m_pLoop; }
    paper::CPaperClient& client() { return *m_pClient; }

private:
    struct Seen {
        std::vector<LogLine> log;
        std::vector<SeenSignal> signals;
        std::vector<SentCommand> commands;
        std::vector<AskedCancel> cancels;
        std::vector<TaskOperation> operations;
    };

    template <class Each>
    std::vector<Each> copied(const std::vector<Each>& seen) const {
        const std::lock_guard lock(m_seenMutex);
        return seen;
    }
    template <class Each>
    static Texts column(const std::vector<Each>& seen, std::string Each::*text) {
        Texts texts;
        for (const Each& each : seen) texts.push_back(each.*text);
        return texts;
    }

    void onCancelOrder(const vexservice::COrderDetail& order) override;
    void onOperateTask(std::uint64_t taskKey, bool server,
                       const vexservice::CTaskOpRecord& record) override;
    void onCommand(const vexservice::COrderComandParam& command, int) override;
    void noteRequest(const std::function<void()>& note);
    void watch(TC::CLinkageManager& manager);
    void saw(const std::string& name, std::vector<std::string> args = {});
    template <class Record, class Described>
    boost::shared_ptr<Record> described(const Described& by) const;

    Settings m_settings;
    QTemporaryDir m_directory;
    std::unique_ptr<paper::CVirtualLoop> m_pLoop;
    std::unique_ptr<paper::CPaperClient> m_pClient;
    TC::CLinkageManager* m_pWatched = nullptr;
    mutable std::mutex m_seenMutex;
    Seen m_seen;
};

/// A started client with accounts of which nothing but the key is known.
struct Ready : Fixture {
    explicit Ready(Settings settings = {}, const std::vector<std::string>& accounts = {"A"})
        : Fixture(std::move(settings)) {
        for (const std::string& key : accounts) account({.key = key});
        init();
        forget();
    }
};

/// What the order of a deal reports.
inline Order orderOf(const Deal& deal, int volume, int traded, int status) {
    Order order{.account = deal.account, .key = deal.key, .stock = deal.stock, .side = deal.side};
    order.price = deal.price;
    order.volume = volume;
    order.status = status;
    order.traded = traded;
    order.strategy = deal.strategy;
    return order;
}

}  // namespace tests
