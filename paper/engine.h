#pragma once

#include "platform/services/rpcengine.h"

#include <map>
#include <mutex>
#include <string>

namespace paper {

/// Named strands on the loop.
class CEngine final : public net::RPCEngine {
public:
    explicit CEngine(boost::asio::io_service& service) : m_service(service) {}

    boost::shared_ptr<boost::asio::io_service::strand> getStrand(const std::string& name) override;

private:
    boost::asio::io_service& m_service;
    std::mutex m_mutex;
    std::map<std::string, boost::shared_ptr<boost::asio::io_service::strand>> m_strands;
};

}  // namespace paper
