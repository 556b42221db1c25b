#include "platform/utils/deadlinetimer.h"
#include "tests/adaptercheck/faultkit.h"

#include <algorithm>
#include <thread>

namespace faulty {

std::vector<Fault> commandFaults() {
    using Completion = Commands::Completion;
    return {
        {"the completion comes inside the call", {401, 413}, commands([](Commands& at, Adapter&) {
             at.command = [number = 0](auto&, Completion& completion) mutable {
                 ++number;
                 if (!completion) return;
                 completion({}, number);
                 completion = [](const auto&, int) {};
             };
         })},
        {"the call waits for its completion",
         {401},
         commands([](Commands& at, Adapter&) {
             at.command = [](auto&, Completion& completion) {
                 std::thread([&] { completion({}, 1); }).join();
                 completion = [](const auto&, int) {};
             };
         }),
         true},
        {"all commands have one number", {402, 404}, commands([](Commands& at, Adapter&) {
             at.command = [](auto&, Completion& completion) {
                 if (!completion) return;
                 completion = [completion](const auto& error, int) { completion(error, 7); };
             };
         })},
        {"the completion comes after the orders", {403}, commands([](Commands& at, Adapter& all) {
             at.command = [&all](auto&, Completion& completion) {
                 if (!completion) return;
                 completion = [&all, completion](const auto& error, int number) {
                     const auto timer =
                         std::make_shared<utils::DeadlineTimer>(all.loop().service());
                     timer->expires_from_now(boost::posix_time::seconds(1));
                     timer->async_wait([=](const boost::system::error_code& cut) {
                         if (timer && !cut) completion(error, number);
                     });
                 };
             };
         })},
        {"carriers have no number", {404}, carriers([](auto& it) { it.m_nCommand = 0; })},
        {"carriers have no strategy", {405}, carriers([](auto& it) { it.m_strStrategyName = ""; })},
        {"the tag does not come back", {406}, carriers([](auto& it) { it.m_strTag = ""; })},
        {"volumes are cut", {407}, commands([](Commands& at, Adapter&) {
             at.command = [](COrderComandParam& sent, auto&) {
                 auto& volume = sent.m_orders.front()->m_nVolume;
                 volume = std::min<std::int64_t>(volume, 300);
             };
         })},
        {"an empty completion is called", {408}, commands([](Commands& at, Adapter&) {
             at.command = [](auto&, const Completion& completion) {
                 if (!completion) completion({}, 0);
             };
         })},
        {"a rejection without a word", {409}, records<COrderDetail>([](COrderDetail& order) {
             order.m_strRemark.clear();
         })},
        {"operations on tasks are lost", {410}, commands([](Commands& at, Adapter&) {
             at.operates = false;
         })},
        {"a handler for every number", {411}, center([](Center& at) {
             struct Handler : ITaskHandler {
                 void operate(const boost::shared_ptr<CTaskOpRecord>&) override {}
             };
             static struct : ITaskCenter {
                 boost::shared_ptr<ITaskHandler> getTaskHandler(std::uint64_t) override {
                     return boost::make_shared<Handler>();
                 }
             } tasks;
             at.tasks = &tasks;
         })},
        {"only the first order is sent", {412}, commands([](Commands& at, Adapter&) {
             at.command = [](COrderComandParam& sent, auto&) { sent.m_orders.resize(1); };
         })},
        {"an order of a refused command", {413}, commands([](Commands& at, Adapter& all) {
             at.command = [&all](auto&, Completion& completion) {
                 if (!completion) return;
                 completion = [&all, completion](const auto& error, int number) {
                     completion(error, number);
                     if (error.isOk()) return;
                     const paper::OrderRequest late{.account = "10001",
                                                    .market = "SH",
                                                    .code = "600000",
                                                    .volume = 300,
                                                    .price = 9.5};
                     all.client().send(late);
                 };
             };
         })},
    };
}

std::vector<Fault> tradeClientFaults() {
    return {
        {"cancellations are lost",
         {501},
         trade([](Trade& at, Adapter&) {
             at.cancel = [](const auto& order) {
                 return isFinal(*order) ? std::nullopt : std::optional(true);
             };
         }),
         true},
        {"a late cancellation counts", {502}, trade([](Trade& at, Adapter& all) {
             at.cancel = [&all](const auto& order) -> std::optional<bool> {
                 if (!isFinal(*order)) return std::nullopt;
                 const auto cancelled = boost::make_shared<COrderDetail>(*order);
                 cancelled->m_eStatus = STATUS_CANCELED;
                 all.client().report("10001", cancelled);
                 return true;
             };
         })},
        {"a refusal without a word", {503}, trade([](Trade& at, Adapter&) { at.saysWhy = false; })},
        {"two answers", {504, 804}, trade([](Trade& at, Adapter&) {
             at.answered = [](auto&, std::size_t, int& times) { times = 2; };
         })},
        {"records of another day", {505}, trade([](Trade& at, Adapter&) { at.foreignDay = true; })},
        {"an empty day is an error", {506}, trade([](Trade& at, Adapter&) {
             at.answered = [](utils::VexError& error, std::size_t count, int&) {
                 if (count == 0) error = {1, "no records"};
             };
         })},
        {"an unknown day is empty", {507}, trade([](Trade& at, Adapter&) {
             at.answered = [](utils::VexError& error, std::size_t, int&) { error = {}; };
         })},
        {"an account is not told of", {508}, trade([](Trade& at, Adapter&) {
             at.tellsAccounts = false;
         })},
    };
}

}  // namespace faulty
