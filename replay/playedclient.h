#pragma once

#include "linkage/core/linkageoptions.h"
#include "paper/paperclient.h"
#include "platform/utils/clock.h"
#include "platform/utils/waits.h"
#include "replay/recordingplayer.h"
#include "replay/toldclient.h"

#include <QString>
#include <QTemporaryDir>

#include <boost/asio/io_service.hpp>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

namespace replay {

/// Time of a recording: it is where a line says, and no timer fires by itself.
class CRecordedClock final : public utils::IClock {
public:
    CRecordedClock();
    ~CRecordedClock() override;
    void set(std::int64_t micros) { m_now.store(micros); }
    std::int64_t nowMicros() const override { return m_now.load(); }
    std::shared_ptr<utils::CWaits> waits() const override { return m_pWaits; }

private:
    std::atomic<std::int64_t> m_now{0};
    const std::shared_ptr<utils::CWaits> m_pWaits = std::make_shared<utils::CWaits>();
};

/// The client of a recording that is played: its clock, its files, and services for whoever looks
/// on. The manager has its answers from the tape.
///
/// Threads: one. Failure: LineError.
class CPlayedClient {
public:
    explicit CPlayedClient(const PlayOptions& options) : m_options(options) {}

    /// The line "config": makes the client.
    void begin(const CFields& line);
    /// A line "writeFile".
    void writeFile(const CFields& line);
    /// Takes the services away; the manager must be gone.
    void end();

    bool isThere() const { return m_pPaper != nullptr; }
    CRecordedClock& clock() { return m_clock; }
    boost::asio::io_service& service() { return m_service; }
    const TC::LinkageOptions& managerOptions() const { return m_managerOptions; }
    /// What is told to those who look on; null: nobody looks on.
    CToldClient* told() { return m_told ? &*m_told : nullptr; }

private:
    const PlayOptions& m_options;
    CRecordedClock m_clock;
    boost::asio::io_service m_service;  ///< nobody runs it
    std::unique_ptr<QTemporaryDir> m_pTemporary;
    QString m_balanceDir;
    TC::LinkageOptions m_managerOptions;
    std::unique_ptr<paper::CPaperClient> m_pPaper;
    std::optional<CToldClient> m_told;
};

}  // namespace replay
