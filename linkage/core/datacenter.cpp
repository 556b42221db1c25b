#include "linkage/core/datacenter.h"

#include "linkage/tape/services.h"

#include <algorithm>
#include <string>
#include <unordered_set>

namespace TC {

namespace {

template <class Part>
Part& existing(Part* part, const char* name) {
    if (part) return *part;
    throw utils::ServiceMissing(std::string("vexservice::TraderCenter: ") + name + " is missing");
}

}  // namespace

vexservice::IDataCenter& dataCenter() {
    if (auto* const taped = tapedService<vexservice::IDataCenter>()) return *taped;
    return existing(vexservice::TraderCenter::instance()->getDataCenter(), "a data center");
}

vexservice::ITaskCenter& taskCenter() {
    if (auto* const taped = tapedService<vexservice::ITaskCenter>()) return *taped;
    return existing(vexservice::TraderCenter::instance()->getTaskCenter(), "a task center");
}

vexservice::IFeeLimitService& feeLimitService() {
    if (auto* const taped = tapedService<vexservice::IFeeLimitService>()) return *taped;
    return existing(vexservice::TraderCenter::instance()->getFeeLimitService(), "fee limits");
}

Records recordsOf(const vexservice::CAccountData& data, int type) {
    Records records;
    data.getVector(type, records);
    return records;
}

Records differing(const Records& before, Records now) {
    std::unordered_set<const vexservice::IData*> known;
    std::size_t at = 0;
    const auto isKnown = [&](const boost::shared_ptr<vexservice::IData>& record) {
        const std::size_t place = at++;
        if (place < before.size() && before[place] == record) return true;
        if (known.empty()) {
            for (const auto& each : before) known.insert(each.get());
        }
        return known.count(record.get()) > 0;
    };
    now.erase(std::remove_if(now.begin(), now.end(), isKnown), now.end());
    return now;
}

}  // namespace TC
