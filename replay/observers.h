#pragma once

#include "linkage/core/clinkagemanager.h"
#include "paper/clientobserver.h"
#include "replay/output.h"

#include <boost/signals2/connection.hpp>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// Observers that write what the library does as output lines.
namespace replay {

/// The requests that reach the client.
class CRequestObserver final : public paper::IClientObserver {
public:
    /// `numbers`: commands are written with their numbers.
    CRequestObserver(COutput& output, bool numbers) : m_output(output), m_bNumbers(numbers) {}

    void onCancelOrder(const vexservice::COrderDetail& order) override;
    void onOperateTask(std::uint64_t taskKey, bool server,
                       const vexservice::CTaskOpRecord& record) override;
    void onCommand(const vexservice::COrderComandParam& command, int number) override;

private:
    COutput& m_output;
    const bool m_bNumbers;
};

/// The signals of one manager, from its making until this object goes.
class CSignalObserver : public QObject {
public:
    CSignalObserver(TC::CLinkageManager& manager, COutput& output);

private:
    /// The name of a signal as JSON. It is made once for each signal, because most output lines are
    /// signals.
    static std::string nameOf(std::string_view signal);
    template <class Args>
    void line(const std::string& name, const Args& args);
    void plain(boost::signals2::signal<void()>& signal, std::string_view name);
    void connectQtSignals(TC::CLinkageManager& manager);

    COutput& m_output;
    std::vector<boost::signals2::scoped_connection> m_connections;
};

/// The log of the library, diverted while this object lives. Lines of other threads are
/// kept until the owner collects them, so that their place in the output is certain.
class CLogObserver {
public:
    /// `output` null: the log goes nowhere.
    explicit CLogObserver(COutput* output);
    ~CLogObserver();
    CLogObserver(const CLogObserver&) = delete;
    CLogObserver& operator=(const CLogObserver&) = delete;

    void collect();
    /// While muted, lines are dropped.
    void mute(bool muted) { m_bMuted = muted; }

private:
    void line(std::string_view message);

    COutput* m_output;
    std::atomic<bool> m_bMuted{false};
    const std::thread::id m_owner = std::this_thread::get_id();
    std::mutex m_mutex;
    std::vector<std::string> m_foreign;
};

}  // namespace replay
