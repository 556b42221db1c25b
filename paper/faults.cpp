#include "paper/faults.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <utility>

namespace paper {

namespace {

constexpr std::array<std::string_view, SERVICE_COUNT> SERVICES = {
    "feeLimits",     "quote",       "instrument", "accountData",
    "commandCenter", "tradeClient", "history",    "calendar"};
constexpr std::array<std::string_view, 4> FAULTS = {"", "throw", "null", "lost"};

template <class Value, class Names>
std::optional<Value> named(const Names& names, std::string_view name) {
    const auto at = std::find(names.begin(), names.end(), name);
    if (name.empty() || at == names.end()) return std::nullopt;
    return static_cast<Value>(at - names.begin());
}

}  // namespace

std::optional<EService> serviceNamed(std::string_view name) {
    return named<EService>(SERVICES, name);
}

std::optional<EFault> faultNamed(std::string_view name) { return named<EFault>(FAULTS, name); }

std::string_view nameOf(EService service) { return SERVICES[static_cast<std::size_t>(service)]; }
std::string_view nameOf(EFault fault) { return FAULTS[static_cast<std::size_t>(fault)]; }

void CFaults::set(EService service, EFault fault, int times) {
    const std::lock_guard lock(m_mutex);
    m_left[static_cast<std::size_t>(service)] = {fault, times};
    m_bAny.store(true, std::memory_order_relaxed);
}

void CFaults::watch(Watch watch) {
    m_watch = std::move(watch);
    m_bAny.store(true, std::memory_order_relaxed);
}

void CFaults::answerThrough(std::function<void(Answer answer)> through) {
    m_through = std::move(through);
}

void CFaults::answer(boost::asio::io_service& loop, Answer answer) const {
    if (m_through) {
        m_through(std::move(answer));
    } else {
        boost::asio::post(loop, std::move(answer));
    }
}

EFault CFaults::next(EService service, std::string_view what) {
    if (!m_bAny.load(std::memory_order_relaxed)) return EFault::None;
    EFault fault = EFault::None;
    {
        const std::lock_guard lock(m_mutex);
        Left& left = m_left[static_cast<std::size_t>(service)];
        if (left.times > 0) {
            --left.times;
            fault = left.fault;
        }
    }
    if (m_watch) m_watch(service, fault, what);
    if (fault != EFault::Throw) return fault;
    throw ServiceFault("the service " + std::string(nameOf(service)) + " failed");
}

}  // namespace paper
