#include "linkage/core/datacenter.h"

#include <algorithm>
#include <unordered_set>

namespace TC {

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
