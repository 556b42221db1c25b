#pragma once

#include "linkage/store/import/bytes.h"

#include <QByteArray>
#include <QHash>
#include <QString>

namespace TC::statement {

/// The parts of a zip archive, unpacked one at a time, each checked against its size
/// and checksum. No more than kMaxUnpackedBytes are unpacked altogether, whatever the
/// archive says of itself.
///
/// Throws Refusal for a broken, encrypted or overlarge archive.
class CArchive {
public:
    /// Keeps a reference to the bytes.
    explicit CArchive(const QByteArray& bytes);

    bool has(const QString& name) const { return m_parts.contains(name.toLower()); }
    QByteArray part(const QString& name);

private:
    struct Part {
        std::uint16_t method;
        std::uint32_t checksum;
        std::uint32_t size;
        std::span<const unsigned char> packed;
    };
    void addPart(const CBytes& file, std::size_t entry);

    QHash<QString, Part> m_parts;
    qint64 m_nUnpacked = 0;
};

}  // namespace TC::statement
