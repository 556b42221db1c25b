#pragma once

#include "platform/export.h"
#include "platform/records/accountinfo.h"

#include <fmt/format.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

/// The client's log.
///
/// A line consists of the logger's name, the qualified name of the operation and the message:
/// "[{0}] [{1}] {2}". It goes to the log4cxx logger "linkage", so levels, files and layouts are
/// configured as everywhere in the client.
///
/// Threads: any. Failure: writing a log line never throws.
class PLATFORM_EXPORT CVexLogger {
public:
    /// Takes every line in place of log4cxx, on the thread that writes it.
    using Tap = std::function<void(std::string_view operation, const std::string& message)>;

    CVexLogger();
    ~CVexLogger();

    /// Whether a line at information level would go anywhere. Ask before composing.
    bool isInfoEnabled() const;

    void info(const char* operation, const std::string& message) noexcept;
    void error(const char* operation, const std::string& message) noexcept;

    /// Diverts the log (an empty tap ends it). Not while other threads are logging.
    void setTap(Tap tap);

    /// A silent log drops every line, and VEX_INFO does not even compose it. Not while other
    /// threads are logging.
    void setSilent(bool silent);

private:
    struct Sink;
    void write(bool error, const char* operation, const std::string& message) noexcept;
    std::unique_ptr<Sink> m_pSink;
};

PLATFORM_EXPORT extern CVexLogger g_VexStdLogger;

namespace LOGPRINT {

/// How an account is named in log lines: its key, "" for none.
PLATFORM_EXPORT std::string accountLogKey(
    const boost::shared_ptr<vexservice::CAccountInfo>& account);

}  // namespace LOGPRINT

/// Logs at information level; the arguments are not evaluated when nobody listens.
#define VEX_INFO(operation, ...)                                        \
    do {                                                                \
        if (g_VexStdLogger.isInfoEnabled())                             \
            g_VexStdLogger.info(operation, ::fmt::format(__VA_ARGS__)); \
    } while (0)
