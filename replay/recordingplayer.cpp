#include "replay/recordingplayer.h"

#include "linkage/record/recording.h"
#include "linkage/tape/taped.h"
#include "paper/paperclient.h"
#include "platform/log.h"
#include "platform/utils/clock.h"
#include "platform/utils/waits.h"
#include "replay/linereader.h"
#include "replay/manageraccess.h"
#include "replay/recordedclient.h"
#include "replay/recordedinputs.h"
#include "replay/stepthreads.h"
#include "replay/times.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <boost/asio/io_service.hpp>

#include <charconv>
#include <deque>
#include <map>
#include <memory>
#include <tuple>
#include <utility>

namespace replay {

namespace {

using ManagerSingleton = utils::CSingletonT<TC::CLinkageManager>;

/// Time of a recording: it is where a line says, and no timer fires by itself.
class CRecordedClock final : public utils::IClock {
public:
    CRecordedClock() { utils::setClock(this); }
    ~CRecordedClock() override {
        m_pWaits->clear();
        utils::setClock(nullptr);
    }
    void set(std::int64_t micros) { m_now.store(micros); }
    std::int64_t nowMicros() const override { return m_now.load(); }
    std::shared_ptr<utils::CWaits> waits() const override { return m_pWaits; }

private:
    std::atomic<std::int64_t> m_now{0};
    const std::shared_ptr<utils::CWaits> m_pWaits = std::make_shared<utils::CWaits>();
};

/// Ends the play at the first difference.
struct Difference {
    std::string expected;
    std::string got;
};

/// A step while it is played.
struct PlayedStep {
    std::uint64_t number = 0;
    TC::Moment moment;
    std::string at;
    bool threaded = false;  ///< it may be left and resumed
    std::map<unsigned, std::pair<std::string, std::string>> answers;  ///< by call: question, JSON
    std::multimap<unsigned, std::function<void()>> callBacks;         ///< by call
    std::deque<std::string> marks;                                    ///< not compared yet
    std::shared_ptr<CStepThreads::CRun> run;
    unsigned holds = 0;  ///< since it is in hand
    bool done = false;
};

thread_local PlayedStep* t_step = nullptr;

/// The microseconds of a moment's text.
std::int64_t readMicros(const std::string& text) {
    constexpr std::size_t SECONDS = sizeof("yyyy-MM-dd hh:mm:ss") - 1;
    constexpr std::size_t DIGITS = sizeof(".zzzzzz") - 1;
    const std::int64_t seconds = readMoment("at", text.substr(0, SECONDS));
    std::int64_t micros = 0;
    const char* const end = text.data() + text.size();
    const bool whole = text.size() == SECONDS + DIGITS &&
                       std::from_chars(text.data() + SECONDS + 1, end, micros).ptr == end;
    if (!whole) throw LineError("field \"at\": \"" + text + "\" has no microseconds");
    return seconds + micros;
}

/// The tape that plays.
class CRecordingPlayer final : public TC::ITape {
public:
    explicit CRecordingPlayer(const VerifyOptions& options) : m_options(options) {
        m_services = m_taped.services();
    }
    ~CRecordingPlayer() override { end(); }

    /// One line.
    void play(std::string_view line) {
        const CFields fields = parseLine(m_parser, line);
        if (fields.find("out")) return compare(std::string(line));
        const std::string kind(fields.text("do"));
        if (kind == "config") return begin(fields);
        if (kind == "writeFile") return writeFile(fields);
        if (kind == "end") return endLine();
        if (kind == "answer") return addAnswer(fields);
        if (kind == "referenceData") {
            m_nRevision = fields.whole<std::uint64_t>("revision");
            return;
        }
        const bool record =
            kind == "order" || kind == "deal" || kind == "position" || kind == "task";
        if (record && !fields.flag("push", true)) {
            m_client.addRecord(m_events.parse(fields), fields);
        } else if (fields.find("within")) {
            addCallBack(fields);
        } else if (kind == "leave") {
            leave(fields.whole<unsigned>("holds", 1));
        } else if (kind == "resume") {
            resume(fields.whole<std::uint64_t>("step"));
        } else {
            take(fields);
        }
    }

