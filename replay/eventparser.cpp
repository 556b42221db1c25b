#include "replay/eventparser.h"

#include "platform/utils/keys.h"
#include "replay/disknames.h"
#include "replay/linereader.h"

#include <boost/make_shared.hpp>

#include <array>

namespace replay {

namespace {

constexpr std::size_t KEPT_CARRIERS = 4096;
constexpr std::size_t BOOK_LEVELS = 10;

std::string copied(std::string_view text) { return std::string(text); }

vexservice::EEntrustBS side(const CFields& fields) {
    const CValue value = fields.need("side");
    const std::string_view text = value.text();
    if (text == "buy") return vexservice::ENTRUST_BUY;
    if (text == "sell") return vexservice::ENTRUST_SELL;
    value.fail("\"" + copied(text) + "\" is neither \"buy\" nor \"sell\"");
}

std::string stockKey(const CFields& fields) {
    return utils::zorStockKey(copied(fields.text("market")), copied(fields.text("code")));
}

double atLeast(const CFields& fields, std::string_view name, double fallback, double least) {
    const auto found = fields.find(name);
    return found ? found->realFrom(least) : fallback;
}

std::vector<vexservice::CPriceLevel> bookSide(const CFields& fields, std::string_view name) {
    std::vector<vexservice::CPriceLevel> levels;
    const auto found = fields.find(name);
    if (!found) return levels;
    const CList list = found->list();
    if (list.size() > BOOK_LEVELS) found->fail("a book has at most 10 levels");
    levels.reserve(list.size());
    list.each([&](const CValue& entry) {
        const CList level = entry.list(2);
        levels.push_back({level.at(0).real(), level.at(1).whole<long long>(0)});
    });
    return levels;
}

/// A whole number of at least `least`; a field that is left out gives `least`.
int wholeFrom(const CFields& fields, std::string_view name, int least) {
    const auto found = fields.find(name);
    return found ? found->whole<int>(least) : least;
}

/// The value that a text names; `named` looks it up.
template <class Named>
auto namedBy(const CValue& value, Named named, const std::string& what) {
    const auto found = named(value.text());
    if (!found) value.fail("\"" + copied(value.text()) + "\" is no " + what);
    return *found;
}

/// "hhmm" as the minute of the day.
int minuteOf(const CValue& value) {
    const std::string_view text = value.text();
    const bool digits =
        text.size() == 4 && text.find_first_not_of("0123456789") == std::string_view::npos;
    const int hour = digits ? (text[0] - '0') * 10 + text[1] - '0' : 24;
    const int minute = digits ? (text[2] - '0') * 10 + text[3] - '0' : 60;
    if (hour > 23 || minute > 59) value.fail("\"" + copied(text) + "\" is no time \"hhmm\"");
    return hour * 60 + minute;
}

}  // namespace

/// One reader per kind of line.
struct EventReader {
    CEventParser& parser;

    static void options(const CFields& in, TC::LinkageOptions& to) {
        using Options = TC::LinkageOptions;
        to.guard = in.flag("guard", to.guard);
        if (const auto rounds = in.find("rounds")) {
            to.rounds = rounds->whole<int>(1, Options::MOST_ROUNDS);
        }
        if (const auto seconds = in.find("roundSeconds")) {
            to.roundSeconds = seconds->whole<int>(1, Options::LONGEST_ROUND);
        }
        to.keepBalanceTimes = in.flag("keepBalanceTimes", to.keepBalanceTimes);
        to.filedTotals = in.flag("filedTotals", to.filedTotals);
        if (const auto days = in.find("keepDays")) to.keepDays = days->whole<int>(0);
    }

    static Event config(EventReader&, const CFields& in) {
        ConfigEvent event;
        event.now = in.text("now");
        event.timeZone = in.text("timeZone", event.timeZone);
        if (const auto date = in.find("tradeDate")) event.tradeDate = date->date();
        paper::ClientConfig& client = event.client;
        client.clientType = in.whole<int>("clientType", client.clientType);
        client.userName = in.text("userName", client.userName);
        client.limitPercent = in.real("limitPercent", client.limitPercent);
        client.limitPercentST = in.real("limitPercentST", client.limitPercentST);
        client.registRules = in.flag("registRules", client.registRules);
        if (const auto exchange = in.find("exchange")) {
            client.executes = exchange->text() == "paper";
            if (!client.executes && exchange->text() != "manual") {
                exchange->fail("\"" + copied(exchange->text()) +
                               "\" is neither \"manual\" nor \"paper\"");
            }
        }
        client.scheduler = in.flag("scheduler", client.scheduler);
        if (const auto given = in.find("options")) options(given->fields(), event.options);
        return event;
    }

