#include "replay/output.h"

#include "platform/utils/clock.h"

#include <fmt/compile.h>

#include <chrono>
#include <ctime>

namespace replay {

namespace {

constexpr std::size_t BUFFER_SIZE = 1 << 16;
constexpr std::int64_t DAY_MILLIS = 86'400'000;
/// Time zones change their offset at full quarters of an hour, so never within such a span.
constexpr std::int64_t OFFSET_MILLIS = 900'000;

}  // namespace

COutput::COutput(Sink sink) : m_sink(std::move(sink)) { m_buffer.reserve(BUFFER_SIZE * 2); }

COutput::~COutput() {
    try {
        flush();
    } catch (...) {
        // Nobody can be told here. An owner who wants to know of faults calls flush() before.
    }
}

CJsonWriter& COutput::beginLine() {
    m_writer.beginObject();
    return m_writer;
}

void COutput::endLine() {
    m_writer.endObject();
    m_buffer.push_back('\n');
    if (m_buffer.size() >= BUFFER_SIZE) flush();
}

std::string_view COutput::at() {
    const std::int64_t millis = utils::currentClock().nowMicros() / 1000;
    if (millis == m_nAtMillis) return m_at;
    m_nAtMillis = millis;
    if (millis / OFFSET_MILLIS != m_nOffsetSpan) {
        m_nOffsetSpan = millis / OFFSET_MILLIS;
        const std::time_t seconds = millis / 1000;
        std::tm local{};
        localtime_r(&seconds, &local);
        m_nOffsetMillis = local.tm_gmtoff * 1000;
    }
    const auto ofDay = std::chrono::milliseconds((millis + m_nOffsetMillis) % DAY_MILLIS);
    const std::chrono::hh_mm_ss time(ofDay);
    m_at = fmt::format(FMT_COMPILE(R"("at":"{:02}:{:02}:{:02}.{:03}")"), time.hours().count(),
                       time.minutes().count(), time.seconds().count(), time.subseconds().count());
    return m_at;
}

void COutput::flush() {
    if (m_buffer.size() == 0) return;
    m_sink(viewOf(m_buffer));
    m_buffer.clear();
}

void COutput::endAnswer() {
    m_buffer.push_back('\n');
    flush();
}

}  // namespace replay
