#include "linkage/store/import/archive.h"
#include "linkage/store/import/readers.h"
#include "linkage/store/import/xmlpart.h"

#include <QHash>

#include <vector>

namespace TC::statement {

namespace {

[[noreturn]] void brokenWorkbook(const QString& why) {
    throw Refusal(QStringLiteral("the workbook is broken: %1").arg(why));
}

struct Relation {
    QString kind;
    QString target;
};
using Relations = QHash<QString, Relation>;

/// What a part refers to, by the names it uses, with the targets' full names.
Relations relationsOf(CArchive& archive, const QString& part) {
    const int slash = part.lastIndexOf('/');
    const QString folder = part.left(slash + 1);
    const QString name =
        folder + QStringLiteral("_rels/") + part.mid(slash + 1) + QStringLiteral(".rels");
    Relations relations;
    if (!archive.has(name)) return relations;
    CXmlPart xml(archive.part(name));
    while (xml.next()) {
        if (!xml.starts("Relationship")) continue;
        const QString target = xml.attribute("Target");
        const QString type = xml.attribute("Type");
        relations.insert(xml.attribute("Id"),
                         {type.mid(type.lastIndexOf('/') + 1),
                          target.startsWith('/') ? target.mid(1) : folder + target});
    }
    return relations;
}

QString targetOf(const Relations& relations, const char* kind) {
    for (const Relation& relation : relations) {
        if (relation.kind == QLatin1String(kind)) return relation.target;
    }
    return QString();
}

std::vector<QString> sharedTexts(const QByteArray& part) {
    std::vector<QString> texts;
    qint64 length = 0;
    CXmlPart xml(part);
    QString text;
    bool reading = false;  // readings of characters (<rPh>) are no part of the text
    while (xml.next()) {
        if (xml.starts("rPh")) reading = true;
        if (xml.ends("rPh")) reading = false;
        if (xml.ends("t") && !reading) text += xml.text();
        if (!xml.ends("si")) continue;
        length += text.size();
        if (length > kMaxTextLength || texts.size() >= kMaxTexts) {
            throw Refusal(QStringLiteral("the file has too much text"));
        }
        texts.push_back(text.trimmed());
        text = QString();
    }
    return texts;
}

/// A cell's place out of its name ("B12"); false when it is none.
bool placeOf(const QString& name, qint64& row, qint64& column) {
    int at = 0;
    qint64 letters = 0;
    while (at < name.size() && at < 3 && name[at] >= 'A' && name[at] <= 'Z') {
        letters = letters * 26 + (name[at++].unicode() - 'A' + 1);
    }
    bool ok = false;
    const uint number = name.mid(at).toUInt(&ok);
    if (at == 0 || !ok || number == 0) return false;
    row = number - 1;
    column = letters - 1;
    return true;
}

class CSheetReader {
public:
    CSheetReader(CWorkbook& book, int sheet, CSharedTexts& texts)
        : m_book(book), m_sheet(sheet), m_texts(texts) {}

    void read(const QByteArray& part) {
        CXmlPart xml(part);
        while (xml.next()) {
            if (xml.starts("row")) {
                beginRow(xml.attribute("r"));
            } else if (xml.starts("c")) {
                beginCell(xml.attribute("r"), xml.attribute("t"));
            } else if (xml.ends("v") || xml.ends("t")) {
                m_value += xml.text();
            } else if (xml.ends("c")) {
                endCell();
            }
        }
    }

private:
    void beginRow(const QString& number) {
        m_row = number.isEmpty() ? m_row + 1 : number.toLongLong() - 1;
        m_column = -1;
    }
    void beginCell(const QString& name, const QString& type) {
        if (name.isEmpty()) {
            ++m_column;
        } else if (!placeOf(name, m_row, m_column)) {
            brokenWorkbook(QStringLiteral("cell \"%1\"").arg(name.left(20)));
        }
        m_type = type;
        m_value = QString();
    }
    void endCell() {
        if (m_value.isEmpty()) return;
        bool ok = true;
        if (m_type == QLatin1String("s")) {
            const uint index = m_value.toUInt(&ok);
            if (!ok || !m_texts.addTo(m_book, m_sheet, m_row, m_column, index)) {
                brokenWorkbook(QStringLiteral("missing text"));
            }
        } else if (m_type.isEmpty() || m_type == QLatin1String("n")) {
            const double number = m_value.toDouble(&ok);
            if (ok) return m_book.addNumber(m_sheet, m_row, m_column, number);
            m_book.addText(m_sheet, m_row, m_column, m_value.trimmed());
        } else if (m_type != QLatin1String("b")) {
            m_book.addText(m_sheet, m_row, m_column, m_value.trimmed());
        }
    }

    CWorkbook& m_book;
    const int m_sheet;
    CSharedTexts& m_texts;
    qint64 m_row = -1;
    qint64 m_column = -1;
    QString m_type;
    QString m_value;
};

}  // namespace

CWorkbook readXlsx(const QByteArray& bytes) {
    CArchive archive(bytes);
    if (archive.has(QStringLiteral("content.xml"))) return readOds(archive);
    const QString main = targetOf(relationsOf(archive, QString()), "officeDocument");
    if (main.isEmpty() || !archive.has(main)) {
        throw Refusal(QStringLiteral("the archive is not a workbook"));
    }
    const Relations relations = relationsOf(archive, main);
    const QString textPart = targetOf(relations, "sharedStrings");
    CSharedTexts texts(archive.has(textPart) ? sharedTexts(archive.part(textPart))
                                             : std::vector<QString>());

    CWorkbook book;
    CXmlPart xml(archive.part(main));
    while (xml.next()) {
        if (xml.starts("workbookPr")) {
            const QString on = xml.attribute("date1904");
            book.setDates1904(on == QLatin1String("1") || on == QLatin1String("true"));
        }
        if (!xml.starts("sheet")) continue;
        const Relation relation = relations.value(xml.attribute("id"));
        if (relation.kind != QLatin1String("worksheet")) continue;
        const QString state = xml.attribute("state");
        if (!state.isEmpty() && state != QLatin1String("visible")) {
            book.leaveOut(xml.attribute("name"));
            continue;
        }
        const int sheet = book.addSheet(xml.attribute("name"));
        CSheetReader(book, sheet, texts).read(archive.part(relation.target));
    }
    if (book.sheets().empty() && !book.leftOut().isEmpty()) {
        throw Refusal(QStringLiteral("all sheets of the workbook are hidden"));
    }
    if (book.sheets().empty()) throw Refusal(QStringLiteral("the workbook has no sheets"));
    book.finish();
    return book;
}

}  // namespace TC::statement