    static Event instrument(EventReader&, const CFields& in) {
        InstrumentEvent event;
        paper::Instrument& to = event.instrument;
        to.market = in.text("market");
        to.code = in.text("code");
        to.name = in.text("name", "");
        to.tick = atLeast(in, "tick", to.tick, 0.0);
        to.reference = atLeast(in, "reference", 0.0, 0.0);
        to.limitUp = atLeast(in, "limitUp", 0.0, 0.0);
        to.limitDown = atLeast(in, "limitDown", 0.0, 0.0);
        if (const auto unit = in.find("unit")) to.unit = unit->whole<int>(1);
        if (const auto types = in.find("types")) {
            types->list().each([&](const CValue& type) { to.types.push_back(type.whole<int>()); });
        }
        to.detail = in.flag("detail", true);
        return event;
    }

    static Event account(EventReader&, const CFields& in) {
        AccountEvent event;
        paper::Account& to = event.account;
        to.key = in.text("key");
        to.id = in.text("id", to.key);
        to.name = in.text("name", "");
        to.type = in.whole<int>("type", to.type);
        to.broker = in.text("broker", "");
        to.info = in.flag("info", true);
        if (const auto given = in.find("fee")) {
            const CFields fee = given->fields();
            to.fee =
                vexservice::CStkExchangeRateLimit{fee.real("rate", 0), fee.real("minimum", 0),
                                                  fee.real("transfer", 0), fee.real("stamp", 0)};
        }
        return event;
    }

    static Event tradeSetting(EventReader&, const CFields& in) {
        TradeSettingEvent event;
        event.block = in.need("block").whole<int>(1, 2);
        event.priceType =
            static_cast<vexservice::EPriceType>(in.whole<int>("priceType", event.priceType));
        event.price = in.real("price", 0.0);
        return event;
    }

    boost::shared_ptr<vexservice::COrderDetail> orderRecord(const CFields& in) {
        auto order = parser.m_orders.make();
        order->m_nRecordKey = in.whole<std::uint64_t>("key");
        order->m_strMarket = in.text("market");
        order->m_strCode = in.text("code");
        order->m_eDirection = side(in);
        order->m_dPrice = in.real("price");
        order->m_nVolume = in.whole<int>("volume");
        order->m_eStatus = static_cast<vexservice::EEntrustStatus>(in.whole<int>("status"));
        order->m_nTradedVolume = in.whole<int>("traded", 0);
        order->m_dTradedAmount = in.real("amount", 0.0);
        order->m_strSysID = in.text("sysId", "");
        order->m_strRemark = in.text("remark", "");
        order->m_pCommand = parser.carrier(in);
        return order;
    }

    boost::shared_ptr<vexservice::CDealDetail> dealRecord(const CFields& in) {
        auto deal = parser.m_deals.make();
        deal->m_nRecordKey = in.whole<std::uint64_t>("key");
        deal->m_strMarket = in.text("market");
        deal->m_strCode = in.text("code");
        deal->m_eDirection = side(in);
        deal->m_dPrice = in.real("price");
        deal->m_nVolume = in.whole<int>("volume");
        deal->m_dAmount = in.real("amount", deal->m_dPrice * deal->m_nVolume);
        if (const auto number = in.find("dealId")) {
            deal->m_strDealID = number->text();
        } else {
            deal->m_strDealID = deal->getKey();
        }
        deal->m_pCommand = parser.carrier(in);
        deal->m_nOrderKey = in.whole<std::uint64_t>("order", 0);
        return deal;
    }

    static Event order(EventReader& self, const CFields& in) {
        OrderEvent event;
        event.account = in.text("account");
        event.order = self.orderRecord(in);
        if (const auto date = in.find("tradeDate")) {
            event.dated = true;
            event.order->m_strTradeDate = date->text();
        }
        event.push = in.flag("push", true);
        return event;
    }

