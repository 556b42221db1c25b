#include "linkage/store/fileencoding.h"

#include "platform/utils/text.h"

#include <QByteArray>
#include <QString>
#include <QTextCodec>

#include <algorithm>
#include <initializer_list>

namespace TC {

namespace {

// The codecs replace what they cannot read without reporting it; bytes that come back
// unchanged were read.
std::optional<QString> decodedBy(QTextCodec* codec, const QByteArray& bytes) {
    if (!codec) return std::nullopt;
    const QString text = codec->toUnicode(bytes);
    if (codec->fromUnicode(text) != bytes) return std::nullopt;
    return text;
}

std::optional<QString> decodedUtf8(const QByteArray& bytes) {
    QTextCodec::ConverterState state;
    QTextCodec* codec = QTextCodec::codecForName("UTF-8");
    const QString text = codec->toUnicode(bytes.constData(), bytes.size(), &state);
    if (state.invalidChars > 0 || state.remainingChars > 0) return std::nullopt;
    return text;
}

std::optional<QString> decodedGbk(const QByteArray& bytes) {
    // A header in UTF-8 has rows in UTF-8 below it: damaged ones are not to be taken for
    // GBK, where every second pair of bytes means something.
    const QByteArray header = bytes.left(bytes.indexOf('\n'));
    const auto beyondAscii = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
    if (std::any_of(header.begin(), header.end(), beyondAscii) && decodedUtf8(header)) {
        return std::nullopt;
    }
    // No GBK or GB18030 character has this byte; the system page maps it to a private
    // character.
    if (bytes.contains('\xff')) return std::nullopt;
    auto text = decodedBy(QTextCodec::codecForName("GB18030"), bytes);
    // Only the system page has the euro sign as a single byte.
    if (!text) text = decodedBy(QTextCodec::codecForName("GBK"), bytes);
    return text;
}

}  // namespace

EFileEncoding fileEncodingFrom(const std::string& name) {
    const QString wanted = Pim::sToQs(name).trimmed().toUpper();
    for (const char* gbk : {"GBK", "GB18030", "GB2312", "CP936"}) {
        if (wanted == QLatin1String(gbk)) return EFileEncoding::Gbk;
    }
    return EFileEncoding::Utf8;
}

std::string encodeText(const std::string& text, EFileEncoding encoding) {
    QString lines = Pim::sToQs(text);
#ifdef Q_OS_WIN
    lines.replace("\n", "\r\n");
#endif
    if (encoding == EFileEncoding::Utf8) return lines.toStdString();
    return QTextCodec::codecForName("GB18030")->fromUnicode(lines).toStdString();
}

std::optional<std::string> decodeText(const std::string& bytes) {
    const QByteArray raw = QByteArray::fromStdString(bytes);
    std::optional<QString> text = decodedUtf8(raw);
    if (!text) text = decodedGbk(raw);
    if (!text) return std::nullopt;
    return text->toStdString();
}

}  // namespace TC
