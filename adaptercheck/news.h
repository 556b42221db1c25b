#pragma once

#include "adaptercheck/stage.h"
#include "platform/services/tradercenter.h"

#include <boost/signals2/connection.hpp>

namespace adaptercheck {

/// One announcement of the data center.
struct News {
    std::string account;
    int type = 0;
    boost::shared_ptr<vexservice::IData> record;
    std::string content;  ///< of the record when it was announced
    Heard heard;
};

/// What every field of a record holds, as text.
std::string contentOf(const vexservice::IData& record);

/// Shares that have traded, and whether no more can come; 0 and false for what is no order.
int tradedOf(const vexservice::IData& record);
bool isFinal(const vexservice::IData& record);

/// Listens to the data center as the library does: to all four types. Ends with the object; what
/// comes later counts as late and is not kept.
class CNews {
public:
    /// Runs on the announcing thread. What it finds wrong it says to CStage::blame.
    using Watch = std::function<void(const News& news)>;

    /// `accountKey` "" listens to all accounts.
    CNews(CStage& stage, const std::string& accountKey, Watch watch = {});
    ~CNews();
    CNews(const CNews&) = delete;
    CNews& operator=(const CNews&) = delete;

    /// Cuts the connections, as the destructor.
    void cut();
    std::vector<News> all() const;
    std::size_t count() const { return all().size(); }
    /// Announcements since the connections were cut.
    int late() const;

private:
    struct State {
        std::mutex mutex;
        std::vector<News> heard;
        bool cut = false;
        int late = 0;
    };

    static void hear(State& state, CStage& stage, const Watch& watch, News news);

    const std::shared_ptr<State> m_pState = std::make_shared<State>();
    std::vector<boost::signals2::connection> m_connections;
};

}  // namespace adaptercheck
