#include "desk/timeedit.h"
#include "tests/desk/deskfixture.h"
#include "tests/desk/layoutcheck.h"
#include "tests/desk/textcheck.h"

#include <QAction>
#include <QFileDialog>
#include <QImage>
#include <QMenu>
#include <QMessageBox>
#include <QProcess>
#include <QTimer>

namespace {

using desk::CRowsView;
using support::CLayoutCheck;
using support::DeskTest;

/// Everything that can open: nothing of it is cut off, and all of it is in one language.
class DeskWhole : public DeskTest, public testing::WithParamInterface<const char*> {
protected:
    void expectWhole(const QWidget& window, const QString& what) {
        QApplication::processEvents();
        const bool chinese = QString(GetParam()).startsWith("zh");
        QStringList faults = CLayoutCheck::faults(window);
        faults += support::foreignTexts(window, chinese);
        EXPECT_TRUE(faults.isEmpty())
            << what.toStdString() << ": " << faults.join(" | ").toStdString();
    }

    /// A row in each table that buttons depend on.
    void fillTables() {
        openTab("balanceTimes");
        press("balanceTimeSet");
        openTab("history");
        press("historyCarry");
        ASSERT_TRUE(until([&] { return rows("history").rowCount() == 1; }));
        clickRow("history", "A01alpha\nSH600001");
        openTab("balanceTimes");
        ASSERT_TRUE(until([&] { return rows("balanceTimes").rowCount() == 1; }));
        clickRow("balanceTimes", "A01:alpha");
        auto* running = find<CRowsView>("running");
        running->setCurrentIndex(running->model()->index(0, 0));
        ASSERT_TRUE(
            until([&] { return enabled("runningCancelAll") && enabled("historyDeleteStock"); }));
    }

