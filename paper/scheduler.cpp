#include "paper/scheduler.h"

#include "platform/utils/clock.h"

#include <QDateTime>

#include <algorithm>
#include <limits>

namespace paper {

namespace {

constexpr std::int64_t SECOND = 1'000'000;

constexpr std::int64_t NEVER = std::numeric_limits<std::int64_t>::max();

std::int64_t momentOf(const QDate& date, const QTime& time) {
    return QDateTime(date, time).toMSecsSinceEpoch() * 1000;
}

/// When a time of day came last and when it comes next, seen from one moment.
struct Comings {
    std::int64_t last = -NEVER;  ///< at the moment or before it; -NEVER for a text that is no time
    std::int64_t next = NEVER;   ///< after the moment; NEVER for a text that is no time
};

Comings comingsOf(const std::string& time, std::int64_t micros) {
    const QTime timeOfDay =
        QTime::fromString(QString::fromStdString(time), QStringLiteral("hhmmss"));
    if (!timeOfDay.isValid()) return {};
    const QDate today = QDateTime::fromMSecsSinceEpoch(micros / 1000).date();
    const std::int64_t moment = momentOf(today, timeOfDay);
    if (moment <= micros) return {moment, momentOf(today.addDays(1), timeOfDay)};
    return {momentOf(today.addDays(-1), timeOfDay), moment};
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
        if (comingsOf(time, toMicros).last > fromMicros) due.push_back(key);
    }
    return due;
}

std::int64_t nextDue(const CScheduler::Table& table, std::int64_t micros) {
    std::int64_t next = NEVER;
    for (const auto& [key, time] : table) next = std::min(next, comingsOf(time, micros).next);
    return next;
}

CScheduler::CScheduler(boost::asio::io_service& service, Client client)
    : m_client(std::move(client)), m_timer(service) {}

void CScheduler::start() {
    const std::lock_guard lock(m_mutex);
    m_nServedMicros = utils::currentClock().nowMicros();
    arm();
}

void CScheduler::stop() {
    const std::lock_guard lock(m_mutex);
    m_bStopped = true;
    m_timer.cancel();
}

void CScheduler::arm() {
    const std::int64_t now = utils::currentClock().nowMicros();
    m_timer.expires_from_now(boost::posix_time::microseconds(SECOND - now % SECOND));
    m_timer.async_wait([weak = weak_from_this()](const boost::system::error_code& error) {
        const auto self = weak.lock();
        if (error || !self) return;
        const std::lock_guard lock(self->m_mutex);
        if (!self->m_bStopped) self->tick();
    });
}

void CScheduler::tick() {
    const std::int64_t now = utils::currentClock().nowMicros();
    Table table = m_client.table();
    if (now >= m_nNextMicros || table != m_table) {
        serve(table, now);
        m_table = std::move(table);
        m_nNextMicros = nextDue(m_table, now);
    }
    m_nServedMicros = std::max(m_nServedMicros, now);
    arm();
}

void CScheduler::serve(const Table& table, std::int64_t now) {
    const std::vector<std::string> due = dueKeys(table, m_nServedMicros, now);
    const std::vector<std::string> accounts =
        due.empty() ? std::vector<std::string>() : m_client.accounts();
    for (const std::string& key : due) {
        std::string account;
        std::string strategy;
        if (splitBalanceKey(key, accounts, account, strategy)) m_client.balance(account, strategy);
    }
}

}  // namespace paper
