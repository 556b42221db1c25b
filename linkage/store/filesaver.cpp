#include "linkage/store/filesaver.h"

#include "linkage/balance/balancetimes.h"
#include "platform/log.h"

#include <utility>
#include <vector>

namespace TC {

namespace {

// The order in which a save puts its files into place.
constexpr const char* FILES[] = {STAT_FILE, BALANCE_FILE, DETAIL_FILE, BALANCE_TIMES_FILE};

std::string stagePath(const std::string& path) { return path + ".new"; }

}  // namespace

// Counts a save as being written while it lives.
struct CFileSaver::Writing {
    explicit Writing(CFileSaver& owner) : saver(owner) {}
    ~Writing() {
        std::lock_guard lock(saver.m_mutex);
        --saver.m_nWriting;
        saver.m_written.notify_all();
    }
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
      m_startThread(std::move(startThread)) {}

CFileSaver::~CFileSaver() {
    if (!m_thread.joinable()) return;
    // The manager may go with the save thread, when that is the last to leave the door.
    if (m_thread.get_id() == boost::this_thread::get_id()) {
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

std::string CFileSaver::pathOf(const std::string& name) const {
    return m_place.directory + "/" + name;
}

std::optional<std::string> CFileSaver::load(const std::string& name) {
    std::string bytes;
    const IFileSystem::ERead read = m_pFiles->read(pathOf(name), bytes);
    if (read == IFileSystem::ERead::Missing) return std::nullopt;
    if (read == IFileSystem::ERead::Done) {
        if (auto text = decodeText(bytes)) return text;
    }
    VEX_INFO("TC::CLinkageManager::readFromFile", "file not readable, left as it is : {0}",
             pathOf(name));
    std::lock_guard lock(m_placeMutex);
    m_unreadable.insert(name);
    return std::nullopt;
}

void CFileSaver::saveAll(bool withTime) {
    ask([&](Wishes& wishes) {
        wishes.all = withTime;
        wishes.balanceTimes = false;
    });
}

void CFileSaver::saveBalanceTimes() {
    ask([](Wishes& wishes) { wishes.balanceTimes = true; });
}

template <class Note>
void CFileSaver::ask(Note note) {
    if (!m_pFiles->makeDirectory(m_place.directory)) return;
    std::lock_guard lock(m_mutex);
    if (!m_wishes) m_wishes = Wishes{};
    note(*m_wishes);
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

void CFileSaver::run() {
    try {
        while (serve(true)) {
        }
    } catch (const std::exception& error) {
        g_VexStdLogger.error("TC::CLinkageManager::writedata", error.what());
        std::lock_guard lock(m_mutex);
        m_bThread = false;
    }
}

std::optional<CFileSaver::Wishes> CFileSaver::take(bool onSaveThread) {
    std::lock_guard lock(m_mutex);
    if (m_wishes) {
        ++m_nWriting;
    } else if (onSaveThread) {
        m_bThread = false;
    }
    return std::exchange(m_wishes, std::nullopt);
}

// One round: composes what is asked for and writes it. False when nothing was.
// Asked for, composed: both happen in one hold of the manager's lock, so that whoever
// holds it finds a save either still to be taken or past the need of that lock.
bool CFileSaver::serve(bool onSaveThread) {
    CLock lock(m_managerMutex);
    const std::optional<Wishes> wishes = take(onSaveThread);
    if (!wishes) return false;
    const Writing writing(*this);
    const Save save = compose(*wishes);
    lock.unlock();
    commit(save);
    return true;
}

CFileSaver::Save CFileSaver::compose(const Wishes& wishes) {
    Save save;
    save.number = ++m_nNumber;
    try {
        if (wishes.all) save.texts = m_composer.all(*wishes.all);
        if (wishes.balanceTimes) {
            for (auto& [name, text] : m_composer.balanceTimes()) save.texts[name] = std::move(text);
        }
    } catch (...) {
        putBack(wishes);
        throw;
    }
    return save;
}

// What could not be composed stands, unless it was asked for anew.
void CFileSaver::putBack(Wishes wishes) {
    std::lock_guard lock(m_mutex);
    if (m_wishes && m_wishes->all) return;
    wishes.balanceTimes = wishes.balanceTimes || m_wishes;
    m_wishes = wishes;
}

void CFileSaver::commit(const Save& save) {
    const std::lock_guard turn(m_stageMutex);
    std::vector<std::string> staged;
    for (const char* name : FILES) {
        const auto text = save.texts.find(name);
        if (text == save.texts.end()) continue;
        const std::string path = pathOf(name);
        // A rename would replace even a file that its owner has closed to writing.
        if (!m_pFiles->mayWrite(path)) {
            VEX_INFO("TC::CLinkageManager::writedata", "file not writable, left as it is : {0}",
                     path);
            continue;
        }
        if (writeWhole(stagePath(path), path, encodeText(text->second, m_place.encoding))) {
            staged.push_back(name);
        }
    }
    if (staged.empty()) return;
    putInPlace(staged, save.number);
    m_pFiles->flushDirectory(m_place.directory);
}

void CFileSaver::putInPlace(const std::vector<std::string>& staged, std::uint64_t number) {
    const std::lock_guard lock(m_placeMutex);
    for (const std::string& name : staged) {
        const std::string path = pathOf(name);
        if (m_newest[name] < number && freeName(name) && m_pFiles->rename(stagePath(path), path)) {
            m_newest[name] = number;
        } else {
            m_pFiles->remove(stagePath(path));
        }
    }
}

bool CFileSaver::writeWhole(const std::string& path, const std::string& like,
                            const std::string& bytes) {
    const int file = m_pFiles->create(path, like);
    if (file < 0) return false;
    const bool written = m_pFiles->write(file, bytes) && m_pFiles->flush(file);
    const bool closed = m_pFiles->close(file);
    if (written && closed) return true;
    m_pFiles->remove(path);
    return false;
}

// Makes sure that nothing is lost when the file goes.
bool CFileSaver::freeName(const std::string& name) {
    if (!m_unreadable.count(name)) return true;
    const std::string path = pathOf(name);
    std::string bytes;
    const IFileSystem::ERead read = m_pFiles->read(path, bytes);
    if (read == IFileSystem::ERead::Failed) return false;
    if (read == IFileSystem::ERead::Done && !decodeText(bytes)) {
        const std::optional<std::string> beside = freshNameBeside(path);
        if (!beside || !writeWhole(*beside, path, bytes)) return false;
        VEX_INFO("TC::CLinkageManager::writedata", "file not readable : {0}, kept as {1}", path,
                 *beside);
    }
    m_unreadable.erase(name);
    return true;
}

std::optional<std::string> CFileSaver::freshNameBeside(const std::string& path) {
    for (int number = 1; number < 1000; ++number) {
        std::string name = path + ".unreadable";
        if (number > 1) name += "." + std::to_string(number);
        std::string bytes;
        if (m_pFiles->read(name, bytes) == IFileSystem::ERead::Missing) return name;
    }
    return std::nullopt;
}

void CFileSaver::finish() {
    try {
        while (serve(false)) {
        }
    } catch (const std::exception& error) {
        g_VexStdLogger.error("TC::CLinkageManager::writedata", error.what());
    }
    std::unique_lock lock(m_mutex);
    m_written.wait(lock, [&] { return m_nWriting == 0; });
}

void CFileSaver::remove(std::initializer_list<const char*> names) {
    const CLock held(m_managerMutex);  // once more, for who calls without
    const std::uint64_t number = ++m_nNumber;
    std::lock_guard lock(m_placeMutex);
    for (const char* name : names) {
        m_newest[name] = number;
        if (freeName(name)) m_pFiles->remove(pathOf(name));
    }
    m_pFiles->flushDirectory(m_place.directory);
}

}  // namespace TC
