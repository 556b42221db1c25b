#pragma once

#include "desk/engine.h"
#include "desk/mainwindow.h"
#include "desk/rowsview.h"
#include "desk/style.h"
#include "desk/texts.h"
#include "linkage/core/clinkagemanager.h"

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace support {

/// A morning of two accounts on the paper exchange; the file says how it ends.
inline const QString MORNING = LINKAGE_SOURCE_DIR "/tests/data/morning.jsonl";

/// What the cells of a row show, by column.
using Cells = std::map<int, QString>;

/// The real window over the real engine, playing a scenario; every wait is for a
/// condition.
class DeskTest : public testing::Test {
protected:
    /// The text of a scenario, or the file of one; neither: the built-in market.
    void open(const QString& scenario, double speed = desk::UNPACED, const char* language = "en",
              const char* haltAt = "") {
        desk::EngineOptions options;
        options.scenario = scenario;
        if (scenario.startsWith('{')) {
            QFile file(options.scenario = m_dir.filePath("scenario.jsonl"));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(scenario.toUtf8());
        }
        desk::style::apply(*static_cast<QApplication*>(QApplication::instance()));
        m_translation.emplace(QLocale(language));
        options.dataDir = m_dir.filePath("data");
        options.speed = speed;
        options.haltAt = haltAt;
        options.record = m_record;
        m_engine = std::make_unique<desk::CEngine>(options);
        m_window = std::make_unique<desk::CMainWindow>(*m_engine);
        static_cast<QWidget&>(*m_window).show();
        m_engine->start();
    }

    /// Plays to the end and chooses a strategy and a stock.
    void openAtTheEnd(const char* language = "en") {
        open(MORNING, desk::UNPACED, language);
        ASSERT_TRUE(untilEnded());
        clickRow("pairs", "A01\nalpha");
        ASSERT_TRUE(until([this] { return shown()->selection.stock == "SH600001"; }));
    }

    ~DeskTest() override {
        m_window.reset();
        m_engine.reset();
    }

    bool untilEnded() {
        return until([this] { return shown() && shown()->ended; });
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

    /// Waits for a window of the main window.
    QDialog* dialog(const char* name) {
        QDialog* found = nullptr;
        EXPECT_TRUE(until([&] { return (found = m_window->findChild<QDialog*>(name)); })) << name;
        return found;
    }

    void press(const char* button) {
        m_window->fillHidden();
        press(*m_window, button);
    }
    static void press(QWidget& window, const char* button) {
        QTest::mouseClick(window.findChild<QPushButton*>(button), Qt::LeftButton);
    }
    bool enabled(const char* button) {
        m_window->fillHidden();
        return find<QPushButton>(button)->isEnabled();
    }
    QString message() { return find<QLabel>("message")->text(); }

    desk::CRowsModel& rows(const char* table) {
        m_window->fillHidden();
        return find<desk::CRowsView>(table)->rows();
    }

    void clickRow(const char* name, const QString& key) {
        auto* table = find<desk::CRowsView>(name);
        const int row = table->rows().indexOf(key);
        ASSERT_GE(row, 0) << key.toStdString();
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {},
                          table->visualRect(table->model()->index(row, 1)).center());
    }

    void openTab(const char* page) {
        auto* tabs = find<QTabWidget>("tabs");
        for (int i = 0; i < tabs->count(); ++i) {
            QWidget* widget = tabs->widget(i);
            if (widget->objectName() == page || widget->findChild<QWidget*>(page))
                tabs->setCurrentIndex(i);
        }
    }

    /// A cell as it is shown.
    static QString cell(desk::CRowsModel& rows, const QString& key, int column) {
        return rows.index(rows.indexOf(key), column).data().toString();
    }
    QString cell(const char* table, const QString& key, int column) {
        return cell(rows(table), key, column);
    }
    static void expectCells(desk::CRowsModel& rows, const QString& key, const Cells& cells) {
        for (const auto& [column, text] : cells)
            EXPECT_EQ(cell(rows, key, column), text) << key.toStdString() << " " << column;
    }

    QTemporaryDir m_dir;
    desk::RecordTerms m_record;  ///< how the session that is opened is recorded
    std::optional<desk::CTranslation> m_translation;
    std::unique_ptr<desk::CEngine> m_engine;
    std::unique_ptr<desk::CMainWindow> m_window;
};

}  // namespace support
