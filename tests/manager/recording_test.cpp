#include "linkage/record/recordingoptions.h"
#include "replay/anonymise.h"
#include "replay/recordingplayer.h"
#include "tests/support/fixture.h"

#include <QDir>
#include <QFile>

#include <zlib.h>

#include <limits>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

// Recordings on virtual time. The storms of tests/threads judge the order of threads.

using namespace tests;

namespace {

std::string unpacked(const QString& path) {
    std::string text;
    const gzFile file = gzopen(QFile::encodeName(path).constData(), "rb");
    char buffer[1 << 14];
    for (int count = 0; (count = gzread(file, buffer, sizeof(buffer))) > 0;) {
        text.append(buffer, static_cast<std::size_t>(count));
    }
    gzclose(file);
    return text;
}

void put(const QString& path, const std::string& text) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text.data(), static_cast<qint64>(text.size()));
}

class Recording : public testing::Test {
protected:
    void begin(const TC::RecordingOptions& options = {}) {
        f->account({.key = "A", .fee = {{0.0003, 5.0, 0.0, 0.001}}});
        f->instrument({.reference = 10.0});
        f->create();
        ASSERT_TRUE(f->manager().startRecording(path(), options));
        f->init();
    }
    /// A day that ends with a balance.
    void play() {
        f->order({.key = 1, .strategy = "S"});
        f->deal({.key = 1, .side = Side::Sell, .price = 10.0, .volume = 300, .strategy = "S"});
        f->price({.last = 10.5});
        f->advance(10);
        f->manager().runAutoBalance("A", "S");
        f->advance(40);
    }
    QString path() const { return QDir::tempPath() + "/recording-test.jsonl.gz"; }
    /// The file in which the recording goes on.
    QString path(int number) const {
        return QDir::tempPath() + QStringLiteral("/recording-test-%1.jsonl.gz").arg(number);
    }
    /// Trades until the recording goes on in the next file.
    void fill() {
        f->advance(61);
        const std::string file = f->manager().getRecording()->file;
        for (int second = 0; f->manager().getRecording()->file == file; ++second) {
            ASSERT_LT(second, 5000);
            report();
            f->advance(1);
        }
    }
    /// The same orders again, so that pictures stay small.
    void report() {
        for (std::uint64_t key = 1000; key < 1100; ++key) {
            f->order({.key = key, .volume = 100 + ++m_nReports * 7919 % 997});
        }
    }
    replay::RecordingVerdict verified(const QString& file) {
        return replay::verifyRecording(QFile::encodeName(file).toStdString());
    }
    void SetUp() override { removeFiles(); }
    void TearDown() override { removeFiles(); }
    void removeFiles() {
        for (const char* const end : {"", ".2", ".3"}) QFile::remove(path() + end);
        for (int number = 2; number < 5; ++number) QFile::remove(path(number));
    }

    int m_nReports = 0;

    std::optional<Fixture> f{std::in_place};
};

// What a service answered is changed in the file: the first decision that it changes is told. Who
// only wants to see the day plays on, with the answers that stand there.
TEST_F(Recording, TheFirstDecisionThatDiffersIsTold) {
    begin();
    play();
    f->manager().stopRecording();
    f.reset();
    const auto whole = verified(path());
    EXPECT_FALSE(whole.difference || whole.breaksOff);

    std::string text = unpacked(path());
    const std::string lot = "\"to\":\"lot SH600000\",\"is\":100";
    const std::size_t at = text.find(lot);
    ASSERT_NE(at, std::string::npos);
    text.replace(at, lot.size(), "\"to\":\"lot SH600000\",\"is\":200");
    const QString changed = path() + ".changed";
    put(changed, text);
    const auto verdict = verified(changed);
    EXPECT_EQ(verdict.fault, "");
    ASSERT_TRUE(verdict.difference);
    EXPECT_EQ(verdict.difference->expected, "asks: orderSetting buy 300 SH600000");
    EXPECT_EQ(verdict.difference->got, "asks: orderSetting buy 200 SH600000");
    EXPECT_LT(verdict.steps, whole.steps);
    {
        replay::CRecordingPlayer player(changed.toStdString(), {.passesDifferences = true});
        player.playToEnd();
        EXPECT_EQ(player.verdict().fault, "");
        EXPECT_EQ(player.verdict().steps, whole.steps);
        EXPECT_EQ(player.verdict().differentSteps, 2u) << "the state at its end is another one";
        EXPECT_EQ(player.verdict().difference->line, verdict.difference->line);
    }
    QFile::remove(changed);
}

