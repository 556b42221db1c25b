#include "desk/chart.h"
#include "desk/rowsmodel.h"
#include "desk/style.h"

#include <QFontMetrics>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <iterator>

/// The lines through the mouse, and what stands beside them.
namespace desk {

namespace {

constexpr int BOX_PADDING = 6;
constexpr int MOUSE_DISTANCE = 12;
/// Pixels; as far as the largest dot reaches from its middle.
constexpr double DOT_REACH = 6.0;

}  // namespace

void CChart::mouseMoveEvent(QMouseEvent* event) {
    m_mouse = event->pos();
    update();
}

void CChart::leaveEvent(QEvent* event) {
    m_mouse.reset();
    update();
    QWidget::leaveEvent(event);
}

/// The deals under the mouse: those of the nearest minute whose dots reach so far.
std::vector<DealDot> CChart::dealsAt(int x) const {
    double nearest = DOT_REACH;
    std::vector<DealDot> deals;
    for (const DealDot& dot : m_pPicture->dots) {
        const double distance = std::fabs(pixel(m_price, dot.minute, dot.price).x() - x);
        const bool nearer = deals.empty() ? distance <= nearest : distance < nearest;
        if (nearer) deals.clear();
        const bool same = !deals.empty() && deals.front().minute == dot.minute;
        if (nearer || same) deals.push_back(dot);
        if (nearer) nearest = distance;
    }
    return deals;
}

/// Where the mouse is, what the curve shows there, and the deals.
QString CChart::crossText(const Pane& pane, int minute) const {
    QStringList lines;
    lines << QString("%1  %2").arg(minuteText(minute),
                                   formatted(valueAt(pane, m_mouse->y()), pane.format));
    const auto& prices = m_pPicture->prices;
    const auto& curve = m_pPicture->curve;
    const auto price = prices.upper_bound(minute);
    const auto profit = curve.upper_bound(minute);
    if (price != prices.begin() && minute <= m_pPicture->minute)
        lines << tr("Price %1").arg(formatted(std::prev(price)->second, EFormat::Price));
    if (profit != curve.begin() && minute <= m_pPicture->minute)
        lines << tr("Profit %1").arg(formatted(std::prev(profit)->second.profit, EFormat::Profit));
    for (const DealDot& dot : dealsAt(m_mouse->x())) {
        lines << QString("%1 %2 %3 × %4")
                     .arg(minuteText(dot.minute), formatted(dot.buys, EFormat::Side),
                          formatted(dot.price, EFormat::Price),
                          formatted(qlonglong(dot.volume), EFormat::Count));
    }
    return lines.join('\n');
}

void CChart::paintCross(QPainter& painter) const {
    if (!m_mouse || m_dDayWidth <= 0.0) return;
    const bool inPrice = m_price.area.contains(*m_mouse);
    if (!inPrice && !m_profit.area.contains(*m_mouse)) return;
    const Pane& pane = inPrice ? m_price : m_profit;
    const int x = m_mouse->x();
    painter.setPen(QPen(style::FAINT, 1, Qt::DashLine));
    painter.drawLine(x, m_price.area.top(), x, m_profit.area.bottom());
    painter.drawLine(pane.area.left(), m_mouse->y(), pane.area.right(), m_mouse->y());

    const double place = (x - pane.area.left()) / m_dDayWidth;
    const QString text = crossText(pane, static_cast<int>(std::lround(m_time.minuteAt(place))));
    QRect box = QFontMetrics(font()).boundingRect(QRect(0, 0, width(), height()), 0, text);
    box = box.adjusted(0, 0, 2 * BOX_PADDING, 2 * BOX_PADDING);
    // To the right of the mouse and below it, but inside the chart.
    box.moveTo(
        std::clamp(x + MOUSE_DISTANCE, 0, std::max(0, width() - box.width() - 1)),
        std::clamp(m_mouse->y() + MOUSE_DISTANCE, 0, std::max(0, height() - box.height() - 1)));
    painter.setBrush(style::RAISED);
    painter.setPen(style::EDGE);
    painter.drawRect(box);
    painter.setPen(style::TEXT);
    painter.drawText(box.adjusted(BOX_PADDING, BOX_PADDING, 0, 0), 0, text);
    painter.setBrush(Qt::NoBrush);
}

}  // namespace desk
