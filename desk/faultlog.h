#pragma once

#include "platform/log.h"

#include <memory>
#include <string>
#include <vector>

namespace desk {

/// A fault that the library's log told.
struct LoggedFault {
    bool disk = false;  ///< otherwise a service of the client, or a slot of the desk's
    std::string text;   ///< the library's own line: operation and message
    std::string first;  ///< client time "hh:mm:ss"
    std::string last;
    int times = 1;
};

/// Whether a line of the log tells a fault, and which. The level says that a service or the disk
/// failed, the operation which of the two; what the message says does not count.
enum class EFaultLine { None, Service, Disk };
EFaultLine faultOf(const CVexLogger::Line& line);

/// Takes the library's log while it lives, and keeps the lines that tell faults.
///
/// Threads: any.
class CFaultLog {
public:
    CFaultLog() = default;
    ~CFaultLog();
    CFaultLog(const CFaultLog&) = delete;
    CFaultLog& operator=(const CFaultLog&) = delete;

    /// Takes the log, also from somebody who took it since the last call.
    void listen();
    /// What was told since the last call; equal lines are one fault.
    std::vector<LoggedFault> take();

private:
    struct Inbox;
    /// Shared with lines that are being written on other threads.
    std::shared_ptr<Inbox> m_pInbox;
};

}  // namespace desk
