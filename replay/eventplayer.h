#pragma once

#include "paper/loop.h"
#include "paper/paperclient.h"
#include "replay/event.h"
#include "replay/observers.h"

#include <functional>
#include <memory>
#include <string>

namespace replay {

/// The name of the `number`-th file: FILE, FILE.2, FILE.3 ...
inline std::string numberedName(const std::string& name, std::size_t number) {
    return number == 1 ? name : name + "." + std::to_string(number);
}

/// Carries events out on a paper client and the manager.
///
/// Threads: the loop's. Failure: an event that cannot be carried out throws LineError and has
/// changed nothing, except that a file may be left that could not be written whole.
class CEventPlayer {
public:
    /// `balanceDir`: where the library keeps its files.
    /// `options`: what every manager is given when it is made.
    /// `record`: the file into which each manager is recorded; empty: none. `recordFrom`: how many
    /// events are played before. `managerMade` sees each manager before it begins; empty: nobody.
    CEventPlayer(const paper::ClientConfig& config, const TC::LinkageOptions& options,
                 paper::CPaperClient& client, paper::CVirtualLoop& loop, COutput& output,
                 QString balanceDir, std::string record, std::size_t recordFrom,
                 std::function<void(TC::CLinkageManager&)> managerMade);
    /// Takes the manager down, silently.
    ~CEventPlayer();

    /// Plays any event but a config, which makes the client in the first place. The loop runs what
    /// the event queues.
    void play(const Event& event);

    /// The moment at which an `advance` ends, in microseconds since the epoch. A program
    /// that shows time passing goes there in steps of its own instead of playing it.
    std::int64_t target(const AdvanceEvent& event) const;

private:
    void on(const ConfigEvent& event);
    void on(const InstrumentEvent& event);
    void on(const AccountEvent& event);
    void on(const TradeSettingEvent& event);
    void on(const CreateEvent& event);
    void on(const InitEvent& event);
    void on(const ReleaseEvent& event);
    void on(const OrderEvent& event);
    void on(const DealEvent& event);
    void on(const TaskEvent& event);
    void on(const PositionEvent& event);
    void on(const PriceEvent& event);
    void on(const BarsEvent& event);
    void on(const ServerHistoryEvent& event);
    void on(const AdvanceEvent& event);
    void on(const NewTradingDateEvent& event);
    void on(const LoginEvent& event);
    void on(const AccountReadyEvent& event);
    void on(const UserDataChangedEvent& event);
    void on(const SendEvent& event);
    void on(const StartTaskEvent& event);
    void on(const CommandResultEvent& event);
    void on(const RejectEvent& event);
    void on(const SilentEvent& event);
    void on(const FaultEvent& event);
    void on(const DiskEvent& event);
    void on(const CrashEvent& event);
    void on(const CallEvent& event);
    void on(const FileEvent& event);
    void on(const WriteFileEvent& event);
    void on(const DumpEvent& event);

    /// The account's info record, which may be empty. Throws LineError when there is no such
    /// account.
    boost::shared_ptr<vexservice::CAccountInfo> needAccount(const std::string& account) const;
    void needPaperExchange(std::string_view event) const;
    TC::CLinkageManager& needManager(std::string_view event) const;
    TC::CLinkageManager& takeManager();
    void startRecording(TC::CLinkageManager& manager);
    QString pathOf(const std::string& name) const;

    const paper::ClientConfig m_config;
    const TC::LinkageOptions m_options;
    paper::CPaperClient& m_client;
    paper::CVirtualLoop& m_loop;
    COutput& m_output;
    const QString m_balanceDir;
    const std::string m_record;
    const std::size_t m_nRecordFrom;
    std::size_t m_nPlayed = 0;  ///< events
    bool m_bRecorded = false;   ///< the manager that is there
    const std::function<void(TC::CLinkageManager&)> m_managerMade;
    int m_nRecorded = 0;
    std::unique_ptr<CSignalObserver> m_pSignals;
    TextBuffer m_result;
};

}  // namespace replay
