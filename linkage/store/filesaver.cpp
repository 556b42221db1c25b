#include "linkage/store/filesaver.h"

#include "linkage/balance/balancetimes.h"
#include "platform/log.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace TC {

namespace {

constexpr char SAVER[] = "TC::CLinkageManager::writedata";

// In the order in which they are read and written.
constexpr const char* SAVED_FILES[] = {STAT_FILE, BALANCE_FILE, DETAIL_FILE, KEPT_FILE,
                                       BALANCE_TIMES_FILE};

}  // namespace

// Counts a save as being written while it lives.
struct CFileSaver::Writing {
    explicit Writing(CFileSaver& owner) : saver(owner) {}
    ~Writing() {
        std::lock_guard lock(saver.m_mutex);
        --saver.m_nWriting;
        saver.m_written.notify_all();
    }
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;
    CFileSaver& saver;
};

CFileSaver::CFileSaver(CRecursiveMutex& mutex, boost::shared_ptr<CDoor> door, Place place,
                       Composer composer, std::unique_ptr<IFileSystem> files,
                       StartThread startThread)
    : m_managerMutex(mutex),
      m_pDoor(std::move(door)),
      m_place(std::move(place)),
      m_composer(std::move(composer)),
      m_pFiles(std::move(files)),
      m_pLock(std::make_shared<CDirectoryLock>(m_place.directory, m_pFiles)),
      m_startThread(std::move(startThread)),
      m_set(m_place.directory, *m_pFiles, *m_pLock) {}

CFileSaver::~CFileSaver() {
    logFault();
    if (!m_thread.joinable()) return;
    // The manager may go with the save thread, when that is the last to leave the door.
    if (m_thread.get_id() == boost::this_thread::get_id()) {
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

CFileSaver::Texts CFileSaver::load() {
    const std::lock_guard lock(m_placeMutex);
    Texts texts;
    m_set.open();
    for (const char* name : SAVED_FILES) {
        std::string bytes;
        const IFileSystem::ERead read = m_set.read(name, bytes);
        if (read == IFileSystem::ERead::Missing) continue;
        if (read == IFileSystem::ERead::Done) {
            if (auto text = decodeText(bytes)) {
                texts[name] = std::move(*text);
                continue;
            }
            m_set.keepCopyOf(name);
        }
        const bool large = read == IFileSystem::ERead::TooLarge;
        LINKAGE_LOG_WARNING("TC::CLinkageManager::readFromFile", "file {0}, left as it is : {1}",
                            large ? "too large" : "not readable", m_set.pathOf(name));
    }
    return texts;
}

// ------------------------------------------------------------------- asking

void CFileSaver::saveAll(bool withTime) { ask({.all = withTime}); }

void CFileSaver::saveBalanceTimes() { ask({.balanceTimes = true}); }

CFileSaver::Wishes CFileSaver::merged(const Wishes& earlier, const Wishes& later) {
    if (later.all) return later;
    return {earlier.all, earlier.balanceTimes || later.balanceTimes};
}

void CFileSaver::ask(const Wishes& wishes) {
    std::lock_guard lock(m_mutex);
    m_wishes = merged(m_wishes.value_or(Wishes{}), wishes);
    startThread();
}

void CFileSaver::startThread() {
    if (m_bThread) return;
    // A former save thread is past every lock here; it only has to leave.
    if (m_thread.joinable()) m_thread.join();
    const auto work = [this, door = m_pDoor] {
        const CDoor::Visit visit(door);
        if (visit) run();
    };
    m_thread = m_startThread ? m_startThread(work) : boost::thread(work);
    m_bThread = true;
}

void CFileSaver::retry() {
    {
        std::lock_guard lock(m_mutex);
        m_bRetries = false;
        if (!m_failed) return;
        m_bLasts = true;
        if (!m_wishes) m_wishes = Wishes{};
        try {
            startThread();
            return;
        } catch (const std::exception& error) {
            g_VexStdLogger.error(SAVER, error.what());
        }
    }
    asksForRetry();
}

// Whether retry() will be called.
bool CFileSaver::asksForRetry() {
    {
        const std::lock_guard lock(m_mutex);
        if (m_bRetries || !m_composer.retryLater) return m_bRetries;
        m_bRetries = true;
    }
    if (m_composer.retryLater()) return true;
    const std::lock_guard lock(m_mutex);
    m_bRetries = false;
    return false;
}

// ------------------------------------------------------------------ serving

void CFileSaver::run() {
    try {
        while (serve(true)) {
        }
    } catch (const std::exception& error) {
        g_VexStdLogger.error(SAVER, error.what());
        std::lock_guard lock(m_mutex);
        m_bThread = false;
    }
}

std::optional<CFileSaver::Wishes> CFileSaver::take(bool onSaveThread) {
    std::lock_guard lock(m_mutex);
    if (!m_wishes) {
        if (onSaveThread) m_bThread = false;
        return std::nullopt;
    }
    ++m_nWriting;
    const Wishes earlier = std::exchange(m_failed, std::nullopt).value_or(Wishes{});
    return merged(earlier, *std::exchange(m_wishes, std::nullopt));
}

// Nothing is taken off the wishes here: who finishes saves under the manager's lock must not find
// one that waits for it.
void CFileSaver::prepare() {
    if (!m_composer.prepare) return;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_wishes) return;
    }
    while (m_composer.prepare()) m_managerMutex.giveWay();
}

