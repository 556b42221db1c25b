#include "linkage/balance/guardpicture.h"

#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledger.h"

#include <algorithm>
#include <unordered_map>

namespace TC {

namespace {

int commandOf(const vexservice::CCommandRecord* carrier) {
    return carrier ? carrier->m_nCommand : 0;
}

/// Builds a picture: orders first, then the deals, which may name them.
class CTaker {
public:
    explicit CTaker(const GuardSources& sources) : m_sources(sources) {}

    GuardPicture take() {
        m_sources.ledger.forEachOrder(
            m_sources.account, m_sources.today,
            [this](const std::string& stock, const OrderPtr& report) { addOrder(stock, report); });
        std::sort(m_picture.orders.begin(), m_picture.orders.end(),
                  [](const auto& left, const auto& right) {
                      return left.report->recordKey() < right.report->recordKey();
                  });
        for (std::size_t at = 0; at < m_picture.orders.size(); ++at) {
            m_byKey.emplace(m_picture.orders[at].report->recordKey(), at);
        }
        m_sources.ledger.forEachDeal(
            m_sources.account, m_sources.today,
            [this](const std::string& stock, const DealPtr& deal) { addDeal(stock, *deal); });
        return std::move(m_picture);
    }

private:
    struct Owner {
        bool history;
        std::string strategy;
        int command;
    };

    Owner ownerOf(const vexservice::CCommandRecord* carrier) const {
        const int command = commandOf(carrier);
        if (command != 0) {
            if (const GuardPair* pair = m_sources.senderOf(command)) {
                return {pair->history, pair->strategy, command};
            }
        }
        return {isHistoryBalance(carrier), strategyOf(carrier), command};
    }

    void addOrder(const std::string& stock, OrderPtr report) {
        using Helper = vexservice::COrderDetailHelper;
        if (m_sources.finals && Helper::isRunning(report->m_eStatus)) {
            const auto final = m_sources.finals->find(report->recordKey());
            if (final != m_sources.finals->end()) report = final->second;
        }
        const Owner owner = ownerOf(report->m_pCommand.get());
        GuardPicture::Order order{
            .stock = stock, .history = owner.history, .command = owner.command};
        order.figures.strategy = owner.strategy;
        order.figures.buys =
            vexservice::isBuyByDirection(report->m_eDirection, report->m_eOffsetFlag);
        order.figures.runs = Helper::isRunning(report->m_eStatus);
        order.figures.volume = report->m_nVolume;
        order.figures.traded = report->m_nTradedVolume;
        if (owner.command != 0) {
            m_picture.commands.insert(owner.command);
            auto& trace = m_picture.traces[{owner.command, stock, order.figures.buys}];
            trace.hasOrder = true;
            trace.runs = trace.runs || order.figures.runs;
            if (report->m_eStatus == vexservice::STATUS_JUNK) {
                trace.rejected = true;
                trace.remark = report->m_strRemark;
            }
            trace.ordered += order.figures.volume;
            trace.traded += order.figures.traded;
        }
        order.report = std::move(report);
        m_picture.orders.push_back(std::move(order));
    }

    /// The order that a deal names; null when it names none, or one of another stock or side.
    GuardPicture::Order* namedOrder(const std::string& stock, const vexservice::CDealDetail& deal,
                                    bool buys) {
        if (deal.m_nOrderKey == 0) return nullptr;
        const auto [at, isNew] = m_byKey.emplace(deal.m_nOrderKey, m_picture.orders.size());
        if (isNew) {
            const Owner owner = ownerOf(deal.m_pCommand.get());
            GuardPicture::Order order{
                .stock = stock, .history = owner.history, .command = owner.command};
            order.figures.strategy = owner.strategy;
            order.figures.buys = buys;
            m_picture.orders.push_back(std::move(order));
        }
        auto& order = m_picture.orders[at->second];
        return order.stock == stock && order.figures.buys == buys ? &order : nullptr;
    }

    bool isCounted(const std::string& strategy, const vexservice::CDealDetail& deal) {
        if (!isHistoryBalance(deal.m_pCommand.get()) || !m_sources.counted(strategy, deal)) {
            return false;
        }
        // The history store counts two deals with the same number as one.
        return m_counted.emplace(strategy, deal.m_strTradeDate, deal.m_strDealID).second;
    }

    void addDeal(const std::string& stock, const vexservice::CDealDetail& deal) {
        const bool buys = vexservice::isBuyByDirection(deal.m_eDirection, deal.m_eOffsetFlag);
        const bool counted = isCounted(strategyOf(deal.m_pCommand.get()), deal);
        int command = commandOf(deal.m_pCommand.get());
        if (auto* order = namedOrder(stock, deal, buys)) {
            order->figures.named = true;
            order->figures.dealt += deal.m_nVolume;
            if (counted) order->figures.counted += deal.m_nVolume;
            if (command == 0) command = order->command;
        } else {
            const Owner owner = ownerOf(deal.m_pCommand.get());
            m_picture.deals.push_back(
                {stock, owner.history, {owner.strategy, buys, deal.m_nVolume, counted}});
        }
        if (command == 0) return;
        m_picture.commands.insert(command);
        m_picture.traces[{command, stock, buys}].dealt += deal.m_nVolume;
    }

    const GuardSources& m_sources;
    GuardPicture m_picture;
    std::unordered_map<std::uint64_t, std::size_t> m_byKey;
    std::set<std::tuple<std::string, std::string, std::string>> m_counted;
};

}  // namespace

const GuardPicture::Trace* GuardPicture::trace(int command, const std::string& stock,
                                               bool buys) const {
    if (command == 0) return nullptr;
    const auto at = traces.find({command, stock, buys});
    return at == traces.end() ? nullptr : &at->second;
}

GuardPicture takePicture(const GuardSources& sources) { return CTaker(sources).take(); }

std::map<std::string, GuardInput> inputsOf(const GuardPicture& picture, const GuardPair& pair) {
    std::map<std::string, GuardInput> inputs;
    // The history record of a strategy counts its deals; the record of the whole account never
    // does.
    const bool countedElsewhere = pair.strategy.empty();
    for (const auto& order : picture.orders) {
        if (!pair.holds(order.history, order.figures.strategy)) continue;
        auto& orders = inputs[order.stock].orders;
        orders.push_back(order.figures);
        if (countedElsewhere) orders.back().counted = 0;
    }
    for (const auto& deal : picture.deals) {
        if (!pair.holds(deal.history, deal.figures.strategy)) continue;
        auto& deals = inputs[deal.stock].deals;
        deals.push_back(deal.figures);
        if (countedElsewhere) deals.back().counted = false;
    }
    return inputs;
}

}  // namespace TC
