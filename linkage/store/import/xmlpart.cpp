#include "linkage/store/import/xmlpart.h"

#include "linkage/store/import/workbook.h"

#include <algorithm>
#include <string_view>

namespace TC::statement {

namespace {

constexpr std::size_t kMaxPiece = 4 * kMaxCellLength;  ///< bytes of one text or tag
constexpr int kMaxDepth = 64;
constexpr int kMaxAttributes = 64;  ///< each is compared with all before it

[[noreturn]] void brokenXml(const QString& why) {
    throw Refusal(QStringLiteral("the workbook is broken: %1").arg(why));
}

/// What ends markup that is no tag; "" for a tag.
std::string_view endOf(std::string_view markup) {
    if (markup.starts_with("<![CDATA[")) return "]]>";
    if (markup.starts_with("<!--")) return "-->";
    if (markup.starts_with("<?")) return "?>";
    return markup.front() == '<' ? "" : "<";
}

/// The length of the tag that begins here; values in quotes may hold its end.
std::size_t tagLength(std::string_view markup) {
    char quote = '\0';
    int attributes = 0;
    for (std::size_t at = 0; at < std::min(markup.size(), kMaxPiece); ++at) {
        const char c = markup[at];
        if (quote != '\0') {
            if (c == quote) quote = '\0';
        } else if (c == '>') {
            return at + 1;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '=' && ++attributes > kMaxAttributes) {
            brokenXml(QStringLiteral("a tag with more than %1 attributes").arg(kMaxAttributes));
        }
    }
    return markup.size();
}

/// The parser keeps each text and each tag in memory as a whole, so their lengths are checked
/// first.
void checkPieces(std::string_view rest) {
    while (!rest.empty()) {
        const std::string_view end = endOf(rest);
        std::size_t length = end.empty() ? tagLength(rest) : rest.find(end);
        if (length == std::string_view::npos) length = rest.size();
        if (length > kMaxPiece) brokenXml(QStringLiteral("endless text"));
        if (end.size() > 1) length = std::min(rest.size(), length + end.size());
        rest.remove_prefix(length);
    }
}

/// A name without its namespace.
QStringRef localName(const QStringRef& name) { return name.mid(name.lastIndexOf(':') + 1); }

}  // namespace

CXmlPart::CXmlPart(const QByteArray& bytes) {
    if (bytes.contains('\0')) brokenXml(QStringLiteral("not in UTF-8"));
    checkPieces({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    // Through a device the reader decodes a few kilobytes at a time.
    m_buffer.setData(bytes);
    m_buffer.open(QIODevice::ReadOnly);
    m_xml.setDevice(&m_buffer);
    // For each name it meets, the parser would look through all namespaces that are declared.
    m_xml.setNamespaceProcessing(false);
}

bool CXmlPart::next() {
    m_text.clear();
    for (;;) {
        const auto token = m_xml.readNext();
        if (token == QXmlStreamReader::DTD) brokenXml(QStringLiteral("document type"));
        // In another encoding checkPieces() would have checked other pieces than the parser
        // reads.
        const QStringRef encoding = m_xml.documentEncoding();
        if (!encoding.isEmpty() && encoding.compare(QLatin1String("UTF-8"), Qt::CaseInsensitive)) {
            brokenXml(QStringLiteral("not in UTF-8"));
        }
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
        const QStringRef whole = attribute.qualifiedName();
        if (whole.startsWith(QLatin1String("xmlns"))) continue;
        if (localName(whole) == QLatin1String(name)) return attribute.value().toString();
    }
    return QString();
}

bool CXmlPart::is(const char* name) const {
    return localName(m_xml.qualifiedName()) == QLatin1String(name);
}

}  // namespace TC::statement
