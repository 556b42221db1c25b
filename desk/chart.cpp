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
constexpr double FINEST_PRICE = 0.001;
constexpr double FINEST_MONEY = 1.0;
constexpr std::size_t MOST_ORDER_LINES = 8;
/// Pixels between a label and the last point, which may have a dot around it.
constexpr int LABEL_DISTANCE = 10;
constexpr int FILL_ALPHA = 50;
constexpr double POINT_RADIUS = 2.5;

/// Adds a point to a curve. Of minutes that stand at one place, as those before the open, the last
/// one counts.
void addTo(std::vector<QPointF>& points, const QPointF& point) {
    if (!points.empty() && points.back().x() == point.x()) points.pop_back();
    points.push_back(point);
}

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
    m_resting = restingLevels(picture.orders, marketPrice(picture), MOST_ORDER_LINES);
    const ChartRange range = chartRange(picture, m_resting);
    // Prices alone, as before the open, do not say that the day is traded at another time.
    const bool idle = picture.dots.empty() && picture.curve.empty();
    m_time = idle ? CTimeAxis() : CTimeAxis(range.first, range.last);
    m_price.values =
        ValueAxis::over(range.low, range.high, PRICE_LINES, std::max(picture.tick, FINEST_PRICE));
    m_profit.values = ValueAxis::over(range.least, range.most, PROFIT_LINES, FINEST_MONEY);
    m_price.format = EFormat::Price;
    m_profit.format = EFormat::Yuan;

    const QFontMetrics metrics(font());
    const int line = metrics.height() + 6;
    int numbers = 0;
    for (const Pane* pane : {&m_price, &m_profit}) {
        for (const double value : pane->values.marks())
            numbers = std::max(numbers, metrics.horizontalAdvance(formatted(value, pane->format)));
    }
    const QRect inner = rect().adjusted(MARGIN, 0, -MARGIN - numbers - 6, -line);
    const int upper = (inner.height() - 2 * line) * 62 / 100;
    m_price.area = QRect(inner.left(), inner.top() + line, inner.width(), upper);
    const int top = m_price.area.bottom() + line;
    m_profit.area = QRect(inner.left(), top, inner.width(), inner.bottom() - top);
    makeRoomForLabels(std::max(range.last, picture.prices.empty() ? 0 : picture.minute));
}

/// Labels stand to the right of what is drawn up to `last`. Where the rest of the day is too
/// narrow for them, the time axis gives up some width.
void CChart::makeRoomForLabels(int last) {
    m_dDayWidth = m_price.area.width();
    const double needed = widestLabel() + LABEL_DISTANCE;
    const double place = m_time.place(last);
    if (needed > m_dDayWidth / 2 || place <= 0.0) return;
    m_dDayWidth = std::min(m_dDayWidth, (m_dDayWidth - needed) / place);
}

QPointF CChart::pixel(const Pane& pane, double minute, double value) const {
    return {pane.area.left() + m_time.place(minute) * m_dDayWidth,
            pane.area.bottom() - pane.values.place(value) * pane.area.height()};
}

double CChart::valueAt(const Pane& pane, double y) const {
    const ValueAxis& axis = pane.values;
    return axis.low + (pane.area.bottom() - y) / pane.area.height() * (axis.high - axis.low);
}

void CChart::paintPane(QPainter& painter, const Pane& pane, const QString& title,
                       const QString& lack) const {
    const QFontMetrics metrics(font());
    painter.setPen(style::FAINT);
    painter.drawText(pane.area.left(), pane.area.top() - metrics.descent() - 3, title);
    if (!lack.isEmpty()) {
        painter.drawText(pane.area, Qt::AlignCenter, lack);
        return paintMinutes(painter, pane);
    }
    for (const double value : pane.values.marks()) {
        const int y = static_cast<int>(pixel(pane, 0, value).y());
        painter.setPen(style::EDGE);
        painter.drawLine(pane.area.left(), y, pane.area.right(), y);
        painter.setPen(style::FAINT);
        painter.drawText(pane.area.right() + 6, y + metrics.ascent() / 2 - 1,
                         formatted(value, pane.format));
    }
    paintMinutes(painter, pane);
}

