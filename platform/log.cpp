#include "platform/log.h"

#include <log4cxx/logger.h>

struct CVexLogger::Sink {
    log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("linkage");
    Tap tap;
    bool silent = false;
};

CVexLogger g_VexStdLogger;

CVexLogger::CVexLogger() : m_pSink(std::make_unique<Sink>()) {}
CVexLogger::~CVexLogger() = default;

bool CVexLogger::isInfoEnabled() const {
    if (m_pSink->silent) return false;
    return m_pSink->tap || log4cxx::Logger::isInfoEnabledFor(m_pSink->logger);
}

void CVexLogger::info(const char* operation, const std::string& message) noexcept {
    write(false, operation, message);
}

void CVexLogger::error(const char* operation, const std::string& message) noexcept {
    write(true, operation, message);
}

void CVexLogger::write(bool error, const char* operation, const std::string& message) noexcept {
    try {
        if (m_pSink->silent) return;
        if (m_pSink->tap) {
            m_pSink->tap(operation, message);
            return;
        }
        const auto level = error ? log4cxx::Level::getError() : log4cxx::Level::getInfo();
        if (!m_pSink->logger->isEnabledFor(level)) return;
        m_pSink->logger->forcedLog(
            level, fmt::format("[{0}] [{1}] {2}", m_pSink->logger->getName(), operation, message));
    } catch (...) {
        // A line that cannot be written must not take the client down.
    }
}

void CVexLogger::setTap(Tap tap) { m_pSink->tap = std::move(tap); }

void CVexLogger::setSilent(bool silent) { m_pSink->silent = silent; }

namespace LOGPRINT {

std::string accountLogKey(const boost::shared_ptr<vexservice::CAccountInfo>& account) {
    return account ? account->getKey() : std::string();
}

}  // namespace LOGPRINT
