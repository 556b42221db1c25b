#include "replay/journal.h"

#include "replay/linereader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace replay {

bool overwrites(const std::string& journal, const std::string& scenario) {
    struct stat written {};
    struct stat read {};
    if (stat(journal.c_str(), &written) != 0 || !S_ISREG(written.st_mode)) return false;
    const int found = scenario == "-" ? fstat(STDIN_FILENO, &read) : stat(scenario.c_str(), &read);
    return found == 0 && written.st_dev == read.st_dev && written.st_ino == read.st_ino;
}

CJournal::CJournal(const std::string& path)
    : m_path(path), m_pFile(std::fopen(path.c_str(), "wb")) {
    if (!m_pFile) throw InputError(path + ": cannot be written: " + std::strerror(errno));
}

CJournal::~CJournal() = default;

void CJournal::begin(std::string_view configLine, const CSession& session) {
    add(configLine);
    for (const auto& [name, text] : session.balanceFiles()) {
        TextBuffer line;
        CJsonWriter out(line);
        out.beginObject();
        out.member("do", "writeFile");
        out.member("name", name);
        out.member("text", text);
        out.endObject();
        add(viewOf(line));
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
