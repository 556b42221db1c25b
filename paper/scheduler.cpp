#include "paper/scheduler.h"

#include <QDateTime>

#include <algorithm>
#include <limits>

namespace paper {

namespace {

constexpr std::int64_t SECOND = 1'000'000;

/// The last moment of this time of day that is not after `micros`; before all time for
/// a text that is no time.
std::int64_t lastComing(const std::string& time, std::int64_t micros) {
    const QTime timeOfDay =
        QTime::fromString(QString::fromStdString(time), QStringLiteral("hhmmss"));
    if (!timeOfDay.isValid()) return std::numeric_limits<std::int64_t>::min();
    const QDate today = QDateTime::fromMSecsSinceEpoch(micros / 1000).date();
    const auto on = [&](const QDate& date) {
        return QDateTime(date, timeOfDay).toMSecsSinceEpoch() * 1000;
    };
    return on(today) <= micros ? on(today) : on(today.addDays(-1));
}

}  // namespace

bool splitBalanceKey(const std::string& key, const std::vector<std::string>& accounts,
                     std::string& account, std::string& strategy) {
    const std::string* longest = nullptr;
    for (const std::string& candidate : accounts) {
        const bool fits = key.size() > candidate.size() && key[candidate.size()] == ':' &&
                          key.compare(0, candidate.size(), candidate) == 0;
        if (fits && (!longest || candidate.size() > longest->size())) longest = &candidate;
    }
    if (!longest) return false;
    account = *longest;
    strategy = key.substr(longest->size() + 1);
    return true;
}

std::vector<std::string> dueKeys(const CScheduler::Table& table, std::int64_t fromMicros,
                                 std::int64_t toMicros) {
    std::vector<std::string> due;
    for (const auto& [key, time] : table) {
        if (lastComing(time, toMicros) > fromMicros) due.push_back(key);
    }
    return due;
}

CScheduler::CScheduler(boost::asio::io_service& service, Client client)
    : m_client(std::move(client)), m_timer(service) {}

void CScheduler::start() {
    m_nServedMicros = utils::currentClock().nowMicros();
    arm();
}

void CScheduler::stop() { m_bStopped = true; }

void CScheduler::arm() {
    const std::int64_t now = utils::currentClock().nowMicros();
    m_timer.expires_from_now(boost::posix_time::microseconds(SECOND - now % SECOND));
    m_timer.async_wait([weak = weak_from_this()](const boost::system::error_code& error) {
        const auto self = weak.lock();
        if (!error && self && !self->m_bStopped) self->tick();
    });
}

void CScheduler::tick() {
    const std::int64_t now = utils::currentClock().nowMicros();
    const std::vector<std::string> due = dueKeys(m_client.table(), m_nServedMicros, now);
    m_nServedMicros = std::max(m_nServedMicros, now);
    const std::vector<std::string> accounts =
        due.empty() ? std::vector<std::string>() : m_client.accounts();
    for (const std::string& key : due) {
        std::string account;
        std::string strategy;
        if (splitBalanceKey(key, accounts, account, strategy)) m_client.balance(account, strategy);
    }
    arm();
}

}  // namespace paper
