#include "linkage/tape/moment.h"

#include "platform/utils/clock.h"
#include "platform/utils/referencedata.h"

namespace TC {

namespace {

thread_local const Moment* t_held = nullptr;

}  // namespace

Moment Moment::ofPlatform() {
    return {utils::currentClock().nowMicros(), utils::referenceDataRevision()};
}

std::int64_t nowMicros() { return t_held ? t_held->micros : utils::currentClock().nowMicros(); }

std::uint64_t referenceRevision() {
    return t_held ? t_held->revision : utils::referenceDataRevision();
}

CHeldMoment::CHeldMoment(const Moment& moment) : m_moment(moment) { t_held = &m_moment; }
CHeldMoment::~CHeldMoment() { t_held = nullptr; }

}  // namespace TC