// One round: takes what is asked for, composes and writes it. False when nothing was.
// Asked for, taken: both happen in one hold of the manager's lock, so that whoever
// holds it finds a save either still to be taken or past the need of that lock.
bool CFileSaver::serve(bool onSaveThread) {
    prepare();
    CLock lock(m_managerMutex);
    const std::optional<Wishes> wishes = take(onSaveThread);
    if (!wishes) return false;
    CFileSet::Fault fault;
    {
        const Writing writing(*this);
        Save save = takeFiles(*wishes);
        lock.unlock();
        compose(save, *wishes);
        try {
            fault = commit(save);
        } catch (const std::exception& error) {
            fault = error.what();
        }
        if (!fault.empty()) {
            std::lock_guard held(m_mutex);
            m_failed = merged(*wishes, m_failed.value_or(Wishes{}));
        }
        report(fault);
    }
    return true;
}

CFileSaver::Save CFileSaver::takeFiles(const Wishes& wishes) {
    Save save;
    save.number = ++m_nNumber;
    try {
        if (wishes.all) save.taken.push_back(m_composer.all(*wishes.all));
        if (wishes.balanceTimes) save.taken.push_back(m_composer.balanceTimes());
    } catch (...) {
        putBack(wishes);
        throw;
    }
    return save;
}

void CFileSaver::compose(Save& save, const Wishes& wishes) {
    try {
        for (auto& make : save.taken) {
            for (auto& [name, text] : make()) save.texts[name] = std::move(text);
        }
        save.taken.clear();
    } catch (...) {
        putBack(wishes);
        throw;
    }
}

// What could not be composed stands, unless it was asked for anew.
void CFileSaver::putBack(const Wishes& wishes) {
    std::lock_guard lock(m_mutex);
    m_wishes = merged(wishes, m_wishes.value_or(Wishes{}));
}

// Sees that a failure is not the end, and that one which lasts is known.
void CFileSaver::report(const CFileSet::Fault& fault) {
    bool lasts = false;
    {
        const std::lock_guard lock(m_mutex);
        if (fault.empty() && m_failed) return;
        m_fault = fault;
        m_bLasts = m_bLasts && !fault.empty();
        lasts = m_bLasts;
        if (fault.empty()) {
            if (!std::exchange(m_strLogged, {}).empty()) {
                LINKAGE_LOG_INFO(SAVER, "the files are saved again");
            }
            return;
        }
    }
    if (!asksForRetry() || lasts) logFault();
}

void CFileSaver::logFault() {
    const std::lock_guard lock(m_mutex);
    // Which file of the set it is differs from one try to the next.
    const std::size_t at = m_fault.rfind(" : ");
    const std::string reason = at == m_fault.npos ? m_fault : m_fault.substr(at);
    if (reason.empty() || std::exchange(m_strLogged, reason) == reason) return;
    g_VexStdLogger.error(SAVER, "files not saved, tried again later : " + m_fault);
}

void CFileSaver::finish() {
    try {
        while (serve(false)) {
        }
        waitForWriters();
        {
            std::lock_guard lock(m_mutex);
            if (m_failed && !m_wishes) m_wishes = Wishes{};
        }
        while (serve(false)) {
        }
    } catch (const std::exception& error) {
        g_VexStdLogger.error(SAVER, error.what());
    }
    waitForWriters();
}

