#pragma once

#include "platform/records/accountinfo.h"

#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>

#include <map>
#include <string>
#include <vector>

namespace TC {

/// The accounts that the manager follows, and its subscriptions to their records, by
/// account key. Guarded by the manager's lock.
struct FollowedAccounts {
    std::map<std::string, boost::shared_ptr<vexservice::CAccountInfo>> m_infos;
    std::map<std::string, std::vector<boost::signals2::connection>> m_connections;

    void disconnect(const std::string& accountKey) {
        std::vector<boost::signals2::connection>& connections = m_connections[accountKey];
        for (const boost::signals2::connection& each : connections) each.disconnect();
        connections.clear();
    }
    void disconnectAll() {
        for (const auto& [key, connections] : m_connections) {
            for (const boost::signals2::connection& each : connections) each.disconnect();
        }
        m_connections.clear();
    }
};

}  // namespace TC
