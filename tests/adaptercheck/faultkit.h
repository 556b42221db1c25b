#pragma once

#include "tests/adaptercheck/faults.h"

/// Ways to put one fault on the paper client.
namespace faulty {

using utils::CManualSingletonT;
using utils::CSingletonT;

inline std::unique_ptr<Adapter> adapter() { return std::make_unique<Adapter>(); }

/// An adapter on whose services `change` puts a fault when they are installed.
template <class Change>
adaptercheck::Factory with(Change change) {
    return [change] {
        auto made = adapter();
        made->onInstall = [change](Adapter& at) { change(at); };
        return made;
    };
}

inline adaptercheck::Factory center(std::function<void(Center&)> change) {
    return with([change](Adapter&) {
        const auto service = boost::make_shared<Center>();
        change(*service);
        TraderCenter::install(service);
    });
}
inline adaptercheck::Factory commands(std::function<void(Commands&, Adapter&)> change) {
    return with([change](Adapter& at) {
        const auto service = boost::make_shared<Commands>();
        change(*service, at);
        CSingletonT<TC::CDovCommandCenter>::install(service);
    });
}
inline adaptercheck::Factory trade(std::function<void(Trade&, Adapter&)> change) {
    return with([change](Adapter& at) {
        const auto service = boost::make_shared<Trade>();
        change(*service, at);
        CManualSingletonT<TC::CTradeClient>::install(service);
    });
}
inline adaptercheck::Factory quotes(std::function<void(Quotes&)> change) {
    return with([change](Adapter&) {
        const auto service = boost::make_shared<Quotes>();
        change(*service);
        CManualSingletonT<TC::CQuoteClient>::install(service);
    });
}

/// Every record of one class is handed out and announced with a change.
template <class Record, class Change>
adaptercheck::Factory records(Change change) {
    return center([change](Center& service) {
        const auto changed = [change](const RecordPtr& record) -> RecordPtr {
            const auto right = boost::dynamic_pointer_cast<Record>(record);
            if (!right) return record;
            const auto copy = boost::make_shared<Record>(*right);
            change(*copy);
            return copy;
        };
        service.records = [changed](int, Records& all) {
            std::transform(all.begin(), all.end(), all.begin(), changed);
        };
        service.callback = [changed](int, IDataCenter::Callback heard) {
            return [=](const std::string& key, const RecordPtr& record) {
                heard(key, changed(record));
            };
        };
    });
}
/// Every order's carrier has a change.
template <class Change>
adaptercheck::Factory carriers(Change change) {
    return records<COrderDetail>([change](COrderDetail& order) {
        if (!order.m_pCommand) return;
        order.m_pCommand = boost::make_shared<CCommandRecord>(*order.m_pCommand);
        change(*order.m_pCommand);
    });
}
/// The news of one type come in another way.
inline adaptercheck::Factory news(
    int type, std::function<void(const IDataCenter::Callback&, const std::string&,
                                 const boost::shared_ptr<COrderDetail>&)>
                  deliver) {
    return center([=](Center& service) {
        service.callback = [=](int what, IDataCenter::Callback heard) -> IDataCenter::Callback {
            if (what != type) return heard;
            return [=](const std::string& key, const RecordPtr& record) {
                deliver(heard, key, boost::dynamic_pointer_cast<COrderDetail>(record));
            };
        };
    });
}

inline bool isFinal(const COrderDetail& order) { return !isRunningStatus(order.m_eStatus); }

template <class Service, class Change>
adaptercheck::Factory service(Change change) {
    return with([change](Adapter& at) {
        const auto made = boost::make_shared<Service>();
        change(*made, at);
        using Base = typename Service::Installs;
        CSingletonT<Base>::install(made);
    });
}
template <class Base, class Service>
struct As : Service {
    using Installs = Base;
};
inline constexpr auto nothing = [](auto&, Adapter&) {};

}  // namespace faulty
