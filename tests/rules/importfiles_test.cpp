#include "linkage/store/import/readers.h"
#include "linkage/store/import/statement.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <zlib.h>

#include <cstdlib>
#include <map>
#include <random>

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
    switch (detectFormat(bytes)) {
        case EFormat::Xlsx:
            return readXlsx(bytes);
        case EFormat::Xls:
            return readXls(bytes);
        default:
            return readText(bytes);
    }
}

/// "read" or why not.
std::string outcome(const QByteArray& bytes) {
    try {
        readStatement(bookOf(bytes), "20240102");
        return "read";
    } catch (const Refusal& why) {
        return why.text.toStdString();
    }
}

std::string outcomeOfFile(const QString& path) {
    try {
        readFile(path);
        return "read";
    } catch (const Refusal& why) {
        return why.text.toStdString();
    }
}

const char* const kDealFiles[] = {"deals.xls",      "deals.xlsx",        "deals_utf8.csv",
                                  "deals_mark.csv", "deals_gb18030.csv", "deals_text.xls"};

TEST(ImportFiles, EveryFormatGivesTheSameDeals) {
    struct Expected {
        const char* when;
        const char* stock;
        int side, volume;
        double price, amount;
    };
    const Expected expected[] = {
        {"20230201093105", "SZ000878", 48, 1000, 12.34, 12340.0},
        {"20230201093105", "SZ000878", 48, 1000, 12.34, 12340.0},
        {"20230201100000", "SH600519", 49, 100, 1800.5, 180050.0},
        {"20230202130559", "SZ159915", 48, 10000, 2.345, 23450.0},
        {"20230202140000", "SH113052", 49, 10, 116.25, 1162.5},
    };
    std::map<std::string, std::vector<std::uint64_t>> keys;
    for (const char* file : kDealFiles) {
        SCOPED_TRACE(file);
        const Statement statement = readStatement(readFile(sample(file)), "20240102");
        EXPECT_EQ(statement.read, 7);
        ASSERT_EQ(statement.deals.size(), 5u);
        for (std::size_t i = 0; i < 5; ++i) {
            const auto& deal = *statement.deals[i].record;
            EXPECT_EQ(deal.m_strTradeDate + deal.m_strTradeTime, expected[i].when);
            EXPECT_EQ(deal.m_strMarket + deal.m_strCode, expected[i].stock);
            EXPECT_EQ(deal.m_eDirection, expected[i].side);
            EXPECT_EQ(deal.m_nVolume, expected[i].volume);
            EXPECT_DOUBLE_EQ(deal.m_dPrice, expected[i].price);
            EXPECT_DOUBLE_EQ(deal.m_dAmount, expected[i].amount);
            EXPECT_TRUE(deal.m_bImported);
            EXPECT_EQ(statement.deals[i].fundAccount, "10001");
            keys[file].push_back(deal.m_nRecordKey);
        }
        ASSERT_EQ(statement.skipped.size(), 2u);
        EXPECT_EQ(statement.skipped[0].reason, QStringLiteral("not a deal: 指定交易"));
        EXPECT_EQ(statement.skipped[1].reason, QStringLiteral("not a deal: price 0"));
        EXPECT_EQ(statement.skipped[1].row, statement.deals[0].row + 6);
        EXPECT_EQ(keys[file], keys[kDealFiles[0]]);
    }
    EXPECT_NE(keys[kDealFiles[0]][0], keys[kDealFiles[0]][1]);
}

