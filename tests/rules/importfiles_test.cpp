#include "linkage/store/import/readers.h"
#include "linkage/store/import/statement.h"

#include <QFile>
#include <QTemporaryDir>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <zlib.h>

#include <random>
#include <set>

namespace importfilestest {
namespace {

using namespace TC::statement;

QString sample(const char* name) {
    return QStringLiteral(LINKAGE_SOURCE_DIR "/tests/data/import/") + name;
}

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

CWorkbook bookOf(const QByteArray& bytes) {
    const EFormat format = detectFormat(bytes);
    if (format == EFormat::Xlsx) return readXlsx(bytes);
    return format == EFormat::Xls ? readXls(bytes) : readText(bytes);
}

/// "read" or why not.
template <class Read>
std::string outcomeOf(Read read) {
    try {
        read();
        return "read";
    } catch (const Refusal& why) {
        return why.text.toStdString();
    }
}

std::string outcome(const QByteArray& bytes) {
    return outcomeOf([&] { readStatement(bookOf(bytes), "20240102"); });
}

/// A line for each deal, order and skipped row; rows are counted from the first record.
std::string shown(const Statement& statement) {
    std::string text;
    for (const auto& row : statement.deals) {
        const auto& deal = *row.record;
        text +=
            fmt::format("{} {} {} {}{} {} {}@{}={}\n", row.fundAccount.toStdString(),
                        deal.m_strTradeDate, deal.m_strTradeTime, deal.m_strMarket, deal.m_strCode,
                        int(deal.m_eDirection), deal.m_nVolume, deal.m_dPrice, deal.m_dAmount);
        EXPECT_TRUE(deal.m_bImported);
    }
    for (const auto& row : statement.orders) {
        const auto& order = *row.record;
        text += fmt::format("{} {} {} {} of {}={:.2f}\n", order.m_strTradeDate, order.m_strSysID,
                            int(order.m_eStatus), order.m_nTradedVolume, order.m_nVolume,
                            order.m_dTradedAmount);
    }
    const int first = statement.deals.empty() ? statement.orders.at(0).row : statement.deals[0].row;
    for (const auto& row : statement.skipped) {
        text += fmt::format("{}: {}\n", row.row - first, row.reason.toStdString());
    }
    return text;
}

const char* const kDealFiles[] = {"deals.xls",      "deals.xlsx",      "deals.ods",
                                  "deals_utf8.csv", "deals_mark.csv",  "deals_gb18030.csv",
                                  "deals_text.xls", "deals_sheet.xls", "deals_sheet.xlsx",
                                  "deals_sheet.ods"};

TEST(ImportFiles, EveryFormatGivesTheSameDeals) {
    std::vector<std::uint64_t> keys;
    for (const char* file : kDealFiles) {
        SCOPED_TRACE(file);
        const Statement statement = readStatement(readFile(sample(file)), "20240102");
        EXPECT_EQ(statement.read, 7);
        EXPECT_EQ(shown(statement),
                  "10001 20230201 093105 SZ000878 48 1000@12.34=12340\n"
                  "10001 20230201 093105 SZ000878 48 1000@12.34=12340\n"
                  "10001 20230201 100000 SH600519 49 100@1800.5=180050\n"
                  "10001 20230202 130559 SZ159915 48 10000@2.345=23450\n"
                  "10001 20230202 140000 SH113052 49 10@116.25=1162.5\n"
                  "5: not a deal: 指定交易\n"
                  "6: not a deal: price 0\n");
        std::vector<std::uint64_t> own;
        for (const auto& row : statement.deals) own.push_back(row.record->m_nRecordKey);
        EXPECT_EQ(std::set(own.begin(), own.end()).size(), 5u);
        if (keys.empty()) keys = own;
        EXPECT_EQ(own, keys);
        EXPECT_EQ(statement.notes.contains("sheet \"备份\" is hidden and was left out"),
                  std::string(file) == "deals.ods");
    }
}

TEST(ImportFiles, OrderListWithTheDayInItsTitle) {
    EXPECT_EQ(shown(readStatement(readFile(sample("orders_gb18030.csv")), "20240102")),
              "20230203 11 50 0 of 1000=0.00\n"
              "20230203 12 55 200 of 500=1424.00\n"
              "20230203 13 56 300 of 300=3897.00\n"
              "20230203 14 53 100 of 400=1321.00\n"
              "20230203 15 54 0 of 400=0.00\n"
              "20230203 16 57 0 of 100=0.00\n"
              "6: traded 200 of 100 shares\n"
              "7: not an order: 撤单\n"
              "8: unknown status: 神秘\n");
}

// ------------------------------------------------------------------- hostile files

struct Part {
    QByteArray name;
    QByteArray content;
};

/// Numbers of so many bytes each, the lowest byte first.
QByteArray little(int bytes, std::initializer_list<qint64> values) {
    QByteArray out;
    for (const qint64 value : values) {
        for (int i = 0; i < bytes; ++i) out += static_cast<char>(value >> 8 * i);
    }
    return out;
}

/// A zip archive; `lie` is added to the unpacked sizes that it claims.
QByteArray zipped(const std::vector<Part>& parts, int lie = 0, int flags = 0) {
    QByteArray file;
    QByteArray directory;
    for (const auto& [name, content] : parts) {
        const QByteArray whole = qCompress(content, 9);
        const QByteArray packed = whole.mid(6, whole.size() - 10);  // without zlib's frame
        const auto* const bytes = reinterpret_cast<const Bytef*>(content.constData());
        const qint64 checksum = static_cast<qint64>(crc32(0, bytes, uInt(content.size())));
        const QByteArray common = little(2, {20, flags, 8}) +
                                  little(4, {0, checksum, packed.size(), content.size() + lie}) +
                                  little(2, {name.size(), 0});
        directory += "PK\x01\x02" + little(2, {20}) + common + QByteArray(10, '\0') +
                     little(4, {file.size()}) + name;
        file += "PK\x03\x04" + common + name + packed;
    }
    const auto count = static_cast<qint64>(parts.size());
    return file + directory + "PK\x05\x06" + little(2, {0, 0, count, count}) +
           little(4, {directory.size(), file.size()}) + little(2, {0});
}

std::vector<Part> workbookParts(const QByteArray& sheetData, const QByteArray& prolog = {}) {
    return {
        {"_rels/.rels",
         "<Relationships><Relationship Id='r' Type='x/officeDocument' "
         "Target='xl/workbook.xml'/></Relationships>"},
        {"xl/workbook.xml",
         "<workbook xmlns:r='r'><sheets><sheet name='s' r:id='r1'/></sheets></workbook>"},
        {"xl/_rels/workbook.xml.rels",
         "<Relationships><Relationship Id='r1' Type='x/worksheet' "
         "Target='worksheets/sheet1.xml'/></Relationships>"},
        {"xl/worksheets/sheet1.xml",
         prolog + "<worksheet><sheetData>" + sheetData + "</sheetData></worksheet>"},
    };
}

QByteArray workbook(const QByteArray& sheetData, const QByteArray& prolog = {}) {
    return zipped(workbookParts(sheetData, prolog));
}

const QByteArray kHeaderLine = "成交日期,证券代码,买卖,价格,数量\n";

TEST(ImportFiles, TextsOfWorkbooksInEveryForm) {
    auto parts = workbookParts(
        "<row><c t='inlineStr'><is><t>成交日期</t></is></c><c t='str'><f>A1</f><v>证券代码</v></c>"
        "<c t='s'><v>2</v></c><c t='s'><v>1</v></c><c t='inlineStr'><is><t>数量</t></is></c></row>"
        "<row r='3'><c r='A3'><v>44958</v></c><c r='B3'><f>6e5</f><v>600000</v></c><c r='C3' "
        "t='s'><v>0</v></c><c r='D3'><v>7.1</v></c><c r='E3' t='e'><v>#N/A</v></c></row>"
        "<row r='4'><c r='A4' t='d'><v>2023-02-01T09:30:00</v></c><c r='B4'><v>600000</v></c>"
        "<c r='C4' t='s'><v>0</v></c><c r='D4'><v>7.1</v></c><c r='E4'><v>100</v></c></row>");
    parts[2].content.replace("</Rel",
                             "<Relationship Id='r2' Type='x/sharedStrings' "
                             "Target='/xl/texts.xml'/></Rel");
    parts.push_back({"xl/texts.xml",
                     "<sst><si><t>买</t><rPh><t>x</t></rPh><r><t>入</t></r></si>"
                     "<si><t>价格</t></si><si><t>买卖</t></si><si><t/></si></sst>"});
    const Statement statement = readStatement(bookOf(zipped(parts)), "");
    ASSERT_EQ(statement.deals.size(), 1u);
    EXPECT_EQ(statement.deals[0].row, 4);
    EXPECT_EQ(statement.deals[0].record->m_strTradeTime, "093000");
    EXPECT_EQ(statement.deals[0].record->m_nVolume, 100);
    ASSERT_EQ(statement.skipped.size(), 1u);
    EXPECT_EQ(statement.skipped[0].reason, "volume is not a number: #N/A");
}

/// A hidden sheet is not read. Rows that stand on two sheets count once.
TEST(ImportFiles, SheetsThatRepeatOthersOrAreHidden) {
    const QByteArray head =
        "<row><c t='str'><v>成交日期</v></c><c t='str'><v>证券代码</v></c><c t='str'><v>买卖</v>"
        "</c><c t='str'><v>价格</v></c><c t='str'><v>数量</v></c></row>";
    const QByteArray deal =
        "<row><c><v>20230201</v></c><c><v>600000</v></c><c t='str'><v>买</v></c>"
        "<c><v>7</v></c><c><v>100</v></c></row>";
    auto parts = workbookParts(head + deal + deal);
    parts[1].content =
        "<workbook xmlns:r='r'><sheets><sheet name='a' r:id='r1'/><sheet name='b' r:id='r2'/>"
        "<sheet name='c' r:id='r1' state='veryHidden'/></sheets></workbook>";
    parts[2].content.replace("</Rel",
                             "<Relationship Id='r2' Type='x/worksheet' Target='b.xml'/></Rel");
    parts.push_back({"xl/b.xml", "<worksheet><sheetData>" + head + deal + deal + deal +
                                     "</sheetData></worksheet>"});
    const Statement statement = readStatement(bookOf(zipped(parts)), "20240102");
    EXPECT_EQ(statement.deals.size(), 3u);
    ASSERT_EQ(statement.skipped.size(), 2u);
    EXPECT_EQ(statement.skipped[0].reason, "stands on sheet \"a\" already");
    EXPECT_EQ(statement.notes,
              (QStringList{"sheet \"c\" is hidden and was left out",
                           "sheet \"b\" repeats rows of sheet \"a\"; they count once"}));

    // Equal trades of two accounts are two, also where each account has a sheet of its own.
    const auto with = [](QByteArray row, const QByteArray& text) {
        return row.replace("</row>", "<c t='str'><v>" + text + "</v></c></row>");
    };
    const auto sheetOf = [&](const QByteArray& account) {
        return "<worksheet><sheetData>" + with(head, "资金账号") + with(deal, account) +
               "</sheetData></worksheet>";
    };
    parts[3].content = sheetOf("1");
    parts.back().content = sheetOf("2");
    EXPECT_EQ(readStatement(bookOf(zipped(parts)), "20240102").deals.size(), 2u);
}

/// Pieces of the form "before0after", each with another number.
QByteArray numbered(const QByteArray& before, const QByteArray& after, qint64 size) {
    QByteArray all;
    for (int i = 0; all.size() < size; ++i) all += before + QByteArray::number(i) + after;
    return all;
}

TEST(ImportFiles, HostileContentIsRefused) {
    const QByteArray row = "20230201,600000,买,7,100\n";
    QByteArray twice = workbook("");
    twice.replace("xl/worksheets/sheet1.xml", "xl/worksheets/sheet2.xml");
    QByteArray checksum = workbook("");
    const int sum = checksum.indexOf("PK\x01\x02") + 16;
    checksum[sum] = static_cast<char>(~checksum[sum]);
    // The directory's first sector is followed by itself.
    QByteArray circle = bytesOf(sample("deals.xls"));
    const int directory = static_cast<unsigned char>(circle[48]);
    const int table = (static_cast<unsigned char>(circle[76]) + 1) * 512;
    circle[table + 4 * directory] = static_cast<char>(directory);
    circle.replace(table + 4 * directory + 1, 3, QByteArray(3, '\0'));
    const QByteArray x(200'000, 'x');
    const std::string rowsLimit = "the file has more than 200000 rows";
    const std::string columnsLimit = "the file has more than 256 columns";
    const std::string sizeLimit = "the workbook unpacks to more than 64 MB";
    const std::string archive = "the workbook's archive is broken";
    const std::string broken = "the workbook is broken: ";
    const std::tuple<const char*, QByteArray, std::string> rows[] = {
        {"empty", "", "the file is empty"},
        {"binary", QByteArray("\x7f\x45LF\x01\x00\x02", 7),
         "the file is neither a workbook nor a text"},
        {"web", " <html><p>", "the file is a web page or XML; save it as a workbook"},
        {"page", kHeaderLine + "\xff\xff", "the text is neither valid UTF-8 nor valid GB18030"},
        {"rows", kHeaderLine + row.repeated(kMaxRows), rowsLimit},
        {"columns", kHeaderLine + x.left(300).replace('x', "1,"), columnsLimit},
        {"cell", kHeaderLine + x, "a cell has more than 32767 characters"},
        {"texts", kHeaderLine + numbered("", x.left(900) + "\n", kMaxTextLength / 4 * 5),
         "the file has too much text"},
        {"no archive", "PK\x03\x04 and so on", archive},
        {"understated size", zipped(workbookParts(""), -1), archive},
        {"overstated size", zipped(workbookParts(""), 1), archive},
        {"wrong checksum", checksum, archive},
        {"missing part", twice, archive},
        {"another archive", zipped({{"a.txt", "a"}}), "the archive is not a workbook"},
        {"password", zipped(workbookParts(""), 0, 1), "the workbook is protected by a password"},
        {"claimed", zipped(workbookParts(""), 0x7fffff00), sizeLimit},
        {"bomb", workbook(QByteArray(kMaxUnpackedBytes, ' ')), sizeLimit},
        {"deep nesting", workbook(QByteArray("<a>").repeated(100)), broken + "nested too deep"},
        {"endless tag", workbook("<c t='" + x + "'/>"), broken + "endless text"},
        {"endless attributes", workbook("<c" + numbered(" a", "=''", 100'000) + "/>"),
         broken + "a tag with more than 64 attributes"},
        {"encoding", workbook("", "<?xml version='1.0' encoding='UTF-16'?>"),
         broken + "not in UTF-8"},
        {"entities",
         workbook("<row><c t='str'><v>&a;</v></c></row>", "<!DOCTYPE w [<!ENTITY a 'aa'>]>"),
         broken + "document type"},
        {"far row", workbook("<row r='9999999'><c><v>1</v></c></row>"), rowsLimit},
        {"far cell", workbook("<row><c r='XFD1'><v>1</v></c></row>"), columnsLimit},
        {"no place", workbook("<row><c r='1A'><v>1</v></c></row>"), broken + "cell \"1A\""},
        {"no text", workbook("<row><c t='s'><v>0</v></c></row>"), broken + "missing text"},
        {"circle of sectors", circle, broken + "its container is damaged"},
        {"no sectors", QByteArray("\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1") + QByteArray(600, '\0'),
         broken + "its container is damaged"},
    };
    for (const auto& [name, bytes, expected] : rows) {
        SCOPED_TRACE(name);
        EXPECT_EQ(outcome(bytes), expected);
    }
    EXPECT_EQ(outcome(kHeaderLine + row.repeated(1000)), "read");
}

TEST(ImportFiles, PathsThatAreNoFiles) {
    QTemporaryDir folder;
    const QString large = folder.filePath("large.csv");
    QFile file(large);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(kMaxFileBytes + 1));
    const std::pair<QString, const char*> rows[] = {
        {folder.path(), "this is not a plain file"},
        {"/dev/zero", "this is not a plain file"},
        {large, "the file is larger than 32 MB"},
    };
    for (const auto& [path, expected] : rows) {
        EXPECT_EQ(outcomeOf([&, file = path] { readFile(file); }), expected);
    }
}

/// Damaged files are read or refused; nothing else may come out. The seed is fixed, so
/// a failure can be found again by its number.
TEST(ImportFiles, DamagedSamplesAreReadOrRefused) {
    std::vector<QByteArray> samples{bytesOf(sample("orders_gb18030.csv"))};
    for (const char* file : kDealFiles) samples.push_back(bytesOf(sample(file)));
    // Damage behind the checksums: the parts themselves.
    samples.push_back(zipped(workbookParts("<row r='1'><c r='A1'><v>1</v></c></row>")));
    std::mt19937 random(7);
    int refused = 0;
    int tried = 0;
    const auto attempt = [&](const QByteArray& bytes) {
        SCOPED_TRACE(++tried);
        EXPECT_NO_THROW(refused += outcome(bytes) != "read");
    };
    const auto damage = [&](QByteArray& bytes) {
        const unsigned at = random() % static_cast<unsigned>(bytes.size());
        bytes[static_cast<int>(at)] = static_cast<char>(random());
    };
    for (const QByteArray& whole : samples) {
        for (int cut = 1; cut <= 40; ++cut) attempt(whole.left(whole.size() * cut / 41));
        for (int i = 0; i < 150; ++i) {
            QByteArray damaged = whole;
            for (unsigned flips = 1 + random() % 4; flips > 0; --flips) damage(damaged);
            attempt(damaged);
        }
    }
    for (int i = 0; i < 300; ++i) {
        auto parts = workbookParts("<row r='1'><c r='A1' t='s'><v>1</v></c></row>");
        damage(parts[random() % parts.size()].content);
        attempt(zipped(parts));
    }
    EXPECT_GT(refused, tried / 10);
}

}  // namespace
}  // namespace importfilestest
