#pragma once

#include "adaptercheck/program/paperadapter.h"
#include "platform/records/taskdetail.h"
#include "platform/services/dovcommandcenter.h"
#include "platform/services/orderrules.h"
#include "platform/services/rpcengine.h"
#include "platform/services/stockmanager.h"
#include "platform/services/tradeclient.h"
#include "platform/services/tradercenter.h"

#include <mongo/bson/bson.h>

#include <boost/make_shared.hpp>

#include <optional>

/// Services that do as the paper client's do, but for one fault.
namespace faulty {

using namespace vexservice;
using RecordPtr = boost::shared_ptr<IData>;
using Records = std::vector<RecordPtr>;

/// The paper client, with a fault put on when it is installed, or in one of its verbs.
struct Adapter : adaptercheck::CPaperAdapter {
    using Base = adaptercheck::CPaperAdapter;
    using Base::client;
    using Base::loop;

    void install() override {
        Base::install();
        if (onInstall) onInstall(*this);
    }
    void remove() override {
        Base::remove();
        if (onRemove) onRemove();
    }
    bool hold(int volume) override { return onHold ? onHold(*this) : Base::hold(volume); }
    bool disconnect() override { return onDisconnect ? onDisconnect(*this) : Base::disconnect(); }
    bool settle() override { return onSettle ? onSettle(*this) : Base::settle(); }
    bool login() override { return onLogin ? onLogin(*this) : Base::login(); }
    bool change(adaptercheck::EReferenceData what) override {
        return onChange ? onChange() : Base::change(what);
    }
    bool beginTradingDate(const std::string& date) override {
        return onDate ? onDate(date) : Base::beginTradingDate(date);
    }

    std::function<void(Adapter&)> onInstall;
    std::function<void()> onRemove;
    std::function<bool(Adapter&)> onHold, onLogin, onDisconnect, onSettle;
    std::function<bool()> onChange;
    std::function<bool(const std::string&)> onDate;
};

struct AccountData : CAccountData {
    boost::shared_ptr<CAccountData> real;
    std::function<void(int type, Records&)> records;
    std::function<boost::shared_ptr<CAccountInfo>(boost::shared_ptr<CAccountInfo>)> info;

    std::string getKey() const override { return real->getKey(); }
    boost::shared_ptr<CAccountInfo> getAccountInfo() const override {
        return info ? info(real->getAccountInfo()) : real->getAccountInfo();
    }
    void getVector(int type, Records& all) const override {
        Records own;
        real->getVector(type, own);
        if (records) records(type, own);
        all.insert(all.end(), own.begin(), own.end());
    }
};

struct Center : TraderCenter, IDataCenter {
    IDataCenter* real = TraderCenter::instance()->getDataCenter();
    ITaskCenter* tasks = TraderCenter::instance()->getTaskCenter();
    IFeeLimitService* fees = TraderCenter::instance()->getFeeLimitService();
    std::function<void(std::vector<boost::shared_ptr<CAccountData>>&)> accounts;
    std::function<void(std::uint64_t hash, boost::shared_ptr<CAccountData>&)> account;
    std::function<void(int type, Records&)> records;
    std::function<boost::shared_ptr<CAccountInfo>(boost::shared_ptr<CAccountInfo>)> info;
    std::function<std::string(std::string)> date;
    std::function<Callback(int type, Callback)> callback;
    /// Sees the terms of a subscription before it is made, and its connection afterwards.
    std::function<void(std::string& key, int& type)> subscribing;
    std::function<void(boost::signals2::connection&, const std::string& key, int type,
                       const Callback&)>
        subscribed;

    IDataCenter* getDataCenter() override { return this; }
    ITaskCenter* getTaskCenter() override { return tasks; }
    IFeeLimitService* getFeeLimitService() override { return fees; }

    void getAllAccountData(std::vector<boost::shared_ptr<CAccountData>>& all) const override {
        real->getAllAccountData(all);
        if (accounts) accounts(all);
    }
    boost::shared_ptr<CAccountData> getAccountData(std::uint64_t hash) const override {
        auto data = real->getAccountData(hash);
        if (account) account(hash, data);
        if (!data) return data;
        const auto own = boost::make_shared<AccountData>();
        own->real = data;
        own->records = records;
        own->info = info;
        return own;
    }
    boost::shared_ptr<CAccountData> getGlobalAccountData() const override {
        return real->getGlobalAccountData();
    }
    std::string getTradingDate() const override {
        return date ? date(real->getTradingDate()) : real->getTradingDate();
    }
    boost::signals2::connection subscribe(const std::string& key, int type,
                                          const std::string& filter,
                                          const Callback& heard) override {
        std::string whose = key;
        int what = type;
        if (subscribing) subscribing(whose, what);
        auto connection =
            real->subscribe(whose, what, filter, callback ? callback(type, heard) : heard);
        if (subscribed) subscribed(connection, key, type, heard);
        return connection;
    }
};

struct Commands : TC::CDovCommandCenter {
    using Completion = boost::function<void(utils::VexError, int)>;
    TC::CDovCommandCenter* real = utils::CSingletonT<TC::CDovCommandCenter>::instance();
    std::function<void(COrderComandParam&, Completion&)> command;
    bool operates = true;

