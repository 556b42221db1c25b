#include "linkage/store/import/archive.h"

#include "linkage/store/import/workbook.h"

#include <zlib.h>

namespace TC::statement {

namespace {

constexpr std::size_t kEndSize = 22;
constexpr std::size_t kDirectoryEntrySize = 46;
constexpr std::size_t kLocalSize = 30;
constexpr std::uint16_t kEncrypted = 1;
constexpr std::uint16_t kStored = 0;
constexpr std::uint16_t kDeflated = 8;

[[noreturn]] void brokenArchive() {
    throw Refusal(QStringLiteral("the workbook's archive is broken"));
}

std::size_t endOfDirectory(const CBytes& file) {
    constexpr std::size_t kMaxComment = 0xffff;
    if (file.size() < kEndSize) brokenArchive();
    std::size_t at = file.size() - kEndSize;
    const std::size_t last = at > kMaxComment ? at - kMaxComment : 0;
    while (file.u32(at) != 0x06054b50) {
        if (at == last) brokenArchive();
        --at;
    }
    return at;
}

/// Unpacks into exactly `size` bytes; a stream that holds more or less is broken.
QByteArray inflated(std::span<const unsigned char> packed, std::uint32_t size) {
    // Deflate cannot shrink below 1:1032, so a larger size is wrong and would only cost memory.
    if (size / 1032 > packed.size()) brokenArchive();
    QByteArray out(static_cast<int>(size) + 1, Qt::Uninitialized);
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) throw std::bad_alloc();
    stream.next_in = const_cast<Bytef*>(packed.data());
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    const int state = inflate(&stream, Z_FINISH);
    const uLong got = stream.total_out;
    inflateEnd(&stream);
    if (state != Z_STREAM_END || got != size) brokenArchive();
    out.chop(1);
    return out;
}

}  // namespace

CArchive::CArchive(const QByteArray& bytes) {
    const CBytes file(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    const std::size_t end = endOfDirectory(file);
    const int count = file.u16(end + 10);
    if (count > kMaxArchiveParts) {
        throw Refusal(QStringLiteral("the workbook has more than %1 parts").arg(kMaxArchiveParts));
    }
    std::size_t entry = file.u32(end + 16);
    for (int i = 0; i < count; ++i) {
        addPart(file, entry);
        entry += kDirectoryEntrySize + file.u16(entry + 28) + file.u16(entry + 30) +
                 file.u16(entry + 32);
    }
    if (file.overrun() || entry > end) brokenArchive();
}

void CArchive::addPart(const CBytes& file, std::size_t entry) {
    if (file.u32(entry) != 0x02014b50) brokenArchive();
    if (file.u16(entry + 8) & kEncrypted) {
        throw Refusal(QStringLiteral("the workbook is protected by a password"));
    }
    const std::uint32_t packedSize = file.u32(entry + 20);
    const std::size_t local = file.u32(entry + 42);
    const std::size_t data = local + kLocalSize + file.u16(local + 26) + file.u16(local + 28);
    if (file.u32(local) != 0x04034b50 || !file.holds(data, packedSize)) brokenArchive();
    const auto name = file.part(entry + kDirectoryEntrySize, file.u16(entry + 28));
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(name.data()),
                                           static_cast<int>(name.size()));
    m_parts.insert(text.toLower(), {file.u16(entry + 10), file.u32(entry + 16),
                                    file.u32(entry + 24), file.part(data, packedSize)});
}

QByteArray CArchive::part(const QString& name) {
    const auto found = m_parts.constFind(name.toLower());
    if (found == m_parts.constEnd()) brokenArchive();
    const Part& part = found.value();
    m_nUnpacked += part.size;
    if (m_nUnpacked > kMaxUnpackedBytes) {
        throw Refusal(
            QStringLiteral("the workbook unpacks to more than %1 MB").arg(kMaxUnpackedBytes >> 20));
    }
    QByteArray out;
    if (part.method == kDeflated) {
        out = inflated(part.packed, part.size);
    } else if (part.method == kStored && part.packed.size() == part.size) {
        out = QByteArray(reinterpret_cast<const char*>(part.packed.data()),
                         static_cast<int>(part.size));
    } else {
        brokenArchive();
    }
    const auto* data = reinterpret_cast<const Bytef*>(out.constData());
    if (crc32(0, data, static_cast<uInt>(out.size())) != part.checksum) brokenArchive();
    return out;
}

}  // namespace TC::statement
