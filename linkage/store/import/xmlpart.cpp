#include "linkage/store/import/xmlpart.h"

#include "linkage/store/import/workbook.h"

#include <string_view>

namespace TC::statement {

namespace {

constexpr std::size_t kMaxPiece = 4 * kMaxCellLength;  ///< bytes of one text or tag
constexpr int kMaxDepth = 64;

[[noreturn]] void brokenXml(const QString& why) {
    throw Refusal(QStringLiteral("the workbook is broken: %1").arg(why));
}

/// What ends the markup that begins here.
std::string_view endOf(std::string_view markup) {
    if (markup.starts_with("<![CDATA[")) return "]]>";
    if (markup.starts_with("<!--")) return "-->";
    return ">";
}

/// The parser gathers each text and each tag whole before anyone sees it, so their
/// lengths are looked at first.
void checkPieces(std::string_view rest) {
    while (!rest.empty()) {
        const std::string_view end = rest.front() == '<' ? endOf(rest) : "<";
        std::size_t length = rest.find(end);
        if (length == std::string_view::npos) length = rest.size();
        if (length > kMaxPiece) brokenXml(QStringLiteral("endless text"));
        if (rest.front() == '<') length = std::min(rest.size(), length + end.size());
        rest.remove_prefix(length);
    }
}

}  // namespace

CXmlPart::CXmlPart(const QByteArray& bytes) {
    checkPieces({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    // Through a device the reader decodes a few kilobytes at a time.
    m_buffer.setData(bytes);
    m_buffer.open(QIODevice::ReadOnly);
    m_xml.setDevice(&m_buffer);
}

bool CXmlPart::next() {
    m_text.clear();
    for (;;) {
        const auto token = m_xml.readNext();
        if (token == QXmlStreamReader::DTD) brokenXml(QStringLiteral("document type"));
        if (m_xml.hasError()) brokenXml(m_xml.errorString().left(100));
        if (token == QXmlStreamReader::EndDocument) return false;
        if (token == QXmlStreamReader::Characters) m_text += m_xml.text();
        if (m_text.size() > static_cast<int>(kMaxPiece)) brokenXml(QStringLiteral("endless text"));
        if (token == QXmlStreamReader::StartElement && ++m_nDepth > kMaxDepth) {
            brokenXml(QStringLiteral("nested too deep"));
        }
        if (token == QXmlStreamReader::EndElement) --m_nDepth;
        if (m_xml.isStartElement() || m_xml.isEndElement()) return true;
    }
}

QString CXmlPart::attribute(const char* name) const {
    for (const auto& attribute : m_xml.attributes()) {
        if (attribute.name() == QLatin1String(name)) return attribute.value().toString();
    }
    return QString();
}

}  // namespace TC::statement
