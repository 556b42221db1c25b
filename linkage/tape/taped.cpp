#include "linkage/tape/taped.h"

#include "linkage/tape/step.h"
#include "platform/utils/text.h"

#include <mongo/bson/bson.h>

#include <boost/make_shared.hpp>

#include <optional>

namespace TC {

namespace taped {

using namespace vexservice;
using utils::CManualSingletonT;
using utils::CSingletonT;

/// Puts a question of the step in hand; `work` asks the installed service.
template <class Work>
TapeAnswer ask(const char* name, std::string about, const Work& work) {
    CStep* const step = CStep::current();
    if (!step) return work();
    const CStep::COutside outside(step);
    return step->tape().asks(*step, step->nextCall(), {name, std::move(about)}, work);
}

void act(const TapeMark& mark) {
    if (CStep* const step = CStep::current()) step->tape().acts(*step, mark);
}

/// What is wanted of an answer; nothing when the answer is another.
template <class Wanted>
Wanted wanted(const TapeAnswer& answer) {
    const auto* const found = std::get_if<Wanted>(&answer);
    return found ? *found : Wanted();
}

/// The question whether a call goes well; it answers nothing.
template <class Work>
void tell(const char* name, std::string about, const Work& work) {
    ask(name, std::move(about), [&] {
        work();
        return TapeAnswer();
    });
}

template <class Part>
Part& part(Part* there, const char* name) {
    if (there) return *there;
    throw utils::ServiceMissing(std::string("vexservice::TraderCenter: ") + name + " is missing");
}

std::string joined(const std::string& left, const std::string& right) { return left + ' ' + right; }

class Account final : public CAccountData {
public:
    Account(std::string key, boost::shared_ptr<CAccountData> real)
        : m_strKey(std::move(key)), m_pReal(std::move(real)) {}

    std::string getKey() const override { return m_strKey; }
    boost::shared_ptr<CAccountInfo> getAccountInfo() const override {
        return wanted<boost::shared_ptr<CAccountInfo>>(
            ask("info", m_strKey, [&] { return TapeAnswer(m_pReal->getAccountInfo()); }));
    }
    void getVector(int type, std::vector<boost::shared_ptr<IData>>& records) const override {
        using Records = std::vector<boost::shared_ptr<const IData>>;
        const auto answer = ask("records", joined(std::to_string(type), m_strKey), [&] {
            std::vector<boost::shared_ptr<IData>> found;
            m_pReal->getVector(type, found);
            return TapeAnswer(Records(found.begin(), found.end()));
        });
        for (const auto& record : wanted<Records>(answer)) {
            records.push_back(boost::const_pointer_cast<IData>(record));
        }
    }

private:
    const std::string m_strKey;
    const boost::shared_ptr<CAccountData> m_pReal;
};

struct DataCenter final : IDataCenter {
    static IDataCenter& real() {
        return part(TraderCenter::instance()->getDataCenter(), "a data center");
    }

    void getAllAccountData(std::vector<boost::shared_ptr<CAccountData>>& all) const override {
        std::vector<boost::shared_ptr<CAccountData>> found;
        const auto answer = ask("accounts", {}, [&] {
            real().getAllAccountData(found);
            std::erase(found, nullptr);
            std::vector<std::string> keys;
            keys.reserve(found.size());
            for (const auto& account : found) keys.push_back(account->getKey());
            return TapeAnswer(std::move(keys));
        });
        std::size_t at = 0;
        for (const std::string& key : wanted<std::vector<std::string>>(answer)) {
            const auto behind = at < found.size() ? found[at++] : nullptr;
            all.push_back(boost::make_shared<Account>(key, behind));
        }
    }
    boost::shared_ptr<CAccountData> getAccountData(std::uint64_t hash) const override {
        return one("account", std::to_string(hash), [&] { return real().getAccountData(hash); });
    }
    boost::shared_ptr<CAccountData> getGlobalAccountData() const override {
        return one("taskData", {}, [&] { return real().getGlobalAccountData(); });
    }
    std::string getTradingDate() const override {
        return wanted<std::string>(
            ask("tradingDate", {}, [&] { return TapeAnswer(real().getTradingDate()); }));
    }
    boost::signals2::connection subscribe(const std::string& key, int type,
                                          const std::string& filter,
                                          const Callback& heard) override {
        boost::signals2::connection connection;
        tell("subscribe", joined(std::to_string(type), key),
             [&] { connection = real().subscribe(key, type, filter, heard); });
        return connection;
    }

private:
    template <class Find>
    static boost::shared_ptr<CAccountData> one(const char* name, std::string about,
                                               const Find& find) {
        boost::shared_ptr<CAccountData> found;
        const auto answer = ask(name, std::move(about), [&] {
            found = find();
            return found ? TapeAnswer(found->getKey()) : TapeAnswer();
        });
        const auto* const key = std::get_if<std::string>(&answer);
        if (!key) return {};
        return boost::make_shared<Account>(*key, std::move(found));
    }
};

class Handler final : public ITaskHandler {
public:
    Handler(std::uint64_t number, boost::shared_ptr<ITaskHandler> real)
        : m_nNumber(number), m_pReal(std::move(real)) {}

