#include "linkage/store/import/compoundfile.h"
#include "linkage/store/import/readers.h"

#include <vector>

namespace TC::statement {

namespace {

enum ERecord : std::uint16_t {
    kFormula = 0x0006,
    kEndOfPart = 0x000a,
    kDateMode = 0x0022,
    kFilePass = 0x002f,
    kContinue = 0x003c,
    kBoundSheet = 0x0085,
    kMulRk = 0x00bd,
    kRString = 0x00d6,
    kSharedTexts = 0x00fc,
    kLabelSst = 0x00fd,
    kNumber = 0x0203,
    kLabel = 0x0204,
    kString = 0x0207,
    kRk = 0x027e,
    kBeginOfPart = 0x0809,
};
constexpr std::uint16_t kBiff8 = 0x0600;

[[noreturn]] void brokenRecords() {
    throw Refusal(QStringLiteral("the workbook is broken: its records are damaged"));
}

/// A number packed into 32 bits: an integer or the upper part of a double, either of
/// them perhaps in hundredths.
double unpackedRk(std::uint32_t rk) {
    double value;
    if (rk & 2) {
        value = static_cast<std::int32_t>(rk) >> 2;
    } else {
        const std::uint64_t bits = static_cast<std::uint64_t>(rk & ~3u) << 32;
        std::memcpy(&value, &bits, sizeof value);
    }
    return rk & 1 ? value / 100.0 : value;
}

struct Record {
    std::uint16_t type;
    CBytes data;
    std::size_t next;
};

class CRecords {
public:
    explicit CRecords(const QByteArray& stream)
        : m_stream(stream.constData(), static_cast<std::size_t>(stream.size())) {}

    Record at(std::size_t place) const {
        const std::uint16_t length = m_stream.u16(place + 2);
        Record record{m_stream.u16(place), CBytes(m_stream.part(place + 4, length)),
                      place + 4 + length};
        if (m_stream.overrun()) brokenRecords();
        return record;
    }
    std::size_t size() const { return m_stream.size(); }

private:
    CBytes m_stream;
};

/// Text out of one or more records. Where characters run on into the next record, that
/// one begins with a byte that says anew how wide they are.
class CTextCursor {
public:
    explicit CTextCursor(std::vector<CBytes> records) : m_records(std::move(records)) {}

    std::uint8_t u8() {
        while (m_record < m_records.size() && m_at >= m_records[m_record].size()) nextRecord();
        if (m_record >= m_records.size()) brokenRecords();
        return m_records[m_record].u8(m_at++);
    }
    std::uint32_t number(int bytes) {
        std::uint32_t value = 0;
        for (int i = 0; i < bytes; ++i) value |= static_cast<std::uint32_t>(u8()) << 8 * i;
        return value;
    }
    void skip(std::size_t bytes) {
        while (bytes > 0) {
            if (m_record >= m_records.size()) brokenRecords();
            const std::size_t here = std::min(bytes, m_records[m_record].size() - m_at);
            m_at += here;
            bytes -= here;
            if (bytes > 0) nextRecord();
        }
    }

    QString text(std::uint32_t length) {
        const std::uint8_t flags = u8();
        const std::uint32_t runs = flags & 8 ? number(2) : 0;
        const std::uint32_t extra = flags & 4 ? number(4) : 0;
        QString text;
        bool wide = flags & 1;
        for (std::uint32_t i = 0; i < length; ++i) {
            if (m_record < m_records.size() && m_at >= m_records[m_record].size()) {
                nextRecord();
                wide = u8() & 1;
            }
            text += QChar(static_cast<ushort>(number(wide ? 2 : 1)));
        }
        skip(std::size_t(runs) * 4 + extra);
        return text.trimmed();
    }

private:
    void nextRecord() {
        ++m_record;
        m_at = 0;
    }

