#include "adaptercheck/news.h"

#include "adaptercheck/world.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"
#include "platform/records/positionstatics.h"
#include "platform/records/taskdetail.h"

#include <fmt/format.h>

namespace adaptercheck {

using namespace vexservice;

namespace {

std::string carried(const boost::shared_ptr<CCommandRecord>& carrier) {
    if (!carrier) return "-";
    return fmt::format("{}/{}/{}/{}", carrier->m_strStrategyName, carrier->m_strStrategyName2,
                       carrier->m_strTag, carrier->m_nCommand);
}

}  // namespace

std::string contentOf(const IData& record) {
    std::string text = record.getKey();
    if (const auto* order = dynamic_cast<const COrderDetail*>(&record)) {
        text += fmt::format(" {} {} {} {} {} {} {} {} {} {} {}", int{order->m_eDirection},
                            int{order->m_eStatus}, order->m_nVolume, order->m_nTradedVolume,
                            order->m_dPrice, order->m_dTradedAmount, order->m_strMarket,
                            order->m_strCode, order->m_strTradeDate, order->m_strRemark,
                            carried(order->m_pCommand));
    } else if (const auto* deal = dynamic_cast<const CDealDetail*>(&record)) {
        text += fmt::format(" {} {} {} {} {} {} {} {} {} {}", int{deal->m_eDirection},
                            deal->m_nVolume, deal->m_dPrice, deal->m_dAmount, deal->m_strMarket,
                            deal->m_strCode, deal->m_strTradeDate, deal->m_strTradeTime,
                            deal->m_nOrderKey, carried(deal->m_pCommand));
    } else if (const auto* position = dynamic_cast<const CPositionStatics*>(&record)) {
        text += fmt::format(" {} {} {} {}", position->m_strMarket, position->m_strCode,
                            position->m_nVolume, position->m_nAvailable);
    } else if (const auto* task = dynamic_cast<const CTaskDetail*>(&record)) {
        text += fmt::format(" {} {}", int{task->m_eStatus}, carried(task->m_pCommand));
        for (const auto& item : task->m_items) {
            if (item) text += fmt::format(" {}/{}", item->m_nVolume, item->m_nTradedVolume);
        }
    }
    return text;
}

int tradedOf(const IData& record) {
    const auto* order = dynamic_cast<const COrderDetail*>(&record);
    return order ? order->m_nTradedVolume : 0;
}

bool isFinal(const IData& record) {
    const auto* order = dynamic_cast<const COrderDetail*>(&record);
    return order && !isRunningStatus(order->m_eStatus);
}

CNews::CNews(CStage& stage, const std::string& accountKey, Watch watch) {
    for (const int type : {DATA_ORDER, DATA_DEAL, DATA_POSITION, DATA_TASK}) {
        const auto callback = [state = m_pState, &stage, watch, type](
                                  const std::string& account,
                                  const boost::shared_ptr<IData>& record) {
            // Once the connections are cut the stage may be gone.
            {
                const std::lock_guard lock(state->mutex);
                if (state->cut) {
                    ++state->late;
                    return;
                }
            }
            hear(*state, stage, watch, {account, type, record, {}, {}});
        };
        stage.call([&] {
            m_connections.push_back(dataCenter().subscribe(accountKey, type, "", callback));
        });
    }
}

CNews::~CNews() { cut(); }

void CNews::cut() {
    for (const auto& connection : m_connections) connection.disconnect();
    const std::lock_guard lock(m_pState->mutex);
    m_pState->cut = true;
}

void CNews::hear(State& state, CStage& stage, const Watch& watch, News news) {
    news.heard = stage.heard();
    if (news.record) news.content = contentOf(*news.record);
    try {
        if (watch) watch(news);
    } catch (const std::exception& fault) {
        stage.blame(std::string("a service threw inside a callback: ") + fault.what());
    } catch (const Failed& failed) {
        stage.blame(failed.why);
    }
    {
        const std::lock_guard lock(state.mutex);
        state.heard.push_back(std::move(news));
    }
    stage.changed();
}

std::vector<News> CNews::all() const {
    const std::lock_guard lock(m_pState->mutex);
    return m_pState->heard;
}

int CNews::late() const {
    const std::lock_guard lock(m_pState->mutex);
    return m_pState->late;
}

}  // namespace adaptercheck
