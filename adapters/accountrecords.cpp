#include "adapters/accountrecords.h"

#include "common/keyindex.h"

#include <utility>

namespace adapters {

using namespace vexservice;

struct CAccountRecords::Records {
    std::vector<Record> inOrder;
    utils::CKeyIndex places;

    /// The place of a record key, or CKeyIndex::NONE.
    std::uint32_t placeOf(std::uint64_t recordKey) const {
        return places.find(utils::mixHash(recordKey), [&](std::uint32_t place) {
            return inOrder[place]->recordKey() == recordKey;
        });
    }

    void add(Record record) {
        places.add(utils::mixHash(record->recordKey()), static_cast<std::uint32_t>(inOrder.size()));
        inOrder.push_back(std::move(record));
    }
};

CAccountRecords::CAccountRecords(std::string key) : m_strKey(std::move(key)) {}
CAccountRecords::~CAccountRecords() = default;

boost::shared_ptr<CAccountInfo> CAccountRecords::getAccountInfo() const {
    const std::lock_guard lock(m_mutex);
    return m_pInfo;
}

void CAccountRecords::getVector(int type, std::vector<boost::shared_ptr<IData>>& records) const {
    const std::lock_guard lock(m_mutex);
    const auto at = m_records.find(type);
    if (at == m_records.end()) return;
    const std::vector<Record>& kept = at->second->inOrder;
    records.insert(records.end(), kept.begin(), kept.end());
}

void CAccountRecords::setInfo(boost::shared_ptr<CAccountInfo> info) {
    const std::lock_guard lock(m_mutex);
    m_pInfo = std::move(info);
}

void CAccountRecords::keep(int type, const Record& record) {
    if (!record) return;
    // What it replaces may be the last of its kind: that is destroyed without the lock.
    Record before;
    const std::lock_guard lock(m_mutex);
    std::unique_ptr<Records>& records = m_records[type];
    if (!records) records = std::make_unique<Records>();
    const std::uint32_t place = records->placeOf(record->recordKey());
    if (place == utils::CKeyIndex::NONE) {
        records->add(record);
    } else {
        before = std::exchange(records->inOrder[place], record);
    }
}

CAccountRecords::Record CAccountRecords::find(int type, std::uint64_t recordKey) const {
    const std::lock_guard lock(m_mutex);
    const auto records = m_records.find(type);
    if (records == m_records.end()) return {};
    const std::uint32_t place = records->second->placeOf(recordKey);
    return place == utils::CKeyIndex::NONE ? Record() : records->second->inOrder[place];
}

void CAccountRecords::forget(int type, const std::function<bool(const INumberedData&)>& wanted) {
    auto left = std::make_unique<Records>();
    const std::lock_guard lock(m_mutex);
    std::unique_ptr<Records>& records = m_records[type];
    if (records) {
        for (const Record& record : records->inOrder) {
            if (wanted(*record)) left->add(record);
        }
    }
    records.swap(left);
}

}  // namespace adapters