/// Hears of prices, and of what a recording's client is asked for.
struct Looker final : replay::IRecordingWatcher, paper::IClientObserver {
    void clientIsThere(paper::CPaperClient& /*client*/, int /*clientType*/) override {
        request = TC::CQuoteRequest::makeRequest(
            "SH600000", [this](const auto& price) { prices.push_back(price->m_dLastPrice); });
    }
    void before(const replay::RecordedStep& step) override {
        if (step.kind == "call") calls.push_back(step.op + " " + step.account + step.strategy);
    }
    paper::IClientObserver* requests() override { return this; }
    void onCancelOrder(const vexservice::COrderDetail& order) override {
        cancelled.push_back(order.recordKey());
    }
    void onOperateTask(std::uint64_t /*task*/, bool /*server*/,
                       const vexservice::CTaskOpRecord& /*record*/) override {}
    void onCommand(const vexservice::COrderComandParam& command, int /*number*/) override {
        sent.push_back(command.m_orders.front()->m_nVolume);
    }

    boost::shared_ptr<TC::CQuoteRequest> request;
    std::vector<double> prices;
    std::vector<std::string> calls;
    std::vector<std::uint64_t> cancelled;
    std::vector<std::int64_t> sent;
};

// Between two steps the manager has what it had then, and the clock stands where the player went.
TEST_F(Recording, IsPlayedByTheMomentsOfItsSteps) {
    begin();
    const std::int64_t start = utils::currentClock().nowMicros();
    play();
    f.reset();
    ASSERT_TRUE(replay::isRecording(path().toStdString()));

    constexpr std::int64_t SECOND = 1'000'000;
    Looker looker;
    replay::CRecordingPlayer player(path().toStdString(), {.watcher = &looker});
    EXPECT_EQ(player.nowMicros(), start);
    EXPECT_FALSE(player.manager());
    player.playUntil(start + 9 * SECOND);
    EXPECT_EQ(player.nowMicros(), start + 9 * SECOND);
    EXPECT_GT(player.nextMicros(), start + 9 * SECOND);
    ASSERT_TRUE(player.manager());
    EXPECT_EQ(player.manager()->getRunningOrders("A", "S"), 1);
    EXPECT_EQ(player.manager()->getTradeStatDatas("A", "S").size(), 1u);
    EXPECT_EQ(looker.prices, std::vector{10.5});
    EXPECT_TRUE(looker.calls.empty() && looker.cancelled.empty());
    player.playUntil(start + 16 * SECOND);
    EXPECT_EQ(looker.calls, std::vector<std::string>{"runAutoBalance AS"});
    EXPECT_EQ(looker.cancelled, std::vector<std::uint64_t>{1});
    player.playToEnd();
    EXPECT_EQ(looker.sent, std::vector<std::int64_t>{300});
    EXPECT_TRUE(player.isOver());
    EXPECT_FALSE(player.verdict().difference || player.verdict().breaksOff);
    looker.request.reset();
}

// A process that is killed leaves a file without an end: it is played up to the last flush.
TEST_F(Recording, AFileThatBreaksOffIsPlayedAsFarAsItGoes) {
    begin();
    play();
    f.reset();
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray whole = file.readAll();
    const QString torn = path() + ".torn";
    put(torn, whole.left(whole.size() * 2 / 3).toStdString());
    const auto verdict = verified(torn);
    QFile::remove(torn);
    EXPECT_EQ(verdict.fault, "");
    EXPECT_FALSE(verdict.difference);
    EXPECT_TRUE(verdict.breaksOff);
    EXPECT_GT(verdict.steps, 5u);
}

// Also in the middle of a load that waits for another step.
TEST_F(Recording, EveryBeginningOfAFileCanBePlayed) {
    begin();
    f->manager().requestAccounts();
    play();
    f.reset();
    const std::string text = unpacked(path());
    const QString cut = path() + ".cut";
    std::size_t line = 0;
    for (std::size_t at = text.find('\n'); at + 1 < text.size(); at = text.find('\n', at + 1)) {
        if (++line % 5 != 0) continue;
        put(cut, text.substr(0, at + 1));
        const auto verdict = verified(cut);
        ASSERT_EQ(verdict.fault, "") << line;
        ASSERT_TRUE(verdict.breaksOff && !verdict.difference) << line;
    }
    EXPECT_GT(line, 50u);
    QFile::remove(cut);
}

