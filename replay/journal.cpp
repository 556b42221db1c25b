#include "replay/journal.h"

#include "replay/linereader.h"

#include <cerrno>
#include <cstring>

namespace replay {

CJournal::CJournal(const std::string& path)
    : m_path(path), m_pFile(std::fopen(path.c_str(), "wb")) {
    if (!m_pFile) throw InputError(path + ": cannot be written: " + std::strerror(errno));
}

CJournal::~CJournal() = default;

void CJournal::begin(std::string_view configLine, const CSession& session) {
    add(configLine);
    for (const auto& [name, text] : session.balanceFiles()) {
        std::string line;
        CJsonWriter out(line);
        out.beginObject();
        out.member("do", "writeFile");
        out.member("name", name);
        out.member("text", text);
        out.endObject();
        add(line);
    }
}

void CJournal::add(std::string_view line) {
    const bool written = std::fwrite(line.data(), 1, line.size(), m_pFile.get()) == line.size() &&
                         std::fputc('\n', m_pFile.get()) == '\n';
    if (!written) throw InputError(m_path + ": cannot be written: " + std::strerror(errno));
}

void CJournal::flush() {
    if (std::fflush(m_pFile.get()) != 0) {
        throw InputError(m_path + ": cannot be written: " + std::strerror(errno));
    }
}

}  // namespace replay