    static Event deal(EventReader& self, const CFields& in) {
        DealEvent event;
        event.account = in.text("account");
        event.deal = self.dealRecord(in);
        if (const auto date = in.find("tradeDate")) {
            event.dated = true;
            event.deal->m_strTradeDate = date->text();
        }
        if (const auto time = in.find("time")) {
            event.timed = true;
            event.deal->m_strTradeTime = time->text();
        }
        event.push = in.flag("push", true);
        return event;
    }

    static void taskItems(const CFields& in, TaskEvent& event) {
        in.need("items").list().each([&](const CValue& entry) {
            const CFields fields = entry.fields();
            auto item = boost::make_shared<vexservice::CTaskItem>();
            event.accounts.push_back(copied(fields.text("account")));
            item->m_strMarket = fields.text("market");
            item->m_strCode = fields.text("code");
            item->m_nVolume = fields.whole<int>("volume", 0);
            item->m_nTradedVolume = fields.whole<int>("traded", 0);
            event.task->m_items.push_back(item);
        });
    }

    static void taskCommand(const CFields& in, TaskEvent& event) {
        const auto given = in.find("command");
        if (given && given->isNull()) return;
        event.task->m_pCommand = boost::make_shared<vexservice::CCommandRecord>();
        if (!given) return;
        const CFields fields = given->fields();
        vexservice::CCommandRecord& command = *event.task->m_pCommand;
        if (const auto user = fields.find("user")) {
            event.named = true;
            command.m_strUser = user->text();
        }
        command.m_nKind = fields.whole<int>("kind", 0);
        if (const auto date = fields.find("tradeDate")) {
            event.dated = true;
            command.m_strTradeDate = date->text();
        }
        command.m_strStrategyName = fields.text("strategy", "");
        command.m_strStrategyName2 = fields.text("strategy2", "");
        command.m_strTag = fields.text("tag", "");
    }

    static Event task(EventReader&, const CFields& in) {
        TaskEvent event;
        event.task = boost::make_shared<vexservice::CTaskDetail>();
        event.task->m_nRecordKey = in.whole<std::uint64_t>("key");
        event.task->m_eStatus = static_cast<vexservice::ETaskStatus>(in.whole<int>("status"));
        taskItems(in, event);
        taskCommand(in, event);
        event.task->m_bServerTask = in.flag("server", true);
        event.push = in.flag("push", true);
        return event;
    }

    static Event position(EventReader&, const CFields& in) {
        PositionEvent event;
        event.account = in.text("account");
        event.position = boost::make_shared<vexservice::CPositionStatics>();
        vexservice::CPositionStatics& to = *event.position;
        to.m_nRecordKey = in.whole<std::uint64_t>("key");
        to.m_strMarket = in.text("market");
        to.m_strCode = in.text("code");
        to.m_nVolume = in.whole<int>("volume");
        to.m_nAvailable = in.whole<int>("available", 0);
        to.m_dCost = in.real("cost", 0.0);
        event.push = in.flag("push", true);
        return event;
    }

    static Event price(EventReader&, const CFields& in) {
        PriceEvent event;
        event.price = CEventParser::readPrice(in);
        event.stockKey = event.price->m_strStockKey;
        event.push = in.flag("push", true);
        return event;
    }

    static Event bars(EventReader&, const CFields& in) {
        BarsEvent event;
        event.stockKey = stockKey(in);
        event.date = in.need("date").date();
        in.need("closes").list().each([&](const CValue& entry) {
            const CList bar = entry.list(2);
            event.bars.push_back({minuteOf(bar.at(0)), bar.at(1).real()});
        });
        return event;
    }

    static Event serverHistory(EventReader& self, const CFields& in) {
        ServerHistoryEvent event;
        event.account = in.text("account");
        event.date = in.need("date").date();
        if (const auto orders = in.find("orders")) {
            orders->list().each([&](const CValue& entry) {
                auto order = self.orderRecord(entry.fields());
                order->m_strTradeDate = event.date;
                event.day.orders.push_back(order);
            });
        }
        if (const auto deals = in.find("deals")) {
            deals->list().each([&](const CValue& entry) {
                const CFields fields = entry.fields();
                auto deal = self.dealRecord(fields);
                deal->m_strTradeDate = event.date;
                const auto time = fields.find("time");
                if (time) deal->m_strTradeTime = time->text();
                event.timed.push_back(time.has_value());
                event.day.deals.push_back(deal);
            });
        }
        return event;
    }

