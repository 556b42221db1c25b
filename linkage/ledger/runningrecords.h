#pragma once

#include "linkage/ledger/attribution.h"
#include "linkage/ledger/ledgerstate.h"

#include <boost/shared_ptr.hpp>

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace TC {

/// The running records of one kind, as sets by account and strategy; WHOLE_ACCOUNT has
/// those of all strategies. A set that was ever used stays, empty, when its last record
/// has left. For records that are few: the orders of the day have a form of their own in
/// the ledger.
template <class Record>
class CRunningRecords {
    friend struct PictureMembers;

public:
    using RecordPtr = boost::shared_ptr<Record>;

    /// Takes a record into the sets of its strategy and of its account, or lets it leave
    /// them. Calls `onEmptied(strategy)` when the last record of a set has left; the set of
    /// the account follows only after that of the strategy was told.
    template <class OnEmptied>
    void update(const std::string& accountKey, const RecordPtr& record, bool runs,
                OnEmptied onEmptied) {
        const std::string& strategy = strategyOf(record->m_pCommand.get());
        if (updateSet(accountKey, strategy, record, runs)) onEmptied(strategy);
        if (strategy == WHOLE_ACCOUNT) return;
        if (updateSet(accountKey, WHOLE_ACCOUNT, record, runs)) onEmptied(WHOLE_ACCOUNT);
    }

    /// In record key order; nothing when the set was never used.
    std::optional<std::vector<RecordPtr>> records(const std::string& accountKey,
                                                  const std::string& strategy) const {
        const ByRecord<RecordPtr>* const set = find(accountKey, strategy);
        if (!set) return std::nullopt;
        std::vector<RecordPtr> all;
        for (const auto& [key, record] : *set) all.push_back(record);
        return all;
    }

    int count(const std::string& accountKey, const std::string& strategy) const {
        const ByRecord<RecordPtr>* const set = find(accountKey, strategy);
        return set ? static_cast<int>(set->size()) : 0;
    }

    void clear() { m_sets.clear(); }
    void dropAccount(const std::string& accountKey) { m_sets.erase(accountKey); }

    /// The record keys of every set.
    ByText<ByText<std::set<unsigned long long>>> keys() const {
        ByText<ByText<std::set<unsigned long long>>> all;
        for (const auto& [account, strategies] : m_sets) {
            for (const auto& [strategy, records] : strategies) {
                auto& set = all[account][strategy];
                for (const auto& [key, record] : records) set.insert(key);
            }
        }
        return all;
    }

private:
    // True when the last record has left.
    bool updateSet(const std::string& accountKey, const std::string& strategy,
                   const RecordPtr& record, bool runs) {
        if (runs) {
            m_sets[accountKey][strategy][record->recordKey()] = record;
            return false;
        }
        const auto account = m_sets.find(accountKey);
        if (account == m_sets.end()) return false;
        const auto set = account->second.find(strategy);
        if (set == account->second.end()) return false;
        return set->second.erase(record->recordKey()) > 0 && set->second.empty();
    }

    const ByRecord<RecordPtr>* find(const std::string& accountKey,
                                    const std::string& strategy) const {
        const auto account = m_sets.find(accountKey);
        if (account == m_sets.end()) return nullptr;
        const auto set = account->second.find(strategy);
        return set == account->second.end() ? nullptr : &set->second;
    }

    ByText<ByText<ByRecord<RecordPtr>>> m_sets;
};

}  // namespace TC
