#include "linkage/core/startup.h"
#include "platform/services/clientconfig.h"
#include "platform/services/dovcommandcenter.h"
#include "platform/services/orderrules.h"
#include "platform/services/quoteclient.h"
#include "platform/services/rpcengine.h"
#include "platform/services/stockmanager.h"
#include "platform/services/tradercenter.h"
#include "tests/support/fixture.h"

#include <QEventLoop>

#include <boost/make_shared.hpp>

#include <cstring>
#include <memory>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

// A client whose start is not complete: it learns all of what is missing, and can go on.

namespace {

using namespace tests;
using Manager = utils::CSingletonT<TC::CLinkageManager>;

/// The paper client once more, which brings every service back. It goes after the manager.
struct Completed {
    explicit Completed(Fixture& fixture) {
        paper::ClientConfig config;
        config.tradeDate = "20240102";
        config.dataDir = fixture.dataDir();
        client = std::make_unique<paper::CPaperClient>(fixture.loop().service(), config);
    }
    ~Completed() { Manager::release(); }
    std::unique_ptr<paper::CPaperClient> client;
};

class CPartlyNull final : public vexservice::TraderCenter {
public:
    explicit CPartlyNull(int without)
        : m_nWithout(without),
          m_pData(instance()->getDataCenter()),
          m_pTasks(instance()->getTaskCenter()),
          m_pFees(instance()->getFeeLimitService()) {}
    vexservice::IDataCenter* getDataCenter() override {
        return m_nWithout == 0 ? nullptr : m_pData;
    }
    vexservice::ITaskCenter* getTaskCenter() override {
        return m_nWithout == 1 ? nullptr : m_pTasks;
    }
    vexservice::IFeeLimitService* getFeeLimitService() override {
        return m_nWithout == 2 ? nullptr : m_pFees;
    }

private:
    const int m_nWithout;
    vexservice::IDataCenter* const m_pData;
    vexservice::ITaskCenter* const m_pTasks;
    vexservice::IFeeLimitService* const m_pFees;
};

class CNoStrand final : public net::RPCEngine {
public:
    explicit CNoStrand(bool throws) : m_bThrows(throws) {}
    boost::shared_ptr<boost::asio::io_service::strand> getStrand(const std::string&) override {
        if (m_bThrows) throw std::runtime_error("no engine");
        return {};
    }

private:
    const bool m_bThrows;
};

template <class Service>
void take() {
    utils::CSingletonT<Service>::install({});
}
template <class Service>
void takeManual() {
    utils::CManualSingletonT<Service>::install({});
}
template <int without>
void takePart() {
    vexservice::TraderCenter::install(boost::make_shared<CPartlyNull>(without));
}
template <bool throws>
void takeStrand() {
    utils::CSingletonT<net::RPCEngine>::install(boost::make_shared<CNoStrand>(throws));
}

struct Row {
    const char* name;
    void (*take)();
    TC::MissingService::ENeed need;
};
using ENeed = TC::MissingService::ENeed;

const Row ROWS[] = {
    {"TC::CAppConfig", take<TC::CAppConfig>, ENeed::Instance},
    {"TC::IDataDirectory", take<TC::IDataDirectory>, ENeed::Instance},
    {"vexservice::TraderCenter", take<vexservice::TraderCenter>, ENeed::Init},
    {"vexservice::TraderCenter: a data center", takePart<0>, ENeed::Init},
    {"vexservice::TraderCenter: a task center", takePart<1>, ENeed::Init},
    {"vexservice::TraderCenter: fee limits", takePart<2>, ENeed::Init},
    {"net::RPCEngine", take<net::RPCEngine>, ENeed::Init},
    {"net::RPCEngine: a strand", takeStrand<false>, ENeed::Init},
    {"net::RPCEngine: a strand", takeStrand<true>, ENeed::Init},
    {"TC::CUserConfig", take<TC::CUserConfig>, ENeed::Init},
    {"TC::CTradeClient", takeManual<TC::CTradeClient>, ENeed::Init},
    {"TC::CExchangeClient", takeManual<TC::CExchangeClient>, ENeed::Init},
    {"marlo::IMarketCalendar", take<marlo::IMarketCalendar>, ENeed::Later},
    {"TC::CProxyClient", take<TC::CProxyClient>, ENeed::Later},
    {"TC::CQuoteClient", takeManual<TC::CQuoteClient>, ENeed::Later},
    {"TC::CStockManager", take<TC::CStockManager>, ENeed::Later},
    {"vexservice::StockTypeCenter", take<vexservice::StockTypeCenter>, ENeed::Later},
    {"vexservice::IOrderRules", take<vexservice::IOrderRules>, ENeed::Later},
    {"vexservice::ConfigCollector", take<vexservice::ConfigCollector>, ENeed::Later},
    {"TC::CDovCommandCenter", take<TC::CDovCommandCenter>, ENeed::Later},
    {"TC::CTimeService", take<TC::CTimeService>, ENeed::Later},
};

/// What the manager said of its start.
Texts saidOfStart(const Fixture& f) {
    Texts said;
    for (const LogLine& line : f.log()) {
        if (line.operation == "CLinkageManager::init") said.push_back(line.text);
    }
    return said;
}

bool names(const std::string& text, const std::string& name) {
    return text.find(name + " (without it ") != std::string::npos;
}

TEST(Startup, OneServiceIsNamedAndTheStartGoesOnOnceItIsThere) {
    for (const Row& row : ROWS) {
        SCOPED_TRACE(row.name);
        Fixture f;
        ASSERT_TRUE(TC::missingServices().empty());
        row.take();
        const std::vector<TC::MissingService> missing = TC::missingServices();
        ASSERT_EQ(missing.size(), 1u);
        EXPECT_EQ(missing[0].name, row.name);
        EXPECT_EQ(missing[0].need, row.need);
        if (row.need == ENeed::Instance) {
            try {
                Manager::instance();
                ADD_FAILURE() << "a manager was made";
            } catch (const utils::ServiceMissing& thrown) {
                EXPECT_TRUE(names(thrown.what(), row.name)) << thrown.what();
            }
            EXPECT_FALSE(Manager::exists());
        } else {
            Manager::instance()->init();
            EXPECT_EQ(Manager::instance()->isInited(), row.need == ENeed::Later);
            const Texts said = saidOfStart(f);
            ASSERT_EQ(said.size(), 1u);
            EXPECT_TRUE(names(said[0], row.name)) << said[0];
        }
        const Completed completed(f);
        Manager::instance()->init();
        EXPECT_TRUE(Manager::instance()->isInited());
        EXPECT_EQ(Manager::instance()->getTradeDate(), "20240102");
    }
}

TEST(Startup, EverythingIsNamedInOneLine) {
    Fixture f;
    for (const Row& row : ROWS) {
        if (row.need != ENeed::Instance && !std::strchr(row.name, ' ')) row.take();
    }
    Manager::instance()->init();
    const Texts said = saidOfStart(f);
    ASSERT_EQ(said.size(), 1u);
    for (const Row& row : ROWS) {
        if (row.need == ENeed::Instance || std::strchr(row.name, ' ')) continue;
        EXPECT_TRUE(names(said[0], row.name)) << row.name;
    }
    // A manager that has not begun can go, and does nothing before.
    EXPECT_FALSE(Manager::instance()->runAutoBalance("A", "S"));
    Manager::release();
    take<TC::CAppConfig>();
    take<TC::IDataDirectory>();
    EXPECT_EQ(TC::missingServices().size(), 16u);
    try {
        Manager::instance();
        ADD_FAILURE() << "a manager was made";
    } catch (const utils::ServiceMissing& thrown) {
        for (const Row& row : ROWS) {
            EXPECT_TRUE(std::strchr(row.name, ' ') || names(thrown.what(), row.name)) << row.name;
        }
    }
}

TEST(Startup, AThreadWithoutEventLoop) {
    Fixture f;
    std::thread([&] {
        Manager::instance()->init();
        EXPECT_TRUE(Manager::instance()->isInited()) << "the thread may run its loop later";
        const Texts said = saidOfStart(f);
        ASSERT_EQ(said.size(), 1u);
        EXPECT_TRUE(names(said[0], "an event loop on the manager's thread")) << said[0];
        Manager::release();
        const QEventLoop loop;
        EXPECT_TRUE(TC::missingServices().empty());
    }).join();
}

// A service that fails at the start costs this start, not the next one.
TEST(Startup, AServiceThatThrows) {
    class CThrows final : public TC::CUserConfig {
    public:
        QString getUserDataString(TC::EUserMember) const override {
            if (++m_nAsked == 1) throw std::runtime_error("not logged in");
            return "li";
        }
        double getUserDataDouble(TC::EUserMember) const override { return 0.0; }
        const void* getUserDataAddress(TC::EUserMember) const override { return nullptr; }

    private:
        mutable int m_nAsked = 0;
    };
    Fixture f;
    utils::CSingletonT<TC::CUserConfig>::install(boost::make_shared<CThrows>());
    Manager::instance()->init();
    EXPECT_FALSE(Manager::instance()->isInited());
    EXPECT_EQ(saidOfStart(f), Texts{"not logged in"});
    Manager::instance()->init();
    EXPECT_TRUE(Manager::instance()->isInited());
    EXPECT_EQ(Manager::instance()->state().userData, "li");
    Manager::release();
}

}  // namespace
