#include "replay/copydraft.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace replay {

CCopyDraft::CCopyDraft(std::string into) : m_into(std::move(into)), m_path(m_into + ".part") {
    if (::access(m_into.c_str(), F_OK) == 0) throw CopyFault(m_into + ": it is there already");
}

CCopyDraft::~CCopyDraft() {
    if (m_bOurs) ::unlink(m_path.c_str());
}

void CCopyDraft::take() { m_bOurs = ::access(m_path.c_str(), F_OK) != 0; }

// Other than a renaming this takes no other file's place.
void CCopyDraft::publish() const {
    if (::link(m_path.c_str(), m_into.c_str()) != 0) {
        throw CopyFault(m_into + ": " + std::strerror(errno));
    }
}

}  // namespace replay
