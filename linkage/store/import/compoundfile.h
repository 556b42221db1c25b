#pragma once

#include "linkage/store/import/bytes.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace TC::statement {

/// The streams at the root of a compound file, the container of binary workbooks.
/// Chains that run in circles or out of the file are refused.
class CCompoundFile {
public:
    /// Keeps a reference to the bytes. Throws Refusal when the container is broken.
    explicit CCompoundFile(const QByteArray& bytes);

    bool has(const QString& name) const { return find(name) != nullptr; }
    /// A stream's content; throws Refusal when it is missing or broken.
    QByteArray stream(const QString& name) const;

private:
    struct Entry {
        QString name;
        int type;
        std::uint32_t left, right, child, start;
        std::size_t size;
    };
    using Chain = std::vector<std::uint32_t>;

    std::span<const unsigned char> sector(std::uint32_t number) const;
    Chain readTable(const Chain& sectors) const;
    Chain chain(std::uint32_t start, const Chain& table, std::size_t longest) const;
    QByteArray joined(std::uint32_t start) const;
    void readFat();
    void readDirectory();
    const Entry* find(const QString& name) const;
    QByteArray miniStream(const Entry& entry) const;

    CBytes m_file;
    std::size_t m_nSectorSize = 0;
    std::size_t m_nSectors = 0;
    Chain m_fat;
    std::vector<Entry> m_entries;
};

}  // namespace TC::statement
