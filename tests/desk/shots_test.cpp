#include "desk/balancespage.h"
#include "desk/importdialog.h"
#include "desk/importtexts.h"
#include "desk/texts.h"
#include "linkage/balance/booknames.h"
#include "tests/desk/deskfixture.h"
#include "tests/desk/layoutcheck.h"
#include "tests/desk/textcheck.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>

namespace {

using support::CLayoutCheck;
using support::DeskTest;
using support::isChinese;

class DeskLanguages : public DeskTest, public testing::WithParamInterface<const char*> {
protected:
    bool chinese() const { return QString(GetParam()).startsWith("zh"); }

    void expectWhole(const QWidget& window, const QString& what) {
        const QStringList faults = CLayoutCheck::faults(window);
        EXPECT_TRUE(faults.isEmpty())
            << what.toStdString() << ": " << faults.join(" | ").toStdString();
    }
};

TEST_P(DeskLanguages, NothingIsCutOffOrOverlapsOnAnyPage) {
    openAtTheEnd(GetParam());
    openTab("balanceTimes");
    press("balanceTimeSet");
    openTab("history");
    press("historyCarry");
    ASSERT_TRUE(until([&] { return !shown()->history.empty() && !shown()->balanceTimes.empty(); }));
    auto* tabs = find<QTabWidget>("tabs");
    // Room for the frame and a bar of the desktop is left on a screen of 1024x768.
    EXPECT_LE(m_window->minimumSizeHint().width(), 1020);
    EXPECT_LE(m_window->minimumSizeHint().height(), 700);
    for (int i = 0; i < tabs->count(); ++i) {
        tabs->setCurrentIndex(i);
        for (const QSize size : {QSize(1280, 760), QSize(1280, 800), QSize(1920, 1080)}) {
            m_window->resize(size);
            QApplication::processEvents();
            EXPECT_EQ(m_window->size(), size);
            expectWhole(*m_window, tabs->tabText(i));
        }
        EXPECT_EQ(isChinese(tabs->tabText(i)), chinese()) << tabs->tabText(i).toStdString();
        for (const auto* table : m_window->findChildren<desk::CRowsView*>()) {
            for (int column = 0; table->isVisible() && column < table->model()->columnCount();
                 ++column) {
                EXPECT_FALSE(table->isColumnHidden(column)) << "the table scrolls";
                const QString title = table->model()->headerData(column, Qt::Horizontal).toString();
                EXPECT_EQ(isChinese(title), chinese()) << title.toStdString();
            }
        }
    }
    for (const auto* button : m_window->findChildren<QPushButton*>()) {
        const QString text = button->text();
        EXPECT_TRUE(text.isEmpty() || isChinese(text) == chinese()) << text.toStdString();
    }
}

TEST_P(DeskLanguages, PlanDialogIsWhole) {
    openAtTheEnd(GetParam());
    press("balanceNow");
    const QDialog* plan = dialog("planDialog");
    QApplication::processEvents();
    expectWhole(*plan, "plan");
    const QString summary = plan->findChild<QLabel*>("planSummary")->text();
    EXPECT_EQ(isChinese(summary), chinese()) << summary.toStdString();
    EXPECT_TRUE(summary.contains('1'));
}

TEST_P(DeskLanguages, RecordDialogIsWhole) {
    openAtTheEnd(GetParam());
    press("record");
    const QDialog* record = dialog("recordDialog");
    QApplication::processEvents();
    expectWhole(*record, "record");
    for (const auto* label : record->findChildren<QLabel*>()) {
        const QString text = label->text();
        EXPECT_TRUE(text.isEmpty() || isChinese(text) == chinese()) << text.toStdString();
    }
}

TEST_P(DeskLanguages, ImportDialogIsWhole) {
    openAtTheEnd(GetParam());
    desk::CActions actions(*m_engine);
    desk::CImportDialog preview(
        actions, {QStringLiteral(LINKAGE_SOURCE_DIR "/tests/data/import/deals.xls"), "none.csv"},
        m_window.get());
    preview.open();
    const auto* reasons = preview.findChild<desk::CRowsView*>("importRows");
    ASSERT_TRUE(until([&] { return reasons->model()->rowCount() > 1; }));
    for (const QSize size : {preview.size(), QSize(1280, 800)}) {
        preview.resize(size);
        QApplication::processEvents();
        EXPECT_EQ(preview.size(), size);
        expectWhole(preview, "import");
    }
    for (const auto* label : preview.findChildren<QLabel*>()) {
        const QString text = label->text();
        EXPECT_TRUE(text.isEmpty() || isChinese(text) == chinese()) << text.toStdString();
    }
}

TEST_P(DeskLanguages, LibraryTextsFollowTheLanguage) {
    const desk::CTranslation translation{QLocale(GetParam())};
    for (int code = -1; code <= 60; ++code) {
        for (QString (*textOf)(int) :
             {TC::getOrderStatusQString, TC::getTaskStatusQString, TC::getPriceTypeQString}) {
            const QString text = desk::libraryText(textOf(code));
            EXPECT_EQ(isChinese(text), chinese()) << code << " " << text.toStdString();
        }
    }
}

TEST_P(DeskLanguages, ImportReasonsFollowTheLanguageWithWhatTheyName) {
    const desk::CTranslation translation{QLocale(GetParam())};
    for (const QString& source : desk::importTextSources()) {
        const QString text = desk::importText(source);
        EXPECT_EQ(isChinese(text), chinese()) << source.toStdString();
        EXPECT_EQ(text.count('%'), source.count('%')) << text.toStdString();
    }
    const std::pair<const char*, const char*> cases[] = {
        {"not a deal: price 0", "不是成交：价格为 0"},
        {"not a deal: %2 %1", "不是成交：%2 %1"},
        {"traded volume is not a number: x", "成交数量不是数字：x"},
        {"traded 300 of 200 shares", "200 股中成交了 300 股"},
        {"columns are missing: 成交价格 (left out because of the unit: 手)",
         "缺少列：成交价格（因单位未采用：手）"},
        {"something new 5", "something new 5"}};
    for (const auto& [source, text] : cases)
        EXPECT_EQ(desk::importText(source), QString(chinese() ? text : source));
}

/// The texts in quotes of some sources, with a figure in each place that is filled in.
QStringList quotedTexts(const QStringList& files, const char* which) {
    static const QRegularExpression QUOTED(
        R"x("((?:[^"\\\n]|\\.)*)"(?:\s*"((?:[^"\\\n]|\\.)*)")?)x");
    const QRegularExpression wanted(which);
    QStringList texts;
    for (const QString& name : files) {
        QFile file(QString(LINKAGE_SOURCE_DIR "/linkage/") + name);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        for (auto found = QUOTED.globalMatch(QString::fromUtf8(file.readAll())); found.hasNext();) {
            const QRegularExpressionMatch match = found.next();
            QString text = match.captured(1) + match.captured(2);
            text.replace("\\\"", "\"").replace(QRegularExpression("%\\d|\\{\\}"), "7");
            if (wanted.match(text).hasMatch()) texts << text;
        }
    }
    return texts;
}

TEST_F(DeskTest, NoTextOfTheLibraryIsLeftUntranslated) {
    const desk::CTranslation translation{QLocale("zh_CN")};
    const auto expectTranslated = [](const QString& source, const QString& text) {
        EXPECT_TRUE(isChinese(text)) << source.toStdString();
        static const QRegularExpression WORD("[a-z]{2}");
        EXPECT_FALSE(WORD.match(text).hasMatch()) << text.toStdString();
    };
    QFile texts(LINKAGE_SOURCE_DIR "/desk/translations/linkage-desk_zh_CN.ts");
    ASSERT_TRUE(texts.open(QIODevice::ReadOnly));
    EXPECT_FALSE(texts.readAll().contains("unfinished")) << "texts of the desk itself";
    QStringList imports = {"store/importrecords.cpp", "store/serverhistory.cpp",
                           "store/historyquestions.cpp"};
    for (const QString& name :
         QDir(LINKAGE_SOURCE_DIR "/linkage/store/import").entryList({"*.cpp"}))
        imports << "store/import/" + name;
    // Whole sentences, but not those of the log, which have names in braces.
    const QStringList sentences = quotedTexts(imports, "^[^{]*[a-z]{2} [a-z7(][^{]*$");
    EXPECT_GT(sentences.size(), 90);
    for (const QString& text : sentences) expectTranslated(text, desk::importText(text));
    // What the reader of rows calls a column.
    const QStringList columns =
        quotedTexts({"store/import/recordreader.cpp"}, "^[a-z]+( [a-z]+)?$");
    EXPECT_TRUE(columns.contains("amount") && columns.contains("traded volume"));
    for (const QString& name : columns)
        expectTranslated(name, desk::importText(name + " is not a number: 7"));

    QStringList reasons =
        quotedTexts({"balance/guardreasons.h", "balance/guardreasons.cpp"}, "^[a-z][a-z:7 ]+$");
    for (const char* state : TC::book::STATES) reasons << state;
    EXPECT_GT(reasons.size(), 25);
    for (const QString& text : reasons) expectTranslated(text, desk::bookText(text.toStdString()));
}

INSTANTIATE_TEST_SUITE_P(Languages, DeskLanguages, testing::Values("en", "zh_CN"),
                         [](const auto& language) { return std::string(language.param); });

class DeskCommand : public testing::Test {
protected:
    /// Exit status and standard error.
    static std::pair<int, QString> run(const QStringList& arguments) {
        QProcess process;
        process.start(LINKAGE_DESK, arguments);
        EXPECT_TRUE(process.waitForFinished(120'000));
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardError())};
    }

    QString write(const char* name, const char* text) {
        QFile file(m_dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return file.fileName();
    }

    QTemporaryDir m_dir;
};

TEST_F(DeskCommand, ShotShowsTheDayWithoutADisplay) {
    const QString file = m_dir.filePath("desk.png");
    const auto [status, error] =
        run({"--shot", file, "--lang", "zh_CN", "--size", "1300x800", support::MORNING});
    EXPECT_EQ(status, 0) << error.toStdString();
    const QImage image(file);
    EXPECT_EQ(image.size(), QSize(1300, 800));
    int bright = 0;
    for (int y = 0; y < image.height(); y += 2)
        for (int x = 0; x < image.width(); x += 2)
            bright += image.pixelColor(x, y).lightness() > 150;
    EXPECT_GT(bright, 1000) << "texts and curves are there";

    const QString again = m_dir.filePath("again.png");
    run({"--shot", again, "--lang", "zh_CN", "--size", "1300x800", support::MORNING});
    EXPECT_EQ(QImage(again), image) << "the same at every speed of the machine";
}

TEST_F(DeskCommand, WhatCannotBePlayedIsRefusedWithTheReason) {
    const QString broken =
        write("broken.jsonl", "{\"do\":\"config\",\"now\":\"2024-01-05 09:29:00\"}\n{}\n");
    const QString shot = m_dir.filePath("x.png");
    const std::tuple<QStringList, const char*> cases[] = {
        {{"--shot", shot, broken}, "broken.jsonl:2: "},
        {{"--shot", shot}, "--shot needs a scenario"},
        {{"--shot", shot, m_dir.filePath("missing.jsonl")}, "missing.jsonl"},
        {{"--shot", "/nowhere/x.png", support::MORNING}, "/nowhere/x.png"},
        {{"--speed", "0", broken, "--shot", shot}, "--speed"},
        {{"--until", "25:00", broken, "--shot", shot}, "--until"},
        {{"--size", "10", broken, "--shot", shot}, "--size"},
    };
    for (const auto& [arguments, text] : cases) {
        const auto [status, error] = run(arguments);
        EXPECT_EQ(status, 2) << text;
        EXPECT_TRUE(error.contains(text)) << error.toStdString();
        EXPECT_FALSE(QFile::exists(shot));
    }
}

}  // namespace
