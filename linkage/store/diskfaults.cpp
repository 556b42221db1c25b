#include "linkage/store/diskfaults.h"

#include "linkage/store/diskmodel.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace TC::disk {

namespace {

namespace fs = std::filesystem;

// A file's content, whatever names the file has.
struct File {
    std::string flushed;
    std::string written;
};
using FilePtr = std::shared_ptr<File>;  // null: no file has the name

// A name that changed since its directory was flushed, or whose file has changed.
struct Name {
    FilePtr flushed;
    FilePtr now;
};

struct Model {
    std::mutex mutex;
    std::vector<Fault> faults;
    int steps = 0;
    bool crashed = false;
    std::map<std::string, Name> names;
    std::map<int, FilePtr> open;
    std::set<std::string> directories;  // made, not flushed
};

std::atomic<bool> g_active{false};

Model& model() {
    static Model one;
    return one;
}

FilePtr fileOnDisk(const std::string& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) return nullptr;
    std::ifstream stream(path, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    return std::make_shared<File>(File{bytes, bytes});
}

void putOnDisk(const std::string& path, const File* file) {
    std::error_code error;
    const FilePtr there = fileOnDisk(path);
    if (!file) {
        if (there) fs::remove(path, error);
        return;
    }
    if (there && there->written == file->flushed) return;
    std::ofstream(path, std::ios::binary | std::ios::trunc) << file->flushed;
}

// The fault that hits this step, if any; every fault counts the step.
const Fault* faultOf(Model& all, EStep step) {
    const Fault* met = nullptr;
    for (Fault& fault : all.faults) {
        if (fault.step != EStep::Any && fault.step != step) continue;
        if (fault.after > 0) {
            --fault.after;
        } else if (fault.times != 0) {
            if (fault.times > 0) --fault.times;
            met = &fault;
        }
    }
    return met;
}

void forget(Model& all) {
    all.names.clear();
    all.open.clear();
    all.directories.clear();
}

// A file and the one that takes its place ("<name>.new") keep their names together, because a
// rename is done or not done.
bool keepsName(unsigned keeps, const std::string& path) {
    fs::path name = fs::path(path).filename();
    if (name.extension() == ".new") name = name.stem();
    unsigned sum = 0;
    for (const char c : name.string()) sum += static_cast<unsigned char>(c);
    return ((keeps >> sum % 16) & 1U) != 0;
}

// Puts the files back to what is flushed.
void crashNow(Model& all, const KeepsName& keepsName) {
    for (const auto& [path, name] : all.names) {
        const bool kept = keepsName && keepsName(path);
        putOnDisk(path, (kept ? name.now : name.flushed).get());
    }
    for (const std::string& directory : all.directories) {
        std::error_code error;
        fs::remove_all(directory, error);
    }
    forget(all);
    all.crashed = true;
}

}  // namespace

bool stepNamed(const std::string& name, EStep& step) {
    static const std::map<std::string, EStep> NAMES = {
        {"open", EStep::Open},     {"write", EStep::Write},
        {"flush", EStep::Flush},   {"rename", EStep::Rename},
        {"remove", EStep::Remove}, {"makeDirectory", EStep::MakeDirectory},
    };
    const auto at = NAMES.find(name);
    if (at == NAMES.end()) return false;
    step = at->second;
    return true;
}

void begin() {
    Model& all = model();
    const std::lock_guard lock(all.mutex);
    forget(all);
    all.faults.clear();
    all.steps = 0;
    all.crashed = false;
    g_active = true;
}

void end() {
    Model& all = model();
    const std::lock_guard lock(all.mutex);
    g_active = false;
    forget(all);
    all.faults.clear();
    all.crashed = false;
}

void fail(const Fault& fault) {
    if (!g_active) begin();
    const std::lock_guard lock(model().mutex);
    model().faults.push_back(fault);
}

void clearFaults() {
    const std::lock_guard lock(model().mutex);
    model().faults.clear();
}

int steps() {
    const std::lock_guard lock(model().mutex);
    return model().steps;
}

void crash(const KeepsName& keepsName) {
    Model& all = model();
    const std::lock_guard lock(all.mutex);
    if (g_active) crashNow(all, keepsName);
}

bool crashed() {
    if (!g_active.load(std::memory_order_relaxed)) return false;
    const std::lock_guard lock(model().mutex);
    return model().crashed;
}

void restart() {
    const std::lock_guard lock(model().mutex);
    model().faults.clear();
    model().crashed = false;
}

CStep::CStep(EStep step) {
    if (!g_active.load(std::memory_order_relaxed)) return;
    Model& all = model();
    std::unique_lock lock(all.mutex);
    if (!g_active) return;
    m_lock = std::move(lock);
    ++all.steps;
    const Fault* fault = all.crashed ? nullptr : faultOf(all, step);
    if (fault && fault->error == Fault::CRASH) {
        const unsigned keeps = fault->keeps;
        crashNow(all, [keeps](const std::string& path) { return keepsName(keeps, path); });
    }
    if (all.crashed) {
        m_bFails = true;
        errno = EIO;
    } else if (fault) {
        m_bFails = fault->error != 0;
        m_bShort = fault->error == 0;
        errno = fault->error;
    }
}

void CStep::touch(const std::string& path) {
    if (!m_lock || model().names.count(path)) return;
    const FilePtr file = fileOnDisk(path);
    model().names[path] = {file, file};
}

void CStep::created(const std::string& path, int file) {
    if (!m_lock) return;
    const auto made = std::make_shared<File>();
    model().names[path].now = made;
    model().open[file] = made;
}

void CStep::appending(const std::string& path, int file) {
    if (!m_lock) return;
    const FilePtr there = model().names[path].now;
    if (there) {
        model().open[file] = there;
    } else {
        created(path, file);
    }
}

void CStep::wrote(int file, std::string_view bytes) {
    if (!m_lock) return;
    const auto at = model().open.find(file);
    if (at != model().open.end()) at->second->written += bytes;
}

void CStep::flushed(int file) {
    if (!m_lock) return;
    const auto at = model().open.find(file);
    if (at != model().open.end()) at->second->flushed = at->second->written;
}

void closed(int file) {
    if (!g_active.load(std::memory_order_relaxed)) return;
    const std::lock_guard lock(model().mutex);
    model().open.erase(file);
}

void CStep::renamed(const std::string& from, const std::string& to) {
    if (!m_lock) return;
    model().names[to].now = std::exchange(model().names[from].now, nullptr);
}

void CStep::removed(const std::string& path) {
    if (m_lock) model().names[path].now = nullptr;
}

void CStep::madeDirectory(const std::string& path) {
    if (m_lock) model().directories.insert(path);
}

void CStep::flushedDirectory(const std::string& path) {
    if (!m_lock) return;
    Model& all = model();
    const auto isInside = [&](const std::string& name) {
        return fs::path(name).parent_path() == fs::path(path);
    };
    std::erase_if(all.directories, isInside);
    for (auto at = all.names.begin(); at != all.names.end();) {
        Name& name = at->second;
        if (isInside(at->first)) name.flushed = name.now;
        const FilePtr& file = name.now;
        const auto isOpen = [&] {
            return std::any_of(all.open.begin(), all.open.end(),
                               [&](const auto& each) { return each.second == file; });
        };
        const bool done =
            name.flushed == file && (!file || (file->flushed == file->written && !isOpen()));
        at = done ? all.names.erase(at) : std::next(at);
    }
}

}  // namespace TC::disk