    /// After the last line. Where the file breaks off, of the step in hand the rest is missing.
    void finish() {
        if (!m_bEnded) verdict.breaksOff = true;
        m_pStep = nullptr;
        if (m_pManager && m_options.finished) m_options.finished(*m_pManager);
    }

    RecordingVerdict verdict;
    std::string at() const { return m_pStep ? m_pStep->at : std::string(); }

    // ------------------------------------------------------------------- as a tape

    TC::Moment begins(TC::CStep& step) override {
        if (!t_step) {
            // Nobody let it run: what is told to the screen, for instance, is no step of ours.
            return TC::Moment::ofPlatform();
        }
        step.unit().step = t_step->number;
        return t_step->moment;
    }
    void ends(TC::CStep& step) override { takeMarks(step); }
    void wantsHold(TC::CStep& step) override {
        if (m_bFree || !t_step || !t_step->threaded) return;
        takeMarks(step);
        CStepThreads::pause();
    }
    void holds(TC::CStep& /*step*/) override {
        if (t_step) ++t_step->holds;
    }
    void callsBack(TC::CStep& /*step*/, TC::TapeInput /*input*/) override {}
    bool keeps(const TC::Ticket& ticket, const boost::function<void()>& work) override {
        m_works[{ticket.step, ticket.name, ticket.index}] = work;
        return true;
    }
    void raises(TC::CStep& step, unsigned call, const Signal& signal) override {
        TC::addSignal(step.unit(), m_signalNames, signal);
        callBack(call);
    }
    void figures(TC::CStep& step, std::uint64_t value) override {
        TC::addFigures(step.unit(), value);
    }
    TC::TapeAnswer asks(TC::CStep& /*step*/, unsigned call, const TC::TapeQuestion& question,
                        const std::function<TC::TapeAnswer()>& /*work*/) override {
        // The client of a recording is not there.
        if (m_bFree || !t_step) throw std::runtime_error("the recording has no answer");
        callBack(call);
        const std::string text = std::string(question.name) + ' ' + question.about;
        const auto own = t_step->answers.find(call);
        if (own != t_step->answers.end()) {
            if (own->second.first != text) differ("asks: " + own->second.first, "asks: " + text);
            m_client.setAnswer(text, own->second.second);
            t_step->answers.erase(own);
        }
        const auto answer = answerTo(question);
        if (!answer) {
            differ("(no such question)", "asks: " + text);
            throw std::runtime_error("the recording has no answer");
        }
        if (const auto* const thrown = std::get_if<TC::TapeThrown>(&*answer)) {
            throw std::runtime_error(thrown->text);
        }
        return *answer;
    }
    void acts(TC::CStep& step, const TC::TapeMark& act) override {
        step.unit().marks.push_back(act);
    }

private:
    std::optional<TC::TapeAnswer> answerTo(const TC::TapeQuestion& question) {
        try {
            return m_client.answer(question);
        } catch (const LineError& fault) {
            differ("(an answer that can be read)", fault.what());
            return std::nullopt;
        }
    }

    /// Notes the first difference; the owner's thread ends the play.
    void differ(const std::string& expected, const std::string& got) {
        if (!m_difference) m_difference = Difference{expected, got};
    }
    void checkDifference() {
        if (m_difference) throw *m_difference;
    }

    void takeMarks(TC::CStep& step) {
        if (!t_step) return;
        for (const TC::TapeMark& mark : step.unit().marks) {
            t_step->marks.push_back(TC::markText(mark));
        }
        step.unit().marks.clear();
    }

    void callBack(unsigned call) {
        if (m_bFree || !t_step) return;
        const auto [begin, end] = t_step->callBacks.equal_range(call);
        std::vector<std::function<void()>> due;
        for (auto at = begin; at != end; ++at) due.push_back(at->second);
        t_step->callBacks.erase(begin, end);
        for (const auto& each : due) each();
    }

    // ------------------------------------------------------------------- the beginning

