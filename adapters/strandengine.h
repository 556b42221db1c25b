#pragma once

#include "platform/services/rpcengine.h"

#include <utility>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_service.hpp>

#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace adapters {

/// An engine that gives named strands on an io_service which its host runs, with one thread or
/// several. Threads: any. The io_service outlives the engine and who uses its strands.
class CStrandEngine : public net::RPCEngine {
public:
    /// Strands on this service.
    explicit CStrandEngine(boost::asio::io_service& service) : m_service(service) {}

    boost::shared_ptr<boost::asio::io_service::strand> getStrand(const std::string& name) override;

private:
    boost::asio::io_service& m_service;
    std::mutex m_mutex;
    std::map<std::string, boost::shared_ptr<boost::asio::io_service::strand>> m_strands;
};

/// An io_service and the threads that run it.
class CServiceThreads {
public:
    /// Starts the threads, which run the service until stop(). A handler that throws is logged and
    /// costs that handler, not the thread.
    explicit CServiceThreads(int threads = 1);
    /// Stops; what is queued is dropped. Not on one of the threads.
    ~CServiceThreads();
    CServiceThreads(const CServiceThreads&) = delete;
    CServiceThreads& operator=(const CServiceThreads&) = delete;

    /// Stops and joins the threads. The service stays, so that what lives on it can be
    /// taken down while nothing runs. A second call does nothing.
    void stop();

    /// What the threads run.
    boost::asio::io_service& service() { return m_service; }

private:
    boost::asio::io_service m_service;
    boost::asio::executor_work_guard<boost::asio::io_service::executor_type> m_work;
    std::vector<std::thread> m_threads;
};

/// An engine with threads of its own, for a client that has no io_service. Release the manager
/// before it goes.
class CThreadEngine : public CServiceThreads, public CStrandEngine {
public:
    /// Starts so many threads. One is enough: the library's strand runs one handler at a time.
    explicit CThreadEngine(int threads = 1)
        : CServiceThreads(threads), CStrandEngine(CServiceThreads::service()) {}
    /// Stops; what is queued is dropped. Not on one of the threads.
    ~CThreadEngine() override { stop(); }
};

}  // namespace adapters
