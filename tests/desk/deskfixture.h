#pragma once

#include "desk/engine.h"
#include "desk/mainwindow.h"
#include "desk/rowsview.h"
#include "desk/style.h"
#include "desk/texts.h"
#include "linkage/core/clinkagemanager.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLocale>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

namespace support {

/// A morning of two accounts on the paper exchange. A01/alpha ends with 800 bought and
/// 300 sold of SH600001 and an order that rests, beside one of A02/alpha at its price;
/// A01/grid with 100 of SZ000001 bought; a task of A02/twap is three quarters done.
inline const char* const MORNING = R"(
{"do":"config","now":"2024-01-05 09:29:00","exchange":"paper","scheduler":true}
{"do":"instrument","market":"SH","code":"600001","name":"样本银行","reference":10,"limitUp":11,"limitDown":9}
{"do":"instrument","market":"SZ","code":"000001","name":"样本医药","reference":20,"limitUp":22,"limitDown":18}
{"do":"account","key":"A01","name":"Main account","fee":{"rate":0.0003,"minimum":5}}
{"do":"account","key":"A02","name":"Credit account","type":3}
{"do":"init"}
{"do":"price","market":"SH","code":"600001","last":10.00,"asks":[[10.01,100000]],"bids":[[9.99,100000]]}
{"do":"price","market":"SZ","code":"000001","last":20.00,"asks":[[20.01,100000]],"bids":[[19.99,100000]]}
{"do":"advance","to":"2024-01-05 09:31:00"}
{"do":"send","account":"A01","market":"SH","code":"600001","side":"buy","volume":800,"price":10.01,"strategy":"alpha"}
{"do":"send","account":"A01","market":"SZ","code":"000001","side":"buy","volume":100,"price":20.01,"strategy":"grid"}
{"do":"send","account":"A02","market":"SZ","code":"000001","side":"sell","volume":500,"price":19.99,"strategy":"alpha"}
{"do":"advance","seconds":600}
{"do":"price","market":"SH","code":"600001","last":10.20,"asks":[[10.21,100000]],"bids":[[10.19,100000]]}
{"do":"send","account":"A01","market":"SH","code":"600001","side":"sell","volume":300,"price":10.19,"strategy":"alpha"}
{"do":"send","account":"A01","market":"SH","code":"600001","side":"buy","volume":400,"price":10.05,"strategy":"alpha"}
{"do":"send","account":"A02","market":"SH","code":"600001","side":"buy","volume":700,"price":10.05,"strategy":"alpha"}
{"do":"startTask","account":"A02","market":"SZ","code":"000001","side":"buy","volume":400,"slices":4,"seconds":3600,"strategy":"twap"}
{"do":"advance","seconds":900}
{"do":"price","market":"SH","code":"600001","last":10.12,"asks":[[10.13,100000]],"bids":[[10.11,100000]]}
{"do":"advance","to":"2024-01-05 10:15:00"}
)";

/// The real window over the real engine, playing a scenario; every wait is for a
/// condition.
class DeskTest : public testing::Test {
protected:
    /// Without a scenario: the built-in market.
    void open(const char* scenario = MORNING, double speed = desk::UNPACED,
              const char* language = "en", const char* haltAt = "") {
        desk::EngineOptions options;
        if (scenario) {
            QFile file(options.scenario = m_dir.filePath("scenario.jsonl"));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(scenario);
        }
        desk::style::apply(*static_cast<QApplication*>(QApplication::instance()));
        m_translation.emplace(QLocale(language));
        options.dataDir = m_dir.filePath("data");
        options.speed = speed;
        options.haltAt = haltAt;
        m_engine = std::make_unique<desk::CEngine>(options);
        m_window = std::make_unique<desk::CMainWindow>(*m_engine);
        static_cast<QWidget&>(*m_window).show();
        m_engine->start();
    }

    /// Plays to the end and chooses a strategy and a stock.
    void openAtTheEnd(const char* language = "en") {
        open(MORNING, desk::UNPACED, language);
        ASSERT_TRUE(until([this] { return shown() && shown()->ended; }));
        choosePair("A01\nalpha");
        ASSERT_TRUE(until([this] { return shown()->selection.stock == "SH600001"; }));
    }

    ~DeskTest() override {
        m_window.reset();
        m_engine.reset();
    }

    const desk::Picture* shown() const { return m_window->shown().get(); }

    static bool until(const std::function<bool()>& condition) {
        return QTest::qWaitFor(condition, 60'000);
    }

    /// Asks the library, on the thread that runs it.
    template <class Query>
    auto ask(Query query) {
        using Result = std::invoke_result_t<Query, TC::CLinkageManager&>;
        std::optional<Result> result;
        m_engine->post([this, query, &result] {
            Result answer = query(*utils::CSingletonT<TC::CLinkageManager>::instance());
            m_engine->answer([&result, answer] { result = answer; });
        });
        EXPECT_TRUE(until([&result] { return result.has_value(); }));
        return result.value_or(Result());
    }

    template <class Widget>
    Widget* find(const char* name) {
        auto* found = m_window->findChild<Widget*>(name);
        EXPECT_TRUE(found) << name;
        return found;
    }

    static void click(QWidget* widget) { QTest::mouseClick(widget, Qt::LeftButton); }

    static void clickRow(desk::CRowsView* table, const QString& key) {
        const int row = table->rows().indexOf(key);
        ASSERT_GE(row, 0) << key.toStdString();
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {},
                          table->visualRect(table->model()->index(row, 1)).center());
    }

    void choosePair(const QString& key) { clickRow(find<desk::CRowsView>("pairs"), key); }

    void openTab(const char* page) {
        auto* tabs = find<QTabWidget>("tabs");
        for (int i = 0; i < tabs->count(); ++i) {
            QWidget* widget = tabs->widget(i);
            if (widget->objectName() == page || widget->findChild<QWidget*>(page))
                tabs->setCurrentIndex(i);
        }
    }

    /// A cell as it is shown.
    static QString cell(desk::CRowsView* table, const QString& key, int column) {
        const int row = table->rows().indexOf(key);
        return table->rows().index(row, column).data().toString();
    }

    QTemporaryDir m_dir;
    std::optional<desk::CTranslation> m_translation;
    std::unique_ptr<desk::CEngine> m_engine;
    std::unique_ptr<desk::CMainWindow> m_window;
};

}  // namespace support
