#include "paper/datacenter.h"
#include "paper/instruments.h"
#include "platform/utils/referencedata.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include <stdexcept>
#include <string>
#include <vector>

/// What the library relies on in the client's data services.
namespace {

using namespace vexservice;

template <class Record>
boost::shared_ptr<Record> recordOf(std::uint64_t key) {
    auto record = boost::make_shared<Record>();
    record->m_nRecordKey = key;
    return record;
}

boost::shared_ptr<COrderDetail> orderOf(std::uint64_t key, int traded,
                                        const std::string& date = "20240102") {
    auto order = recordOf<COrderDetail>(key);
    order->m_nTradedVolume = traded;
    order->m_strTradeDate = date;
    return order;
}

/// The record keys of a type, in order; an order's with its traded volume.
std::string recordsOf(const CAccountData& data, int type) {
    std::vector<boost::shared_ptr<IData>> records;
    data.getVector(type, records);
    std::string text;
    for (const auto& record : records) {
        const auto order = boost::dynamic_pointer_cast<COrderDetail>(record);
        text += record->getKey() + (order ? fmt::format(":{} ", order->m_nTradedVolume) : " ");
    }
    return text;
}

TEST(DataCenter, ForgetsOtherTradeDatesWithTheNewOne) {
    paper::CDataCenter center("20240102");
    center.setAccount({.key = "A"});
    for (const auto& [key, date] : {std::pair{1, "20240103"}, {2, "20240102"}, {3, "20240103"}}) {
        center.report("A", DATA_ORDER, orderOf(key, 0, date), false);
        const auto task = recordOf<CTaskDetail>(key);
        task->m_pCommand = boost::make_shared<CCommandRecord>();
        task->m_pCommand->m_strTradeDate = date;
        center.report("", DATA_TASK, task, false);
    }
    center.report("", DATA_TASK, recordOf<CTaskDetail>(4), false);  // of no date
    center.report("A", DATA_POSITION, recordOf<CPositionStatics>(1), false);
    center.beginTradingDate("20240103");
    const auto& data = *center.account("A");
    EXPECT_EQ(center.getTradingDate(), "20240103");
    EXPECT_EQ(recordsOf(data, DATA_ORDER), "1:0 3:0 ");
    EXPECT_EQ(recordsOf(data, DATA_POSITION), "1 ");
    EXPECT_EQ(recordsOf(center.globalData(), DATA_TASK), "1 3 4 ");
    center.report("A", DATA_ORDER, orderOf(3, 100, "20240103"), false);
    center.report("A", DATA_ORDER, orderOf(2, 0, "20240103"), false);
    EXPECT_EQ(recordsOf(data, DATA_ORDER), "1:0 3:100 2:0 ");
}

TEST(DataCenter, TellsTheSubscribersOfTheAccountAndThoseOfAll) {
    paper::CDataCenter center("20240102");
    center.setAccount({.key = "A"});
    center.setAccount({.key = "B"});
    std::string heard;
    const auto listen = [&](const char* name, const char* account, int type) {
        return center.subscribe(account, type, "", [&heard, name](auto& key, auto& record) {
            heard += fmt::format("{}:{}{} ", name, key, record->getKey());
        });
    };
    center.report("A", DATA_ORDER, orderOf(1, 0), true);
    boost::signals2::connection second;
    center.subscribe("A", DATA_ORDER, "", [&](auto&, auto&) {
        heard += "cuts ";
        second.disconnect();
        throw std::runtime_error("a module's fault");
    });
    second = listen("second", "A", DATA_ORDER);
    listen("third", "A", DATA_ORDER);
    listen("all", "", DATA_ORDER);
    listen("deals", "A", DATA_DEAL);
    listen("early", "C", DATA_ORDER);
    center.report("C", DATA_ORDER, orderOf(1, 0), true);
    EXPECT_EQ(heard, "") << "subscribing delivers nothing, nor does an account not yet there";
    center.report("A", DATA_ORDER, orderOf(2, 0), true);
    EXPECT_EQ(std::exchange(heard, {}), "cuts third:A2 all:A2 ");
    center.report("B", DATA_ORDER, orderOf(3, 0), true);
    EXPECT_EQ(std::exchange(heard, {}), "all:B3 ");
    center.report("A", DATA_ORDER, orderOf(4, 0), false);
    center.report("nobody", DATA_ORDER, orderOf(5, 0), true);
    EXPECT_EQ(heard, "");
    center.setAccount({.key = "C"});
    center.report("C", DATA_ORDER, orderOf(6, 0), true);
    EXPECT_EQ(heard, "early:C6 all:C6 ");
}

TEST(ReferenceData, AnnouncesEveryChangeAndKeepsWhatWasHandedOut) {
    paper::CInstruments instruments;
    paper::CDataCenter center("20240102");
    paper::Instrument instrument;
    instrument.market = "SH";
    instrument.code = "600000";
    instrument.unit = 0;
    instrument.types = {126};
    auto revision = utils::referenceDataRevision();
    const auto changed = [&] {
        const auto before = revision;
        revision = utils::referenceDataRevision();
        return revision != before;
    };
    EXPECT_EQ(instruments.unit("SH600000"), 100) << "a stock nobody described";
    EXPECT_FALSE(changed());
    instruments.set(instrument);
    EXPECT_TRUE(changed());
    EXPECT_EQ(instruments.unit("SH600000"), 1) << "at least one share";
    EXPECT_TRUE(instruments.isTyped(126, "SH600000"));
    EXPECT_FALSE(instruments.isTyped(126, "SZ600000"));
    const auto before = instruments.detail("SH600000");
    instrument.reference = 10.0;
    instruments.set(instrument);
    EXPECT_EQ(before->m_dReferencePrice, 0.0);
    EXPECT_EQ(instruments.detail("SH600000")->m_dReferencePrice, 10.0);
    instrument.detail = false;
    instruments.set(instrument);
    EXPECT_FALSE(instruments.detail("SH600000"));
    changed();
    center.setAccount({.key = "A", .fee = CStkExchangeRateLimit{0.0003, 5.0, 0.0, 0.001}});
    EXPECT_TRUE(changed());
    const auto info = center.account("A")->getAccountInfo();
    EXPECT_TRUE(center.getFeeLimits(info, "SH", "600000"));
    center.setAccount({.key = "A"});
    EXPECT_FALSE(center.getFeeLimits(info, "SH", "600000"));
}

}  // namespace