// Recordings come from others.
TEST_F(Recording, LinesThatDoNotFitAreRefusedByName) {
    begin();
    f.reset();
    const std::string config = unpacked(path());
    const std::string first = config.substr(0, config.find('\n') + 1);
    const QString changed = path() + ".changed";
    const std::pair<std::string, std::string> rows[] = {
        {R"({"do":"writeFile","name":"../x","base64":"eA=="})", "is no place in the directory"},
        {R"({"do":"writeFile","name":"/tmp/x","base64":"eA=="})", "is no place in the directory"},
        {R"({"do":"config","recorded":1})", "a second \"config\""},
        {R"({"do":"init","at":"2024-01-02 09:30:00"})", "has no microseconds"},
        {R"({"do":"init","at":"2024-01-02 09:30:00.12x456"})", "has no microseconds"},
        {R"({"do":"resume","step":7})", "no such step goes on"},
        {R"({"do":"leave"})", "\"leave\" without a step"},
        {R"({"out":"signal","name":"a"})", "a mark without a step"}};
    for (const auto& [line, fault] : rows) {
        put(changed, first + line + "\n");
        const auto verdict = verified(changed);
        EXPECT_NE(verdict.fault.find(":2: "), std::string::npos) << verdict.fault;
        EXPECT_NE(verdict.fault.find(fault), std::string::npos) << verdict.fault;
    }
    QFile::remove(changed);
}

TEST_F(Recording, BeginsInTheMiddleAndAgainButOneAtATime) {
    begin();
    EXPECT_FALSE(f->manager().startRecording(path() + ".2"));
    play();
    f->manager().stopRecording();
    ASSERT_TRUE(f->manager().startRecording(path() + ".2"));
    EXPECT_FALSE(f->manager().getRecording()->waits);
    EXPECT_FALSE(f->manager().startRecording(path() + ".3"));
    EXPECT_FALSE(QFile::exists(path() + ".3"));
    f->order({.key = 7, .strategy = "S"});
    f->advance(60);
    f->manager().stopRecording();
    f.reset();
    for (const char* const end : {"", ".2"}) {
        const auto verdict = verified(path() + end);
        EXPECT_EQ(verdict.fault, "");
        EXPECT_FALSE(verdict.difference);
        EXPECT_GT(verdict.marks, 5u);
    }
}

// Quotes and brokers tell figures that are no numbers, or zeros with a sign.
TEST_F(Recording, OddFiguresAreWrittenAndPlayed) {
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    constexpr double ODD[] = {std::numeric_limits<double>::quiet_NaN(), -INFINITE, -0.0, 1e300};
    std::uint64_t key = 10;
    const auto trade = [&] {
        for (const double price : ODD) {
            f->price({.last = price});
            f->deal({.key = ++key, .price = price, .volume = 100, .strategy = "T"});
            f->deal({.key = ++key, .side = Side::Sell, .price = 10.0, .volume = 100});
            f->order({.key = key, .price = price, .strategy = "S"});
            f->advance(4);
        }
    };
    begin();
    trade();
    f->manager().stopRecording();
    ASSERT_TRUE(f->manager().startRecording(path(2)));
    trade();
    f->manager().stopRecording();
    f.reset();
    for (const QString& file : {path(), path(2)}) {
        const auto verdict = verified(file);
        EXPECT_EQ(verdict.fault, "");
        ASSERT_FALSE(verdict.difference) << verdict.difference->expected << verdict.difference->got;
        const std::string text = unpacked(file);
        for (const char* const figure : {":\"nan\"", ":\"-inf\"", ":-0.0", "1e+300"}) {
            EXPECT_NE(text.find(figure), std::string::npos) << figure;
        }
        const QString copy = path() + ".3";
        QFile::remove(copy);
        EXPECT_EQ(replay::anonymise(QFile::encodeName(file).toStdString(),
                                    QFile::encodeName(copy).toStdString(), 1)
                      .fault,
                  "");
    }
}

// Nor does another file follow one that was full at once.
TEST_F(Recording, EndsWithALineInTheLogWhenItsFileIsFullAndTradingGoesOn) {
    begin({.mostBytes = 1, .goesOn = true});
    play();
    f->manager().stopRecording();
    const auto recording = f->manager().getRecording();
    ASSERT_TRUE(recording);
    EXPECT_FALSE(recording->running);
    EXPECT_EQ(recording->fault, "the file has its full size");
    EXPECT_FALSE(QFile::exists(path(2)));
    EXPECT_EQ(f->manager().getTradeStatDatas("A", "S").size(), 1u);
}

TEST_F(Recording, AnotherOneFollowsOneThatEndedByItself) {
    begin({.mostBytes = 1});
    play();
    while (f->manager().getRecording()->running) std::this_thread::yield();
    ASSERT_TRUE(f->manager().startRecording(path() + ".2"));
    f->order({.key = 7, .strategy = "S"});
    f->advance(60);
    f->manager().stopRecording();
    f.reset();
    const auto verdict = verified(path() + ".2");
    EXPECT_EQ(verdict.fault, "");
    EXPECT_FALSE(verdict.difference);
    EXPECT_GT(verdict.marks, 5u);
}

