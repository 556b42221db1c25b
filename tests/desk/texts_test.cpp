#include "desk/texts.h"
#include "desk/faulttexts.h"
#include "replay/eventparser.h"
#include "replay/scenarioline.h"
#include "tests/desk/deskfixture.h"
#include "tests/desk/textcheck.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace {

using support::isChinese;

QString contentOf(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return QString::fromUtf8(file.readAll());
}

TEST(DeskTexts, EveryTextOfTheSourcesIsTranslated) {
    const QTemporaryDir dir;
    const QString kept = LINKAGE_SOURCE_DIR "/desk/translations/linkage-desk_zh_CN.ts";
    const QString found = dir.filePath("found.ts");
    ASSERT_TRUE(QFile::copy(kept, found));
    QProcess reader;
    reader.start(LINKAGE_LUPDATE, {"-silent", "-locations", "none", "-I", LINKAGE_SOURCE_DIR,
                                   LINKAGE_SOURCE_DIR "/desk", "-ts", found});
    ASSERT_TRUE(reader.waitForFinished(60'000));
    ASSERT_EQ(reader.exitCode(), 0) << reader.readAllStandardError().toStdString();
    static const QRegularExpression UNFINISHED(
        "<source>([^<]*)</source>\\s*<translation type=\"([a-z]+)\"");
    for (auto at = UNFINISHED.globalMatch(contentOf(found)); at.hasNext();) {
        const QRegularExpressionMatch match = at.next();
        ADD_FAILURE() << match.captured(2).toStdString() << ": " << match.captured(1).toStdString();
    }
}

/// What the sources of the replay say when they refuse a line or a file.
QStringList refusalsOf(const QString& source) {
    static const QRegularExpression REFUSAL(
        "\\b(?:LineError|InputError|fail|wrongType|outOfRange|namedBy)\\(([^;]*);");
    static const QRegularExpression QUOTED(R"x("((?:[^"\\\n]|\\.)*)")x");
    QStringList texts;
    for (auto refusal = REFUSAL.globalMatch(source); refusal.hasNext();) {
        for (auto at = QUOTED.globalMatch(refusal.next().captured(1)); at.hasNext();) {
            const QString text = at.next().captured(1).replace("\\\"", "\"");
            if (text.contains(QRegularExpression("[a-z]{2}"))) texts << text;
        }
    }
    return texts;
}

/// Names in quotes count for nothing.
QString unnamed(QString text) {
    static const QRegularExpression NAME("\"(%\\d|[A-Za-z]+)\"");
    static const QRegularExpression AFTER_A_FIELD("^\": ");
    return text.replace(NAME, "\"*\"").remove(AFTER_A_FIELD).trimmed();
}

TEST(DeskTexts, FaultsOfScenariosFollowTheLanguage) {
    const desk::CTranslation translation{QLocale("zh_CN")};
    const QStringList known = desk::faultTextSources();
    for (const QString& source : known) {
        const QString text = desk::faultText(source);
        EXPECT_TRUE(isChinese(text)) << source.toStdString();
        EXPECT_EQ(text.count('%'), source.count('%')) << text.toStdString();
    }
    int refusals = 0;
    for (const char* name : {"eventparser", "eventplayer", "linereader", "operations",
                             "playedclient", "recordedclient", "recordedinputs", "recordedlines",
                             "recordingplayer", "scenarioline", "session", "times"}) {
        const QString path = QString(LINKAGE_SOURCE_DIR "/replay/%1.cpp").arg(name);
        for (const QString& text : refusalsOf(contentOf(path))) {
            // A sentence, or a piece of one; fields that are asked for have names of one word.
            const bool isPiece = std::any_of(
                known.begin(), known.end(),
                [&text](const QString& source) { return unnamed(source).contains(unnamed(text)); });
            const bool isName = !text.contains(' ');
            EXPECT_TRUE(isPiece || isName || isChinese(desk::faultText(text)))
                << name << ": " << text.toStdString();
            ++refusals;
        }
    }
    EXPECT_GT(refusals, 40);
}

TEST(DeskTexts, RefusedLinesAreToldInChineseAndKeepTheirNames) {
    const desk::CTranslation translation{QLocale("zh_CN")};
    const std::pair<const char*, const char*> cases[] = {
        {R"({"do":"nonsense"})", "未知的“do”：“nonsense”"},
        {R"({"do":"deal"})", "缺少字段“account”"},
        {R"({"do":"account","key":5})", "字段“key”：类型不对：需要文本，而不是数字"},
        {R"({"do":"advance","seconds":-1})", "字段“seconds”：数字超出范围：-1 小于 0"},
        {R"({"do":"newTradingDate","date":"20240231"})",
         "字段“date”：“20240231”不是“yyyyMMdd”形式的日期"},
        {"[1]", "每行必须是一个 JSON 对象"},
        {R"({"do":tru})", nullptr},
        {R"({"do" "x"})", nullptr},
        {R"({"do":"x)", nullptr},
        {R"({"do":01})", nullptr},
        {"{\"do\":\"\xff\"}", nullptr}};
    static const QRegularExpression WORD("[a-z]{3}");
    replay::CEventParser parser;
    for (const auto& [line, expected] : cases) {
        QString text;
        try {
            std::string padded(line);
            padded.reserve(padded.size() + 64);
            parser.parse(padded);
        } catch (const replay::LineError& fault) {
            text = desk::faultText(QString::fromUtf8(fault.what()));
        }
        const bool isAsExpected =
            expected ? text == expected : text.startsWith("不是 JSON：") && !text.contains(WORD);
        EXPECT_TRUE(isAsExpected) << line << ": " << text.toStdString();
    }
}

class DeskTextsShown : public support::DeskTest {};

TEST_F(DeskTextsShown, ABrokenLineIsToldInChinese) {
    open(R"({"do":"config","now":"2024-01-05 09:29:00"}
{"do":"nonsense"}
)",
         desk::UNPACED, "zh_CN");
    EXPECT_TRUE(until([&] {
        return message().endsWith("scenario.jsonl:2: 未知的“do”：“nonsense”");
    })) << message().toStdString();
}

}  // namespace
