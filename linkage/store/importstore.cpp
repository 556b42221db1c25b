#include "linkage/store/importstore.h"

#include "linkage/store/commitmark.h"
#include "platform/log.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

namespace TC {

namespace {

constexpr char IMPORT_STORE[] = "TC::CImportStore";
constexpr std::string_view PREFIX = "import-";
constexpr std::string_view SUFFIX = ".jsonl";

std::string nameOf(int number) { return fmt::format("{}{:06}{}", PREFIX, number, SUFFIX); }

// 0 when the name is that of no import.
int numberOf(std::string_view name) {
    if (!name.starts_with(PREFIX) || !name.ends_with(SUFFIX)) return 0;
    const std::string_view digits =
        name.substr(PREFIX.size(), name.size() - PREFIX.size() - SUFFIX.size());
    int number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool isNumber = number > 0 && number < std::numeric_limits<int>::max();
    return isNumber && nameOf(number) == name ? number : 0;
}

}  // namespace

CImportStore::CImportStore(std::string directory, std::unique_ptr<IFileSystem> files,
                           std::shared_ptr<CDirectoryLock> lock, boost::shared_ptr<CDoor> door,
                           std::function<bool()> retryLater)
    : m_directory(std::move(directory)),
      m_pFiles(std::move(files)),
      m_pLock(std::move(lock)),
      m_pDoor(std::move(door)),
      m_retryLater(std::move(retryLater)),
      m_set(m_directory, *m_pFiles, *m_pLock) {
    m_set.open();
}

CImportStore::~CImportStore() {
    joinRetry();
    for (const auto& [number, content] : m_pending) {
        g_VexStdLogger.error(IMPORT_STORE,
                             fmt::format("import {} is not {}", number,
                                         content ? "saved" : "taken out of the directory"));
    }
}

void CImportStore::joinRetry() {
    if (!m_thread.joinable()) return;
    // The manager may go with this thread, when that is the last to leave the door.
    if (m_thread.get_id() == boost::this_thread::get_id()) {
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

// ------------------------------------------------------------------- reading

std::vector<int> CImportStore::numbers() const {
    std::vector<int> numbers;
    std::error_code error;
    for (std::filesystem::directory_iterator at(m_directory, error), end; !error && at != end;
         at.increment(error)) {
        if (const int number = numberOf(at->path().filename().string())) numbers.push_back(number);
    }
    if (error && error != std::errc::no_such_file_or_directory) {
        g_VexStdLogger.error(IMPORT_STORE, fmt::format("the imports cannot be listed : {} : {}",
                                                       m_directory, error.message()));
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

std::optional<std::string> CImportStore::load(int number) {
    const std::lock_guard lock(m_mutex);
    std::string bytes;
    const IFileSystem::ERead read = m_set.read(nameOf(number), bytes);
    if (read == IFileSystem::ERead::Done) return bytes;
    const bool large = read == IFileSystem::ERead::TooLarge;
    LINKAGE_LOG_WARNING(IMPORT_STORE, "file {0}, left as it is : {1}",
                        large ? "too large" : "not readable", m_set.pathOf(nameOf(number)));
    return std::nullopt;
}

// ------------------------------------------------------------------- changing

CImportStore::ESave CImportStore::save(int number, std::string text) {
    const std::lock_guard lock(m_mutex);
    if (text.size() > IFileSystem::MOST_BYTES) {
        LINKAGE_LOG_WARNING(IMPORT_STORE, "import {0} is not saved, its file would be too large",
                            number);
        return ESave::TooLarge;
    }
    m_pending[number] = std::move(text);
    serve();
    return m_pending.count(number) > 0 ? ESave::Later : ESave::Done;
}

void CImportStore::remove(int number) {
    const std::lock_guard lock(m_mutex);
    m_pending[number] = std::nullopt;
    serve();
}

// The strand never waits for the disk: a retry that still runs is not waited for.
void CImportStore::retry() {
    if (m_bRetrying.exchange(true)) {
        m_retryLater();
        return;
    }
    joinRetry();  // it has done its work and only has to leave
    try {
        m_thread = boost::thread([this, door = m_pDoor] {
            const CDoor::Visit visit(door);
            if (!visit) return;
            {
                const std::lock_guard lock(m_mutex);
                m_bRetries = false;
                if (!m_pending.empty()) serve();
            }
            m_bRetrying = false;
        });
    } catch (const boost::thread_resource_error&) {
        m_bRetrying = false;
        m_retryLater();
    }
}

void CImportStore::finish() {
    const std::lock_guard lock(m_mutex);
    if (!m_pending.empty()) serve();
}

void CImportStore::serve() {
    CFileSet::Fault fault;
    for (auto at = m_pending.begin(); at != m_pending.end();) {
        CFileSet::Fault mine = change(nameOf(at->first), at->second);
        at = mine.empty() ? m_pending.erase(at) : std::next(at);
        if (fault.empty()) fault = std::move(mine);
    }
    report(fault);
}

CFileSet::Fault CImportStore::change(const std::string& name, const Content& content) {
    if (!content && !m_set.isThere()) return {};
    CFileSet::Fault fault = m_set.prepare();
    if (fault.empty()) fault = content ? m_set.mayReplace(name) : m_set.mayRemove(name);
    if (fault.empty() && content) fault = m_set.stage(name, *content);
    if (!fault.empty()) return fault;
    CFileSet::Change change{name, std::nullopt};
    if (content) change.digest = commit::digest(*content);
    const CFileSet::Outcome outcome = m_set.commit({change});
    if (!outcome.counts && content) m_set.discard(name);
    return outcome.fault;
}

void CImportStore::report(const CFileSet::Fault& fault) {
    if (!fault.empty() && !m_bRetries) m_bRetries = m_retryLater();
    if (std::exchange(m_strFault, fault) == fault) return;
    if (fault.empty()) {
        LINKAGE_LOG_INFO(IMPORT_STORE, "the imports are saved again");
    } else {
        g_VexStdLogger.error(IMPORT_STORE, "imports not saved, tried again later : " + fault);
    }
}

}  // namespace TC