    void begin(const CFields& fields) {
        if (m_pPaper) throw LineError("a second \"config\"");
        if (!fields.find("recorded")) throw LineError("is no recording: \"recorded\" is missing");
        const std::string zone(fields.text("timeZone"));
        if (!setTimeZone(zone)) {
            throw LineError("field \"timeZone\": \"" + zone + "\" is unknown");
        }
        paper::ClientConfig config;
        config.clientType = fields.whole<int>("clientType");
        config.fileEncoding = fields.text("fileEncoding", config.fileEncoding);
        config.dataDir = m_options.dataDir;
        if (config.dataDir.isEmpty()) {
            m_pTemporary = std::make_unique<QTemporaryDir>();
            config.dataDir = m_pTemporary->path();
        }
        m_balanceDir = config.dataDir + QStringLiteral("/Balance");
        m_event = std::get<ConfigEvent>(m_events.parse(fields));
        config.tradeDate = m_event.tradeDate.value_or("20000101");
        m_clock.set(readMoment("now", m_event.now));
        m_pPaper = std::make_unique<paper::CPaperClient>(m_service, config, nullptr);
    }

    void writeFile(const CFields& fields) {
        const std::string name(fields.text("name"));
        // Recordings come from others: nothing is written beside the directory.
        const QString below = QDir::cleanPath(QString::fromStdString(name));
        if (name.empty() || QDir::isAbsolutePath(below) || below.startsWith("..")) {
            throw LineError("field \"name\": \"" + name + "\" is no place in the directory");
        }
        const QString path = m_balanceDir + QLatin1Char('/') + below;
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        const std::string_view text = fields.text("base64");
        const QByteArray bytes = QByteArray::fromBase64(
            QByteArray::fromRawData(text.data(), static_cast<int>(text.size())));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
            throw LineError("field \"name\": " + path.toStdString() + " cannot be written");
        }
    }

    TC::CLinkageManager& manager() {
        if (m_pManager) return *m_pManager;
        if (!m_pPaper) throw LineError("a step before \"config\"");
        m_pManager = ManagerSingleton::instance();
        m_pManager->setOptions(m_event.options);
        m_signalNames = TC::signalNames(*m_pManager);
        hasLock = [this] { return TC::ManagerAccess::hasLock(*m_pManager); };
        TC::ManagerAccess::setTape(*m_pManager, this);
        return *m_pManager;
    }

    // ----------------------------------------------------------------------- the lines

    PlayedStep& stepOf(const CFields& fields) {
        const auto number = fields.find("step");
        if (!number) return m_next;
        const auto known = m_steps.find(number->whole<std::uint64_t>());
        if (known == m_steps.end()) throw LineError("field \"step\": no such step goes on");
        return *known->second;
    }

    void addAnswer(const CFields& fields) {
        stepOf(fields).answers[fields.whole<unsigned>("call")] = {
            std::string(fields.text("to")), simdjson::minify(fields.need("is").json())};
    }

    void addCallBack(const CFields& fields) {
        stepOf(fields).callBacks.emplace(fields.whole<unsigned>("within"), inputWork(fields).work);
    }

    /// What a line of an input makes the manager do.
    RecordedInput inputWork(const CFields& fields) {
        return readInput(fields, m_client, m_events, manager(), m_works);
    }

    void take(const CFields& fields) {
        finishStep();
        auto step = std::make_unique<PlayedStep>(std::move(m_next));
        m_next = PlayedStep();
        step->number = ++verdict.steps;
        step->at = fields.text("at");
        step->moment = {readMicros(step->at), m_nRevision};
        m_clock.set(step->moment.micros);
        RecordedInput input = inputWork(fields);
        step->threaded = input.mayPause;
        m_pStep = step.get();
        m_steps[step->number] = std::move(step);
        start(std::move(input.work));
    }

    void start(std::function<void()> work) {
        PlayedStep& step = *m_pStep;
        const auto run = [&step, work = std::move(work)] {
            t_step = &step;
            try {
                work();
            } catch (const std::exception&) {
                // As it went through to whoever called the library then.
            }
            t_step = nullptr;
        };
        if (step.threaded) {
            step.run = m_threads.start(run);
            step.done = CStepThreads::isDone(*step.run);
        } else {
            run();
            step.done = true;
        }
        checkDifference();
    }

    void goOn() {
        m_threads.letRun(*m_pStep->run);
        m_pStep->done = CStepThreads::isDone(*m_pStep->run);
        checkDifference();
    }

