#include "linkage/record/recordfile.h"

#include <zlib.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace TC {

namespace {

constexpr int GZIP_WINDOW = 15 + 16;  ///< the largest window, and gzip's head and tail
constexpr int FASTEST = 1;
constexpr int USUAL_MEMORY = 8;

std::string reason() { return std::strerror(errno); }

}  // namespace

struct CRecordFile::State {
    int file = -1;
    z_stream stream{};
    std::uint64_t bytes = 0;
    std::string fault;
    bool open = false;
    std::array<unsigned char, 1 << 16> out{};

    bool put(std::size_t size) {
        const unsigned char* from = out.data();
        while (size > 0) {
            const ssize_t count = ::write(file, from, size);
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) {
                fault = reason();
                return false;
            }
            from += count;
            size -= static_cast<std::size_t>(count);
            bytes += static_cast<std::uint64_t>(count);
        }
        return true;
    }

    bool compress(std::string_view text, int flush) {
        if (!open || !fault.empty()) return false;
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
        stream.avail_in = static_cast<uInt>(text.size());
        do {
            stream.next_out = out.data();
            stream.avail_out = static_cast<uInt>(out.size());
            deflate(&stream, flush);
            if (!put(out.size() - stream.avail_out)) return false;
        } while (stream.avail_out == 0);
        return true;
    }
};

CRecordFile::CRecordFile(const std::string& path) : m_pState(std::make_unique<State>()) {
    m_pState->file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (m_pState->file < 0) throw std::runtime_error(path + ": " + reason());
    // While the file is open, nobody who removes old recordings takes it.
    ::flock(m_pState->file, LOCK_SH | LOCK_NB);
    if (deflateInit2(&m_pState->stream, FASTEST, Z_DEFLATED, GZIP_WINDOW, USUAL_MEMORY,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        ::close(m_pState->file);
        throw std::runtime_error(path + ": there is not enough memory to compress");
    }
    m_pState->open = true;
}

CRecordFile::~CRecordFile() { close(); }

bool CRecordFile::write(std::string_view text) {
    // The compressor takes 32 bits of a length.
    constexpr std::size_t MOST = 1 << 30;
    for (; text.size() > MOST; text.remove_prefix(MOST)) {
        if (!m_pState->compress(text.substr(0, MOST), Z_NO_FLUSH)) return false;
    }
    return m_pState->compress(text, Z_NO_FLUSH);
}

bool CRecordFile::flush() { return m_pState->compress({}, Z_SYNC_FLUSH); }

bool CRecordFile::close() {
    State& state = *m_pState;
    if (!state.open) return state.fault.empty();
    state.compress({}, Z_FINISH);
    state.open = false;
    deflateEnd(&state.stream);
    if (::close(state.file) != 0 && state.fault.empty()) state.fault = reason();
    return state.fault.empty();
}

std::uint64_t CRecordFile::bytes() const { return m_pState->bytes; }

const std::string& CRecordFile::fault() const { return m_pState->fault; }

}  // namespace TC
