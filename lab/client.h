#pragma once

#include "lab/reports.h"
#include "lab/schedule.h"
#include "paper/loop.h"
#include "paper/paperclient.h"
#include "platform/services/dovcommandcenter.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace lab {

/// What the library asks of the client: called in the middle of the library's work.
class IRequests {
public:
    using Completion = boost::function<void(utils::VexError, int)>;

    virtual ~IRequests() = default;
    virtual void onCommand(const vexservice::COrderComandParam& command,
                           const Completion& completion) = 0;
    virtual void onCancelOrder(std::uint64_t key) = 0;
    using TaskCompletion = boost::function<void(const utils::VexError&, bson::BSONObj)>;
    virtual void onTerminateTask(std::uint64_t key, const TaskCompletion& completion) = 0;
};

/// The paper client with a command center of the laboratory's own, and the broker's reports as
/// records of the platform. Of the paper client the data center, the stocks and the settings
/// are in use; its exchange is not, because what is told of an order, when and how often, is
/// what the laboratory is about.
class CClient final : public paper::IClientObserver {
public:
    CClient(const Plan& plan, paper::CVirtualLoop& loop, const std::string& dataDir,
            const std::string& date, IRequests& requests);
    ~CClient() override;

    /// With `announced` the subscribers hear of it; the data center keeps it in any case.
    void tell(const OrderReport& report, bool announced);
    void tell(const DealReport& report, bool announced);
    void tellTask(std::uint64_t key, const Origin& of, vexservice::ETaskStatus status);

    paper::CPaperClient& paper() { return *m_pPaper; }

private:
    class CCommandCenter;

    void onCancelOrder(const vexservice::COrderDetail& order) override;
    void onOperateTask(std::uint64_t taskKey, bool server,
                       const vexservice::CTaskOpRecord& record) override;
    void onCommand(const vexservice::COrderComandParam&, int) override {}

    boost::shared_ptr<vexservice::CCommandRecord> carrierOf(const Origin& of) const;
    template <class Record, class Report>
    boost::shared_ptr<Record> recordOf(const Report& report) const;

    const Plan& m_plan;
    IRequests& m_requests;
    std::unique_ptr<paper::CPaperClient> m_pPaper;
};

}  // namespace lab
