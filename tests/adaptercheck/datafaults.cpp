#include "platform/utils/keys.h"
#include "tests/adaptercheck/faultkit.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <stdexcept>

namespace faulty {

std::vector<Fault> dataCenterFaults() {
    return {
        {"accounts in changing order", {201}, center([](Center& at) {
             at.accounts = [calls = 0](auto& all) mutable {
                 if (++calls % 2 == 0) std::reverse(all.begin(), all.end());
             };
         })},
        {"an account is not found", {202}, center([](Center& at) {
             at.account = [](std::uint64_t hash, auto& data) {
                 if (hash == utils::hash("10002")) data.reset();
             };
         })},
        {"an unknown account throws", {203}, center([](Center& at) {
             at.account = [](std::uint64_t, auto& data) {
                 if (!data) throw std::out_of_range("no such account");
             };
         })},
        {"the info's key is the ID", {204}, center([](Center& at) {
             struct Info : CAccountInfo {
                 std::string getKey() const override { return "10001"; }
             };
             at.info = [](const auto&) {
                 const auto info = boost::make_shared<Info>();
                 info->m_strKey = "broker-10001";
                 return info;
             };
         })},
        {"a date that is none", {116, 205}, center([](Center& at) {
             at.date = [](const std::string&) { return "20240230"; };
         })},
        {"subscribing delivers", {206}, center([](Center& at) {
             at.subscribed = [&at](auto&, const std::string& key, int type, const auto& heard) {
                 Records all;
                 if (key.empty()) return;
                 if (const auto data = at.real->getAccountData(utils::hash(key))) {
                     data->getVector(type, all);
                 }
                 for (const RecordPtr& record : all) heard(key, record);
             };
         })},
        {"news of all accounts for one", {207}, center([](Center& at) {
             at.subscribing = [](std::string& key, int&) { key.clear(); };
         })},
        {"a null record",
         {208},
         news(DATA_ORDER,
              [](const auto& heard, const std::string& key, const auto& order) {
                  heard(key, order);
                  heard(key, nullptr);
              })},
        {"an unknown type has records", {209}, center([](Center& at) {
             at.records = [](int type, Records& all) {
                 if (type == 987'654) all.push_back(boost::make_shared<COrderDetail>());
             };
         })},
        {"a lock is held during callbacks", {210}, center([](Center& at) {
             const auto mutex = std::make_shared<std::recursive_mutex>();
             at.callback = [mutex](int, IDataCenter::Callback heard) {
                 return [=](const std::string& key, const RecordPtr& record) {
                     const std::lock_guard lock(*mutex);
                     heard(key, record);
                 };
             };
             at.date = [mutex](std::string date) {
                 const std::lock_guard lock(*mutex);
                 return date;
             };
         })},
        {"a connection cannot be cut", {211, 803}, center([](Center& at) {
             at.subscribed = [](boost::signals2::connection& made, auto&, int, const auto&) {
                 made = {};
             };
         })},
        {"a position is not announced",
         {212},
         [] {
             auto made = adapter();
             made->onHold = [](Adapter& at) {
                 const auto position = boost::make_shared<CPositionStatics>();
                 position->m_nVolume = 700;
                 at.client().report("10001", position, false);
                 return true;
             };
             return made;
         }},
        {"tasks are not announced", {213}, center([](Center& at) {
             at.subscribing = [](std::string& key, int& type) {
                 if (type == DATA_TASK) key = "nobody";
             };
         })},
    };
}

std::vector<Fault> recordFaults() {
    return {
        {"announced before it is kept", {301}, center([](Center& at) {
             const auto announcing = std::make_shared<bool>(false);
             at.callback = [=](int, IDataCenter::Callback heard) {
                 return [=](const std::string& key, const RecordPtr& record) {
                     *announcing = true;
                     heard(key, record);
                     *announcing = false;
                 };
             };
             at.records = [=](int, Records& all) {
                 if (*announcing) all.clear();
             };
         })},
        {"a report comes again after newer ones",
         {302},
         news(DATA_ORDER,
              [held = std::make_shared<std::map<std::uint64_t, RecordPtr>>()](
                  const auto& heard, const std::string& key, const auto& order) {
                  RecordPtr& first = (*held)[order->recordKey()];
                  if (!first) first = order;
                  heard(key, order);
                  if (!isFinal(*order)) return;
                  heard(key, first);
                  heard(key, order);
              })},
        {"deals are not announced", {303}, news(DATA_DEAL, [](auto&, auto&, auto&) {})},
        {"records in another order", {304}, center([](Center& at) {
             at.records = [](int, Records& all) { std::reverse(all.begin(), all.end()); };
         })},
        {"a record changes after it was announced",
         {305},
         news(DATA_ORDER,
              [shared =
                   std::make_shared<std::map<std::uint64_t, boost::shared_ptr<COrderDetail>>>()](
                  const auto& heard, const std::string& key, const auto& order) {
                  auto& mine = (*shared)[order->recordKey()];
                  if (!mine) mine = boost::make_shared<COrderDetail>();
                  *mine = *order;
                  heard(key, mine);
              })},
        {"each report has a key of its own", {303, 306, 412, 801}, center([](Center& at) {
             at.records = [](int type, Records& all) {
                 if (type != DATA_ORDER) return;
                 for (const RecordPtr& record : Records(all)) {
                     auto copy = boost::make_shared<COrderDetail>(
                         static_cast<const COrderDetail&>(*record));
                     copy->m_nRecordKey += 1'000'000;
                     all.push_back(copy);
                 }
             };
         })},
        {"dates with dashes", {307}, records<COrderDetail>([](COrderDetail& order) {
             order.m_strTradeDate = "2024-01-02";
         })},
        {"deals name a wrong order", {308}, records<CDealDetail>([](CDealDetail& deal) {
             deal.m_nOrderKey += 1'000;
         })},
        {"deals of another account", {309}, records<CDealDetail>([](CDealDetail& deal) {
             deal.m_pAccountInfo = boost::make_shared<CAccountInfo>();
             deal.m_pAccountInfo->m_strKey = "10002";
         })},
        {"amounts in fen", {310}, records<CDealDetail>([](CDealDetail& deal) {
             deal.m_dAmount *= 100;
         })},
    };
}

}  // namespace faulty
