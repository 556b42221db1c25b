#include "replay/linereader.h"

#include "replay/scenarioline.h"

#include <fcntl.h>
#include <simdjson.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace replay {

namespace {

constexpr std::size_t CHUNK = 1 << 20;
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
constexpr unsigned char GZIP_MARK[] = {0x1F, 0x8B};

bool isBlank(std::string_view line) {
    return line.find_first_not_of(" \t\r") == std::string_view::npos;
}

}  // namespace

/// The bytes of the file, unpacked if they are compressed. All bytes before a fault are handed out
/// first: a recording that broke off is good up to there.
struct CLineReader::File {
    explicit File(const std::string& path) : raw(CHUNK) {
        file = path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (file < 0) throw InputError(std::strerror(errno));
        struct stat status {};
        if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
            size = static_cast<double>(status.st_size);
        }
    }
    ~File() {
        if (packed) inflateEnd(&stream);
        close(file);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    /// 0 at the end and at a fault.
    std::size_t read(char* to, std::size_t room) {
        if (!begun) begin();
        return packed ? unpack(to, room) : copy(to, room);
    }

    double progress() const {
        return size > 0.0 ? (taken - static_cast<double>(stream.avail_in)) / size : -1.0;
    }

    bool isRegular() const { return size >= 0.0; }

    std::string fault;

private:
    void begin() {
        begun = true;
        while (stream.avail_in < sizeof GZIP_MARK && more()) {
        }
        packed = atMark() && inflateInit2(&stream, 15 + 16) == Z_OK;
    }

    bool atMark() const {
        return stream.avail_in >= sizeof GZIP_MARK &&
               std::equal(std::begin(GZIP_MARK), std::end(GZIP_MARK), stream.next_in);
    }

    /// Keeps the raw bytes that are not used yet and reads more behind them; false when there is no
    /// more.
    bool more() {
        std::copy_n(stream.next_in, stream.avail_in, raw.data());
        stream.next_in = raw.data();
        ssize_t count = 0;
        do {
            count = ::read(file, raw.data() + stream.avail_in, raw.size() - stream.avail_in);
        } while (count < 0 && errno == EINTR);
        if (count < 0) fault = std::strerror(errno);
        if (count <= 0) return false;
        stream.avail_in += static_cast<unsigned>(count);
        taken += static_cast<double>(count);
        return true;
    }

    std::size_t copy(char* to, std::size_t room) {
        if (stream.avail_in == 0 && !more()) return 0;
        const auto count = std::min<std::size_t>(room, stream.avail_in);
        std::copy_n(stream.next_in, count, to);
        stream.next_in += count;
        stream.avail_in -= static_cast<unsigned>(count);
        return count;
    }

    std::size_t unpack(char* to, std::size_t room) {
        stream.next_out = reinterpret_cast<unsigned char*>(to);
        stream.avail_out = static_cast<unsigned>(room);
        while (stream.avail_out > 0 && fault.empty()) {
            if (memberEnded && !nextMember()) break;
            if (stream.avail_in == 0 && !more()) {
                if (fault.empty()) fault = "compressed data: unexpected end of file";
                break;
            }
            const int result = inflate(&stream, Z_NO_FLUSH);
            memberEnded = result == Z_STREAM_END;
            if (result != Z_OK && !memberEnded) {
                fault = std::string("compressed data: ") + (stream.msg ? stream.msg : "damaged");
            }
        }
        return room - stream.avail_out;
    }

    /// A compressed file may consist of several members in a row. Other bytes behind them are
    /// ignored.
    bool nextMember() {
        while (stream.avail_in < sizeof GZIP_MARK && more()) {
        }
        if (!atMark()) return false;
        memberEnded = false;
        return inflateReset(&stream) == Z_OK;
    }

    int file = -1;
    double size = -1.0;
    double taken = 0.0;
    bool begun = false;
    bool packed = false;
    bool memberEnded = false;
    std::vector<unsigned char> raw;
    z_stream stream{};
};

CLineReader::CLineReader(const std::string& path)
    : m_pFile(std::make_unique<File>(path)), m_buffer(CHUNK + simdjson::SIMDJSON_PADDING) {}

CLineReader::~CLineReader() = default;

double CLineReader::progress() const { return m_pFile->progress(); }

bool CLineReader::isRegular() const { return m_pFile->isRegular(); }

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
        if (!m_pFile->fault.empty()) {
            // The line in which the fault lies is not whole, so it is not used.
            ++m_number;
            throw LineError(m_pFile->fault);
        }
        if (m_begin == m_end) return false;
        line = {m_buffer.data() + m_begin, m_end - m_begin};
        m_begin = m_end;
        return true;
    }
}

bool CLineReader::next(std::string_view& line) {
    while (nextRaw(line)) {
        if (++m_number == 1 && line.starts_with(BYTE_ORDER_MARK)) {
            line.remove_prefix(BYTE_ORDER_MARK.size());
        }
        if (!isBlank(line) && line.front() != '#') return true;
    }
    return false;
}

}  // namespace replay