    void closeDialog(const char* name) {
        dialog(name)->reject();
        ASSERT_TRUE(until([&] { return !m_window->findChild<QDialog*>(name); })) << name;
    }
};

TEST_P(DeskWhole, EveryDialogIsWholeAndInOneLanguage) {
    openAtTheEnd(GetParam());
    fillTables();
    struct Case {
        const char* button;
        const char* dialog;
    } const cases[] = {{"balanceNow", "planDialog"},
                       {"historyBalance", "planDialog"},
                       {"balanceTimeDelete", "balanceTimeDeleteBox"},
                       {"historyDeleteStock", "historyDeleteBox"},
                       {"historyDeleteBalanced", "historyDeleteBox"},
                       {"historyDeleteAll", "historyDeleteBox"},
                       {"runningCancelAll", "runningCancelAllBox"},
                       {"importNow", "importDialog"}};
    for (const auto& [button, name] : cases) {
        find<QPushButton>(button)->click();
        QDialog* opened = dialog(name);
        ASSERT_TRUE(opened) << button;
        expectWhole(*opened, button);
        closeDialog(name);
    }
    m_window->close();
    expectWhole(*dialog("closeBox"), "close");
    closeDialog("closeBox");
}

TEST_P(DeskWhole, SavingATableIsWholeToo) {
    openAtTheEnd(GetParam());
    auto* deals = find<CRowsView>("deals");
    deals->actions().at(1)->trigger();
    auto* files = qobject_cast<QFileDialog*>(dialog("csvDialog"));
    ASSERT_TRUE(files);
    expectWhole(*files, "save");
    QString fault;
    QTimer::singleShot(0, [&] {
        auto* box = m_window->findChild<QMessageBox*>();
        if (!box) return;
        fault = box->text();
        expectWhole(*box, "not saved");
        box->reject();
    });
    Q_EMIT files->fileSelected("/nowhere/x.csv");
    EXPECT_TRUE(fault.contains("/nowhere/x.csv")) << "said, and in a box that was looked at";
    files->reject();
    deals->actions().at(2)->trigger();
    const auto* columns = deals->findChild<QMenu*>();
    ASSERT_TRUE(columns);
    EXPECT_EQ(columns->actions().size(), deals->model()->columnCount() - 1);
}

TEST_P(DeskWhole, LettersOfEachMenuAreItsOwn) {
    openAtTheEnd(GetParam());
    int menus = 0;
    for (const QWidget* widget : m_window->findChildren<QWidget*>()) {
        QStringList letters;
        for (const QAction* action : widget->actions()) {
            const QString text = action->text();
            if (text.isEmpty() || action->isSeparator()) continue;
            const int mark = text.indexOf('&');
            EXPECT_GE(mark, 0) << text.toStdString();
            letters << text.mid(mark + 1, 1).toUpper();
        }
        menus += !letters.isEmpty();
        EXPECT_EQ(letters.removeDuplicates(), 0)
            << widget->objectName().toStdString() << " " << letters.join("").toStdString();
    }
    EXPECT_GT(menus, 5);
}

INSTANTIATE_TEST_SUITE_P(Languages, DeskWhole, testing::Values("en", "zh_CN"),
                         [](const auto& language) { return std::string(language.param); });

/// The scale is fixed when a program starts.
TEST(DeskScale, OnAFineScreenNothingIsCutOffEither) {
    if (qEnvironmentVariableIsSet("QT_SCALE_FACTOR")) GTEST_SKIP() << "inside itself";
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_SCALE_FACTOR", "2");
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationFilePath(),
                  {"--gtest_brief=1", "--gtest_filter=*/DeskWhole.*:*NothingIsCutOff*:*IsWhole*"});
    ASSERT_TRUE(process.waitForFinished(300'000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAll().toStdString();
}

class DeskKeyboard : public DeskTest {
protected:
    static QImage pictureOf(QWidget& widget) {
        QApplication::processEvents();
        const QRect around(widget.mapTo(widget.window(), QPoint()), widget.size());
        return widget.window()->grab(around.adjusted(-3, -3, 3, 3)).toImage();
    }
};

TEST_F(DeskKeyboard, TheFocusIsSeenWhereverItIs) {
    openAtTheEnd();
    m_window->activateWindow();
    auto* tabs = find<QTabWidget>("tabs");
    int seen = 0;
    for (int page = 0; page < tabs->count(); ++page) {
        tabs->setCurrentIndex(page);
        QApplication::processEvents();
        for (auto* widget : m_window->findChildren<QWidget*>()) {
            const bool takesFocus = (widget->focusPolicy() & Qt::TabFocus) == Qt::TabFocus;
            const bool scrolls = widget->inherits("QToolButton");  // of a row of tabs
            if (!takesFocus || scrolls || !widget->isEnabled() || !widget->isVisible()) continue;
            if (QWidget* focused = QApplication::focusWidget()) focused->clearFocus();
            const QImage without = pictureOf(*widget);
            widget->setFocus(Qt::TabFocusReason);
            EXPECT_FALSE(pictureOf(*widget) == without)
                << widget->metaObject()->className() << " " << widget->objectName().toStdString();
            ++seen;
        }
    }
    EXPECT_GT(seen, 30);
}

TEST_F(DeskKeyboard, TabGoesRoundAllOfAPage) {
    openAtTheEnd();
    openTab("balanceTimes");
    press("balanceTimeSet");
    ASSERT_TRUE(until([&] { return rows("balanceTimes").rowCount() == 1; }));
    m_window->activateWindow();
    find<QPushButton>("pause")->setFocus();
    QSet<QString> reached;
    for (int i = 0; i < 60; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        ASSERT_TRUE(QApplication::focusWidget());
        reached << QApplication::focusWidget()->objectName();
    }
    for (const char* name : {"pause", "speed", "importNow", "balanceNow", "pairs", "running",
                             "stocks", "balanceTimes", "balanceTimeEdit", "balanceTimeSet"})
        EXPECT_TRUE(reached.contains(name)) << name;
}

TEST_F(DeskKeyboard, KeysPauseBalanceAndChooseStrategiesAndPages) {
    openAtTheEnd();
    m_window->activateWindow();
    auto* tabs = find<QTabWidget>("tabs");
    auto* days = find<QTabWidget>("dayTabs");
    const auto key = [this](int code, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(m_window.get(), Qt::Key(code), modifiers);
    };
    for (int page = tabs->count(); page-- > 0;) {
        key(Qt::Key_1 + page, Qt::ControlModifier);
        EXPECT_EQ(tabs->currentIndex(), page);
    }
    for (int page = days->count(); page-- > 0;) {
        key(Qt::Key_1 + page, Qt::AltModifier);
        EXPECT_EQ(days->currentIndex(), page);
    }
    const bool paused = m_engine->paused();
    key(Qt::Key_F5);
    EXPECT_NE(m_engine->paused(), paused);
    const QString before = find<CRowsView>("pairs")->currentKey();
    key(Qt::Key_Down, Qt::ControlModifier);
    EXPECT_NE(find<CRowsView>("pairs")->currentKey(), before);
    key(Qt::Key_Up, Qt::ControlModifier);
    EXPECT_EQ(find<CRowsView>("pairs")->currentKey(), before);
    key(Qt::Key_F9);
    dialog("planDialog")->reject();
}

}  // namespace
