#include "replay/recordingplayer.h"

#include "linkage/tape/moment.h"
#include "replay/linereader.h"
#include "replay/playedclient.h"
#include "replay/playedtape.h"
#include "replay/playfilter.h"
#include "replay/recordedclient.h"
#include "replay/recordedinputs.h"
#include "replay/recordedlines.h"
#include "replay/restoredmanager.h"
#include "replay/stepthreads.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

namespace replay {

namespace {

using ManagerSingleton = utils::CSingletonT<TC::CLinkageManager>;

/// Ends the play at a difference.
struct PlayEnded {};

}  // namespace

/// Reads lines ahead up to that of the next step. The manager is at rest then.
class CRecordingPlayer::CPlay {
public:
    CPlay(const std::string& path, const PlayOptions& options)
        : m_strPath(path),
          m_options(options),
          m_reader(path),
          m_played(m_options),
          m_tape(m_client, options.watcher ? options.watcher->requests() : nullptr) {
        guarded([this] { readAhead(); });
    }
    ~CPlay();

    bool playNext();
    std::int64_t nextMicros() const { return m_nNext; }
    std::int64_t nowMicros() { return clock().nowMicros(); }
    void moveClock(std::int64_t micros) { clock().set(std::max(micros, nowMicros())); }
    const RecordingVerdict& verdict() const { return m_verdict; }
    double progress() const { return m_reader.progress(); }
    TC::CLinkageManager* manager() const { return m_pManager; }
    TC::CLinkageManager& needManager();
    bool isAtRest() const { return m_steps.empty(); }
    void recordWith(TC::ITape* recorder) { m_tape.recordWith(recorder); }
    void setFilter(IPlayFilter* filter) {
        m_pFilter = filter;
        m_tape.setFilter(filter);
    }

private:
    template <class Work>
    void guarded(const Work& work);
    void readAhead();
    bool isPlace(const CFields& fields, const std::string& kind);
    void play(const CFields& fields, const std::string& kind);
    void finish();

    CRecordedClock& clock() { return m_played.clock(); }
    PlayedStep& stepAt(const CFields& fields);
    PlayedStep& goingOn(std::uint64_t number);
    void addAnswer(const CFields& fields);
    void addRecord(const CFields& fields);
    void addCallBack(const CFields& fields);
    RecordedInput inputWork(const CFields& fields, const std::string& kind);

    void restore(const CFields& fields);
    void take(const CFields& fields, const std::string& kind);
    bool leavesOut(const CFields& fields, const std::string& kind);
    bool replacesWork(const CFields& fields);
    void start(std::function<void()> work);
    void goOn();
    void compare(const std::string& expected);
    void checkRest();
    void finishStep();
    void leave(unsigned holds);
    void resume(std::uint64_t number);

    void differ(const Difference& found);
    void checkDifference() {
        if (const auto found = m_tape.takeDifference()) note(*found);
    }
    void note(const Difference& found);

    const std::string m_strPath;
    const PlayOptions m_options;
    CLineReader m_reader;
    RecordingVerdict m_verdict;
    CPlayedClient m_played;
    TC::CLinkageManager* m_pManager = nullptr;