void CFileSaver::waitForWriters() {
    std::unique_lock lock(m_mutex);
    m_written.wait(lock, [&] { return m_nWriting == 0; });
}

// ------------------------------------------------------------------ writing

CFileSet::Fault CFileSaver::commit(const Save& save) {
    const std::lock_guard turn(m_stageMutex);
    {
        const std::lock_guard lock(m_placeMutex);
        if (CFileSet::Fault fault = m_set.prepare(); !fault.empty()) return fault;
        for (const auto& [name, text] : save.texts) {
            CFileSet::Fault fault = text.empty() ? m_set.mayRemove(name) : m_set.mayReplace(name);
            if (!fault.empty()) return fault;
        }
    }
    std::vector<CFileSet::Change> changes;
    if (CFileSet::Fault fault = stage(save, changes); !fault.empty()) return fault;
    return putInPlace(std::move(changes), save.number);
}

CFileSet::Fault CFileSaver::stage(const Save& save, std::vector<CFileSet::Change>& staged) {
    for (const auto& [name, text] : save.texts) {
        if (text.empty()) {
            staged.push_back({name, std::nullopt});
            continue;
        }
        const std::string bytes = encodeText(text, m_place.encoding);
        if (CFileSet::Fault fault = m_set.stage(name, bytes); !fault.empty()) {
            discard(staged);
            return fault;
        }
        staged.push_back({name, commit::digest(bytes)});
    }
    return {};
}

void CFileSaver::discard(const std::vector<CFileSet::Change>& staged) {
    for (const CFileSet::Change& each : staged) {
        if (each.digest) m_set.discard(each.name);
    }
}

CFileSet::Fault CFileSaver::putInPlace(std::vector<CFileSet::Change> changes,
                                       std::uint64_t number) {
    const std::lock_guard lock(m_placeMutex);
    // A removal may have begun meanwhile and not come to its end.
    CFileSet::Fault fault = m_set.prepare();
    if (!fault.empty()) {
        discard(changes);
        return fault;
    }
    // What was removed since it was composed does not come back.
    std::vector<CFileSet::Change> late;
    std::erase_if(changes, [&](const CFileSet::Change& each) {
        if (m_newest[each.name] < number) return false;
        late.push_back(each);
        return true;
    });
    discard(late);
    addRemovals(changes);
    const CFileSet::Outcome outcome = m_set.commit(changes);
    if (!outcome.counts) {
        discard(changes);
        return outcome.fault;
    }
    for (const CFileSet::Change& each : changes) {
        m_newest[each.name] = std::max(m_newest[each.name], number);
        m_removals.erase(each.name);
    }
    return outcome.fault;
}

// The removals that failed before and are not overtaken by a new content.
void CFileSaver::addRemovals(std::vector<CFileSet::Change>& changes) {
    for (const std::string& name : m_removals) {
        const bool overtaken = std::any_of(changes.begin(), changes.end(),
                                           [&](const auto& each) { return each.name == name; });
        if (!overtaken && m_set.mayRemove(name).empty()) changes.push_back({name, std::nullopt});
    }
}

void CFileSaver::remove(std::initializer_list<const char*> names) {
    const CLock held(m_managerMutex);  // once more, for who calls without
    const std::uint64_t number = ++m_nNumber;
    CFileSet::Fault fault;
    {
        const std::lock_guard lock(m_placeMutex);
        for (const char* name : names) {
            m_newest[name] = number;
            m_removals.insert(name);
        }
        fault = removeNow(names);
    }
    if (!fault.empty()) {
        std::lock_guard lock(m_mutex);
        m_failed = merged(Wishes{}, m_failed.value_or(Wishes{}));
    }
    report(fault);
}

CFileSet::Fault CFileSaver::removeNow(std::initializer_list<const char*> names) {
    if (!m_set.isThere()) {
        for (const char* name : names) m_removals.erase(name);
        return {};
    }
    CFileSet::Fault fault = m_set.prepare();
    std::vector<CFileSet::Change> changes;
    for (const char* name : names) {
        if (fault.empty()) fault = m_set.mayRemove(name);
        changes.push_back({name, std::nullopt});
    }
    if (!fault.empty()) return fault;
    const CFileSet::Outcome outcome = m_set.commit(changes);
    if (outcome.counts) {
        for (const char* name : names) m_removals.erase(name);
    }
    return outcome.fault;
}

}  // namespace TC