    void createCommand(const boost::shared_ptr<COrderComandParam>& sent,
                       const Completion& completion, bool checked, int source) override {
        Completion told = completion;
        if (command) command(*sent, told);
        real->createCommand(sent, told, checked, source);
    }
    void operateServerTask(
        const std::string& key, const boost::shared_ptr<CTaskOpRecord>& record,
        const boost::shared_ptr<CAccountInfo>& account,
        const boost::function<void(const utils::VexError&, bson::BSONObj)>& completion) override {
        if (operates) real->operateServerTask(key, record, account, completion);
    }
};

struct Trade : TC::CTradeClient {
    TC::CTradeClient* real = utils::CManualSingletonT<TC::CTradeClient>::instance();
    bool tellsAccounts = true;
    /// Gives the result, or nothing to have the paper client's.
    std::function<std::optional<bool>(const boost::shared_ptr<COrderDetail>&)> cancel;
    bool saysWhy = true;
    std::function<void(utils::VexError&, std::size_t records, int& times)> answered;
    bool foreignDay = false;

    Trade() {
        QObject::connect(real, &TC::CTradeClient::sigInitedAccountData, this,
                         [this](const CAccountInfo& info) {
                             if (tellsAccounts) Q_EMIT sigInitedAccountData(info);
                         });
    }
    bool cancelOrder(const boost::shared_ptr<COrderDetail>& order, QString& error, int batch,
                     QString remark, const boost::shared_ptr<TC::COrderAuxInfo>& aux) override {
        if (cancel) {
            if (const auto result = cancel(order)) return *result;
        }
        const bool sent = real->cancelOrder(order, error, batch, remark, aux);
        if (!saysWhy) error.clear();
        return sent;
    }
    template <class Record>
    auto through(
        const boost::function<void(const utils::VexError&,
                                   const std::vector<boost::shared_ptr<Record>>&)>& answer) const {
        return [answered = answered, foreign = foreignDay, answer](utils::VexError error,
                                                                   auto records) {
            int times = 1;
            if (answered) answered(error, records.size(), times);
            if (foreign && !records.empty()) {
                records.push_back(boost::make_shared<Record>(*records.front()));
                records.back()->m_strTradeDate = "20231228";
            }
            while (times-- > 0) answer(error, records);
        };
    }
    void queryHistoryOrders(const std::string& key, const std::string& day,
                            const OrdersAnswer& answer) override {
        real->queryHistoryOrders(key, day, through<COrderDetail>(answer));
    }
    void queryHistoryDeals(const std::string& key, const std::string& day,
                           const DealsAnswer& answer) override {
        real->queryHistoryDeals(key, day, through<CDealDetail>(answer));
    }
};

struct Quotes : TC::CQuoteClient {
    using PricePtr = boost::shared_ptr<CPriceData>;
    TC::CQuoteClient* real = utils::CManualSingletonT<TC::CQuoteClient>::instance();
    std::function<PricePtr(PricePtr)> price;
    std::function<TC::CQuoteRequest::Callback(const QString&, TC::CQuoteRequest::Callback)>
        callback;
    std::function<void(boost::shared_ptr<TC::CQuoteRequest>&)> requested;
    std::function<void(std::vector<TC::CMinuteBar>&)> bars;

    PricePtr getStockPrice(const QString& key) override {
        return price ? price(real->getStockPrice(key)) : real->getStockPrice(key);
    }
    boost::shared_ptr<TC::CQuoteRequest> request(
        const QString& key, const TC::CQuoteRequest::Callback& heard) override {
        auto request = real->request(key, callback ? callback(key, heard) : heard);
        if (requested) requested(request);
        return request;
    }
    void queryMinuteBars(const QString& key, const std::string& day,
                         const BarsAnswer& answer) override {
        real->queryMinuteBars(key, day, [bars = bars, answer](std::vector<TC::CMinuteBar> all) {
            if (bars) bars(all);
            answer(all);
        });
    }
};

}  // namespace faulty
