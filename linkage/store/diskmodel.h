#pragma once

#include "linkage/store/diskfaults.h"

#include <mutex>
#include <string>
#include <string_view>

namespace TC::disk {

/// One step of a file operation, as the faults see it. While this object lives no other step
/// runs, so at a crash each step is either done or not begun. Without begin() it does nothing.
class CStep {
public:
    explicit CStep(EStep step);

    /// The step is to fail; errno is set.
    bool fails() const { return m_bFails; }
    /// The step is to take half of its bytes.
    bool isShort() const { return m_bShort; }

    /// Call before the name may change.
    void touch(const std::string& path);

    /// What was done.
    void created(const std::string& path, int file);
    void appending(const std::string& path, int file);  ///< to the file of this name, or a new one
    void wrote(int file, std::string_view bytes);
    void flushed(int file);
    void renamed(const std::string& from, const std::string& to);
    void removed(const std::string& path);
    void madeDirectory(const std::string& path);
    void flushedDirectory(const std::string& path);

private:
    std::unique_lock<std::mutex> m_lock;
    bool m_bFails = false;
    bool m_bShort = false;
};

/// Notes that a file was closed; this counts as no step. Call it before close().
void closed(int file);

}  // namespace TC::disk
