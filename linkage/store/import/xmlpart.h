#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QString>
#include <QXmlStreamReader>

namespace TC::statement {

/// One part of a workbook as XML. Names count without their namespaces, of which there
/// are several generations.
///
/// Throws Refusal for a part that is no XML, and for a part that could make the parser use
/// memory without limit: document types with their entities, deep nesting, endless texts and
/// tags.
class CXmlPart {
public:
    explicit CXmlPart(const QByteArray& bytes);

    /// The next start or end of an element; false at the end of the part.
    bool next();
    bool starts(const char* name) const { return m_xml.isStartElement() && is(name); }
    bool ends(const char* name) const { return m_xml.isEndElement() && is(name); }

    /// An attribute of the element that starts here, empty when it has none.
    QString attribute(const char* name) const;

    /// The text between the previous element and this one.
    const QString& text() const { return m_text; }

private:
    bool is(const char* name) const;

    QBuffer m_buffer;
    QXmlStreamReader m_xml;
    QString m_text;
    int m_nDepth = 0;
};

}  // namespace TC::statement