TEST(ImportFiles, OrderListWithTheDayInItsTitle) {
    const Statement statement = readStatement(readFile(sample("orders_gb18030.csv")), "20240102");
    struct Expected {
        const char* id;
        int status, volume, traded;
        double amount;
    };
    const Expected expected[] = {
        {"11", 50, 1000, 0, 0.0},     {"12", 55, 500, 200, 1424.0}, {"13", 56, 300, 300, 3897.0},
        {"14", 53, 400, 100, 1321.0}, {"15", 54, 400, 0, 0.0},      {"16", 57, 100, 0, 0.0},
    };
    ASSERT_EQ(statement.orders.size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        const auto& order = *statement.orders[i].record;
        EXPECT_EQ(order.m_strTradeDate, "20230203");
        EXPECT_EQ(order.m_strSysID, expected[i].id);
        EXPECT_EQ(order.m_eStatus, expected[i].status);
        EXPECT_EQ(order.m_nVolume, expected[i].volume);
        EXPECT_EQ(order.m_nTradedVolume, expected[i].traded);
        EXPECT_DOUBLE_EQ(order.m_dTradedAmount, expected[i].amount);
    }
    ASSERT_EQ(statement.skipped.size(), 3u);
    EXPECT_EQ(statement.skipped[0].reason, "traded 200 of 100 shares");
    EXPECT_EQ(statement.skipped[1].reason, QStringLiteral("not an order: 撤单"));
    EXPECT_EQ(statement.skipped[2].reason, QStringLiteral("unknown status: 神秘"));
}

TEST(ImportFiles, RecordedStatements) {
    const char* folder = std::getenv("LINKAGE_DATA");
    if (!folder) GTEST_SKIP() << "LINKAGE_DATA is not set: no recorded statements";
    struct Expected {
        const char* file;
        int read;
        std::size_t deals;
        std::vector<int> skipped;
        long long bought, sold;
    };
    // Added up from the two files without the reader.
    const Expected expected[] = {
        {"statement_a.xlsx", 10, 7, {6, 8, 9}, 400 + 2900 + 100, 128 + 13000 + 10 + 500},
        {"statement_b.xls", 31, 29, {3, 4}, 3400, 1900},
    };
    for (const Expected& each : expected) {
        SCOPED_TRACE(each.file);
        const QString path = QString::fromUtf8(folder) + "/" + each.file;
        if (!QFile::exists(path)) GTEST_SKIP() << "the recorded statements are not there";
        const Statement statement = readStatement(readFile(path), "20240102");
        EXPECT_EQ(statement.read, each.read);
        EXPECT_EQ(statement.deals.size(), each.deals);
        std::vector<int> skipped;
        for (const auto& row : statement.skipped) skipped.push_back(row.row);
        EXPECT_EQ(skipped, each.skipped);
        long long bought = 0;
        long long sold = 0;
        for (const auto& row : statement.deals) {
            const bool buys = row.record->m_eDirection == vexservice::ENTRUST_BUY;
            (buys ? bought : sold) += row.record->m_nVolume;
        }
        EXPECT_EQ(bought, each.bought);
        EXPECT_EQ(sold, each.sold);
    }
}

// ------------------------------------------------------------------- hostile files

struct Part {
    QByteArray name;
    QByteArray content;
};

void put(QByteArray& out, quint32 value, int bytes) {
    for (int i = 0; i < bytes; ++i) out += static_cast<char>(value >> 8 * i);
}

/// A zip archive; `lie` is added to the unpacked sizes that it claims.
QByteArray zipped(const std::vector<Part>& parts, int lie = 0, int flags = 0) {
    QByteArray file;
    QByteArray directory;
    for (const Part& part : parts) {
        const QByteArray whole = qCompress(part.content, 9);
        const QByteArray packed = whole.mid(6, whole.size() - 10);  // without zlib's frame
        QByteArray common;
        put(common, 20, 2);
        put(common, static_cast<quint32>(flags), 2);
        put(common, 8, 2);
        put(common, 0, 4);
        put(common,
            static_cast<quint32>(crc32(0, reinterpret_cast<const Bytef*>(part.content.constData()),
                                       static_cast<uInt>(part.content.size()))),
            4);
        put(common, static_cast<quint32>(packed.size()), 4);
        put(common, static_cast<quint32>(part.content.size() + lie), 4);
        put(common, static_cast<quint32>(part.name.size()), 2);
        put(common, 0, 2);
        directory += "PK\x01\x02" + QByteArray("\x14\0", 2) + common + QByteArray(10, '\0');
        put(directory, static_cast<quint32>(file.size()), 4);
        directory += part.name;
        file += "PK\x03\x04" + common + part.name + packed;
    }
    const int at = file.size();
    file += directory + "PK\x05\x06" + QByteArray(4, '\0');
    put(file, static_cast<quint32>(parts.size()), 2);
    put(file, static_cast<quint32>(parts.size()), 2);
    put(file, static_cast<quint32>(directory.size()), 4);
    put(file, static_cast<quint32>(at), 4);
    return file + QByteArray(2, '\0');
}

