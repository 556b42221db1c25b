#include "adaptercheck/world.h"

#include "platform/utils/keys.h"

#include <QDate>

#include <boost/make_shared.hpp>

namespace adaptercheck {

using namespace vexservice;

IDataCenter& dataCenter() {
    IDataCenter* const center = TraderCenter::instance()->getDataCenter();
    expect(center != nullptr, "there is no data center");
    return *center;
}

boost::shared_ptr<CAccountData> accountData(const std::string& accountKey) {
    auto data = dataCenter().getAccountData(utils::hash(accountKey));
    expect(data != nullptr, "the data center knows no account " + accountKey);
    return data;
}

std::vector<boost::shared_ptr<COrderDetail>> ordersOf(const std::string& accountKey) {
    return recordsOf<COrderDetail>(*accountData(accountKey), DATA_ORDER);
}

std::vector<boost::shared_ptr<CDealDetail>> dealsOf(const std::string& accountKey) {
    return recordsOf<CDealDetail>(*accountData(accountKey), DATA_DEAL);
}

boost::shared_ptr<COrderDetail> orderOf(const std::string& accountKey, std::uint64_t orderKey) {
    boost::shared_ptr<COrderDetail> newest;
    for (const auto& order : ordersOf(accountKey)) {
        if (order->recordKey() == orderKey) newest = order;
    }
    return newest;
}

int dealtOf(const std::string& accountKey, std::uint64_t orderKey) {
    int volume = 0;
    for (const auto& deal : dealsOf(accountKey)) {
        if (deal->m_nOrderKey == orderKey) volume += deal->m_nVolume;
    }
    return volume;
}

CNewOrders::CNewOrders(std::string accountKey) : m_strAccount(std::move(accountKey)) {
    for (const auto& order : ordersOf(m_strAccount)) m_before.insert(order->recordKey());
}

std::vector<boost::shared_ptr<COrderDetail>> CNewOrders::get() const {
    std::vector<boost::shared_ptr<COrderDetail>> orders;
    for (const auto& order : ordersOf(m_strAccount)) {
        if (m_before.count(order->recordKey()) == 0) orders.push_back(order);
    }
    return orders;
}

namespace {

boost::shared_ptr<CCodeOrderParam> makeOrder(CStage& stage, const CommandTerms& terms, int volume) {
    const Facts& facts = stage.facts();
    auto order = boost::make_shared<CCodeOrderParam>();
    order->m_pAccountInfo = accountData(facts.account)->getAccountInfo();
    order->m_stock = {facts.market, facts.code, {}, {}};
    order->m_nVolume = volume;
    order->m_strStrategyName = order->m_strStrategyName2 = terms.strategy;
    order->m_nStrategyMarker = 9;
    order->m_ePriceType = PRTP_FIX;
    order->m_dPrice = facts.restingPrice;
    return order;
}

boost::shared_ptr<COrderComandParam> makeCommand(CStage& stage, const CommandTerms& terms) {
    auto command = boost::make_shared<COrderComandParam>();
    command->m_orders.push_back(makeOrder(stage, terms, terms.volume));
    if (terms.second > 0) command->m_orders.push_back(makeOrder(stage, terms, terms.second));
    command->m_strStrategyName = terms.strategy;
    command->m_strStrategyName2 = terms.tag.empty() ? terms.strategy : terms.tag;
    command->m_nStrategyMarker = 9;
    return command;
}

}  // namespace

CSentCommand::CSentCommand(CStage& stage, const CommandTerms& terms)
    : m_stage(stage), m_orders(account(stage)) {
    need(stage.facts().restingPrice > 0.0, "a price at which orders rest");
    boost::function<void(utils::VexError, int)> completion;
    if (terms.completion) {
        completion = [state = std::weak_ptr(m_pState), &stage, orders = m_orders](
                         const utils::VexError& error, int number) {
            // Once the command is not looked at any more the stage may be gone.
            const auto alive = state.lock();
            if (!alive) return;
            Completion told{error, number, stage.heard(), 0};
            try {
                told.orders = orders.get().size();
            } catch (...) {
                stage.blame("the data center failed inside a completion");
            }
            {
                const std::lock_guard lock(alive->mutex);
                alive->completions.push_back(told);
            }
            stage.changed();
        };
    }
    const auto command = makeCommand(stage, terms);
    stage.call([&] {
        utils::CSingletonT<TC::CDovCommandCenter>::instance()->createCommand(command, completion,
                                                                             true, 0);
    });
}

boost::shared_ptr<COrderDetail> CSentCommand::awaitOrder() {
    expect(m_stage.await([&] { return !m_orders.get().empty(); }),
           "a command was sent, and no order of it was reported");
    return m_orders.get().front();
}

std::vector<CSentCommand::Completion> CSentCommand::awaitCompletion() {
    const auto told = [&] {
        const std::lock_guard lock(m_pState->mutex);
        return m_pState->completions;
    };
    m_stage.await([&] { return !told().empty(); });
    return told();
}

boost::shared_ptr<COrderDetail> restingOrder(CStage& stage, int volume) {
    const CNewOrders orders(account(stage));
    if (!stage.adapter().place({account(stage), "kit", volume})) {
        CommandTerms terms;
        terms.volume = volume;
        CSentCommand(stage, terms).awaitOrder();
    }
    expect(stage.await([&] { return !orders.get().empty(); }),
           "an order was placed, and none was reported");
    return orders.get().front();
}

boost::shared_ptr<COrderDetail> tradeTwice(CStage& stage) {
    const auto key = restingOrder(stage, 300)->recordKey();
    for (const auto& [volume, traded] : {std::pair{100, 100}, {200, 300}}) {
        need(stage.adapter().fill(volume), "filling orders");
        const bool told = stage.await([&, traded = traded] {
            const auto order = orderOf(account(stage), key);
            return order && order->m_nTradedVolume >= traded;
        });
        expect(told, "an order has traded, and its newest report does not say so");
    }
    return orderOf(account(stage), key);
}

const std::string& account(CStage& stage) {
    need(!stage.facts().account.empty(), "an account");
    return stage.facts().account;
}

std::string stock(CStage& stage) {
    need(!stage.facts().code.empty(), "a stock");
    return stage.stockKey();
}

bool isDate(const std::string& text) {
    return text.size() == 8 &&
           QDate::fromString(QString::fromStdString(text), QStringLiteral("yyyyMMdd")).isValid();
}

}  // namespace adaptercheck