    std::vector<CBytes> m_records;
    std::size_t m_record = 0;
    std::size_t m_at = 0;
};

QString singleText(const CBytes& data, std::size_t at, int lengthBytes) {
    if (!data.holds(at, 1)) brokenRecords();
    CTextCursor cursor({CBytes(data.part(at, data.size() - at))});
    return cursor.text(cursor.number(lengthBytes));
}

struct Globals {
    struct SheetPlace {
        QString name;
        std::size_t at;
        bool isHidden;
    };
    std::vector<SheetPlace> sheets;
    CSharedTexts texts{{}};
    bool dates1904 = false;
};

std::vector<QString> sharedTextsOf(const CRecords& records, const Record& first) {
    std::vector<CBytes> parts{first.data};
    for (std::size_t at = first.next; at + 4 <= records.size();) {
        const Record record = records.at(at);
        if (record.type != kContinue) break;
        parts.push_back(record.data);
        at = record.next;
    }
    CTextCursor cursor(std::move(parts));
    cursor.skip(4);
    const std::uint32_t count = cursor.number(4);
    if (count > kMaxTexts) throw Refusal(QStringLiteral("the file has too much text"));
    std::vector<QString> texts;
    for (std::uint32_t i = 0; i < count; ++i) texts.push_back(cursor.text(cursor.number(2)));
    return texts;
}

Globals readGlobals(const CRecords& records) {
    Globals globals;
    Record record = records.at(0);
    if (record.type != kBeginOfPart || record.data.u16(0) != kBiff8) {
        throw Refusal(QStringLiteral("the workbook's format is too old; save it anew"));
    }
    while (record.type != kEndOfPart) {
        if (record.type == kFilePass) {
            throw Refusal(QStringLiteral("the workbook is protected by a password"));
        }
        if (record.type == kDateMode) globals.dates1904 = record.data.u16(0) != 0;
        if (record.type == kSharedTexts)
            globals.texts = CSharedTexts(sharedTextsOf(records, record));
        constexpr int kWorksheet = 0;
        if (record.type == kBoundSheet && record.data.u8(5) == kWorksheet) {
            const bool isHidden = (record.data.u8(4) & 3) != 0;
            globals.sheets.push_back({singleText(record.data, 6, 1), record.data.u32(0), isHidden});
        }
        if (record.data.overrun()) brokenRecords();
        record = records.at(record.next);
    }
    return globals;
}

class CXlsSheet {
public:
    CXlsSheet(CWorkbook& book, int sheet, CSharedTexts& texts)
        : m_book(book), m_sheet(sheet), m_texts(texts) {}

    void read(const CRecords& records, std::size_t at) {
        Record record = records.at(at);
        if (record.type != kBeginOfPart) brokenRecords();
        // Charts stand inside a sheet as parts of their own.
        for (int depth = 1; depth > 0;) {
            record = records.at(record.next);
            if (record.type == kBeginOfPart) ++depth;
            if (record.type == kEndOfPart) --depth;
            if (depth == 1) take(record);
            if (record.data.overrun()) brokenRecords();
        }
    }

private:
    void take(const Record& record) {
        const CBytes& data = record.data;
        switch (record.type) {
            case kLabelSst:
                return sharedText(data);
            case kLabel:
            case kRString:
                return text(data, singleText(data, 6, 2));
            case kNumber:
                return number(data, 0, data.real(6));
            case kRk:
                return number(data, 0, unpackedRk(data.u32(6)));
            case kMulRk:
                return numbers(data);
            case kFormula:
                return formula(data);
            case kString:
                return m_book.addText(m_sheet, m_row, m_column, singleText(data, 0, 2));
            default:
                return;
        }
    }
    void text(const CBytes& data, const QString& text) {
        m_book.addText(m_sheet, data.u16(0), data.u16(2), text);
    }
    void number(const CBytes& data, int column, double value) {
        m_book.addNumber(m_sheet, data.u16(0), data.u16(2) + column, value);
    }
    void numbers(const CBytes& data) {
        for (std::size_t at = 4; at + 8 <= data.size(); at += 6) {
            number(data, static_cast<int>((at - 4) / 6), unpackedRk(data.u32(at + 2)));
        }
    }
    /// A formula counts by its stored result; a text follows in a record of its own.
    void formula(const CBytes& data) {
        m_row = data.u16(0);
        m_column = data.u16(2);
        if (data.u16(12) != 0xffff) number(data, 0, data.real(6));
    }
    void sharedText(const CBytes& data) {
        if (!m_texts.addTo(m_book, m_sheet, data.u16(0), data.u16(2), data.u32(6))) brokenRecords();
    }

    CWorkbook& m_book;
    const int m_sheet;
    CSharedTexts& m_texts;
    int m_row = 0;
    int m_column = 0;
};

}  // namespace

CWorkbook readXls(const QByteArray& bytes) {
    const CCompoundFile file(bytes);
    const QString name = QStringLiteral("Workbook");
    if (file.has(QStringLiteral("EncryptedPackage"))) {
        throw Refusal(QStringLiteral("the workbook is protected by a password"));
    }
    if (file.has(QStringLiteral("Book")) && !file.has(name)) {
        throw Refusal(QStringLiteral("the workbook's format is too old; save it anew"));
    }
    if (!file.has(name)) throw Refusal(QStringLiteral("the file holds no workbook"));
    const QByteArray stream = file.stream(name);
    const CRecords records(stream);
    Globals globals = readGlobals(records);
    CWorkbook book;
    book.setDates1904(globals.dates1904);
    for (const auto& sheet : globals.sheets) {
        if (sheet.isHidden) {
            book.leaveOut(sheet.name);
            continue;
        }
        CXlsSheet(book, book.addSheet(sheet.name), globals.texts).read(records, sheet.at);
    }
    if (book.sheets().empty() && !book.leftOut().isEmpty()) {
        throw Refusal(QStringLiteral("all sheets of the workbook are hidden"));
    }
    if (book.sheets().empty()) throw Refusal(QStringLiteral("the workbook has no sheets"));
    book.finish();
    return book;
}

}  // namespace TC::statement
