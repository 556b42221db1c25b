#include "linkage/store/import/readers.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <new>

namespace TC::statement {

namespace {

constexpr qint64 kSliceBytes = 1 << 20;

bool hasControlCharacters(const QByteArray& bytes) {
    return std::any_of(bytes.begin(), bytes.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 && c != '\t' && c != '\n' && c != '\r' && c != '\f' && c != '\x1a';
    });
}

bool isUtf16(const QByteArray& bytes) {
    return bytes.startsWith("\xff\xfe") || bytes.startsWith("\xfe\xff");
}

QByteArray wholeFile(const QString& path) {
    const QFileInfo info(path);
    if (!info.exists()) throw Refusal(QStringLiteral("the file does not exist"));
    // A pipe or a device could block the reader, or deliver bytes without end.
    if (!info.isFile()) throw Refusal(QStringLiteral("this is not a plain file"));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw Refusal(QStringLiteral("the file cannot be opened: %1").arg(file.errorString()));
    }
    // Reads in slices, because a read of the largest size would make Qt allocate all of it at
    // once.
    QByteArray bytes;
    for (QByteArray slice = file.read(kSliceBytes); !slice.isEmpty();) {
        bytes += slice;
        if (bytes.size() > kMaxFileBytes) break;
        slice = file.read(kSliceBytes);
    }
    if (file.error() != QFile::NoError) {
        throw Refusal(QStringLiteral("the file cannot be read: %1").arg(file.errorString()));
    }
    if (bytes.size() > kMaxFileBytes) {
        throw Refusal(QStringLiteral("the file is larger than %1 MB").arg(kMaxFileBytes >> 20));
    }
    return bytes;
}

}  // namespace

EFormat detectFormat(const QByteArray& bytes) {
    if (bytes.isEmpty()) throw Refusal(QStringLiteral("the file is empty"));
    if (bytes.startsWith("PK\x03\x04")) return EFormat::Xlsx;
    if (bytes.startsWith("\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1")) return EFormat::Xls;
    if (isUtf16(bytes)) return EFormat::Text;
    if (hasControlCharacters(bytes)) {
        throw Refusal(QStringLiteral("the file is neither a workbook nor a text"));
    }
    QByteArray head = bytes.left(512).trimmed().toLower();
    if (head.startsWith("\xef\xbb\xbf")) head.remove(0, 3);
    if (head.startsWith('<') && (head.contains("<?xml") || !bytes.toLower().contains("<table"))) {
        throw Refusal(QStringLiteral("the file is a web page or XML; save it as a workbook"));
    }
    return EFormat::Text;
}

CWorkbook readBytes(const QByteArray& bytes) {
    switch (detectFormat(bytes)) {
        case EFormat::Xlsx:
            return readXlsx(bytes);
        case EFormat::Xls:
            return readXls(bytes);
        case EFormat::Text:
            break;
    }
    return readText(bytes);
}

CWorkbook readFile(const QString& path, QByteArray* digest) {
    try {
        const QByteArray bytes = wholeFile(path);
        if (digest) *digest = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
        return readBytes(bytes);
    } catch (const std::bad_alloc&) {
        throw Refusal(QStringLiteral("there is not enough memory to read the file"));
    }
}

}  // namespace TC::statement
