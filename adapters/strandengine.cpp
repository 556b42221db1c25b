#include "adapters/strandengine.h"

#include "platform/log.h"

#include <boost/make_shared.hpp>

#include <exception>

namespace adapters {

boost::shared_ptr<boost::asio::io_service::strand> CStrandEngine::getStrand(
    const std::string& name) {
    const std::lock_guard lock(m_mutex);
    auto& strand = m_strands[name];
    if (!strand) strand = boost::make_shared<boost::asio::io_service::strand>(m_service);
    return strand;
}

CServiceThreads::CServiceThreads(int threads) : m_work(boost::asio::make_work_guard(m_service)) {
    for (int i = 0; i < threads; ++i) {
        m_threads.emplace_back([this] {
            while (!m_service.stopped()) {
                try {
                    m_service.run();
                } catch (const std::exception& fault) {
                    g_VexStdLogger.error("adapters::CServiceThreads", fault.what());
                } catch (...) {
                    g_VexStdLogger.error("adapters::CServiceThreads",
                                         "something that is no std::exception was thrown");
                }
            }
        });
    }
}

CServiceThreads::~CServiceThreads() { stop(); }

void CServiceThreads::stop() {
    m_service.stop();
    for (std::thread& thread : m_threads) thread.join();
    m_threads.clear();
}

}  // namespace adapters
