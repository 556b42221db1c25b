#include "desk/axes.h"

#include <algorithm>
#include <cmath>

namespace desk {

namespace {

// The session: opening auction, morning, lunch, afternoon.
constexpr int OPEN = 9 * 60 + 15;
constexpr int LUNCH = 11 * 60 + 30;
constexpr int RESUME = 13 * 60;
constexpr int CLOSE = 15 * 60;

}  // namespace

CTimeAxis::CTimeAxis(int first, int last)
    : m_bSession(first > last || (first <= CLOSE && last >= OPEN)), m_nFirst(OPEN), m_nLast(CLOSE) {
    if (m_bSession) return;
    m_nFirst = first / 30 * 30;
    m_nLast = std::max(m_nFirst + 60, (last + 30) / 30 * 30);
}

double CTimeAxis::offset(double minute) const {
    const double inside = std::clamp<double>(minute, m_nFirst, m_nLast) - m_nFirst;
    if (!m_bSession) return inside;
    const double lunch = std::clamp<double>(minute, LUNCH, RESUME) - LUNCH;
    return inside - lunch;
}

double CTimeAxis::place(double minute) const { return offset(minute) / offset(m_nLast); }

double CTimeAxis::minuteAt(double place) const {
    const double minute = m_nFirst + std::clamp(place, 0.0, 1.0) * offset(m_nLast);
    return m_bSession && minute >= LUNCH ? minute + (RESUME - LUNCH) : minute;
}

std::vector<int> CTimeAxis::marks(int most) const {
    for (const int every : {30, 60, 120, 240}) {
        std::vector<int> marks;
        for (int minute = (m_nFirst + every - 1) / every * every; minute <= m_nLast;
             minute += every) {
            // When the lunch break takes no room, only its beginning is marked.
            if (!m_bSession || minute <= LUNCH || minute > RESUME) marks.push_back(minute);
        }
        if (static_cast<int>(marks.size()) <= most) return marks;
    }
    return {};
}

ValueAxis ValueAxis::over(double least, double most, int lines, double finest) {
    const double room = std::max((most - least) * 0.06, finest);
    ValueAxis axis;
    axis.low = least - room;
    axis.high = most + room;
    const double rough = (axis.high - axis.low) / std::max(1, lines);
    const double decade = std::pow(10.0, std::floor(std::log10(rough)));
    axis.step = 10.0 * decade;
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * decade >= rough) {
            axis.step = factor * decade;
            break;
        }
    }
    axis.step = std::max(axis.step, finest);
    return axis;
}

std::vector<double> ValueAxis::marks() const {
    std::vector<double> marks;
    const auto last = static_cast<long long>(std::floor(high / step));
    for (auto i = static_cast<long long>(std::ceil(low / step)); i <= last; ++i)
        marks.push_back(static_cast<double>(i) * step);
    return marks;
}

QString minuteText(int minute) {
    return QString("%1:%2").arg(minute / 60, 2, 10, QChar('0')).arg(minute % 60, 2, 10, QChar('0'));
}

}  // namespace desk
