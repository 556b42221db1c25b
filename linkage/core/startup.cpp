#include "linkage/core/startup.h"

#include "linkage/core/startcheck.h"
#include "platform/services/clientconfig.h"
#include "platform/services/connections.h"
#include "platform/services/dovcommandcenter.h"
#include "platform/services/orderrules.h"
#include "platform/services/quoteclient.h"
#include "platform/services/rpcengine.h"
#include "platform/services/stockmanager.h"
#include "platform/services/tradeclient.h"
#include "platform/services/tradercenter.h"

#include <QAbstractEventDispatcher>
#include <QThread>

#include <algorithm>

namespace TC {

namespace {

using ENeed = MissingService::ENeed;
template <class Service>
using Single = utils::CSingletonT<Service>;
template <class Service>
using Manual = utils::CManualSingletonT<Service>;

struct Row {
    const char* name;
    const char* consequence;
    ENeed need;
    bool (*exists)();
};

const Row SERVICES[] = {
    {"TC::CAppConfig", "the kind of client is not known", ENeed::Instance,
     &Single<CAppConfig>::exists},
    {"TC::IDataDirectory", "files have no place", ENeed::Instance, &Single<IDataDirectory>::exists},
    {"vexservice::TraderCenter", "no account, order or deal is known", ENeed::Init,
     &Single<vexservice::TraderCenter>::exists},
    {"net::RPCEngine", "no report is handled and no timer runs", ENeed::Init,
     &Single<net::RPCEngine>::exists},
    {"TC::CUserConfig", "the user's name, limits and trade settings are not known", ENeed::Init,
     &Single<CUserConfig>::exists},
    {"TC::CTradeClient", "no order is cancelled and no past day is asked for", ENeed::Init,
     &Manual<CTradeClient>::exists},
    {"TC::CExchangeClient", "a new trade date is not noticed", ENeed::Init,
     &Manual<CExchangeClient>::exists},
    {"marlo::IMarketCalendar", "the trade date is not known where the data center does not tell it",
     ENeed::Later, &Single<marlo::IMarketCalendar>::exists},
    {"TC::CProxyClient", "a new login is not noticed", ENeed::Later, &Single<CProxyClient>::exists},
    {"TC::CQuoteClient", "deals have no price, profits do not follow, nothing is balanced",
     ENeed::Later, &Manual<CQuoteClient>::exists},
    {"TC::CStockManager", "no order is taken in and nothing is balanced", ENeed::Later,
     &Single<CStockManager>::exists},
    {"vexservice::StockTypeCenter", "no order or deal is taken in", ENeed::Later,
     &Single<vexservice::StockTypeCenter>::exists},
    {"vexservice::IOrderRules", "nothing is balanced", ENeed::Later,
     &Single<vexservice::IOrderRules>::exists},
    {"vexservice::ConfigCollector", "nothing is balanced", ENeed::Later,
     &Single<vexservice::ConfigCollector>::exists},
    {"TC::CDovCommandCenter", "nothing is sent, and no task is ended", ENeed::Later,
     &Single<CDovCommandCenter>::exists},
    {"TC::CTimeService", "no task is ended", ENeed::Later, &Single<CTimeService>::exists},
};

/// Client type 3 has its trade date from the calendar alone.
ENeed needOf(const Row& row) {
    if (row.exists != &Single<marlo::IMarketCalendar>::exists || !Single<CAppConfig>::exists())
        return row.need;
    return Single<CAppConfig>::instance()->isClientType(CLIENT_TYPE_3) ? ENeed::Init : row.need;
}

/// False also when a service throws.
template <class Work>
bool holds(const Work& work) noexcept {
    try {
        return work();
    } catch (...) {
        return false;
    }
}

}  // namespace

std::vector<MissingService> checkStart(const QThread* thread, Strand& strand) {
    std::vector<MissingService> missing;
    const auto part = [&](const char* name, const char* consequence, bool there,
                          ENeed need = ENeed::Init) {
        if (!there) missing.push_back({name, consequence, need});
    };
    for (const Row& row : SERVICES) {
        if (!row.exists()) missing.push_back({row.name, row.consequence, needOf(row)});
    }
    if (Single<vexservice::TraderCenter>::exists()) {
        vexservice::TraderCenter& center = *vexservice::TraderCenter::instance();
        part("vexservice::TraderCenter: a data center", "no account, order or deal is known",
             holds([&] { return center.getDataCenter() != nullptr; }));
        part("vexservice::TraderCenter: a task center", "no task of the client is ended",
             holds([&] { return center.getTaskCenter() != nullptr; }));
        part("vexservice::TraderCenter: fee limits", "no commission is known",
             holds([&] { return center.getFeeLimitService() != nullptr; }));
    }
    if (Single<net::RPCEngine>::exists()) {
        part("net::RPCEngine: a strand", "no report is handled and no timer runs", holds([&] {
                 strand = Single<net::RPCEngine>::instance()->getStrand("linkage");
                 return strand != nullptr;
             }));
    }
    // The thread may begin to run one later, so this cannot keep the manager from beginning.
    part("an event loop on the manager's thread",
         "logins, new trade dates and accounts that become ready are not noticed",
         QAbstractEventDispatcher::instance(const_cast<QThread*>(thread)) != nullptr, ENeed::Later);
    std::stable_sort(missing.begin(), missing.end(),
                     [](const auto& left, const auto& right) { return left.need < right.need; });
    return missing;
}

std::vector<MissingService> missingServices() {
    Strand strand;
    return checkStart(QThread::currentThread(), strand);
}

std::string textOf(const std::vector<MissingService>& missing) {
    std::string text;
    for (const MissingService& each : missing) {
        text += (text.empty() ? "" : "; ") + each.name + " (without it " + each.consequence + ")";
    }
    return text;
}

bool canBeMade() {
    return std::all_of(std::begin(SERVICES), std::end(SERVICES),
                       [](const Row& row) { return row.need != ENeed::Instance || row.exists(); });
}

bool canBegin(const std::vector<MissingService>& missing) {
    return std::all_of(missing.begin(), missing.end(),
                       [](const MissingService& each) { return each.need == ENeed::Later; });
}

}  // namespace TC
