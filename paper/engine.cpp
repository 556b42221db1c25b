#include "paper/engine.h"

#include <boost/make_shared.hpp>

namespace paper {

boost::shared_ptr<boost::asio::io_service::strand> CEngine::getStrand(const std::string& name) {
    const std::lock_guard lock(m_mutex);
    auto& strand = m_strands[name];
    if (!strand) strand = boost::make_shared<boost::asio::io_service::strand>(m_service);
    return strand;
}

}  // namespace paper
