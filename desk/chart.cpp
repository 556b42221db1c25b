#include "desk/chart.h"

#include "desk/rowsmodel.h"
#include "desk/style.h"

#include <QFontMetrics>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QResizeEvent>

#include <algorithm>
#include <cmath>
#include <utility>

namespace desk {

namespace {

constexpr int MARGIN = 8;
constexpr int PRICE_LINES = 8;
constexpr int PROFIT_LINES = 4;
constexpr double FINEST_MONEY = 1.0;

}  // namespace

void CChart::show(std::shared_ptr<const Picture> picture) {
    m_pPicture = std::move(picture);
    m_bStale = true;
    update();
}

void CChart::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    m_bStale = true;
}

/// Axes and panes from what is to be shown.
void CChart::layOut() {
    const Picture& picture = *m_pPicture;
    int first = 24 * 60, last = 0;
    const auto stretch = [&](int minute) {
        first = std::min(first, minute);
        last = std::max(last, minute);
    };
    double low = picture.referencePrice > 0 ? picture.referencePrice : 1e300;
    double high = picture.referencePrice > 0 ? picture.referencePrice : -1e300;
    for (const auto& [minute, price] : picture.prices) {
        stretch(minute);
        low = std::min(low, price);
        high = std::max(high, price);
    }
    for (const DealDot& dot : picture.dots) {
        stretch(dot.minute);
        low = std::min(low, dot.price);
        high = std::max(high, dot.price);
    }
    double least = 0.0, most = 0.0;
    for (const auto& [minute, point] : picture.curve) {
        stretch(minute);
        least = std::min(least, point.profit);
        most = std::max(most, point.profit);
    }
    if (low > high) low = 0.0, high = 1.0;
    m_time = CTimeAxis(first, last);
    m_price.values = ValueAxis::over(low, high, PRICE_LINES, std::max(picture.tick, 0.001));
    m_profit.values = ValueAxis::over(least, most, PROFIT_LINES, FINEST_MONEY);

    const QFontMetrics metrics(font());
    const int line = metrics.height() + 6;
    int labels = 0;
    for (const Pane* pane : {&m_price, &m_profit}) {
        for (const double value : pane->values.marks())
            labels = std::max(labels, metrics.horizontalAdvance(formatted(value, EFormat::Money)));
    }
    const QRect inner = rect().adjusted(MARGIN, 0, -MARGIN - labels - 6, -line);
    const int upper = (inner.height() - 2 * line) * 62 / 100;
    m_price.area = QRect(inner.left(), inner.top() + line, inner.width(), upper);
    const int top = m_price.area.bottom() + line;
    m_profit.area = QRect(inner.left(), top, inner.width(), inner.bottom() - top);
}

QPointF CChart::pixel(const Pane& pane, double minute, double value) const {
    return {pane.area.left() + m_time.place(minute) * pane.area.width(),
            pane.area.bottom() - pane.values.place(value) * pane.area.height()};
}

void CChart::paintPane(QPainter& painter, const Pane& pane, const QString& title,
                       int decimals) const {
    const QFontMetrics metrics(font());
    painter.setPen(style::FAINT);
    painter.drawText(pane.area.left(), pane.area.top() - metrics.descent() - 3, title);
    for (const double value : pane.values.marks()) {
        const int y = static_cast<int>(pixel(pane, 0, value).y());
        painter.setPen(style::EDGE);
        painter.drawLine(pane.area.left(), y, pane.area.right(), y);
        painter.setPen(style::FAINT);
        const QString text = decimals == 0 ? formatted(std::llround(value), EFormat::Count)
                                           : formatted(value, EFormat::Price);
        painter.drawText(pane.area.right() + 6, y + metrics.ascent() / 2 - 1, text);
    }
    const int widest = metrics.horizontalAdvance("00:00") + 16;
    for (const int minute : m_time.marks(std::max(2, pane.area.width() / widest))) {
        const int x = static_cast<int>(pixel(pane, minute, 0).x());
        painter.setPen(QPen(style::EDGE, 1, Qt::DotLine));
        painter.drawLine(x, pane.area.top(), x, pane.area.bottom());
        if (&pane != &m_profit) continue;
        const QString text = minuteText(minute);
        const int width = metrics.horizontalAdvance(text);
        const int left = std::clamp(x - width / 2, 0, this->width() - width);
        painter.setPen(style::FAINT);
        painter.drawText(left, pane.area.bottom() + metrics.ascent() + 4, text);
    }
}

void CChart::paintCurve(QPainter& painter, const Pane& pane, const std::vector<QPointF>& points,
                        QColor colour, bool filled) const {
    if (points.empty()) return;
    QPainterPath path(points.front());
    for (const QPointF& point : points) path.lineTo(point);
    painter.save();
    painter.setClipRect(pane.area.adjusted(0, 0, 1, 1));
    painter.setRenderHint(QPainter::Antialiasing);
    if (filled) {
        const double zero = pixel(pane, 0, 0.0).y();
        QPainterPath area = path;
        area.lineTo(points.back().x(), zero);
        area.lineTo(points.front().x(), zero);
        colour.setAlpha(50);
        painter.fillPath(area, colour);
        colour.setAlpha(255);
    }
    painter.setPen(QPen(colour, 1.6));
    painter.drawPath(path);
    painter.restore();
}

void CChart::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), style::PANEL);
    if (!m_pPicture) return;
    if (m_bStale) {
        layOut();
        fileMarks();
        m_bStale = false;
    }
    paintPane(painter, m_price, priceTitle(), 2);
    paintPane(painter, m_profit, profitTitle(), 0);

    paintCurve(painter, m_price, pricePoints(), style::ACCENT, false);
    std::vector<QPointF> points;
    for (const auto& [minute, point] : m_pPicture->curve)
        points.push_back(pixel(m_profit, minute, point.profit));
    const bool gains = m_pPicture->curve.empty() || m_pPicture->curve.rbegin()->second.profit >= 0;
    paintCurve(painter, m_profit, points, gains ? style::RISE : style::FALL, true);

    paintMarks(painter, 0, m_price);
    paintMarks(painter, 1, m_profit);
}

/// A price holds until the next one, the last one until now.
std::vector<QPointF> CChart::pricePoints() const {
    std::vector<QPointF> points;
    std::pair<int, double> last(-1, 0.0);
    const auto holdUntil = [&](int minute) {
        if (last.first >= 0 && minute > last.first)
            points.push_back(pixel(m_price, minute, last.second));
    };
    for (const auto& noted : m_pPicture->prices) {
        holdUntil(noted.first - 1);
        points.push_back(pixel(m_price, noted.first, noted.second));
        last = noted;
    }
    holdUntil(m_pPicture->minute);
    return points;
}

QString CChart::priceTitle() const {
    const Selection& chosen = m_pPicture->selection;
    if (chosen.stock.empty()) return tr("Price: choose a stock");
    QString name;
    for (const StockRow& row : m_pPicture->stocks) {
        if (row.stock == chosen.stock) name = QString::fromStdString(row.name);
    }
    return tr("Price of %1 %2, with the deals and resting orders of the strategy")
        .arg(QString::fromStdString(chosen.stock), name)
        .replace(" ,", ",");
}

QString CChart::profitTitle() const {
    const Selection& chosen = m_pPicture->selection;
    if (chosen.account.empty()) return tr("Profit: choose a strategy");
    const QString strategy =
        chosen.strategy.empty() ? tr("all strategies") : QString::fromStdString(chosen.strategy);
    return tr("Profit of %1 / %2 over the day (yuan)")
        .arg(QString::fromStdString(chosen.account), strategy);
}

}  // namespace desk
