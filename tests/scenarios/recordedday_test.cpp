#include "replay/linereader.h"
#include "tests/support/playing.h"

#include <gtest/gtest.h>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdlib>
#include <functional>
#include <map>

/// A whole recorded day of one stock, compared with totals that were added up without
/// the library. The recording is not part of the project; LINKAGE_DATA names its folder.
namespace {

constexpr const char* NAME = "sse_600519_20230201";

struct Totals {
    std::int64_t bought = 0;
    std::int64_t sold = 0;
    double buyAmount = 0.0;
    double sellAmount = 0.0;
};

/// The figures as results of calls, by "account/strategy".
struct DayEnd {
    std::map<std::string, Totals> strategies;
    std::map<std::string, std::int64_t> running;
};

class RecordedDay : public testing::Test {
protected:
    void SetUp() override {
        const char* folder = std::getenv("LINKAGE_DATA");
        if (!folder) GTEST_SKIP() << "LINKAGE_DATA names no folder with the recorded day";
        m_path = std::string(folder) + "/" + NAME + ".jsonl.gz";
        QFile file(QString::fromStdString(std::string(folder) + "/" + NAME + ".expect.json"));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QJsonObject expect = QJsonDocument::fromJson(file.readAll()).object();
        const QJsonObject strategies = expect["strategies"].toObject();
        for (const QString& key : strategies.keys()) {
            m_expected.strategies[key.toStdString()] = readTotals(strategies[key].toObject());
        }
        const QJsonObject running = expect["running"].toObject();
        for (const QString& key : running.keys()) {
            m_expected.running[key.toStdString()] = running[key].toInt();
        }
        ASSERT_FALSE(m_expected.strategies.empty());
    }

    static Totals readTotals(const QJsonObject& from) {
        return {from["buyVolume"].toInt(), from["sellVolume"].toInt(), from["buyAmount"].toDouble(),
                from["sellAmount"].toDouble()};
    }

    /// The day with each line as `edit` writes it, and calls for all figures at its end.
    tests::Played play(const std::function<void(std::string_view, std::string&)>& edit) {
        std::string text;
        replay::CLineReader reader(m_path);
        for (std::string_view line; reader.next(line);) edit(line, text);
        for (const auto& [pair, totals] : m_expected.strategies)
            call("getTradeStatDatas", pair, text);
        for (const auto& [pair, count] : m_expected.running) call("getRunningOrders", pair, text);
        return m_folder.play(text, {.log = false});
    }

    static void call(const std::string& op, const std::string& pair, std::string& text) {
        const std::size_t slash = pair.find('/');
        const std::string strategy = slash == std::string::npos ? "" : pair.substr(slash + 1);
        text += "{\"do\":\"call\",\"op\":\"" + op + "\",\"args\":[\"" + pair.substr(0, slash) +
                "\",\"" + strategy + "\"]}\n";
    }

    /// Reads the results of the calls that play() adds; they are the last ones.
    DayEnd dayEnd(const std::string& output) const {
        std::vector<std::string> results;
        for (std::size_t begin = 0; begin < output.size();) {
            const std::size_t end = output.find('\n', begin);
            std::string line = output.substr(begin, end - begin);
            if (line.find("\"out\":\"result\"") != std::string::npos) results.push_back(line);
            begin = end + 1;
        }
        const std::size_t added = m_expected.strategies.size() + m_expected.running.size();
        auto next = results.end() - static_cast<std::ptrdiff_t>(added);
        DayEnd day;
        const auto value = [&] {
            return QJsonDocument::fromJson(QByteArray::fromStdString(*next++)).object()["value"];
        };
        for (const auto& [pair, totals] : m_expected.strategies) {
            day.strategies[pair] = readTotals(value().toObject()["SH600519"].toObject());
        }
        for (const auto& [pair, count] : m_expected.running) day.running[pair] = value().toInt();
        return day;
    }

    void expectTotals(const tests::Played& played) const {
        ASSERT_EQ(played.fault, "");
        const DayEnd day = dayEnd(played.output);
        for (const auto& [pair, expected] : m_expected.strategies) {
            const Totals& got = day.strategies.at(pair);
            EXPECT_EQ(got.bought, expected.bought) << pair;
            EXPECT_EQ(got.sold, expected.sold) << pair;
            EXPECT_NEAR(got.buyAmount, expected.buyAmount, 0.01) << pair;
            EXPECT_NEAR(got.sellAmount, expected.sellAmount, 0.01) << pair;
        }
        EXPECT_EQ(day.running, m_expected.running);
    }

    static void asIs(std::string_view line, std::string& text) { (text += line) += '\n'; }

    std::string m_path;
    DayEnd m_expected;
    const tests::ScenarioFolder m_folder;
};

TEST_F(RecordedDay, EndsWithTheTotalsAndTheSameBytesTwice) {
    const tests::Played first = play(asIs);
    expectTotals(first);
    EXPECT_TRUE(first.output == play(asIs).output);
}

TEST_F(RecordedDay, ReportsSentTwiceCountOnce) {
    expectTotals(play([](std::string_view line, std::string& text) {
        asIs(line, text);
        const bool report =
            line.starts_with("{\"do\":\"order\"") || line.starts_with("{\"do\":\"deal\"");
        if (report) asIs(line, text);
    }));
}

TEST_F(RecordedDay, AccountsRequestedAgainAtNoonChangeNothing) {
    constexpr std::string_view ADVANCE = "{\"do\":\"advance\",\"seconds\":";
    constexpr double NOON = 12 * 3600.0;
    double clock = 9 * 3600.0 + 10 * 60;  // the recording starts at ten past nine
    bool asked = false;
    expectTotals(play([&](std::string_view line, std::string& text) {
        asIs(line, text);
        if (!line.starts_with(ADVANCE)) return;
        clock += std::stod(std::string(line.substr(ADVANCE.size())));
        if (asked || clock < NOON) return;
        asked = true;
        asIs("{\"do\":\"call\",\"op\":\"requestAccounts\"}", text);
    }));
    EXPECT_TRUE(asked);
}

}  // namespace
