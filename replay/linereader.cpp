#include "replay/linereader.h"

#include <simdjson.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <cstring>

namespace replay {

namespace {

constexpr std::size_t CHUNK = 1 << 20;

bool isBlank(std::string_view line) {
    return line.find_first_not_of(" \t\r") == std::string_view::npos;
}

double sizeOf(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return -1.0;
    return static_cast<double>(status.st_size);
}

}  // namespace

struct CLineReader::File {
    gzFile handle = nullptr;
    double size = -1.0;

    explicit File(const std::string& path) {
        errno = 0;
        if (path == "-") {
            handle = gzdopen(dup(STDIN_FILENO), "rb");
        } else {
            handle = gzopen(path.c_str(), "rb");
            size = sizeOf(path);
        }
        if (!handle) throw InputError(errno ? std::strerror(errno) : "cannot be opened");
        gzbuffer(handle, 1 << 17);
    }
    ~File() { gzclose(handle); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    std::size_t read(char* to, std::size_t room) {
        const int count = gzread(handle, to, static_cast<unsigned>(room));
        int error = Z_OK;
        const char* text = gzerror(handle, &error);
        if (error == Z_ERRNO) throw InputError(std::strerror(errno));
        if (count < 0 || error == Z_BUF_ERROR || error == Z_DATA_ERROR) {
            throw InputError(std::string("compressed data: ") + text);
        }
        return static_cast<std::size_t>(count);
    }
};

CLineReader::CLineReader(const std::string& path)
    : m_pFile(std::make_unique<File>(path)), m_buffer(CHUNK + simdjson::SIMDJSON_PADDING) {}

CLineReader::~CLineReader() = default;

double CLineReader::progress() const {
    if (m_pFile->size <= 0.0) return -1.0;
    return static_cast<double>(gzoffset(m_pFile->handle)) / m_pFile->size;
}

bool CLineReader::fill() {
    if (m_bEnded) return false;
    std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
    m_end -= m_begin;
    m_begin = 0;
    if (m_buffer.size() - simdjson::SIMDJSON_PADDING - m_end < CHUNK / 2) {
        m_buffer.resize(m_buffer.size() * 2);
    }
    const std::size_t count = m_pFile->read(m_buffer.data() + m_end,
                                            m_buffer.size() - simdjson::SIMDJSON_PADDING - m_end);
    m_end += count;
    m_bEnded = count == 0;
    return !m_bEnded;
}

bool CLineReader::nextRaw(std::string_view& line) {
    std::size_t searched = 0;
    for (;;) {
        const char* start = m_buffer.data() + m_begin;
        const std::size_t size = m_end - m_begin;
        const void* found = std::memchr(start + searched, '\n', size - searched);
        if (found) {
            line = {start, static_cast<std::size_t>(static_cast<const char*>(found) - start)};
            m_begin += line.size() + 1;
            return true;
        }
        searched = size;
        if (fill()) continue;
        if (m_begin == m_end) return false;
        line = {m_buffer.data() + m_begin, m_end - m_begin};
        m_begin = m_end;
        return true;
    }
}

bool CLineReader::next(std::string_view& line) {
    while (nextRaw(line)) {
        ++m_number;
        if (!isBlank(line) && line.front() != '#') return true;
    }
    return false;
}

}  // namespace replay