std::vector<Part> workbookParts(const QByteArray& sheetData, const QByteArray& prolog = {}) {
    return {
        {"_rels/.rels",
         "<Relationships><Relationship Id='r' Type='x/officeDocument' "
         "Target='xl/workbook.xml'/></Relationships>"},
        {"xl/workbook.xml",
         "<workbook xmlns:r='r'><sheets><sheet name='s' r:id='r1'/></sheets>"
         "</workbook>"},
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

TEST(ImportFiles, HostileContentIsRefused) {
    const QByteArray row = "20230201,600000,买,7,100\n";
    QByteArray twice = workbook("");
    twice.replace("xl/worksheets/sheet1.xml", "xl/worksheets/sheet2.xml");
    QByteArray checksum = workbook("");
    checksum[checksum.indexOf("PK\x01\x02") + 16] =
        static_cast<char>(~checksum[checksum.indexOf("PK\x01\x02") + 16]);
    // The directory's first sector is followed by itself.
    QByteArray circle = bytesOf(sample("deals.xls"));
    const int directory = static_cast<unsigned char>(circle[48]);
    const int table = (static_cast<unsigned char>(circle[76]) + 1) * 512;
    circle[table + 4 * directory] = static_cast<char>(directory);
    circle.replace(table + 4 * directory + 1, 3, QByteArray(3, '\0'));
    const std::tuple<const char*, QByteArray, std::string> rows[] = {
        {"empty", "", "the file is empty"},
        {"binary",
         QByteArray("\x7f"
                    "ELF\x01\x00\x02",
                    7),
         "the file is neither a workbook nor a text"},
        {"web page", " <html><table>", "the file is a web page or XML; save it as a workbook"},
        {"neither encoding", kHeaderLine + row + "\xff\xff",
         "the text is neither valid UTF-8 nor valid GB18030"},
        {"endless rows", kHeaderLine + row.repeated(kMaxRows),
         "the file has more than 200000 rows"},
        {"endless columns", kHeaderLine + QByteArray("1,").repeated(300),
         "the file has more than 256 columns"},
        {"endless cell", kHeaderLine + QByteArray(200'000, 'x'),
         "a cell has more than 32767 characters"},
        {"endless texts",
         [] {
             QByteArray all = kHeaderLine;
             for (int i = 0; all.size() < (kMaxTextLength * 5) / 4; ++i) {
                 all += QByteArray::number(i) + QByteArray(900, 'x') + '\n';
             }
             return all;
         }(),
         "the file has too much text"},
        {"no archive", "PK\x03\x04 and so on", "the workbook's archive is broken"},
        {"another archive", zipped({{"a.txt", "a"}}), "the archive is not a workbook"},
        {"password", zipped(workbookParts(""), 0, 1), "the workbook is protected by a password"},
        {"understated size", zipped(workbookParts(""), -1), "the workbook's archive is broken"},
        {"overstated size", zipped(workbookParts(""), 1), "the workbook's archive is broken"},
        {"size of a bomb", zipped(workbookParts(""), 0x7fffff00),
         "the workbook unpacks to more than 64 MB"},
        {"wrong checksum", checksum, "the workbook's archive is broken"},
        {"deep nesting",
         workbook(QByteArray("<a>").repeated(100) + QByteArray("</a>").repeated(100)),
         "the workbook is broken: nested too deep"},
        {"endless tag", workbook("<c t='" + QByteArray(200'000, 'x') + "'/>"),
         "the workbook is broken: endless text"},
        {"endless attributes",
         [] {
             QByteArray tag = "<c";
             for (int i = 0; tag.size() < 100'000; ++i) tag += " a" + QByteArray::number(i) + "=''";
             return workbook(tag + "/>");
         }(),
         "the workbook is broken: a tag with more than 64 attributes"},
        {"another encoding",
         [] {
             auto parts = workbookParts("");
             parts[3].content.prepend("<?xml version='1.0' encoding='UTF-16'?>");
             return zipped(parts);
         }(),
         "the workbook is broken: not in UTF-8"},
        {"circle of sectors", circle, "the workbook is broken: its container is damaged"},
        {"missing part", twice, "the workbook's archive is broken"},
        {"real bomb", workbook(QByteArray(kMaxUnpackedBytes, ' ')),
         "the workbook unpacks to more than 64 MB"},
        {"entities",
         workbook("<row><c t='str'><v>&a;</v></c></row>", "<!DOCTYPE w [<!ENTITY a 'aaaaaaaa'>]>"),
         "the workbook is broken: document type"},
        {"far row", workbook("<row r='9999999'><c><v>1</v></c></row>"),
         "the file has more than 200000 rows"},
        {"far cell", workbook("<row><c r='XFD1'><v>1</v></c></row>"),
         "the file has more than 256 columns"},
        {"cell without a place", workbook("<row><c r='1A'><v>1</v></c></row>"),
         "the workbook is broken: cell \"1A\""},
        {"text that is not there", workbook("<row><c t='s'><v>0</v></c></row>"),
         "the workbook is broken: missing text"},
        {"compound file of nothing",
         QByteArray("\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1") + QByteArray(600, '\0'),
         "the workbook is broken: its container is damaged"},
    };
    for (const auto& [name, bytes, expected] : rows) {
        try {
            EXPECT_EQ(outcome(bytes), expected) << name;
        } catch (const std::exception& error) {
            ADD_FAILURE() << name << ": " << error.what();
        }
    }
    EXPECT_EQ(outcome(kHeaderLine + row.repeated(1000)), "read");
}

TEST(ImportFiles, PathsThatAreNoFiles) {
    QTemporaryDir folder;
    const QString large = folder.filePath("large.csv");
    {
        QFile file(large);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_TRUE(file.resize(kMaxFileBytes + 1));
    }
    EXPECT_EQ(outcomeOfFile(folder.filePath("missing.xls")), "the file does not exist");
    EXPECT_EQ(outcomeOfFile(folder.path()), "this is not a plain file");
    EXPECT_EQ(outcomeOfFile(large), "the file is larger than 32 MB");
#ifdef Q_OS_LINUX
    EXPECT_EQ(outcomeOfFile("/dev/zero"), "this is not a plain file");
#endif
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
        ++tried;
        try {
            refused += outcome(bytes) != "read";
        } catch (const std::exception& error) {
            ADD_FAILURE() << "attempt " << tried << ": " << error.what();
        }
    };
    for (const QByteArray& whole : samples) {
        for (int cut = 1; cut <= 40; ++cut) attempt(whole.left(whole.size() * cut / 41));
        for (int i = 0; i < 150; ++i) {
            QByteArray damaged = whole;
            for (unsigned flips = 1 + random() % 4; flips > 0; --flips) {
                damaged[static_cast<int>(random() % static_cast<unsigned>(whole.size()))] =
                    static_cast<char>(random());
            }
            attempt(damaged);
        }
    }
    for (int i = 0; i < 300; ++i) {
        auto parts = workbookParts("<row r='1'><c r='A1' t='s'><v>1</v></c></row>");
        QByteArray& content = parts[random() % parts.size()].content;
        content[static_cast<int>(random() % static_cast<unsigned>(content.size()))] =
            static_cast<char>(random());
        attempt(zipped(parts));
    }
    EXPECT_GT(refused, tried / 10);
}

}  // namespace
}  // namespace importfilestest