    static Event advance(EventReader&, const CFields& in) {
        AdvanceEvent event;
        const auto seconds = in.find("seconds");
        const auto to = in.find("to");
        if (seconds && to) throw LineError("\"seconds\" and \"to\" in one line");
        if (!seconds && !to) throw LineError("missing field \"seconds\" or \"to\"");
        if (seconds) event.seconds = seconds->realWithin(0.0, LONGEST_SECONDS);
        if (to) event.to = to->text();
        return event;
    }

    static Event newTradingDate(EventReader&, const CFields& in) {
        NewTradingDateEvent event;
        event.date = in.need("date").date();
        event.signalDate = in.text("signalDate", event.date);
        return event;
    }

    static Event login(EventReader&, const CFields& in) {
        return LoginEvent{in.need("ok").flag(), copied(in.text("text", ""))};
    }

    static Event accountReady(EventReader&, const CFields& in) {
        return AccountReadyEvent{copied(in.text("account"))};
    }

    static Event send(EventReader&, const CFields& in) {
        SendEvent event;
        paper::OrderRequest& order = event.order;
        order.account = in.text("account");
        order.market = in.text("market");
        order.code = in.text("code");
        order.buys = side(in) == vexservice::ENTRUST_BUY;
        order.volume = in.need("volume").whole<int>(1);
        order.price = in.need("price").realFrom(0.0);
        order.strategy = in.text("strategy", "");
        order.tag = in.text("tag", "");
        return event;
    }

    static Event startTask(EventReader&, const CFields& in) {
        StartTaskEvent event;
        paper::TaskRequest& task = event.task;
        task.account = in.text("account");
        task.market = in.text("market");
        task.code = in.text("code");
        task.buys = side(in) == vexservice::ENTRUST_BUY;
        task.volume = in.need("volume").whole<int>(1);
        task.slices = in.need("slices").whole<int>(1);
        task.seconds = in.need("seconds").realWithin(0.0, LONGEST_SECONDS);
        task.strategy = in.text("strategy", "");
        task.server = in.flag("server", true);
        return event;
    }

    static Event commandResult(EventReader&, const CFields& in) {
        return CommandResultEvent{in.need("number").whole<int>(1), copied(in.text("error", ""))};
    }

    static Event reject(EventReader&, const CFields& in) {
        return RejectEvent{copied(in.text("account")), in.need("times").whole<int>(1)};
    }

    static Event silent(EventReader&, const CFields& in) {
        return SilentEvent{in.need("seconds").realWithin(0.0, LONGEST_SECONDS)};
    }

    static Event fault(EventReader&, const CFields& in) {
        FaultEvent event;
        event.service = namedBy(in.need("service"), paper::serviceNamed, "service");
        event.kind = namedBy(in.need("kind"), paper::faultNamed, "kind of fault");
        event.times = in.need("times").whole<int>(1);
        return event;
    }

    static Event disk(EventReader&, const CFields& in) {
        DiskEvent event;
        TC::disk::Fault& fault = event.fault;
        fault.step = namedBy(in.need("step"), stepNamed, "step of the disk");
        fault.after = in.need("after").whole<int>(0);
        fault.error = namedBy(in.need("error"), errorNamed, "error of the disk");
        fault.times = in.need("times").whole<int>(1);
        fault.keeps = in.whole<unsigned>("keeps", 0);
        return event;
    }

    static Event call(EventReader&, const CFields& in) {
        CallEvent event;
        event.op = in.text("op");
        if (const auto args = in.find("args")) {
            args->list();
            event.args = args->json();
        }
        return event;
    }

    static Event file(EventReader&, const CFields& in) {
        return FileEvent{copied(in.text("name"))};
    }

    static Event writeFile(EventReader&, const CFields& in) {
        return WriteFileEvent{copied(in.text("name")), copied(in.text("text"))};
    }

