#include "linkage/store/import/compoundfile.h"

#include "linkage/store/import/workbook.h"

#include <algorithm>

namespace TC::statement {

namespace {

constexpr std::size_t kContainerHeaderSize = 512;
constexpr std::size_t kHeaderFatSectors = 109;
constexpr std::size_t kFolderEntrySize = 128;
constexpr std::size_t kMiniSectorSize = 64;
constexpr std::size_t kMiniCutoff = 4096;
constexpr std::uint32_t kLastSector = 0xfffffffa;  ///< larger numbers are marks
constexpr int kTypeStream = 2;
constexpr int kTypeRoot = 5;

[[noreturn]] void brokenContainer() {
    throw Refusal(QStringLiteral("the workbook is broken: its container is damaged"));
}

}  // namespace

CCompoundFile::CCompoundFile(const QByteArray& bytes)
    : m_file(bytes.constData(), static_cast<std::size_t>(bytes.size())) {
    const int shift = m_file.u16(30);
    if (m_file.size() < kContainerHeaderSize || (shift != 9 && shift != 12)) brokenContainer();
    m_nSectorSize = std::size_t(1) << shift;
    // Sector 0 begins behind the header, which takes the place of one sector.
    m_nSectors = (m_file.size() - 1) / m_nSectorSize;
    readFat();
    readDirectory();
}

std::span<const unsigned char> CCompoundFile::sector(std::uint32_t number) const {
    if (number >= m_nSectors) brokenContainer();
    const std::size_t at = (std::size_t(number) + 1) * m_nSectorSize;
    // Some writers leave the last sector short.
    return m_file.part(at, std::min(m_nSectorSize, m_file.size() - at));
}

CCompoundFile::Chain CCompoundFile::readTable(const Chain& sectors) const {
    Chain table;
    for (const std::uint32_t number : sectors) {
        const CBytes bytes(sector(number));
        for (std::size_t at = 0; at + 4 <= bytes.size(); at += 4) table.push_back(bytes.u32(at));
    }
    return table;
}

CCompoundFile::Chain CCompoundFile::chain(std::uint32_t start, const Chain& table,
                                          std::size_t longest) const {
    Chain sectors;
    for (std::uint32_t at = start; at <= kLastSector; at = table[at]) {
        if (at >= table.size() || sectors.size() >= longest) brokenContainer();
        sectors.push_back(at);
    }
    return sectors;
}

QByteArray CCompoundFile::joined(std::uint32_t start) const {
    QByteArray out;
    for (const std::uint32_t number : chain(start, m_fat, m_nSectors)) {
        const auto bytes = sector(number);
        out.append(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
    }
    return out;
}

void CCompoundFile::readFat() {
    Chain sectors;
    for (std::size_t i = 0; i < kHeaderFatSectors; ++i) {
        const std::uint32_t number = m_file.u32(76 + 4 * i);
        if (number <= kLastSector) sectors.push_back(number);
    }
    std::size_t tables = 0;
    for (std::uint32_t at = m_file.u32(68); at <= kLastSector;) {
        if (++tables > m_nSectors) brokenContainer();
        Chain more = readTable({at});
        if (more.empty()) brokenContainer();
        at = more.back();
        more.pop_back();
        std::copy_if(more.begin(), more.end(), std::back_inserter(sectors),
                     [](std::uint32_t number) { return number <= kLastSector; });
    }
    if (sectors.size() > m_nSectors) brokenContainer();
    m_fat = readTable(sectors);
}

void CCompoundFile::readDirectory() {
    const QByteArray directory = joined(m_file.u32(48));
    const CBytes bytes(directory.constData(), static_cast<std::size_t>(directory.size()));
    for (std::size_t at = 0; at + kFolderEntrySize <= bytes.size(); at += kFolderEntrySize) {
        QString name;
        for (std::size_t i = 0; i < 31 && bytes.u16(at + 2 * i) != 0; ++i) {
            name += QChar(bytes.u16(at + 2 * i));
        }
        m_entries.push_back({name, bytes.u8(at + 66), bytes.u32(at + 68), bytes.u32(at + 72),
                             bytes.u32(at + 76), bytes.u32(at + 116), bytes.u32(at + 120)});
    }
    if (m_entries.empty() || m_entries.front().type != kTypeRoot) brokenContainer();
}

// Only the root's own streams count: a workbook embedded in another document's folder
// is not the statement.
const CCompoundFile::Entry* CCompoundFile::find(const QString& name) const {
    Chain open{m_entries.front().child};
    for (std::size_t visits = 0; !open.empty() && visits <= 2 * m_entries.size(); ++visits) {
        const std::uint32_t at = open.back();
        open.pop_back();
        if (at >= m_entries.size()) continue;
        const Entry& entry = m_entries[at];
        if (entry.type == kTypeStream && entry.name == name) return &entry;
        open.push_back(entry.left);
        open.push_back(entry.right);
    }
    return nullptr;
}

QByteArray CCompoundFile::miniStream(const Entry& entry) const {
    const QByteArray all = joined(m_entries.front().start);
    const Chain table = readTable(chain(m_file.u32(60), m_fat, m_nSectors));
    QByteArray out;
    const std::size_t longest = kMiniCutoff / kMiniSectorSize;
    for (const std::uint32_t number : chain(entry.start, table, longest)) {
        const std::size_t at = number * kMiniSectorSize;
        if (at >= static_cast<std::size_t>(all.size())) brokenContainer();
        out += all.mid(static_cast<int>(at), kMiniSectorSize);
    }
    return out;
}

QByteArray CCompoundFile::stream(const QString& name) const {
    const Entry* entry = find(name);
    if (!entry) brokenContainer();
    QByteArray out = entry->size < kMiniCutoff ? miniStream(*entry) : joined(entry->start);
    if (static_cast<std::size_t>(out.size()) < entry->size) brokenContainer();
    out.truncate(static_cast<int>(entry->size));
    return out;
}

}  // namespace TC::statement
