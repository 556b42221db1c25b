#include "desk/faultlog.h"

#include "desk/pricetape.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <string_view>

namespace desk {

namespace {

/// The operations that read and write files.
constexpr std::string_view DISK_OPERATIONS[] = {
    "TC::CLinkageManager::writedata", "TC::CLinkageManager::readFromFile", "TC::CBookWriter",
    "TC::CBookFile", "TC::CImportStore"};
/// A service that fails at every call, with other words each time, must not fill the memory.
constexpr std::size_t MOST_WAITING = 300;

}  // namespace

EFaultLine faultOf(const CVexLogger::Line& line) {
    const bool disk = std::find(std::begin(DISK_OPERATIONS), std::end(DISK_OPERATIONS),
                                line.operation) != std::end(DISK_OPERATIONS);
    // A file that cannot be read is left as it is, which is a warning.
    const ELogLevel least = disk ? ELogLevel::Warning : ELogLevel::Error;
    if (line.level < least) return EFaultLine::None;
    return disk ? EFaultLine::Disk : EFaultLine::Service;
}

struct CFaultLog::Inbox {
    std::mutex mutex;
    std::vector<LoggedFault> faults;

    void add(const CVexLogger::Line& line) {
        const EFaultLine kind = faultOf(line);
        if (kind == EFaultLine::None) return;
        const std::string text = fmt::format("{}: {}", line.operation, line.message);
        const std::string time = clockText();
        const std::lock_guard lock(mutex);
        const auto known =
            std::find_if(faults.begin(), faults.end(),
                         [&text](const LoggedFault& fault) { return fault.text == text; });
        if (known != faults.end()) {
            known->last = time;
            ++known->times;
        } else if (faults.size() < MOST_WAITING) {
            faults.push_back({kind == EFaultLine::Disk, text, time, time, 1});
        }
    }
};

CFaultLog::~CFaultLog() {
    if (!m_pInbox) return;
    g_VexStdLogger.setReceiver({});
    g_VexStdLogger.setLevel(ELogLevel::Info);
}

void CFaultLog::listen() {
    if (!m_pInbox) m_pInbox = std::make_shared<Inbox>();
    g_VexStdLogger.setReceiver(
        [inbox = m_pInbox](const CVexLogger::Line& line) { inbox->add(line); });
    g_VexStdLogger.setLevel(ELogLevel::Warning);
}

std::vector<LoggedFault> CFaultLog::take() {
    std::vector<LoggedFault> faults;
    if (!m_pInbox) return faults;
    const std::lock_guard lock(m_pInbox->mutex);
    faults.swap(m_pInbox->faults);
    return faults;
}

}  // namespace desk