    void compare(const std::string& expected) {
        ++verdict.marks;
        if (!m_pStep) throw LineError("a mark without a step");
        while (m_pStep->marks.empty() && !m_pStep->done) goOn();
        if (m_pStep->marks.empty()) throw Difference{expected, "(nothing)"};
        const std::string got = m_pStep->marks.front();
        m_pStep->marks.pop_front();
        if (got != expected) throw Difference{expected, got};
    }

    void checkRest() {
        if (!m_pStep->marks.empty()) throw Difference{"(nothing)", m_pStep->marks.front()};
    }

    /// Lets the step in hand come to its end.
    void finishStep() {
        if (!m_pStep) return;
        while (!m_pStep->done) goOn();
        checkRest();
        if (!m_pStep->answers.empty()) {
            throw Difference{"asks: " + m_pStep->answers.begin()->second.first, "(nothing)"};
        }
        const std::uint64_t number = m_pStep->number;
        m_pStep = nullptr;
        m_steps.erase(number);
    }

    /// The step in hand goes on later, when it has had the lock so often.
    void leave(unsigned holds) {
        if (!m_pStep) throw LineError("\"leave\" without a step");
        while (m_pStep->holds < holds && !m_pStep->done) goOn();
        checkRest();
        if (m_pStep->done) throw Difference{"the step goes on later", "the step is over"};
        m_pStep = nullptr;
    }

    void endLine() {
        finishStep();
        m_bEnded = true;
    }

    void resume(std::uint64_t number) {
        finishStep();
        const auto known = m_steps.find(number);
        if (known == m_steps.end()) throw LineError("field \"step\": no such step goes on");
        m_pStep = known->second.get();
        m_pStep->holds = 0;
        m_clock.set(m_pStep->moment.micros);
        goOn();
    }

    void end() {
        m_bFree = true;
        for (auto& [number, step] : m_steps) {
            if (!step->run) continue;
            while (!CStepThreads::isDone(*step->run)) m_threads.letRun(*step->run);
        }
        m_steps.clear();
        if (m_pManager) m_pManager->stopRecording();  // takes this tape out
        m_works.clear();
        ManagerSingleton::release();
        m_pPaper.reset();
    }

    const VerifyOptions& m_options;
    CRecordedClock m_clock;
    boost::asio::io_service m_service;  ///< nobody runs it
    std::unique_ptr<QTemporaryDir> m_pTemporary;
    QString m_balanceDir;
    ConfigEvent m_event;
    const TC::CTapedClient m_taped;
    std::unique_ptr<paper::CPaperClient> m_pPaper;
    TC::CLinkageManager* m_pManager = nullptr;
    std::map<const void*, const char*> m_signalNames;

    simdjson::dom::parser m_parser;
    CEventParser m_events;
    CRecordedClient m_client;
    RecordedWorks m_works;
    std::uint64_t m_nRevision = 0;
    std::map<std::uint64_t, std::unique_ptr<PlayedStep>> m_steps;  ///< that are not over
    PlayedStep m_next;              ///< gathers what comes before the line of a step
    PlayedStep* m_pStep = nullptr;  ///< in hand
    std::optional<Difference> m_difference;
    std::atomic<bool> m_bFree{false};  ///< nothing is compared any more
    bool m_bEnded = false;             ///< the last line was there
    CStepThreads m_threads;
};

/// A file whose writer was killed has no proper end.
bool nextLine(CLineReader& reader, std::string_view& line) {
    try {
        return reader.next(line);
    } catch (const LineError&) {
        return false;
    }
}

}  // namespace

RecordingVerdict verifyRecording(const std::string& path, const VerifyOptions& options) {
    const auto player = std::make_unique<CRecordingPlayer>(options);
    std::size_t number = 0;
    try {
        CLineReader reader(path);
        try {
            std::string_view line;
            while (nextLine(reader, line)) {
                number = reader.number();
                player->play(line);
            }
            player->finish();
        } catch (const Difference& found) {
            player->verdict.difference =
                RecordingDifference{number, player->at(), found.expected, found.got};
        } catch (const LineError& fault) {
            player->verdict.fault =
                path + ":" + std::to_string(reader.number()) + ": " + fault.what();
        }
    } catch (const InputError& fault) {
        player->verdict.fault = path + ": " + fault.what();
    }
    return player->verdict;
}

}  // namespace replay
