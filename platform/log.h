#pragma once

/// @file
/// The log that the libraries and the client write to.

#include "platform/export.h"
#include "platform/records/accountinfo.h"

#include <fmt/format.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

/// How much a line matters.
enum class ELogLevel {
    Info,     ///< what is done, step by step
    Warning,  ///< something is left out, refused, or asked for again
    Error,    ///< a service or the disk failed
    Off       ///< no line has it: the level of a log that says nothing
};

/// The client's log.
///
/// A line consists of the logger's name, the qualified name of the operation and the message:
/// "[{0}] [{1}] {2}". It goes to the log4cxx logger "linkage", so levels, files and layouts are
/// configured as everywhere in the client; while no appender is there, nothing is composed. A
/// client with a log of its own takes the lines with setReceiver().
///
/// Threads: any. Failure: writing a log line never throws.
class LINKAGE_PLATFORM_EXPORT CVexLogger {
public:
    /// One line, as a receiver gets it.
    struct Line {
        ELogLevel level = ELogLevel::Info;  ///< how much the line matters
        std::string_view operation;  ///< qualified name, as "TC::CLinkageManager::doStockBalance"
        std::string_view message;    ///< what happened, UTF-8
    };

    /// Called on the thread that writes the line, often under the manager's lock: it must not
    /// wait. What the line names is valid during the call.
    using Receiver = std::function<void(const Line& line)>;

    CVexLogger();
    ~CVexLogger();

    /// Whether a line of this level would go anywhere. Ask before composing.
    bool isEnabled(ELogLevel level) const noexcept;

    /// Writes one line. It does nothing when no line of this level goes anywhere. Prefer
    /// LINKAGE_LOG, which composes the message only when it is needed.
    void write(ELogLevel level, const char* operation, const std::string& message) noexcept;
    /// As write() with ELogLevel::Info.
    void info(const char* operation, const std::string& message) noexcept {
        write(ELogLevel::Info, operation, message);
    }
    /// As write() with ELogLevel::Error.
    void error(const char* operation, const std::string& message) noexcept {
        write(ELogLevel::Error, operation, message);
    }

    /// Gives all lines to the client's own log in place of log4cxx; an empty receiver gives them
    /// back. A line that another thread is writing may still reach the receiver of before.
    void setReceiver(Receiver receiver);

    /// Drops lines below a level before they are composed; Info, which drops none, at first.
    void setLevel(ELogLevel from) noexcept;

private:
    struct Sink;
    std::unique_ptr<Sink> m_pSink;
};

/// The one log of the process: the libraries and the client write to it.
LINKAGE_PLATFORM_EXPORT extern CVexLogger g_VexStdLogger;

namespace LOGPRINT {

/// How an account is named in log lines: its key, "" for none.
LINKAGE_PLATFORM_EXPORT std::string accountLogKey(
    const boost::shared_ptr<vexservice::CAccountInfo>& account);

}  // namespace LOGPRINT

/// Logs at a level; the arguments are not evaluated when nobody listens.
#define LINKAGE_LOG(level, operation, ...)                                      \
    do {                                                                        \
        if (g_VexStdLogger.isEnabled(level))                                    \
            g_VexStdLogger.write(level, operation, ::fmt::format(__VA_ARGS__)); \
    } while (0)
/// As LINKAGE_LOG with ELogLevel::Info.
#define LINKAGE_LOG_INFO(operation, ...) LINKAGE_LOG(ELogLevel::Info, operation, __VA_ARGS__)
/// As LINKAGE_LOG with ELogLevel::Warning.
#define LINKAGE_LOG_WARNING(operation, ...) LINKAGE_LOG(ELogLevel::Warning, operation, __VA_ARGS__)