    void operate(const boost::shared_ptr<CTaskOpRecord>& record) override {
        act(OperateMark{std::to_string(m_nNumber), false, record});
        tell("operate", std::to_string(m_nNumber), [&] { m_pReal->operate(record); });
    }

private:
    const std::uint64_t m_nNumber;
    const boost::shared_ptr<ITaskHandler> m_pReal;
};

struct TaskCenter final : ITaskCenter {
    boost::shared_ptr<ITaskHandler> getTaskHandler(std::uint64_t number) override {
        boost::shared_ptr<ITaskHandler> found;
        const auto answer = ask("taskHandler", std::to_string(number), [&] {
            found = part(TraderCenter::instance()->getTaskCenter(), "a task center")
                        .getTaskHandler(number);
            return TapeAnswer(found != nullptr);
        });
        if (!wanted<bool>(answer)) return {};
        return boost::make_shared<Handler>(number, std::move(found));
    }
};

struct Fees final : IFeeLimitService {
    boost::shared_ptr<CStkExchangeRateLimit> getFeeLimits(
        const boost::shared_ptr<CAccountInfo>& account, const std::string& market,
        const std::string& code) override {
        const std::string key = account ? account->getKey() : std::string();
        return wanted<boost::shared_ptr<CStkExchangeRateLimit>>(
            ask("fee", joined(market + code, key), [&] {
                return TapeAnswer(part(TraderCenter::instance()->getFeeLimitService(), "fee limits")
                                      .getFeeLimits(account, market, code));
            }));
    }
};

struct Stocks final : CStockManager {
    std::shared_ptr<CInstrumentDetail> getInstrumentDetail(const QString& key) override {
        return wanted<std::shared_ptr<CInstrumentDetail>>(ask("instrument", key.toStdString(), [&] {
            return TapeAnswer(CSingletonT<CStockManager>::instance()->getInstrumentDetail(key));
        }));
    }
};

struct Types final : StockTypeCenter {
    bool isTypedStock(int type, const std::string& market, const std::string& code) override {
        return wanted<bool>(ask("typed", joined(std::to_string(type), market + code), [&] {
            return TapeAnswer(
                CSingletonT<StockTypeCenter>::instance()->isTypedStock(type, market, code));
        }));
    }
    int tradeMinUnit(const std::string& market, const std::string& code) override {
        return static_cast<int>(wanted<std::int64_t>(ask("lot", market + code, [&] {
            return TapeAnswer(
                std::int64_t{CSingletonT<StockTypeCenter>::instance()->tradeMinUnit(market, code)});
        })));
    }
};

/// An order comes back as the rules left it.
struct Rules final : IOrderRules, ConfigCollector {
    void orderSettingToParam(const COrderSetting& setting, CCodeOrderParam& order,
                             EOperationType operation, int volume, double price,
                             const boost::shared_ptr<CPriceData>& quote) override {
        change("orderSetting", order, [&](CCodeOrderParam& changed) {
            CSingletonT<IOrderRules>::instance()->orderSettingToParam(setting, changed, operation,
                                                                      volume, price, quote);
        });
    }
    double getPriceForOrder(const boost::shared_ptr<CPriceData>& quote, EPriceType type,
                            EOperationType operation) override {
        const std::string key = quote ? quote->m_strStockKey : std::string();
        return wanted<double>(ask("orderPrice", joined(std::to_string(type), key), [&] {
            return TapeAnswer(
                CSingletonT<IOrderRules>::instance()->getPriceForOrder(quote, type, operation));
        }));
    }
    void fixTimeRange(CCodeOrderParam& order) override {
        change("timeRange", order, [&](CCodeOrderParam& changed) {
            CSingletonT<IOrderRules>::instance()->fixTimeRange(changed);
        });
    }
    bool useRegistRules() override {
        return wanted<bool>(ask("registRules", {}, [&] {
            return TapeAnswer(CSingletonT<ConfigCollector>::instance()->useRegistRules());
        }));
    }

private:
    template <class Work>
    static void change(const char* name, CCodeOrderParam& order, const Work& work) {
        // What the library has decided so far is in the question, so that the answer to another
        // decision does not cover it.
        const char* const side = order.m_eOperationType == OPT_BUY ? "buy" : "sell";
        const std::string about = joined(joined(side, std::to_string(order.m_nVolume)),
                                         order.m_stock.m_strMarket + order.m_stock.m_strCode);
        const auto answer = ask(name, about, [&] {
            CCodeOrderParam changed = order;
            work(changed);
            return TapeAnswer(std::move(changed));
        });
        if (const auto* const changed = std::get_if<CCodeOrderParam>(&answer)) {
            order.m_nVolume = changed->m_nVolume;
            order.m_ePriceType = changed->m_ePriceType;
            order.m_dPrice = changed->m_dPrice;
            order.m_nValidFrom = changed->m_nValidFrom;
            order.m_nValidTo = changed->m_nValidTo;
        }
    }
};

struct Quotes final : CQuoteClient {
    static CQuoteClient& real() { return *CManualSingletonT<CQuoteClient>::instance(); }

