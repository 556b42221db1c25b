#include "desk/chart.h"
#include "desk/rowsmodel.h"
#include "desk/style.h"
#include "linkage/draw/cenhancedrawmanager.h"

#include <QFontMetrics>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <vector>

/// What the chart draws through the library's draw manager.
namespace desk {

namespace {

using Draw = utils::CSingletonT<TC::CEnhanceDrawManager>;
using Type = TC::IEnhanceDataBase::EDrawType;

const std::string KEY = "linkage-desk";
const std::string LABELS = "linkage-desk/labels";  // painted over the other graphics
constexpr int SMALLEST_DOT = 4;
constexpr int LARGEST_DOT = 12;
constexpr int LABEL_PADDING = 10;
constexpr int DOT_TRANSPARENCY = 20;
constexpr int BORDER_TRANSPARENCY = 30;
constexpr int LINE_ALPHA = 150;

int rgb(const QColor& colour) { return static_cast<int>(colour.rgb() & 0xffffff); }

}  // namespace

CChart::CChart(QWidget* parent) : QWidget(parent) {
    Draw::instance()->init();
    setMouseTracking(true);
}

CChart::~CChart() {
    Draw::instance()->clearDatas(KEY);
    Draw::instance()->clearDatas(LABELS);
}

void CChart::fileMarks() {
    Draw::instance()->clearDatas(KEY);
    Draw::instance()->clearDatas(LABELS);
    fileOrders();
    fileDeals();
    if (!m_pPicture->curve.empty()) {
        const auto& [minute, point] = *m_pPicture->curve.rbegin();
        fileLabel(1, minute, point.profit, profitLabel(),
                  point.profit >= 0 ? style::RISE : style::FALL, true);
    }
}

QString CChart::profitLabel() const {
    return formatted(m_pPicture->curve.rbegin()->second.profit, EFormat::Profit);
}

/// When an order's price lies outside the axis, an arrow in its label shows the direction.
QString CChart::orderLabel(const RestingLevel& level) const {
    const ValueAxis& axis = m_price.values;
    const QString where = level.price > axis.high ? "↑ " : level.price < axis.low ? "↓ " : "";
    return where + formatted(level.buys, EFormat::Side) + " " +
           formatted(level.price, EFormat::Price) + " × " +
           formatted(qlonglong(level.volume), EFormat::Count);
}

int CChart::widestLabel() const {
    const QFontMetrics metrics(font());
    int widest = 0;
    for (const RestingLevel& level : m_resting)
        widest = std::max(widest, metrics.horizontalAdvance(orderLabel(level)));
    if (!m_pPicture->curve.empty())
        widest = std::max(widest, metrics.horizontalAdvance(profitLabel()));
    return widest == 0 ? 0 : widest + LABEL_PADDING;
}

/// One dot per minute and side, the larger the more was traded.
void CChart::fileDeals() {
    std::int64_t most = 1;
    for (const DealDot& dot : m_pPicture->dots) most = std::max(most, dot.volume);
    for (const DealDot& dot : m_pPicture->dots) {
        const double share = std::sqrt(static_cast<double>(dot.volume) / static_cast<double>(most));
        const int diameter = SMALLEST_DOT + static_cast<int>(share * (LARGEST_DOT - SMALLEST_DOT));
        Draw::instance()->addDrawRoundData(Type(0), KEY, dot.minute, dot.price, diameter, 0,
                                           rgb(dot.buys ? style::RISE : style::FALL),
                                           DOT_TRANSPARENCY);
    }
}

/// The library's lines are all red; those of resting orders have the colour of their side.
void CChart::paintOrders(QPainter& painter) const {
    for (const RestingLevel& level : m_resting) {
        if (level.price > m_price.values.high || level.price < m_price.values.low) continue;
        const int y = static_cast<int>(pixel(m_price, 0, level.price).y());
        QColor colour = level.buys ? style::RISE : style::FALL;
        colour.setAlpha(LINE_ALPHA);
        painter.setPen(QPen(colour, 1, Qt::DotLine));
        painter.drawLine(m_price.area.left(), y, m_price.area.right(), y);
    }
}

/// Resting orders, those nearest to the market first, with a framed label where there is room
/// for one. An order beyond the axis has no line; its label
/// stands at the edge, or next to the labels that are there already.
void CChart::fileOrders() {
    const ValueAxis& axis = m_price.values;
    const double height = QFontMetrics(font()).height() + 6;
    const double top = m_price.area.top() + height / 2;
    const double bottom = m_price.area.bottom() - height / 2;
    std::vector<double> labelled;
    const std::size_t all =
        restingLevels(m_pPicture->orders, 0.0, m_pPicture->orders.size()).size();
    m_nUnlabelled = all - m_resting.size();
    for (const RestingLevel& level : m_resting) {
        const bool over = level.price > axis.high, under = level.price < axis.low;
        const auto taken = [&](double y) {
            return std::any_of(labelled.begin(), labelled.end(),
                               [&](double other) { return std::fabs(other - y) < height; });
        };
        double y = std::max(top, std::min(pixel(m_price, 0, level.price).y(), bottom));
        const int inwards = int(over) - int(under);
        while (inwards != 0 && taken(y) && y + inwards > top && y + inwards < bottom) y += inwards;
        if (taken(y)) {
            ++m_nUnlabelled;
            continue;
        }
        labelled.push_back(y);
        fileLabel(0, m_time.last(), valueAt(m_price, y), orderLabel(level),
                  level.buys ? style::RISE : style::FALL, false);
    }
}

/// Adds a framed label. Labels of orders stand at the right end, others to the right of their
/// point, above it or at its height. All stay inside their pane.
void CChart::fileLabel(int type, double minute, double value, const QString& text, QColor colour,
                       bool above) {
    const QFontMetrics metrics(font());
    const int width = metrics.horizontalAdvance(text) + LABEL_PADDING;
    const int height = metrics.height() + 2;
    const Pane& pane = type == 0 ? m_price : m_profit;
    const QPointF point = pixel(pane, minute, value);
    const double wantedLeft = type == 0 ? pane.area.right() - width : point.x() + 4;
    const double left = std::clamp<double>(wantedLeft, pane.area.left(),
                                           std::max(pane.area.left(), pane.area.right() - width));
    const double wanted = above ? point.y() - height - 4 : point.y() - height / 2.0;
    const double top = std::clamp<double>(wanted, pane.area.top(),
                                          std::max(pane.area.top(), pane.area.bottom() - height));
    Draw::instance()->addDrawTextData(
        Type(type), LABELS, minute, value, text.toStdString(), rgb(colour),
        font().family().toStdString(), font().pointSize(), 0, width, height, rgb(colour),
        BORDER_TRANSPARENCY, static_cast<int>(left - point.x()), static_cast<int>(top - point.y()));
}

void CChart::paintMarks(QPainter& painter, int type, const Pane& pane) const {
    painter.save();
    for (const std::string& key : {KEY, LABELS}) {
        painter.setRenderHint(QPainter::Antialiasing, key == KEY);
        painter.setBrush(style::PANEL);  // fills the boxes of labels
        Draw::instance()->drawGraph(
            Type(type), key, &painter, pane.area.adjusted(0, 0, 1, 1),
            [&](const QPointF& point) { return pixel(pane, point.x(), point.y()); });
    }
    painter.restore();
}

}  // namespace desk