    template <class Plain>
    static Event plain(EventReader&, const CFields&) {
        return Plain{};
    }
};

namespace {

struct Kind {
    std::string_view name;
    Event (*read)(EventReader&, const CFields&);
};

/// In the order of Event's alternatives.
constexpr std::array<Kind, std::variant_size_v<Event>> KINDS = {{
    {"config", EventReader::config},
    {"instrument", EventReader::instrument},
    {"account", EventReader::account},
    {"tradeSetting", EventReader::tradeSetting},
    {"create", EventReader::plain<CreateEvent>},
    {"init", EventReader::plain<InitEvent>},
    {"release", EventReader::plain<ReleaseEvent>},
    {"order", EventReader::order},
    {"deal", EventReader::deal},
    {"task", EventReader::task},
    {"position", EventReader::position},
    {"price", EventReader::price},
    {"bars", EventReader::bars},
    {"serverHistory", EventReader::serverHistory},
    {"advance", EventReader::advance},
    {"newTradingDate", EventReader::newTradingDate},
    {"login", EventReader::login},
    {"accountReady", EventReader::accountReady},
    {"userDataChanged", EventReader::plain<UserDataChangedEvent>},
    {"send", EventReader::send},
    {"startTask", EventReader::startTask},
    {"commandResult", EventReader::commandResult},
    {"reject", EventReader::reject},
    {"silent", EventReader::silent},
    {"fault", EventReader::fault},
    {"disk", EventReader::disk},
    {"crash", EventReader::plain<CrashEvent>},
    {"call", EventReader::call},
    {"file", EventReader::file},
    {"writeFile", EventReader::writeFile},
    {"dump", EventReader::plain<DumpEvent>},
}};

}  // namespace

std::string_view eventName(const Event& event) { return KINDS[event.index()].name; }

boost::shared_ptr<vexservice::CCommandRecord> CEventParser::carrier(const CFields& fields) {
    const auto strategy = fields.find("strategy");
    const auto strategy2 = fields.find("strategy2");
    const auto tag = fields.find("tag");
    const int command = wholeFrom(fields, "command", 0);
    if (!strategy && !strategy2 && !tag && command == 0) return {};
    const auto textOf = [](const std::optional<CValue>& value) {
        return value ? value->text() : std::string_view();
    };
    const std::tuple key(textOf(strategy), textOf(strategy2), textOf(tag), command);
    if (const auto known = m_carriers.find(key); known != m_carriers.end()) return known->second;
    auto made = boost::make_shared<vexservice::CCommandRecord>();
    made->m_strStrategyName = std::get<0>(key);
    made->m_strStrategyName2 = std::get<1>(key);
    made->m_strTag = std::get<2>(key);
    made->m_nCommand = command;
    if (m_carriers.size() >= KEPT_CARRIERS) m_carriers.clear();
    m_carriers.emplace(CarrierKey(key), made);
    return made;
}

boost::shared_ptr<vexservice::CPriceData> CEventParser::readPrice(const CFields& fields) {
    auto price = boost::make_shared<vexservice::CPriceData>();
    price->m_strStockKey = stockKey(fields);
    const CValue last = fields.need("last");
    if (!last.isNull()) price->m_dLastPrice = last.real();
    price->m_asks = bookSide(fields, "asks");
    price->m_bids = bookSide(fields, "bids");
    return price;
}

Event CEventParser::parse(std::string_view line) { return parse(parseLine(m_parser, line)); }

Event CEventParser::parse(const CFields& fields) {
    const CValue kind = fields.need("do");
    const std::string_view name = kind.text();
    EventReader reader{*this};
    for (const Kind& known : KINDS) {
        if (known.name == name) return known.read(reader, fields);
    }
    throw LineError("unknown \"do\": \"" + copied(name) + "\"");
}

std::string CEventParser::minified() const { return simdjson::minify(m_parser.doc.root()); }

std::size_t parseScenario(const std::string& path) {
    CLineReader reader(path);
    CEventParser parser;
    std::string_view line;
    std::size_t count = 0;
    while (reader.next(line)) {
        parser.parse(line);
        ++count;
    }
    return count;
}

}  // namespace replay
