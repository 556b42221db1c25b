#include "linkage/store/directorylock.h"

#include <cerrno>
#include <system_error>

namespace TC {

CDirectoryLock::~CDirectoryLock() {
    if (m_nFile >= 0) m_pFiles->close(m_nFile);
}

CDirectoryLock::Hold CDirectoryLock::take() {
    const std::lock_guard lock(m_mutex);
    const std::string path = m_directory + "/.lock";
    if (m_nFile >= 0 && m_pFiles->isOpenAs(m_nFile, path)) return {{}, m_nGeneration};
    if (m_nFile >= 0) m_pFiles->close(m_nFile);
    m_nFile = m_pFiles->lock(path);
    if (m_nFile >= 0) return {{}, ++m_nGeneration};
    if (errno == EWOULDBLOCK) {
        return {m_directory + " : another client keeps its files here, nothing is saved"};
    }
    return {path + " : " + std::generic_category().message(errno)};
}

}  // namespace TC
