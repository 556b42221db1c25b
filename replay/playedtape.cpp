#include "replay/playedtape.h"

#include "replay/manageraccess.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace replay {

namespace {

thread_local PlayedStep* t_step = nullptr;

std::string questionText(const TC::TapeQuestion& question) {
    return std::string(question.name) + ' ' + question.about;
}

/// Whether the manager decides it, and no service.
bool isDecision(std::string_view question) {
    return question.starts_with("book ") || question.starts_with("bookLines ") ||
           question.starts_with("bookPosted ");
}

/// Where the recording has no answer. Decisions may be asked for in a destructor, from where
/// nothing can be thrown.
TC::TapeAnswer withoutAnswer(const std::string& question) {
    if (isDecision(question)) return true;
    throw std::runtime_error("the recording has no answer");
}

}  // namespace

CPlayedTape::CPlayedTape(CRecordedClient& client, paper::IClientObserver* requests)
    : m_client(client), m_pRequests(requests) {
    m_services = m_taped.services();
}

void CPlayedTape::playOn(TC::CLinkageManager& manager) {
    m_signalNames = TC::signalNames(manager);
    hasLock = [&manager] { return TC::ManagerAccess::hasLock(manager); };
    TC::ManagerAccess::setTape(manager, this);
}

void CPlayedTape::run(PlayedStep& step, const std::function<void()>& work) {
    t_step = &step;
    try {
        work();
    } catch (const std::exception&) {
        // As it went through to whoever called the library then.
    }
    t_step = nullptr;
}

TC::ITape* CPlayedTape::recorder() const { return t_step && !m_bFree ? m_pRecorder : nullptr; }

// ----------------------------------------------------------------------- steps

TC::Moment CPlayedTape::begins(TC::CStep& step) {
    if (!t_step) {
        // Nobody let it run: what is told to the screen, for instance, is no step of ours.
        return TC::Moment::ofPlatform();
    }
    if (TC::ITape* const other = recorder()) other->begins(step);
    step.part().step = t_step->number;
    if (step.part().inHold) ++t_step->holds;
    return t_step->moment;
}

void CPlayedTape::ends(TC::CStep& step) {
    takeMarks(step);
    if (TC::ITape* const other = recorder()) other->ends(step);
}

void CPlayedTape::wantsHold(TC::CStep& step) {
    if (m_bFree || !t_step || !t_step->threaded) return;
    takeMarks(step);
    CStepThreads::pause();
}

void CPlayedTape::holds(TC::CStep& step) {
    if (!t_step) return;
    ++t_step->holds;
    TC::ITape* const other = recorder();
    if (!other) return;
    takeMarks(step);
    other->holds(step);
    t_step->taken = step.part().marks().size();
}

void CPlayedTape::callsBack(TC::CStep& step, TC::TapeInput input) {
    if (TC::ITape* const other = recorder()) other->callsBack(step, std::move(input));
}

void CPlayedTape::changesWork(TC::CStep& step) {
    if (TC::ITape* const other = recorder()) other->changesWork(step);
}

void CPlayedTape::leaves(TC::CStep& step) {
    if (TC::ITape* const other = recorder()) other->leaves(step);
}

bool CPlayedTape::keeps(const TC::Ticket& ticket, const boost::function<void()>& work) {
    m_works[{ticket.step, ticket.name, ticket.index}] = work;
    return true;
}

// ------------------------------------------------------------------- what they do

void CPlayedTape::raises(TC::CStep& step, unsigned call, const Signal& signal) {
    TC::addSignal(step.part(), m_signalNames, signal);
    callBack(call);
}

void CPlayedTape::figures(TC::CStep& step, std::uint64_t value) {
    TC::addFigures(step.part(), value);
}

void CPlayedTape::acts(TC::CStep& step, const TC::TapeMark& act) {
    step.part().addMark(act);
    if (m_pRequests && t_step && !m_bFree) tell(act);
}

void CPlayedTape::tell(const TC::TapeMark& act) {
    if (const auto* const command = std::get_if<TC::CommandMark>(&act)) {
        m_pRequests->onCommand(*command->command, 0);
    } else if (const auto* const cancel = std::get_if<TC::CancelMark>(&act)) {
        m_pRequests->onCancelOrder(*cancel->order);
    } else if (const auto* const operate = std::get_if<TC::OperateMark>(&act)) {
        const auto task = m_client.taskNumber(operate->task, operate->server);
        if (task) m_pRequests->onOperateTask(*task, operate->server, *operate->record);
    }
}

void CPlayedTape::takeMarks(TC::CStep& step) {
    if (!t_step) return;
    auto& marks = step.part().marks();
    for (; t_step->taken < marks.size(); ++t_step->taken) {
        t_step->marks.push_back(TC::markText(marks[t_step->taken]));
    }
    // Who records needs them himself.
    if (m_pRecorder) return;
    marks.clear();
    t_step->taken = 0;
}

void CPlayedTape::callBack(unsigned call) {
    if (m_bFree || !t_step) return;
    const auto [begin, end] = t_step->callBacks.equal_range(call);
    std::vector<std::function<void()>> due;
    for (auto at = begin; at != end; ++at) due.push_back(at->second);
    t_step->callBacks.erase(begin, end);
    for (const auto& each : due) each();
}

// ------------------------------------------------------------------ what they ask

TC::TapeAnswer CPlayedTape::asks(TC::CStep& step, unsigned call, const TC::TapeQuestion& question,
                                 const std::function<TC::TapeAnswer()>& /*work*/) {
    // The client of a recording is not there.
    if (m_bFree || !t_step) return withoutAnswer(questionText(question));
    const auto answer = [&] { return answerOf(call, question); };
    TC::ITape* const other = recorder();
    return other ? other->asks(step, call, question, answer) : answer();
}

TC::TapeAnswer CPlayedTape::answerOf(unsigned call, const TC::TapeQuestion& question) {
    callBack(call);
    const std::string text = questionText(question);
    takeOwnAnswer(call, text);
    auto answer = m_pFilter ? m_pFilter->answer(question) : std::nullopt;
    if (!answer) answer = answerTo(question);
    if (!answer) {
        differ("(no such question)", "asks: " + text);
        return withoutAnswer(text);
    }
    if (const auto* const thrown = std::get_if<TC::TapeThrown>(&*answer)) {
        throw std::runtime_error(thrown->text);
    }
    return *answer;
}

/// When the library asks in another order than it did, a question still has the answer that this
/// step had to it.
void CPlayedTape::takeOwnAnswer(unsigned call, const std::string& question) {
    auto& answers = t_step->answers;
    auto own = answers.find(call);
    if (own != answers.end() && own->second.first != question) {
        differ("asks: " + own->second.first, "asks: " + question);
        own = answers.end();
    }
    // A decision changes within a step.
    if (t_step->differs && !isDecision(question)) {
        own = std::find_if(answers.begin(), answers.end(),
                           [&](const auto& each) { return each.second.first == question; });
    }
    if (own == answers.end()) return;
    m_client.setAnswer(question, own->second.second);
    answers.erase(own);
}

std::optional<TC::TapeAnswer> CPlayedTape::answerTo(const TC::TapeQuestion& question) {
    try {
        return m_client.answer(question);
    } catch (const LineError& fault) {
        differ("(an answer that can be read)", fault.what());
        return std::nullopt;
    }
}

/// Of each step the first one. The owner's thread is told when the step pauses.
void CPlayedTape::differ(const std::string& expected, const std::string& got) {
    if (std::exchange(t_step->differs, true)) return;
    if (!m_difference) m_difference = Difference{expected, got};
}

}  // namespace replay
