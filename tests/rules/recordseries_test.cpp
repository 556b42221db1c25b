#include "linkage/record/recordseries.h"
#include "linkage/record/recordfile.h"
#include "platform/log.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// Which recordings are of one series, and which of them go.

namespace {

using TC::RecordingOptions;

TEST(RecordSeries, NamesDifferByDateTimeAndNumberAlone) {
    struct Row {
        const char* left;
        const char* right;
        bool isSame;
        int number;  ///< of the right one
    };
    const Row rows[] = {
        {"day.rec", "day-2.rec", true, 2},
        {"day.jsonl.gz", "day-12.jsonl.gz", true, 12},
        {"day-20260105-093000.rec", "day-20260106-133000.rec", true, 1},
        {"day-20260105-093000.rec", "day-20260106-133000-2.rec", true, 2},
        {"day-2026-01-05.rec", "day-2026-10-12.rec", true, 1},
        {"day-2026-01-05.rec", "day-2026-10-12-3.rec", true, 3},
        {"20260105.rec", "20260106.rec", true, 1},
        {"day.rec", "day-20260105.rec", false, 1},
        {"day.rec", "day-2.rec.gz", false, 2},
        {"day.rec", "day-1.rec", false, 1},
        {"day.rec", "day-02.rec", false, 1},
        {"day.rec", "my-day-2.rec", false, 2},
        {"a1001-20260105.rec", "a1002-20260105.rec", false, 1},
        {"day-20260105.rec", "day-20261305.rec", false, 1},
        {"88001234.rec", "88001235.rec", false, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.left) + " " + row.right);
        const TC::SeriesName right = TC::recordNameOf(row.right);
        EXPECT_EQ(TC::recordNameOf(row.left).series == right.series, row.isSame);
        EXPECT_EQ(right.number, row.number);
    }
}

TEST(RecordSeries, TheOldestGoUntilAllLimitsHold) {
    const auto file = [](const char* day, int number, bool stays = false) {
        const QDateTime begun(QDate::fromString(day, "yyyyMMdd"), QTime(9, 30));
        return TC::SeriesFile{QStringLiteral("%1-%2").arg(day).arg(number), begun, number, 100,
                              stays};
    };
    // Not in their order; the numbers of a day are more than one digit long.
    const std::vector<TC::SeriesFile> files = {file("20260110", 1),  file("20260105", 2),
                                               file("20260105", 10), file("20251231", 1, true),
                                               file("20260105", 1),  file("20260111", 1, true)};
    struct Row {
        RecordingOptions options;
        std::vector<const char*> gone;
    };
    const Row rows[] = {
        {{}, {}},
        {{.keepFiles = 6}, {}},
        {{.keepFiles = 4}, {"20260105-1", "20260105-2"}},
        {{.keepFiles = 1}, {"20260105-1", "20260105-2", "20260105-10", "20260110-1"}},
        {{.keepDays = 6}, {}},
        {{.keepDays = 5}, {"20260105-1", "20260105-2", "20260105-10"}},
        {{.keepBytes = 600}, {}},
        {{.keepBytes = 499}, {"20260105-1", "20260105-2"}},
        {{.keepFiles = 5, .keepDays = 7, .keepBytes = 350},
         {"20260105-1", "20260105-2", "20260105-10"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        std::vector<std::string> gone;
        for (const auto& each : TC::outdated(files, row.options, QDate(2026, 1, 11))) {
            gone.push_back(each.path.toStdString());
        }
        EXPECT_EQ(gone, std::vector<std::string>(row.gone.begin(), row.gone.end()));
    }
}

class SeriesFolder : public testing::Test {
protected:
    ~SeriesFolder() override {
        QFile::setPermissions(m_directory.path(),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        g_VexStdLogger.setReceiver({});
    }
    QString path(const QString& name) const { return m_directory.filePath(name); }
    void write(const QString& name, const std::string& text) const {
        TC::CRecordFile(path(name).toStdString()).write(text);
    }
    void record(const QString& name, const std::string& day) const { write(name, head(day)); }
    static std::string head(const std::string& day) {
        return R"({"do":"config","recorded":1,"middle":true,"now":")" + day +
               " 09:30:00\",\"timeZone\":\"Asia/Shanghai\"}\n";
    }
    QStringList left() const { return QDir(m_directory.path()).entryList(QDir::Files, QDir::Name); }

    QTemporaryDir m_directory;
};

TEST_F(SeriesFolder, OnlyRecordingsOfTheSeriesThatNobodyWritesGo) {
    record("day-20260101.rec", "2026-01-01");
    record("day-20260102.rec", "2026-01-02");
    record("day-20260102-2.rec", "2026-01-02");
    record("other-20260101.rec", "2026-01-01");
    record("day-20260103.rec.copy", "2026-01-03");
    write("day-20250101.rec", "a letter\n");
    write("day-20250102.rec", R"({"do":"config","now":"2025-01-02 09:30:00"})"
                              "\n");
    QFile plain(path("day-20250103.rec"));
    ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
    plain.close();
    ASSERT_TRUE(QFile::link(path("other-20260101.rec"), path("day-20240101.rec")));
    TC::CRecordFile running(path("day-20251201.rec").toStdString());
    running.write(head("2025-12-01"));
    running.flush();
    record("day-20260110.rec", "2026-01-10");
    const QStringList all = left();

    TC::removeOutdated(path("day-20260110.rec"), {}, QDate(2027, 1, 1));
    EXPECT_EQ(left(), all);
    QStringList kept = all;
    for (const char* const name : {"day-20260101.rec", "day-20260102.rec", "day-20260102-2.rec"}) {
        kept.removeAll(name);
    }
    TC::removeOutdated(path("day-20260110.rec"), {.keepDays = 1}, QDate(2027, 1, 1));
    EXPECT_EQ(left(), kept);
    running.close();
    TC::removeOutdated(path("day-20260110.rec"), {.keepFiles = 1}, QDate(2026, 1, 10));
    kept.removeAll("day-20251201.rec");
    EXPECT_EQ(left(), kept);
}

TEST_F(SeriesFolder, AFileThatCannotBeRemovedIsALineInTheLog) {
    record("day-20260101.rec", "2026-01-01");
    record("day-20260110.rec", "2026-01-10");
    QFile::setPermissions(m_directory.path(), QFile::ReadOwner | QFile::ExeOwner);
    if (QFileInfo(m_directory.path()).isWritable()) GTEST_SKIP() << "root may remove everything";
    std::vector<std::string> lines;
    g_VexStdLogger.setReceiver(
        [&lines](const CVexLogger::Line& line) { lines.emplace_back(line.message); });
    TC::removeOutdated(path("day-20260110.rec"), {.keepFiles = 1}, QDate(2026, 1, 10));
    EXPECT_EQ(left().size(), 2);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines.front().find("day-20260101.rec"), std::string::npos);
}

TEST_F(SeriesFolder, TheNextFileHasTheNextNumberThatIsFree) {
    record("day.rec", "2026-01-01");
    EXPECT_EQ(TC::nextRecordPath(path("day.rec")), path("day-2.rec"));
    record("day-2.rec", "2026-01-01");
    record("day-3.rec", "2026-01-01");
    EXPECT_EQ(TC::nextRecordPath(path("day.rec")), path("day-4.rec"));
    EXPECT_EQ(TC::nextRecordPath(path("day-20260105-133000.jsonl.gz")),
              path("day-20260105-133000-2.jsonl.gz"));
    EXPECT_EQ(TC::nextRecordPath(path("day-9")), path("day-10"));
}

}  // namespace