    simdjson::dom::parser m_parser;
    CEventParser m_events;
    CRecordedClient m_client;
    CPlayedTape m_tape;
    IPlayFilter* m_pFilter = nullptr;
    std::uint64_t m_nRevision = 0;
    std::map<std::uint64_t, std::unique_ptr<PlayedStep>> m_steps;  ///< that are not over
    PlayedStep m_next;              ///< gathers what comes before the line of a step
    PlayedStep* m_pStep = nullptr;  ///< in hand
    bool m_bEnded = false;          ///< the last line was there
    std::optional<CFields> m_line;  ///< of the next step, in the parser
    std::string m_strKind;          ///< of that line
    std::int64_t m_nNext = NEVER;
    CStepThreads m_threads;
};

// ----------------------------------------------------------------------------- lines

CRecordingPlayer::CPlay::~CPlay() {
    m_tape.letGo();
    for (auto& [number, step] : m_steps) {
        if (!step->run) continue;
        while (!CStepThreads::isDone(*step->run)) m_threads.letRun(*step->run);
    }
    m_steps.clear();
    if (m_pManager) m_pManager->stopRecording();  // takes the tape out
    m_tape.works().clear();
    ManagerSingleton::release();
    m_played.end();
}

/// What is wrong with a line, or differs, ends the play.
template <class Work>
void CRecordingPlayer::CPlay::guarded(const Work& work) {
    try {
        work();
        return;
    } catch (const PlayEnded&) {
        // The verdict has it.
    } catch (const LineError& fault) {
        m_verdict.fault = m_strPath + ":" + std::to_string(m_reader.number()) + ": " + fault.what();
    }
    m_line.reset();
    m_nNext = NEVER;
}

bool CRecordingPlayer::CPlay::playNext() {
    if (!m_line) return false;
    guarded([this] {
        const CFields fields = *std::exchange(m_line, {});
        m_nNext = NEVER;
        play(fields, m_strKind);
        readAhead();
    });
    return true;
}

void CRecordingPlayer::CPlay::readAhead() {
    std::string_view text;
    while (nextLine(m_reader, text)) {
        const CFields fields = parseLine(m_parser, text, true);
        if (fields.find("out")) {
            compare(std::string(text));
            continue;
        }
        m_strKind = fields.text("do");
        if (!isPlace(fields, m_strKind)) {
            play(fields, m_strKind);
            continue;
        }
        finishStep();
        m_line = fields;
        return;
    }
    finish();
}

/// Whether the line takes a step or lets one go on: before it the manager is at rest.
bool CRecordingPlayer::CPlay::isPlace(const CFields& fields, const std::string& kind) {
    if (kind == "resume") {
        m_nNext = goingOn(fields.whole<std::uint64_t>("step")).moment.micros;
        return true;
    }
    if (!takesStep(fields, kind)) return false;
    m_nNext = readMicros(std::string(fields.text("at")));
    return true;
}

void CRecordingPlayer::CPlay::play(const CFields& fields, const std::string& kind) {
    if (kind == "config") {
        m_client.keepAll(fields.flag("middle", false));
        return m_played.begin(fields);
    }
    if (kind == "picture") return restore(fields);
    if (kind == "writeFile") return m_played.writeFile(fields);
    if (kind == "answer") return addAnswer(fields);
    if (kind == "leave") return leave(fields.whole<unsigned>("holds", 1));
    if (kind == "resume") return resume(fields.whole<std::uint64_t>("step"));
    if (kind == "end") {
        finishStep();
        m_bEnded = true;
    } else if (kind == "referenceData") {
        m_nRevision = fields.whole<std::uint64_t>("revision");
    } else if (isRecord(kind) && !fields.flag("push", true)) {
        addRecord(fields);
    } else if (fields.find("within")) {
        addCallBack(fields);
    } else {
        take(fields, kind);
    }
}

/// After the last line. Where the file breaks off, of the step in hand the rest is missing.
void CRecordingPlayer::CPlay::finish() {
    if (!m_bEnded) m_verdict.breaksOff = true;
    m_pStep = nullptr;
}

TC::CLinkageManager& CRecordingPlayer::CPlay::needManager() {
    if (m_pManager) return *m_pManager;
    if (!m_played.isThere()) throw LineError("a step before \"config\"");
    m_pManager = ManagerSingleton::instance();
    m_pManager->setOptions(m_played.managerOptions());
    m_tape.playOn(*m_pManager);
    if (m_options.watcher) m_options.watcher->managerIsThere(*m_pManager);
    return *m_pManager;
}

void CRecordingPlayer::CPlay::restore(const CFields& fields) {
    if (m_pManager) throw LineError("\"picture\" behind a step");
    clock().set(readMicros(std::string(fields.text("at"))));
    restoreManager(fields, needManager(), m_client, m_played.service(), m_tape.works());
    m_client.keepAll(false);
}

PlayedStep& CRecordingPlayer::CPlay::goingOn(std::uint64_t number) {
    const auto known = m_steps.find(number);
    if (known == m_steps.end()) throw LineError("field \"step\": no such step goes on");
    return *known->second;
}

PlayedStep& CRecordingPlayer::CPlay::stepAt(const CFields& fields) {
    const auto number = fields.find("step");
    return number ? goingOn(number->whole<std::uint64_t>()) : m_next;
}

void CRecordingPlayer::CPlay::addAnswer(const CFields& fields) {
    const std::string question(fields.text("to"));
    const CValue is = fields.need("is");
    stepAt(fields).answers[fields.whole<unsigned>("call")] = {question,
                                                              simdjson::minify(is.json())};
    if (CToldClient* const told = m_played.told()) told->answer(question, is);
}

void CRecordingPlayer::CPlay::addRecord(const CFields& fields) {
    const auto record = m_client.addRecord(m_events.parse(fields), fields);
    CToldClient* const told = m_played.told();
    if (told) told->record(std::string(fields.text("account", "")), record, false);
}

void CRecordingPlayer::CPlay::addCallBack(const CFields& fields) {
    PlayedStep& step = stepAt(fields);
    const std::string kind(fields.text("do"));
    step.callBacks.emplace(fields.whole<unsigned>("within"), inputWork(fields, kind).work);
}

/// What a line of an input makes the manager do.
RecordedInput CRecordingPlayer::CPlay::inputWork(const CFields& fields, const std::string& kind) {
    RecordedInput input = readInput(fields, m_client, m_events, needManager(), m_tape.works());
    CToldClient* const told = m_played.told();
    if (told && kind == "price") told->price(CEventParser::readPrice(fields));
    if (told && input.record) {
        told->record(std::string(fields.text("account", "")), input.record, true);
    }
    if (!m_options.watcher) return input;
    input.work = [watcher = m_options.watcher, step = stepOf(kind, fields),
                  work = std::move(input.work)] { watcher->takes(step, work); };
    return input;
}

// ----------------------------------------------------------------------------- steps

void CRecordingPlayer::CPlay::take(const CFields& fields, const std::string& kind) {
    auto step = std::make_unique<PlayedStep>(std::move(m_next));
    m_next = PlayedStep();
    step->number = ++m_verdict.steps;
    step->at = fields.text("at");
    step->moment = {readMicros(step->at), m_nRevision};
    needManager();
    // Nothing is compared with what a recording says of another day.
    step->differs = m_pFilter != nullptr;
    if (m_pFilter && step->callBacks.empty() && leavesOut(fields, kind)) {
        step->done = true;
        m_pStep = step.get();
        m_steps[step->number] = std::move(step);
        return;
    }
    if (m_options.watcher) m_options.watcher->before(stepOf(kind, fields));
    clock().set(step->moment.micros);
    RecordedInput input;
    try {
        input = inputWork(fields, kind);
    } catch (const LineError&) {
        // A library that differs may not have left the work that this line takes up.
        if (kind != "work" || !m_verdict.difference) throw;
        input = {[] {}, false, {}};
        step->differs = true;
    }
    step->threaded = input.mayPause;
    m_pStep = step.get();
    m_steps[step->number] = std::move(step);
    start(std::move(input.work));
}

/// Whether the step is not taken. What its line tells of the client is known all the same.
bool CRecordingPlayer::CPlay::leavesOut(const CFields& fields, const std::string& kind) {
    if (kind == "work") return !replacesWork(fields);
    if (!m_pFilter->leavesOut(fields, kind)) return false;
    if (isRecord(kind)) addRecord(fields);
    if (kind == "price") {
        const auto price = CEventParser::readPrice(fields);
        m_client.setAnswer("price " + price->m_strStockKey, CRecordedClient::priceText(*price));
    }
    return true;
}

/// Work that a step has left which was left out may have been left by another one instead. False
/// when there is none to be taken.
bool CRecordingPlayer::CPlay::replacesWork(const CFields& fields) {
    RecordedWorks& works = m_tape.works();
    const RecordedWorks::key_type key = workOf(fields);
    if (works.contains(key)) return true;
    const RecordedWorks::key_type* const other = m_pFilter->instead(works, key);
    if (!other) return false;
    auto node = works.extract(*other);
    node.key() = key;
    works.insert(std::move(node));
    return true;
}

void CRecordingPlayer::CPlay::start(std::function<void()> work) {
    PlayedStep& step = *m_pStep;
    const auto run = [&step, work = std::move(work)] { CPlayedTape::run(step, work); };
    if (step.threaded) {
        step.run = m_threads.start(run);
        step.done = CStepThreads::isDone(*step.run);
    } else {
        run();
        step.done = true;
    }
    checkDifference();
}

void CRecordingPlayer::CPlay::goOn() {
    m_threads.letRun(*m_pStep->run);
    m_pStep->done = CStepThreads::isDone(*m_pStep->run);
    checkDifference();
}

void CRecordingPlayer::CPlay::compare(const std::string& expected) {
    ++m_verdict.marks;
    if (!m_pStep) throw LineError("a mark without a step");
    if (m_pFilter) return;
    while (m_pStep->marks.empty() && !m_pStep->done) goOn();
    if (m_pStep->marks.empty()) return differ({expected, "(nothing)"});
    const std::string got = m_pStep->marks.front();
    m_pStep->marks.pop_front();
    if (got != expected) differ({expected, got});
}

void CRecordingPlayer::CPlay::checkRest() {
    if (!m_pStep->marks.empty()) differ({"(nothing)", m_pStep->marks.front()});
    m_pStep->marks.clear();
}

/// Lets the step in hand come to its end.
void CRecordingPlayer::CPlay::finishStep() {
    if (!m_pStep) return;
    while (!m_pStep->done) goOn();
    checkRest();
    for (const auto& [call, answer] : m_pStep->answers) {
        differ({"asks: " + answer.first, "(nothing)"});
        m_client.setAnswer(answer.first, answer.second);  // it is the newest one all the same
    }
    const std::uint64_t number = m_pStep->number;
    m_pStep = nullptr;
    m_steps.erase(number);
}

/// The step in hand goes on later, when it has had the lock so often.
void CRecordingPlayer::CPlay::leave(unsigned holds) {
    if (!m_pStep) throw LineError("\"leave\" without a step");
    while (m_pStep->holds < holds && !m_pStep->done) goOn();
    checkRest();
    if (m_pStep->done) differ({"the step goes on later", "the step is over"});
    m_pStep = nullptr;
}

void CRecordingPlayer::CPlay::resume(std::uint64_t number) {
    m_pStep = &goingOn(number);
    m_pStep->holds = 0;
    clock().set(m_pStep->moment.micros);
    if (!m_pStep->done) goOn();
}

// ----------------------------------------------------------------------- differences

/// Of a step that differs nothing more is compared.
void CRecordingPlayer::CPlay::differ(const Difference& found) {
    if (!std::exchange(m_pStep->differs, true)) note(found);
}

void CRecordingPlayer::CPlay::note(const Difference& found) {
    ++m_verdict.differentSteps;
    if (!m_verdict.difference) {
        m_verdict.difference = RecordingDifference{
            m_reader.number(), m_pStep ? m_pStep->at : std::string(), found.expected, found.got};
    }
    if (!m_options.passesDifferences) throw PlayEnded();
}

// ------------------------------------------------------------------------ the player

CRecordingPlayer::CRecordingPlayer(const std::string& path, const PlayOptions& options)
    : m_pPlay(std::make_unique<CPlay>(path, options)) {}

CRecordingPlayer::~CRecordingPlayer() = default;

std::int64_t CRecordingPlayer::nextMicros() const { return m_pPlay->nextMicros(); }

bool CRecordingPlayer::playNext() { return m_pPlay->playNext(); }

void CRecordingPlayer::playUntil(std::int64_t micros) {
    while (!isOver() && nextMicros() <= micros) playNext();
    m_pPlay->moveClock(micros);
}

void CRecordingPlayer::playToEnd() {
    while (playNext()) {
    }
}

std::int64_t CRecordingPlayer::nowMicros() const { return m_pPlay->nowMicros(); }
const RecordingVerdict& CRecordingPlayer::verdict() const { return m_pPlay->verdict(); }
double CRecordingPlayer::progress() const { return m_pPlay->progress(); }
TC::CLinkageManager* CRecordingPlayer::manager() const { return m_pPlay->manager(); }
TC::CLinkageManager& CRecordingPlayer::makeManager() { return m_pPlay->needManager(); }
bool CRecordingPlayer::isAtRest() const { return m_pPlay->isAtRest(); }
void CRecordingPlayer::recordWith(TC::ITape* recorder) { m_pPlay->recordWith(recorder); }
void CRecordingPlayer::setFilter(IPlayFilter* filter) { m_pPlay->setFilter(filter); }

std::string differenceText(const RecordingVerdict& verdict) {
    if (!verdict.difference) return {};
    return std::to_string(verdict.differentSteps) + " steps differ, the first at line " +
           std::to_string(verdict.difference->line) + ", " + verdict.difference->at;
}

bool isRecording(const std::string& path) {
    if (path == "-") return false;
    try {
        CLineReader reader(path);
        std::string_view line;
        if (!reader.next(line)) return false;
        simdjson::dom::parser parser;
        const CFields fields = parseLine(parser, line, true);
        return fields.text("do", "") == "config" && fields.find("recorded").has_value();
    } catch (const std::runtime_error&) {
        return false;
    }
}

RecordingVerdict verifyRecording(const std::string& path, const VerifyOptions& options) {
    try {
        CRecordingPlayer player(path, {.dataDir = options.dataDir});
        player.playToEnd();
        const RecordingVerdict& verdict = player.verdict();
        const bool whole = !verdict.difference && verdict.fault.empty();
        if (whole && player.manager() && options.finished) options.finished(*player.manager());
        return verdict;
    } catch (const InputError& fault) {
        RecordingVerdict verdict;
        verdict.fault = path + ": " + fault.what();
        return verdict;
    }
}

}  // namespace replay
