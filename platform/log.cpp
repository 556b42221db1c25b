#include "platform/log.h"

#include <log4cxx/appender.h>
#include <log4cxx/logger.h>
#include <log4cxx/spi/hierarchyeventlistener.h>
#include <log4cxx/spi/loggerrepository.h>

#include <atomic>
#include <mutex>

// With a name, because CVexLogger::Sink, which has linkage, holds one.
namespace clientlog {

using log4cxx::LoggerPtr;
using log4cxx::helpers::Class;
using log4cxx::helpers::Object;
using log4cxx::spi::HierarchyEventListener;

/// Counts the appenders that any logger got. log4cxx keeps it, maybe longer than the logger here.
class CAppenderWatch final : public HierarchyEventListener {
public:
    const void* cast(const Class& type) const override {
        if (&type == &Object::getStaticClass()) return static_cast<const Object*>(this);
        if (&type == &HierarchyEventListener::getStaticClass())
            return static_cast<const HierarchyEventListener*>(this);
        return nullptr;
    }
    bool instanceof (const Class& type) const override { return cast(type) != nullptr; }
    const Class& getClass() const override { return Object::getStaticClass(); }

    void addAppenderEvent(const log4cxx::Logger*, const log4cxx::Appender*) override {
        m_changes.fetch_add(1, std::memory_order_release);
    }
    void removeAppenderEvent(const log4cxx::Logger*, const log4cxx::Appender*) override {
        m_changes.fetch_add(1, std::memory_order_release);
    }
    unsigned changes() const { return m_changes.load(std::memory_order_acquire); }

private:
    std::atomic<unsigned> m_changes{1};
};

inline bool hasAppender(LoggerPtr logger) {
    for (; logger; logger = logger->getParent()) {
        if (!logger->getAllAppenders().empty()) return true;
        if (!logger->getAdditivity()) return false;
    }
    return false;
}

inline log4cxx::LevelPtr levelOf(ELogLevel level) {
    switch (level) {
        case ELogLevel::Info:
            return log4cxx::Level::getInfo();
        case ELogLevel::Warning:
            return log4cxx::Level::getWarn();
        case ELogLevel::Error:
            return log4cxx::Level::getError();
        case ELogLevel::Off:
            break;
    }
    return log4cxx::Level::getOff();
}

/// The client's log4cxx. It takes every line by default, appender or not, so whether one is there
/// is asked for when that may have changed.
class CClientLog {
public:
    CClientLog() {
        if (auto* repository = m_logger->getLoggerRepository())
            repository->addHierarchyEventListener(m_watch);
    }

    bool isEnabled(ELogLevel level) const {
        return isHeard() && m_logger->isEnabledFor(levelOf(level));
    }

    void write(const CVexLogger::Line& line) const {
        // That an appender went is told to nobody.
        if (!hasAppender(m_logger)) return m_heard.store(false, std::memory_order_relaxed);
        m_logger->forcedLog(levelOf(line.level), fmt::format("[{0}] [{1}] {2}", m_logger->getName(),
                                                             line.operation, line.message));
    }

private:
    bool isHeard() const {
        const unsigned changes = m_watch->changes();
        if (m_asked.load(std::memory_order_acquire) != changes) {
            m_heard.store(hasAppender(m_logger), std::memory_order_relaxed);
            m_asked.store(changes, std::memory_order_release);
        }
        return m_heard.load(std::memory_order_relaxed);
    }

    const LoggerPtr m_logger = log4cxx::Logger::getLogger("linkage");
    const std::shared_ptr<CAppenderWatch> m_watch = std::make_shared<CAppenderWatch>();
    mutable std::atomic<unsigned> m_asked{0};
    mutable std::atomic<bool> m_heard{false};
};

}  // namespace clientlog

struct CVexLogger::Sink {
    clientlog::CClientLog client;
    std::atomic<ELogLevel> from{ELogLevel::Info};
    std::atomic<bool> receives{false};
    mutable std::mutex mutex;
    std::shared_ptr<const Receiver> receiver;

    std::shared_ptr<const Receiver> current() const {
        const std::lock_guard lock(mutex);
        return receiver;
    }
};

CVexLogger g_VexStdLogger;

CVexLogger::CVexLogger() : m_pSink(std::make_unique<Sink>()) {}
CVexLogger::~CVexLogger() = default;

bool CVexLogger::isEnabled(ELogLevel level) const noexcept {
    if (level < m_pSink->from.load(std::memory_order_relaxed)) return false;
    if (m_pSink->receives.load(std::memory_order_relaxed)) return true;
    try {
        return m_pSink->client.isEnabled(level);
    } catch (...) {
        return false;
    }
}

void CVexLogger::write(ELogLevel level, const char* operation,
                       const std::string& message) noexcept {
    try {
        if (!isEnabled(level)) return;
        const Line line{level, operation, message};
        if (const auto receiver = m_pSink->current()) {
            (*receiver)(line);
        } else {
            m_pSink->client.write(line);
        }
    } catch (...) {
        // A line that cannot be written must not take the client down.
    }
}

void CVexLogger::setReceiver(Receiver receiver) {
    auto next = receiver ? std::make_shared<const Receiver>(std::move(receiver)) : nullptr;
    m_pSink->receives.store(next != nullptr, std::memory_order_relaxed);
    const std::lock_guard lock(m_pSink->mutex);
    m_pSink->receiver.swap(next);
}

void CVexLogger::setLevel(ELogLevel from) noexcept {
    m_pSink->from.store(from, std::memory_order_relaxed);
}

namespace LOGPRINT {

std::string accountLogKey(const boost::shared_ptr<vexservice::CAccountInfo>& account) {
    return account ? account->getKey() : std::string();
}

}  // namespace LOGPRINT