TEST_F(Recording, GoesOnInNextFilesOfWhichTheNewestAreKept) {
    begin({.mostBytes = 60'000, .goesOn = true, .keepFiles = 2});
    fill();
    EXPECT_EQ(f->manager().getRecording()->file, path(2).toStdString());
    EXPECT_FALSE(f->manager().startRecording(path() + ".2"));
    fill();
    f->order({.key = 7, .strategy = "S"});
    f->advance(60);
    f->manager().stopRecording();
    EXPECT_EQ(f->manager().getRecording()->file, path(3).toStdString());
    EXPECT_EQ(f->manager().getRecording()->fault, "");
    f->advance(100);
    f.reset();
    EXPECT_FALSE(QFile::exists(path()));
    EXPECT_FALSE(QFile::exists(path(4)));
    for (const int number : {2, 3}) {
        SCOPED_TRACE(number);
        const auto verdict = verified(path(number));
        EXPECT_EQ(verdict.fault, "");
        EXPECT_FALSE(verdict.difference || verdict.breaksOff);
        EXPECT_GT(verdict.marks, 5u);
    }
}

// What cannot be followed is recorded to its end, and asked for no more.
TEST_F(Recording, GoesOnNowhereWhereNoFileCanBeMade) {
    QDir().mkpath(QDir::tempPath() + "/recording-folder");
    const QString folder = QDir::tempPath() + "/recording-folder";
    f->account({.key = "A"});
    f->create();
    ASSERT_TRUE(
        f->manager().startRecording(folder + "/day.rec", {.mostBytes = 20'000, .goesOn = true}));
    ASSERT_TRUE(QFile::rename(folder, folder + ".moved"));
    f->init();
    f->advance(61);
    while (f->manager().getRecording()->running) {
        report();
        f->advance(1);
    }
    EXPECT_EQ(f->manager().getRecording()->fault, "the file has its full size");
    f->advance(100);
    f.reset();
    const auto verdict = verified(folder + ".moved/day.rec");
    EXPECT_EQ(QDir(folder + ".moved").entryList(QDir::Files), QStringList{"day.rec"});
    QDir(folder + ".moved").removeRecursively();
    EXPECT_EQ(verdict.fault, "");
    EXPECT_FALSE(verdict.difference || verdict.breaksOff);
}

TEST_F(Recording, ASlotMayReleaseTheManager) {
    f->init();
    QObject::connect(&f->manager(), &TC::CLinkageManager::sigCancelTask, [](int, const QString&) {
        utils::CSingletonT<TC::CLinkageManager>::release();
    });
    f->manager().cancelTask(1, "x");
    EXPECT_FALSE(utils::CSingletonT<TC::CLinkageManager>::exists());
}

// A step that is one of too many is not in the recording, and notices nothing.
TEST_F(Recording, EndsWhenTooMuchWaitsToBeWritten) {
    // Nothing is taken before the first second is over.
    begin({.mostWaiting = 3});
    play();
    f->manager().stopRecording();
    const auto recording = f->manager().getRecording();
    ASSERT_TRUE(recording);
    EXPECT_FALSE(recording->running);
    EXPECT_EQ(recording->fault, "the disk cannot follow");
    EXPECT_GT(recording->steps, 0u);
    EXPECT_LE(recording->steps, 3u);
    EXPECT_EQ(f->manager().getTradeStatDatas("A", "S").size(), 1u);
    f.reset();
    const auto verdict = verified(path());
    EXPECT_EQ(verdict.fault, "");
    EXPECT_FALSE(verdict.difference);
    EXPECT_EQ(verdict.steps, recording->steps);
}

// Blocks of the queue go round, records are numbered among many, and prices change under deals.
TEST_F(Recording, AStormOfReportsIsWholeAndCanBePlayed) {
    constexpr int REPORTS = 6000;
    begin();
    for (int at = 1; at <= REPORTS; ++at) {
        const auto key = static_cast<std::uint64_t>(1 + at % 2500);
        if (at % 3 == 0) {
            f->deal({.key = key, .side = Side::Sell, .volume = 100, .strategy = "S"});
        } else {
            f->order({.key = key, .strategy = "S"});
        }
        if (at % 50 == 0) f->price({.last = 10.0 + 0.01 * (at % 7)});
    }
    f->manager().runAutoBalance("A", "S");
    f->manager().stopRecording();
    const auto recording = f->manager().getRecording();
    ASSERT_TRUE(recording && recording->fault.empty());
    EXPECT_GT(recording->steps, std::uint64_t{REPORTS});
    f.reset();
    const auto verdict = verified(path());
    EXPECT_EQ(verdict.fault, "");
    EXPECT_FALSE(verdict.difference || verdict.breaksOff);
    EXPECT_EQ(verdict.steps, recording->steps);
}

}  // namespace
