#pragma once

#include "desk/pastday.h"
#include "desk/picture.h"
#include "desk/recorder.h"
#include "linkage/balance/balanceplan.h"
#include "linkage/store/importreport.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace desk {

class CEngine;

/// What a balance would do now.
struct PlanPreview {
    TC::BalancePlan plan;
    int runningOrders = 0;  ///< of the pair; they and its tasks are cancelled first
    int runningTasks = 0;
    std::map<std::string, double> lastPrices;  ///< yuan, of the plan's stocks, where known
    std::map<std::string, std::string> names;  ///< of the plan's stocks, where known
};

/// A statement file and what the user has decided of it.
struct ImportFile {
    QString path;
    TC::ImportTerms terms;
};

/// What became of statement files, or would become of them, in their order.
struct ImportAnswer {
    std::vector<TC::ImportReport> reports;
    std::vector<std::string> accounts;  ///< keys of the accounts that are followed
};

/// What the user can ask of the library. Each call returns at once; the work is done on
/// the engine's thread, the answer comes on the window's. Without a manager nothing is
/// done; imports are then answered by refusals, past days as empty ones.
///
/// Threads: the window's.
class CActions {
public:
    explicit CActions(CEngine& engine) : m_engine(engine) {}

    /// False while a recording is shown: it shows what was. What sends, deletes, files or changes
    /// then does nothing and gives no answer.
    bool mayCommand() const;

    using PlanAnswer = std::function<void(const PlanPreview&)>;
    /// What a balance of the pair, or of its history, would send now.
    void preview(const Selection& pair, bool history, PlanAnswer answer);
    /// Asks for a balance; the answer is false when one is pending already.
    void balance(const Selection& pair, std::function<void(bool)> answer);
    void balanceHistory(const Selection& pair);

    /// Asks for the cancellation of an order. The answer is empty, or why it was not asked for.
    void cancelOrder(const std::string& account, std::uint64_t key,
                     std::function<void(const QString&)> answer);
    /// The same for all running orders of a pair.
    void cancelAllOrders(const Selection& pair);

    /// `time` is "hhmmss".
    void setBalanceTime(const std::string& key, const std::string& time);
    void deleteBalanceTime(const std::string& key);

    /// Carries today's unequal stocks of a pair into the history store; the answer is
    /// false when that was done today already.
    void carryOver(const Selection& pair, std::function<void(bool)> answer);
    void deleteHistoryStock(const std::string& historyKey, const std::string& stock);
    void deleteBalancedHistory();
    void deleteAllHistory();

    using ImportAnswered = std::function<void(const ImportAnswer&)>;
    /// What an import of each file would do now. It does not see the files before it.
    void previewImport(const std::vector<ImportFile>& files, ImportAnswered answer);
    /// Imports the files one after another.
    void import(const std::vector<ImportFile>& files, ImportAnswered answer);
    /// Takes imports back, the newest first; the answer is how many there were to take back.
    void undoImports(std::vector<int> numbers, std::function<void(int)> answer);

    /// What is filed under a past day; the answer has the day as it is then.
    void readPastDay(const std::string& account, const std::string& date,
                     std::function<void(const PastDay&)> answer);
    /// Asks the trading server for the deals and orders of a day ("yyyyMMdd").
    void askPastDay(const std::string& account, const std::string& date);

    /// How sessions are recorded from the next one on.
    void setRecording(const RecordTerms& terms);
    /// Records this session; the answer is false when it cannot be recorded by now.
    void recordNow(std::function<void(bool)> answer);
    void stopRecording();

private:
    /// Posts a job that changes something.
    template <class Job>
    void command(Job job);

    CEngine& m_engine;
};

/// Says that nothing can be sent, and why.
QString noCommandText();

/// Key of a pair in the balance-time table.
std::string balanceKey(const std::string& account, const std::string& strategy);

}  // namespace desk
