#pragma once

#include "lab/agenda.h"
#include "lab/broker.h"
#include "lab/client.h"
#include "lab/invariants.h"
#include "lab/model.h"
#include "lab/scenario.h"
#include "lab/services.h"
#include "lab/truth.h"
#include "paper/loop.h"

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace lab {

/// The day's trading date, and the one after a rollover.
inline constexpr const char* DATES[] = {"20240102", "20240103"};

struct DayOptions {
    bool guard = true;
    bool trace = false;
    bool scenario = false;  ///< the day is also written as a scenario
    std::string directory;  ///< for the client's files; what is in its "Balance" goes
};

/// What a day came to.
struct Outcome {
    std::uint64_t seed = 0;
    std::vector<std::string> violations;  ///< with the moment; none without the guard
    bool tooMuch = false;                 ///< some balance traded too much
    bool uncertain = false;  ///< what an account had was not known for a while, after a fault
    int commands = 0;
    FaultCounts faults{};
    std::map<std::string, long> endings;
    std::vector<std::string> trace;
    std::string scenario;
    std::vector<SentLine> sent;  ///< what the library sent, when a scenario is written
};

/// One day: the library between a broker and a trader, on virtual time. A crash ends the
/// library in the middle of a call; broker and trader live on.
///
/// Threads: one, with a QCoreApplication; one day at a time in a process.
class CDay final : public IRequests {
public:
    CDay(const Plan& plan, const DayOptions& options);
    ~CDay() override;

    /// Once. An exception that nobody caught is a violation.
    Outcome play();

private:
    friend class CTrader;

    // the process and its files: lab/process.cpp
    void up();
    void comeBackAfter(int seconds);
    void restart(int seconds);
    void disturb(const Step& step);
    void ask(const Step& step);
    void failDisk(const Step& step);
    void failService(const Step& step);
    void disconnect(int seconds);
    void crashAtStep(const Step& step);
    void seeCrash();
    void crash();
    void bury();
    void clearFiles();
    TC::LinkageOptions optionsOf() const;
    std::string bookText() const;
    std::vector<SentCommand> commandsOf(const std::map<int, BookEntry>& book);

    // from one date to the next: lab/rollover.cpp
    void newDate(bool another);
    void beginDate();
    void carryHistory();
    std::string statement(int account, int& rows) const;

    // what the library keeps in files: lab/saves.cpp
    using Times = std::map<std::string, std::string>;
    /// What the library has of each of the plan's rests.
    using History = std::vector<Volumes>;
    /// What the model carried, and on which date, when this was saved.
    struct Saved {
        int date = 0;
        CModel::Carried carried;
    };
    void editTimes(const Step& step);
    void failInSave(const Step& step);
    void importStatement(const Step& step);
    History history() const;
    void noteHistory(bool done);
    std::string textOf(const History& history) const;
    void checkHistory();
    void checkLoaded();

    TC::CLinkageManager& manager() const;
    bool lives() const { return m_bUp && !m_bDead && !TC::disk::crashed(); }

    // what the library asks for: lab/requests.cpp
    void onCommand(const vexservice::COrderComandParam& command,
                   const Completion& completion) override;
    void onCancelOrder(std::uint64_t key) override;
    void onTerminateTask(std::uint64_t key, const TaskCompletion& completion) override;
    void onPastAnswer(const paper::CFaults::Answer& answer);
    void askPast(int account);
    void pastDone();
    void checkPast();
    SentCommand commandOf(const vexservice::COrderComandParam& command) const;
    void asksAfterRelease();
    void noteSent(const SentCommand& sent);
    void throwCommand();
    void execute(SentCommand& sent, const Completion& completion);
    void answer(const Completion& completion, const SentCommand& sent, std::int64_t at,
                const std::string& error);
    void startTask(const Step& step);
    void endTask(std::uint64_t key, vexservice::ETaskStatus status);

    // lab/day.cpp
    void playAll();
    void hear(const OrderReport& report);
    void hear(const DealReport& report);
    void passTo(std::int64_t micros);
    void passAll();
    void rest();
    bool settle();
    void calmDown();
    void askAll(bool wholeAccounts);
    void checkOwed();
    void lookAtAllFigures();
    void checkIntegrity();
    void checkEnd();
    void checkEnd(const Pair& pair, int stock);
    std::int64_t now() const { return m_loop.nowMicros(); }
    void happens(EFault fault) { ++m_outcome.faults[static_cast<std::size_t>(fault)]; }
    bool rolls(CRandom& random, EFault fault);
    void fail(const std::string& what);
    void violate(const std::string& what);
    template <class... Arguments>
    void trace(const char* format, const Arguments&... arguments);
    void addTrace(const std::string& text);
    const std::string& accountOf(int account) const {
        return m_plan.accounts[static_cast<std::size_t>(account)];
    }

    const Plan m_plan;
    const DayOptions m_options;
    Outcome m_outcome;
    paper::CVirtualLoop m_loop;
    CAgenda m_agenda;
    CModel m_model;
    CServices m_services;
    CScenario m_scenario;
    CBroker m_broker;
    CTruth m_truth;
    CInvariants m_invariants;
    std::unique_ptr<CClient> m_pClient;

    bool m_bUp = false;
    bool m_bGone = false;  ///< released, and not started again
    bool m_bDead = false;  ///< crashed, and its calls not unwound yet
    bool m_bCalm = false;
    bool m_bDirty = false;
    int m_nLife = 0;  ///< rises with each start of the library
    int m_nDate = 0;
    std::map<std::uint64_t, DealReport> m_pastDeals;  ///< of the date before
    int m_nOffline = 0;                               ///< so many disconnections last
    int m_nCommandThrows = 0;                         ///< so many commands are still to throw
    bool m_bCancelFails = false;         ///< the next cancellation does not reach the market
    const Step* m_pSaveFault = nullptr;  ///< waits for the next save of history
    Times m_times;
    std::set<Times> m_savedTimes;  ///< what the file of balance times may hold
    std::map<History, Saved>
        m_savedHistories;         ///< what the file of what earlier days left may hold
    bool m_bCrashAtStep = false;  ///< one is set and was not met yet
    int m_nDownFor = 0;
    int m_nSerial = 0;
    int m_nNumber = 0;
    int m_nPastAnswers = 0;
    int m_nPastAsked = 0;  ///< questions for past days that are not over
    std::uint64_t m_nTasks = 500'000;
    std::map<std::uint64_t, Origin> m_tasks;
    /// Stocks of pairs of which a part of a command never showed up.
    std::set<std::pair<Pair, int>> m_halfVanished;
    const Step* m_pCrashInSend = nullptr;
    const Step* m_pCrashInCancel = nullptr;
    std::map<int, std::pair<SentCommand, Completion>> m_tooLate;  ///< by number
};

}  // namespace lab
