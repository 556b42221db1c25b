#include "platform/log.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <log4cxx/fileappender.h>
#include <log4cxx/logger.h>
#include <log4cxx/simplelayout.h>

#include <stdexcept>
#include <vector>

namespace {

/// The client's log4cxx as the test found it, with a file of its own in between.
class LogFile : public ::testing::Test {
protected:
    ~LogFile() override {
        m_logger->removeAllAppenders();
        m_logger->setLevel(log4cxx::LevelPtr());
        g_VexStdLogger.setReceiver({});
        g_VexStdLogger.setLevel(ELogLevel::Info);
    }
    void configure() {
        m_logger->addAppender(std::make_shared<log4cxx::FileAppender>(
            std::make_shared<log4cxx::SimpleLayout>(), path().toStdString(), false));
    }
    QString path() const { return m_directory.filePath(QStringLiteral("log")); }
    std::string text() const {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "";
    }
    int composed() {
        ++m_composed;
        return m_composed;
    }
    void speak() {
        LINKAGE_LOG_INFO("op", "line {0}", composed());
        LINKAGE_LOG_WARNING("op", "line {0}", composed());
        g_VexStdLogger.error("op", "broken");
    }

    const log4cxx::LoggerPtr m_logger = log4cxx::Logger::getLogger("linkage");
    QTemporaryDir m_directory;
    int m_composed = 0;
};

TEST_F(LogFile, linesAreComposedOnlyWhereAnAppenderTakesThem) {
    speak();
    EXPECT_EQ(m_composed, 0);
    configure();
    speak();
    EXPECT_EQ(m_composed, 2);
    EXPECT_EQ(text(),
              "INFO - [linkage] [op] line 1\nWARN - [linkage] [op] line 2\n"
              "ERROR - [linkage] [op] broken\n");
    m_logger->setLevel(log4cxx::Level::getWarn());
    speak();
    EXPECT_EQ(m_composed, 3);
    g_VexStdLogger.setLevel(ELogLevel::Error);
    speak();
    EXPECT_EQ(m_composed, 3);
    EXPECT_EQ(text().substr(text().rfind('\n', text().size() - 2) + 1),
              "ERROR - [linkage] [op] broken\n");
    g_VexStdLogger.setLevel(ELogLevel::Off);
    const std::string before = text();
    speak();
    EXPECT_EQ(text(), before);
}

TEST_F(LogFile, aReceiverTakesEveryLineInPlaceOfLog4cxx) {
    configure();
    std::vector<std::string> lines;
    g_VexStdLogger.setReceiver([&](const CVexLogger::Line& line) {
        lines.push_back(std::to_string(static_cast<int>(line.level)) + std::string(line.operation) +
                        ": " + std::string(line.message));
        throw std::runtime_error("a log that fails");
    });
    speak();
    EXPECT_EQ(lines, (std::vector<std::string>{"0op: line 1", "1op: line 2", "2op: broken"}));
    EXPECT_EQ(text(), "");
    g_VexStdLogger.setReceiver({});
    speak();
    EXPECT_EQ(lines.size(), 3U);
    EXPECT_NE(text().find("line 4"), std::string::npos);
}

}  // namespace
