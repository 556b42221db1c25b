#pragma once

#include "common/byaddress.h"
#include "platform/records/dealdetail.h"
#include "platform/records/orderdetail.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include <mutex>
#include <set>
#include <string>
#include <unordered_set>
#include <variant>
#include <vector>

namespace TC {

/// One report, or other work, on its way to the strand.
struct InboxItem {
    using Work = boost::function<void()>;

    const std::string* accountKey;  ///< "" for other work; stays as long as the inbox
    std::variant<Work, boost::shared_ptr<vexservice::COrderDetail>,
                 boost::shared_ptr<vexservice::CDealDetail>>
        what;
};

using WaitingReports = std::set<boost::shared_ptr<const vexservice::IData>, utils::ByAddress>;

/// What waits for the strand, in the order of arrival. push() asks for a wake-up of the strand
/// once per batch, not once per report: in a storm the wake-up is most of the cost of a post.
///
/// Threads: push() from any thread, take() on the strand.
class CInbox {
public:
    /// True when the caller must wake the strand: the strand has emptied the inbox since the
    /// last wake-up.
    template <class What>
    bool push(const std::string& accountKey, What&& what) {
        const std::lock_guard lock(m_mutex);
        m_items.push_back({&*m_accountKeys.insert(accountKey).first, std::forward<What>(what)});
        return !std::exchange(m_bTold, true);
    }

    /// Everything that waits. If nothing was waiting, the next push() asks for a wake-up again.
    /// The memory of `items` is used for the reports that arrive next. After a storm it is
    /// freed instead, because it is far too large.
    bool take(std::vector<InboxItem>& items) {
        items.clear();
        std::vector<InboxItem> spare;
        const std::lock_guard lock(m_mutex);
        if (items.capacity() > KEPT_ROOM && m_items.size() < items.capacity() / 4) {
            items.swap(spare);
        }
        items.swap(m_items);
        if (items.empty()) m_bTold = false;
        return !items.empty();
    }

    /// The reports of an account that wait, by address.
    void gather(const std::string& accountKey, WaitingReports& found) const {
        const std::lock_guard lock(m_mutex);
        gatherFrom(m_items, accountKey, found);
    }

    static void gatherFrom(const std::vector<InboxItem>& items, const std::string& accountKey,
                           WaitingReports& found) {
        for (const InboxItem& item : items) {
            if (*item.accountKey != accountKey) continue;
            if (const auto* order = std::get_if<1>(&item.what)) found.insert(*order);
            if (const auto* deal = std::get_if<2>(&item.what)) found.insert(*deal);
        }
    }

    static constexpr std::size_t KEPT_ROOM = 4096;

private:
    mutable std::mutex m_mutex;
    std::vector<InboxItem> m_items;
    std::unordered_set<std::string> m_accountKeys;  ///< once each, so that no item has a copy
    bool m_bTold = false;
};

}  // namespace TC