/// Both panes show the lines of the time axis; only the lower pane shows the times.
void CChart::paintMinutes(QPainter& painter, const Pane& pane) const {
    const QFontMetrics metrics(font());
    const int widest = metrics.horizontalAdvance("00:00") + 16;
    for (const int minute : m_time.marks(std::max(2, static_cast<int>(m_dDayWidth) / widest))) {
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

void CChart::paintCurve(QPainter& painter, const QRect& clip, const std::vector<QPointF>& points,
                        QColor colour, std::optional<double> ground) const {
    if (points.empty()) return;
    QPainterPath path(points.front());
    for (const QPointF& point : points) path.lineTo(point);
    painter.save();
    painter.setClipRect(clip);
    painter.setRenderHint(QPainter::Antialiasing);
    if (ground) {
        QPainterPath area = path;
        area.lineTo(points.back().x(), *ground);
        area.lineTo(points.front().x(), *ground);
        QColor fill = colour;
        fill.setAlpha(FILL_ALPHA);
        painter.fillPath(area, fill);
    }
    painter.setPen(QPen(colour, 1.6));
    painter.drawPath(path);
    if (points.size() == 1) {  // a day that has just begun
        painter.setBrush(colour);
        painter.drawEllipse(points.front(), POINT_RADIUS, POINT_RADIUS);
    }
    painter.restore();
}

/// Gains stand red above the line of zero, losses green below it.
void CChart::paintProfit(QPainter& painter) const {
    std::vector<QPointF> points;
    for (const auto& [minute, point] : m_pPicture->curve)
        addTo(points, pixel(m_profit, minute, point.profit));
    const double zero = pixel(m_profit, 0, 0.0).y();
    QRect gains = m_profit.area.adjusted(0, 0, 1, 1);
    QRect losses = gains;
    gains.setBottom(static_cast<int>(zero));
    losses.setTop(static_cast<int>(zero) + 1);
    paintCurve(painter, gains, points, style::RISE, zero);
    paintCurve(painter, losses, points, style::FALL, zero);
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
    paintPane(painter, m_price, priceTitle(), priceLack());
    paintPane(painter, m_profit, profitTitle(), profitLack());
    paintCurve(painter, m_price.area.adjusted(0, 0, 1, 1), pricePoints(), style::ACCENT, {});
    paintProfit(painter);
    if (priceLack().isEmpty()) paintOrders(painter);
    paintMarks(painter, 0, m_price);
    paintMarks(painter, 1, m_profit);
    paintCross(painter);
}

/// A price holds until the next one, the last one until now.
std::vector<QPointF> CChart::pricePoints() const {
    std::vector<QPointF> points;
    std::pair<int, double> last(-1, 0.0);
    const auto holdUntil = [&](int minute) {
        if (last.first >= 0 && minute > last.first)
            addTo(points, pixel(m_price, minute, last.second));
    };
    for (const auto& noted : m_pPicture->prices) {
        holdUntil(noted.first - 1);
        addTo(points, pixel(m_price, noted.first, noted.second));
        last = noted;
    }
    holdUntil(m_pPicture->minute);
    return points;
}

QString CChart::priceTitle() const {
    const Selection& chosen = m_pPicture->selection;
    if (chosen.stock.empty()) return tr("Price");
    QString name;
    for (const StockRow& row : m_pPicture->stocks) {
        if (row.stock == chosen.stock) name = QString::fromStdString(row.name);
    }
    const QString stock = QString("%1 %2").arg(QString::fromStdString(chosen.stock), name);
    const QString whole =
        tr("Price of %1 (yuan), with the deals and resting orders of the strategy");
    const QFontMetrics metrics(font());
    // Where the pane is too narrow, the count of levels is what must stay.
    for (const QString& text : {whole, tr("Price of %1 (yuan)")}) {
        QString title = text.arg(stock.trimmed());
        if (m_nUnlabelled > 0)
            title = tr("%1; %2 price levels have no label").arg(title).arg(m_nUnlabelled);
        if (m_price.area.left() + metrics.horizontalAdvance(title) <= width() || text != whole)
            return title;
    }
    return {};
}

QString CChart::profitTitle() const {
    const Selection& chosen = m_pPicture->selection;
    if (chosen.account.empty()) return tr("Profit");
    const QString strategy =
        chosen.strategy.empty() ? tr("all strategies") : QString::fromStdString(chosen.strategy);
    return tr("Profit of %1 / %2 over the day (yuan)")
        .arg(QString::fromStdString(chosen.account), strategy);
}

/// The text that an empty price pane shows; empty when there is something to show.
QString CChart::priceLack() const {
    if (m_pPicture->selection.stock.empty()) return tr("Choose a stock");
    const bool none = m_pPicture->prices.empty() && m_pPicture->dots.empty() && m_resting.empty();
    return none ? tr("No price of the stock has come yet") : QString();
}

QString CChart::profitLack() const {
    if (m_pPicture->selection.account.empty()) return tr("Choose a strategy");
    return m_pPicture->curve.empty() ? tr("No profit yet: the day has no figures of it")
                                     : QString();
}

}  // namespace desk
