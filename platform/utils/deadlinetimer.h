#pragma once

#include "platform/utils/clock.h"

#include <utility>

#include <boost/asio/basic_deadline_timer.hpp>
#include <boost/asio/io_service.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <atomic>
#include <cstdint>

/// asio deadline timers on the platform's clock.
namespace utils {

/// A moment and the order in which it was asked for: timers that are due at the
/// same moment fire in the order in which they were armed.
struct TimePoint {
    std::int64_t micros = 0;
    std::uint64_t order = 0;
};

struct PLATFORM_EXPORT ClockTimeTraits {
    using time_type = TimePoint;
    using duration_type = boost::posix_time::time_duration;

    static time_type now();
    static time_type add(const time_type& time, const duration_type& duration);
    static duration_type subtract(const time_type& left, const time_type& right);
    static bool less_than(const time_type& left, const time_type& right) {
        return left.micros != right.micros ? left.micros < right.micros : left.order < right.order;
    }

    /// How long the reactor may sleep. While the clock is virtual, machine time says
    /// nothing about what is due: a timer that is due wakes the reactor at once, others
    /// wait until the owner of the clock has moved it and arms a timer that is due.
    static boost::posix_time::time_duration to_posix_duration(const duration_type& duration);
};

using DeadlineTimer = boost::asio::basic_deadline_timer<TimePoint, ClockTimeTraits>;

}  // namespace utils
