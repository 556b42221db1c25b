#include "desk/eventspage.h"
#include "desk/recorddialog.h"
#include "desk/recorder.h"
#include "platform/utils/clock.h"
#include "replay/recordingplayer.h"
#include "replay/replay.h"
#include "tests/desk/deskfixture.h"
#include "tests/support/playing.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QSpinBox>

#include <zlib.h>

#include <algorithm>
#include <optional>
#include <string>

// Recordings in the desk: what one shows, and how sessions are recorded.

namespace {

using Manager = TC::CLinkageManager;

std::string unzipped(const QString& path) {
    std::string text;
    const gzFile file = gzopen(QFile::encodeName(path).constData(), "rb");
    char buffer[1 << 14];
    for (int count = 0; (count = gzread(file, buffer, sizeof(buffer))) > 0;)
        text.append(buffer, static_cast<std::size_t>(count));
    gzclose(file);
    return text;
}

class DeskRecording : public support::DeskTest {
protected:
    /// The recording of the morning.
    QString recorded() {
        const QString file = m_dir.filePath("morning.rec");
        if (QFile::exists(file)) return file;
        replay::COutput nowhere([](std::string_view) {});
        EXPECT_EQ(replay::playFile(support::MORNING.toStdString(), {.record = file.toStdString()},
                                   nowhere),
                  "");
        return file;
    }
    void shut() {
        m_window.reset();
        m_engine.reset();
    }
    int count(desk::EEvent kind) const {
        const auto& events = shown()->events;
        return static_cast<int>(
            std::count_if(events.begin(), events.end(),
                          [kind](const desk::EventRow& event) { return event.kind == kind; }));
    }
    QString newestEvent() const { return desk::eventText(shown()->events.front()); }
    QStringList files(const char* directory) const {
        return QDir(m_dir.filePath(directory)).entryList(QDir::Files, QDir::Name);
    }
};

/// What the tables of a choice say.
std::string tablesOf(const desk::Picture& picture) {
    std::string text;
    for (const desk::PairRow& pair : picture.pairs)
        text += fmt::format("{} {} {} {:.2f} {} {} {}\n", pair.account, pair.accountName,
                            pair.strategy, pair.profit, pair.bought, pair.sold,
                            pair.runningOrders + pair.runningTasks);
    for (const desk::StockRow& stock : picture.stocks)
        text += fmt::format("{} {} {} {} {:.2f} {} {}\n", stock.stock, stock.name, stock.bought,
                            stock.sold, stock.commission, stock.lastPrice, stock.referencePrice);
    for (const desk::OrderRow& order : picture.orders)
        text += fmt::format("{} {} {} {} {}\n", order.key, order.price, order.traded, order.status,
                            order.seen);
    for (const desk::DealRow& deal : picture.deals)
        text += fmt::format("{} {} {}\n", deal.time, deal.price, deal.volume);
    for (const desk::LevelRow& level : picture.levels)
        text += fmt::format("{} {}\n", level.price, level.lots);
    return text;
}

TEST_F(DeskRecording, ShowsWhatItsDayShowedAndOffersNothingThatCouldBeSent) {
    openAtTheEnd();
    const std::string day = tablesOf(*shown());
    shut();
    open(recorded());
    ASSERT_TRUE(untilEnded());
    clickRow("pairs", "A01\nalpha");
    ASSERT_TRUE(until([this] { return shown()->selection.stock == "SH600001"; }));
    EXPECT_EQ(tablesOf(*shown()), day);
    EXPECT_FALSE(shown()->prices.empty());
    EXPECT_EQ(count(desk::EEvent::RecordingDiffers), 0);
    EXPECT_EQ(newestEvent(), "The recording was played to its end");
    EXPECT_TRUE(find<QLabel>("kind")->isVisible());

    clickRow("running", "A01\n5");
    for (const char* name : {"balanceNow", "importNow", "importChoose", "balanceTimeSet",
                             "historyCarry", "runningCancel", "runningCancelAll", "record"}) {
        EXPECT_FALSE(enabled(name)) << name;
        EXPECT_EQ(find<QPushButton>(name)->toolTip(), desk::noCommandText()) << name;
    }
    // Nor what goes around the buttons.
    desk::CActions actions(*m_engine);
    actions.cancelAllOrders({"A01", "alpha", {}});
    actions.setBalanceTime("A01:alpha", "145500");
    actions.balance({"A01", "alpha", {}}, [](bool) { FAIL(); });
    EXPECT_TRUE(ask([](Manager& manager) { return manager.getBalanceTime(); }).empty());
}

TEST_F(DeskRecording, PlaysByTheMomentsOfItsSteps) {
    open(recorded(), 1000);
    ASSERT_TRUE(until([this] { return shown() && shown()->time > "09:35:00"; }));
    press("pause");
    const auto stopped = ask([](Manager&) { return utils::clock(); });
    for (int i = 0; i < 3; ++i) EXPECT_EQ(ask([](Manager&) { return utils::clock(); }), stopped);
    EXPECT_FALSE(shown()->ended);
    press("pause");
    EXPECT_TRUE(until([this] { return shown()->ended; }));
    EXPECT_GE(shown()->time, "10:14:50");
    EXPECT_EQ(shown()->progress, 1.0);
    shut();

    open(recorded(), desk::UNPACED, "en", "09:40");
    ASSERT_TRUE(until([this] { return shown() && shown()->halted; }));
    EXPECT_EQ(shown()->time, "09:40:00");
}

TEST_F(DeskRecording, ThatDiffersOrBreaksOffIsShownAndSaysSo) {
    const QString whole = recorded();
    std::string text = unzipped(whole);
    const std::string fee = "\"rate\":0.0003";
    const std::size_t at = text.find(fee);
    ASSERT_NE(at, std::string::npos);
    text.replace(at, fee.size(), "\"rate\":0.3003");
    tests::writeText(m_dir.filePath("changed.rec").toStdString(), text);
    open(m_dir.filePath("changed.rec"));
    ASSERT_TRUE(untilEnded());
    EXPECT_EQ(count(desk::EEvent::RecordingDiffers), 1);
    EXPECT_EQ(shown()->fault, "");
    EXPECT_EQ(rows("pairs").rowCount(), 6);
    shut();

    tests::writeText(m_dir.filePath("torn.rec").toStdString(),
                     text.substr(0, text.rfind('\n', text.size() * 2 / 3) + 1));
    open(m_dir.filePath("torn.rec"));
    ASSERT_TRUE(untilEnded());
    EXPECT_TRUE(newestEvent().startsWith("The recording breaks off here"))
        << newestEvent().toStdString();
    shut();

    tests::writeText(m_dir.filePath("bad.rec").toStdString(),
                     text.substr(0, text.find('\n') + 1) + "{\"do\":\"leave\"}\n");
    open(m_dir.filePath("bad.rec"), desk::UNPACED, "zh_CN");
    ASSERT_TRUE(until([this] { return message().contains("bad.rec:2: “leave”没有对应的步骤"); }))
        << message().toStdString();
}

// The built-in market runs with threads: what was recorded of it must still be its day.
TEST_F(DeskRecording, EverySessionIsRecordedFromItsStart) {
    m_record = {.directory = m_dir.filePath("records"), .everySession = true};
    open({});
    ASSERT_TRUE(until(
        [this] { return shown() && !shown()->deals.empty() && shown()->recording->bytes > 0; }));
    EXPECT_TRUE(find<QLabel>("recording")->text().startsWith("Recording "));
    press("record");
    EXPECT_EQ(dialog("recordDialog")->findChild<QPushButton*>("recordNow")->text(),
              "Stop recording…");
    std::optional<bool> begun;
    desk::CActions(*m_engine).recordNow([&begun](bool well) { begun = well; });
    EXPECT_TRUE(until([&begun] { return begun.has_value(); }));
    EXPECT_TRUE(begun.value_or(false)) << "it is recorded already";
    shut();
    ASSERT_EQ(files("records").size(), 1);
    const auto verdict = replay::verifyRecording(
        m_dir.filePath("records/" + files("records").front()).toStdString());
    EXPECT_EQ(verdict.fault, "");
    EXPECT_FALSE(verdict.difference || verdict.breaksOff);

    // A second one in the same second has a name of its own.
    open(support::MORNING);
    ASSERT_TRUE(untilEnded());
    shut();
    open(support::MORNING);
    ASSERT_TRUE(untilEnded());
    shut();
    EXPECT_EQ(files("records").size(), 3) << files("records").join(" ").toStdString();
}

TEST_F(DeskRecording, TheButtonSaysWhenRecordingBegins) {
    m_record.directory = m_dir.filePath("records");
    openAtTheEnd();
    press("record");
    QDialog* dialog = this->dialog("recordDialog");
    EXPECT_EQ(dialog->findChild<QLabel*>("recordState")->text(), "This session is not recorded.");
    press(*dialog, "recordNow");
    const auto* notice = dialog->findChild<QLabel*>("recordNotice");
    // The library decides whether it can begin in the middle.
    ASSERT_TRUE(until([&] { return shown()->recording || !notice->text().isEmpty(); }));
    if (shown()->recording) {
        EXPECT_TRUE(shown()->recording->running);
    } else {
        EXPECT_TRUE(notice->text().endsWith("recording begins with the next session."));
        EXPECT_TRUE(m_window->recordTerms().everySession);
    }
}

TEST_F(DeskRecording, WhatCannotBeRecordedIsAnEventAndTheDayGoesOn) {
    tests::writeText(m_dir.filePath("file").toStdString(), "no directory");
    m_record = {.directory = m_dir.filePath("file"), .everySession = true};
    openAtTheEnd();
    EXPECT_EQ(count(desk::EEvent::RecorderFault), 1);
    shut();

    m_record = {.directory = m_dir.filePath("records"), .everySession = true, .mostBytes = 1};
    openAtTheEnd();
    // The recording's own thread finds that the file is full.
    EXPECT_TRUE(until([&] { return count(desk::EEvent::RecorderFault) == 1; }));
    EXPECT_EQ(find<QLabel>("recording")->text(),
              "Not recorded any more: the file has its full size");
    EXPECT_EQ(rows("deals").rowCount(), 2);
}

TEST_F(DeskRecording, OldRecordingsAreRemovedWhenASessionIsRecorded) {
    const QString records = m_dir.filePath("records");
    QDir().mkpath(records);
    const QString sample = recorded();  // of the session's own day
    ASSERT_TRUE(QFile::copy(sample, records + "/linkage-desk-20250101-093000.rec"));
    ASSERT_TRUE(QFile::copy(sample, records + "/mine.rec"));
    std::string old = unzipped(sample);
    const std::size_t day = old.find("\"now\":\"") + sizeof("\"now\":\"") - 1;
    old.replace(day, sizeof("2000-01-01") - 1, "2000-01-01");
    tests::writeText((records + "/linkage-desk-20000101-093000.rec").toStdString(), old);
    m_record = {.directory = records, .everySession = true};
    open(support::MORNING);
    ASSERT_TRUE(untilEnded());
    press("record");
    EXPECT_EQ(dialog("recordDialog")->findChild<QSpinBox*>("recordDays")->value(), 30);
    shut();
    EXPECT_FALSE(QFile::exists(records + "/linkage-desk-20000101-093000.rec"));
    EXPECT_EQ(files("records").size(), 3) << files("records").join(" ").toStdString();
}

}  // namespace
