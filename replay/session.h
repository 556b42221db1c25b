#pragma once

#include "paper/paperclient.h"
#include "replay/eventplayer.h"
#include "replay/output.h"

#include <QString>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace replay {

struct SessionOptions {
    QString dataDir;  ///< empty: a temporary one, removed with the session
    bool log = true;  ///< log lines are part of the output
    /// Sees the requests that reach the client, after they were written out.
    paper::IClientObserver* requests = nullptr;
    std::string record;  ///< file of a recording of each manager; empty: none
    /// The recording begins in the middle: when so many events were played, and there is a manager.
    std::size_t recordFrom = 0;
    /// Sees each manager before it begins.
    std::function<void(TC::CLinkageManager&)> managerMade{};
};

/// One scenario. From its config on it has a client and a clock of its own, and a manager of its
/// own when it asks for one.
///
/// Threads: one, with a QCoreApplication; one session at a time.
class CSession {
public:
    CSession(SessionOptions options, COutput& output);
    /// Takes manager, client and time down.
    ~CSession();
    CSession(const CSession&) = delete;
    CSession& operator=(const CSession&) = delete;

    /// Plays one event and everything that it queues. Throws LineError.
    ///
    /// Reports of orders and deals in a row are handed over together, because coming to rest costs
    /// more than a report. This needs an exchange that only records, and no guard: then nothing
    /// that one report causes can reach the next. Whoever looks at the manager calls rest() first.
    void play(const Event& event);
    void rest();

    /// Moves the clock in one step of its own: see CEventPlayer::target.
    void advanceTo(std::int64_t micros);

    bool started() const { return m_pPlayer != nullptr; }
    // only after the config was played:
    paper::CVirtualLoop& loop() { return *m_pLoop; }
    paper::CPaperClient& client() { return *m_pClient; }
    CEventPlayer& player() { return *m_pPlayer; }

    /// Name and text of each file that the library keeps, by name.
    std::vector<std::pair<std::string, std::string>> balanceFiles() const;

private:
    class CRequests;

    void start(const ConfigEvent& event);
    bool settle();
    bool joins(const Event& event) const;

    const SessionOptions m_options;
    COutput& m_output;
    std::unique_ptr<QTemporaryDir> m_pTemporary;
    QString m_balanceDir;
    std::unique_ptr<CLogObserver> m_pLog;
    std::unique_ptr<paper::CVirtualLoop> m_pLoop;
    std::unique_ptr<CRequests> m_pRequests;
    std::unique_ptr<paper::CPaperClient> m_pClient;
    std::unique_ptr<CEventPlayer> m_pPlayer;
    int m_nWaiting = 0;  ///< reports handed over since the last rest
    bool m_bGuard = false;
};

}  // namespace replay
