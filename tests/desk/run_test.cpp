#include "desk/actions.h"
#include "platform/utils/clock.h"
#include "tests/desk/deskfixture.h"

#include <QComboBox>
#include <QDate>

#include <fmt/format.h>

#include <atomic>
#include <future>
#include <memory>

namespace {

using desk::CRowsView;
using Manager = TC::CLinkageManager;

/// How the desk keeps up with what it plays.
class DeskRun : public support::DeskTest {};

TEST_F(DeskRun, WindowLivesWhileTheEngineIsBusy) {
    openAtTheEnd();
    std::promise<void> release;
    auto released = release.get_future().share();
    std::promise<void> entered;
    m_engine->post([&entered, released] {
        entered.set_value();
        released.wait();
    });
    entered.get_future().wait();
    clickRow("pairs", "A02\nalpha");
    EXPECT_EQ(find<CRowsView>("pairs")->currentKey(), "A02\nalpha");
    openTab("history");
    press("historyCarry");
    press("balanceNow");
    m_window->resize(1500, 930);
    EXPECT_FALSE(m_window->grab().isNull());
    EXPECT_FALSE(m_window->findChild<QDialog*>("planDialog"));
    release.set_value();
    EXPECT_TRUE(dialog("planDialog")) << "what was asked for meanwhile is done afterwards";
}

TEST_F(DeskRun, StormOfReportsReachesTheScreenInFewRowsAndOnePiece) {
    constexpr int STORM = 20'000;
    std::string scenario = R"({"do":"config","now":"2024-01-05 09:29:00"}
{"do":"account","key":"A01"}
{"do":"init"}
)";
    for (int i = 1; i <= STORM; ++i)
        scenario += fmt::format(
            R"({{"do":"order","account":"A01","key":{},"market":"SH","code":"600001","side":"buy",)"
            R"("price":10,"volume":100,"status":50,"strategy":"s"}})"
            "\n",
            i);
    open(QString::fromStdString(scenario));
    auto* orders = find<CRowsView>("orders");
    int inserted = 0, pictures = 0;
    QObject::connect(
        &orders->rows(), &desk::CRowsModel::rowsInserted, m_window.get(),
        [&](const QModelIndex&, int first, int last) { inserted += last - first + 1; });
    QObject::connect(m_window.get(), &desk::CMainWindow::sigShown, m_window.get(),
                     [&] { ++pictures; });
    ASSERT_TRUE(untilEnded());
    clickRow("pairs", "A01\n");
    m_engine->select({"A01", "s", "SH600001"});
    ASSERT_TRUE(until([&] { return shown()->orders.size() == 300; }));
    EXPECT_EQ(cell("pairs", "A01\ns", 4), "20,000");
    EXPECT_LE(orders->rows().rowCount(), 300);
    EXPECT_LE(inserted, 300 * pictures);

    int answers = 0;
    const auto rings = std::make_shared<std::atomic<int>>(0);  // outlived by the engine
    QObject::connect(
        m_engine.get(), &desk::CEngine::sigNews, m_engine.get(), [rings] { ++*rings; },
        Qt::DirectConnection);
    std::promise<void> given;
    m_engine->post([&] {
        for (int i = 0; i < STORM; ++i) m_engine->answer([&] { ++answers; });
        given.set_value();
    });
    given.get_future().wait();
    EXPECT_LE(*rings, 1) << "the window is woken once, however much waits for it";
    EXPECT_TRUE(until([&] { return answers == STORM; }));
}

TEST_F(DeskRun, PauseStopsTheClockAndSpeedSetsItsPace) {
    open(support::MORNING, 1000);
    ASSERT_TRUE(until([this] { return shown() && shown()->time > "09:35:00"; }));
    press("pause");
    const auto stopped = ask([](Manager&) { return utils::clock(); });
    for (int i = 0; i < 3; ++i) EXPECT_EQ(ask([](Manager&) { return utils::clock(); }), stopped);
    EXPECT_FALSE(shown()->ended);
    auto* speed = find<QComboBox>("speed");
    speed->setCurrentIndex(speed->findData(300));
    Q_EMIT speed->activated(speed->currentIndex());
    EXPECT_EQ(m_engine->speed(), 300.0);
    press("pause");
    EXPECT_TRUE(until([this] { return shown()->ended; }));
}

TEST_F(DeskRun, HaltPausesAndPlayGoesOn) {
    open(support::MORNING, 999.5, "en", "09:40");
    EXPECT_EQ(find<QComboBox>("speed")->currentText(), "999.5×") << "the speed that was given";
    ASSERT_TRUE(until([this] { return shown() && shown()->halted && m_engine->paused(); }));
    ASSERT_TRUE(until([this] { return find<QPushButton>("pause")->text() == "Play"; }));
    EXPECT_EQ(shown()->time, "09:40:00");
    EXPECT_EQ(message(), "Halted at 09:40:00; Play goes on.");
    press("pause");
    EXPECT_TRUE(until([this] { return shown()->ended; }));
}

TEST_F(DeskRun, FaultEndsTheRunNotTheProgram) {
    openAtTheEnd();
    m_engine->post([] { throw std::runtime_error("no more paper"); });
    ASSERT_TRUE(until([&] { return message().contains("no more paper"); }));
    EXPECT_EQ(rows("deals").rowCount(), 2) << "what was reached stays";
    for (const char* button : {"balanceNow", "importNow", "importChoose", "historyCarry"})
        EXPECT_FALSE(enabled(button)) << button;
}

TEST_F(DeskRun, WithoutTheLibraryNothingCanBeAskedFor) {
    open(R"({"do":"config","now":"2024-01-05 09:29:00"}
{"do":"advance","seconds":10}
)");
    ASSERT_TRUE(untilEnded());
    EXPECT_EQ(message(), "The library is not running.");
    for (const char* button : {"balanceNow", "importNow", "importChoose", "balanceTimeSet"})
        EXPECT_FALSE(enabled(button)) << button;
    desk::CActions actions(*m_engine);
    QString refusal;
    actions.import({{"x.csv", {}}}, [&](const desk::ImportAnswer& answer) {
        refusal = answer.reports.at(0).refusal;
    });
    EXPECT_TRUE(until([&] { return refusal == "the library is not running"; }));
}

TEST_F(DeskRun, BuiltInMarketTradesLiveAndStops) {
    open({});
    ASSERT_TRUE(until([this] { return shown() && !shown()->deals.empty(); }));
    EXPECT_EQ(shown()->date, QDate::currentDate().toString("yyyyMMdd").toStdString());
    EXPECT_LT(shown()->progress, 0.0);
    EXPECT_FALSE(find<QPushButton>("pause")->isVisible());
    EXPECT_FALSE(shown()->prices.empty());
}

TEST_F(DeskRun, BrokenLineIsNamedAndWhatWasPlayedStays) {
    open(R"({"do":"config","now":"2024-01-05 09:29:00"}
{"do":"account","key":"A01"}
{"do":"init"}
{"do":"nonsense"}
)");
    ASSERT_TRUE(until([&] { return message().contains("scenario.jsonl:4:"); }));
    EXPECT_TRUE(shown()->ended);
    EXPECT_EQ(rows("pairs").rowCount(), 1);
}

}  // namespace