    boost::shared_ptr<CPriceData> getStockPrice(const QString& key) override {
        CStep* const step = CStep::current();
        if (!step) return real().getStockPrice(key);
        const CStep::COutside outside(step);
        return step->tape().asksPrice(*step, step->nextCall(), key,
                                      [&] { return real().getStockPrice(key); });
    }
    boost::shared_ptr<CQuoteRequest> request(const QString& key,
                                             const CQuoteRequest::Callback& heard) override {
        boost::shared_ptr<CQuoteRequest> found;
        const auto answer = ask("quotes", key.toStdString(), [&] {
            found = real().request(key, heard);
            return TapeAnswer(found != nullptr);
        });
        if (!wanted<bool>(answer)) return {};
        return found ? found : silentSubscription();
    }
    void queryMinuteBars(const QString& key, const std::string& day,
                         const BarsAnswer& answer) override {
        tell("bars", joined(day, key.toStdString()),
             [&] { real().queryMinuteBars(key, day, answer); });
    }
};

struct Commands final : CDovCommandCenter {
    static CDovCommandCenter& real() { return *CSingletonT<CDovCommandCenter>::instance(); }

    void createCommand(const boost::shared_ptr<COrderComandParam>& command,
                       const boost::function<void(utils::VexError, int)>& completion, bool checked,
                       int source) override {
        act(CommandMark{command});
        tell("command", {}, [&] { real().createCommand(command, completion, checked, source); });
    }
    void operateServerTask(
        const std::string& key, const boost::shared_ptr<CTaskOpRecord>& record,
        const boost::shared_ptr<CAccountInfo>& account,
        const boost::function<void(const utils::VexError&, mongo::BSONObj)>& completion) override {
        act(OperateMark{key, true, record});
        tell("operate", key, [&] { real().operateServerTask(key, record, account, completion); });
    }
};

struct Trade final : CTradeClient {
    static CTradeClient& real() { return *CManualSingletonT<CTradeClient>::instance(); }

    bool cancelOrder(const boost::shared_ptr<COrderDetail>& order, QString& error, int batch,
                     QString remark, const boost::shared_ptr<COrderAuxInfo>& aux) override {
        act(CancelMark{order});
        return wanted<bool>(ask("cancel", order->getKey(), [&] {
            return TapeAnswer(real().cancelOrder(order, error, batch, remark, aux));
        }));
    }
    void queryHistoryOrders(const std::string& key, const std::string& day,
                            const OrdersAnswer& answer) override {
        tell("historyOrders", joined(day, key),
             [&] { real().queryHistoryOrders(key, day, answer); });
    }
    void queryHistoryDeals(const std::string& key, const std::string& day,
                           const DealsAnswer& answer) override {
        tell("historyDeals", joined(day, key), [&] { real().queryHistoryDeals(key, day, answer); });
    }
};

struct User final : CUserConfig {
    QString getUserDataString(EUserMember member) const override {
        return Pim::sToQs(wanted<std::string>(ask("userText", std::to_string(member), [&] {
            return TapeAnswer(getUserConfig()->getUserDataString(member).toStdString());
        })));
    }
    double getUserDataDouble(EUserMember member) const override {
        return wanted<double>(ask("userNumber", std::to_string(member), [&] {
            return TapeAnswer(getUserConfig()->getUserDataDouble(member));
        }));
    }
    /// The block of the trade settings, the only one that the library asks for. It stands until
    /// the thread asks again.
    const void* getUserDataAddress(EUserMember member) const override {
        thread_local CTradeSetting setting;
        const auto answer = ask("tradeSetting", std::to_string(member), [&] {
            const void* const block = getUserConfig()->getUserDataAddress(member);
            return block ? TapeAnswer(CTradeSetting(block)) : TapeAnswer();
        });
        const auto* const found = std::get_if<CTradeSetting>(&answer);
        if (!found) return nullptr;
        setting = *found;
        return &setting;
    }
};

struct Time final : CTimeService {
    std::int64_t currentTime() const override {
        return wanted<std::int64_t>(
            ask("time", {}, [&] { return TapeAnswer(getTimeService()->currentTime()); }));
    }
};

struct Calendar final : marlo::IMarketCalendar {
    std::int64_t lastTradeDate(const std::string& market) const override {
        return wanted<std::int64_t>(ask("lastTradeDate", market, [&] {
            return TapeAnswer(std::int64_t{marlo::getMarketLastTradeDate(market)});
        }));
    }
    std::optional<bool> isTradingDay(const std::string& market,
                                     const std::string& day) const override {
        const auto answer = ask("tradingDay", joined(market, day), [&] {
            const auto trades = marlo::isMarketTradingDay(market, day);
            return trades ? TapeAnswer(*trades) : TapeAnswer();
        });
        const auto* const found = std::get_if<bool>(&answer);
        return found ? std::optional(*found) : std::nullopt;
    }
};

}  // namespace taped

ITape::PricePtr ITape::asksPrice(CStep& step, unsigned call, const QString& key,
                                 const std::function<PricePtr()>& work) {
    return taped::wanted<PricePtr>(
        asks(step, call, {"price", key.toStdString()}, [&] { return TapeAnswer(work()); }));
}

struct CTapedClient::Services {
    taped::DataCenter data;
    taped::TaskCenter tasks;
    taped::Fees fees;
    taped::Stocks stocks;
    taped::Types types;
    taped::Rules rules;
    taped::Quotes quotes;
    taped::Commands commands;
    taped::Trade trade;
    taped::User user;
    taped::Time time;
    taped::Calendar calendar;
};

boost::shared_ptr<CQuoteRequest> silentSubscription() {
    struct Silent final : CQuoteRequest {};
    return boost::make_shared<Silent>();
}

CTapedClient::CTapedClient() : m_pServices(std::make_unique<Services>()) {}
CTapedClient::~CTapedClient() = default;

TapedServices CTapedClient::services() const {
    Services& all = *m_pServices;
    return {&all.data,  &all.tasks, &all.fees,    &all.stocks,   &all.types,
            &all.rules, &all.rules, &all.quotes,  &all.commands, &all.trade,
            &all.user,  &all.time,  &all.calendar};
}

}  // namespace TC
