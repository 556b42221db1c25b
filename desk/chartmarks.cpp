#include "desk/chart.h"
#include "desk/rowsmodel.h"
#include "desk/style.h"
#include "linkage/draw/cenhancedrawmanager.h"

#include <QFontMetrics>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

/// What the chart draws through the library's draw manager.
namespace desk {

namespace {

using Draw = utils::CSingletonT<TC::CEnhanceDrawManager>;
using Type = TC::IEnhanceDataBase::EDrawType;

const std::string KEY = "linkage-desk";
const std::string LABELS = "linkage-desk/labels";  // painted over the rest
constexpr int SMALLEST_DOT = 4;
constexpr int LARGEST_DOT = 12;
constexpr int MOST_ORDER_LINES = 8;
constexpr int DOT_TRANSPARENCY = 20;
constexpr int BORDER_TRANSPARENCY = 30;

int rgb(const QColor& colour) { return static_cast<int>(colour.rgb() & 0xffffff); }

}  // namespace

CChart::CChart(QWidget* parent) : QWidget(parent) { Draw::instance()->init(); }

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
        fileLabel(1, minute, point.profit, formatted(point.profit, EFormat::Profit),
                  point.profit >= 0 ? style::RISE : style::FALL, true);
    }
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

/// Resting orders as dotted lines at their price, those nearest to the market first,
/// with a framed label where there is room for one.
void CChart::fileOrders() {
    std::map<std::pair<double, bool>, long long> resting;
    for (const OrderRow& order : m_pPicture->orders) {
        if (order.running) resting[{order.price, order.buys}] += order.volume - order.traded;
    }
    const ValueAxis& axis = m_price.values;
    const double market = m_pPicture->prices.empty() ? (axis.low + axis.high) / 2
                                                     : m_pPicture->prices.rbegin()->second;
    std::vector<std::pair<std::pair<double, bool>, long long>> nearest(resting.begin(),
                                                                       resting.end());
    std::sort(nearest.begin(), nearest.end(), [market](const auto& left, const auto& right) {
        return std::fabs(left.first.first - market) < std::fabs(right.first.first - market);
    });

    std::vector<double> labelled;
    int lines = 0;
    for (const auto& [level, volume] : nearest) {
        const auto& [price, buys] = level;
        if (price < axis.low || price > axis.high || ++lines > MOST_ORDER_LINES) continue;
        std::vector<double> xs = {double(m_time.first()), double(m_time.last())};
        std::vector<double> ys = {price, price};
        Draw::instance()->addDrawLineData(Type(0), KEY, xs, ys, 1, true, false, 0, 0);
        const double y = pixel(m_price, 0, price).y();
        const bool room = std::none_of(labelled.begin(), labelled.end(), [&](double other) {
            return std::fabs(other - y) < QFontMetrics(font()).height() + 6;
        });
        if (!room) continue;
        labelled.push_back(y);
        fileLabel(0, m_time.last(), price,
                  formatted(buys, EFormat::Side) + " " + formatted(price, EFormat::Price) + " × " +
                      formatted(volume, EFormat::Count),
                  buys ? style::RISE : style::FALL, false);
    }
}

/// A framed label beside a point: right of it, where the day is still empty, if there is
/// room; over it or at its height; kept inside its pane.
void CChart::fileLabel(int type, double minute, double value, const QString& text, QColor colour,
                       bool above) {
    const QFontMetrics metrics(font());
    const int width = metrics.horizontalAdvance(text) + 10;
    const int height = metrics.height() + 2;
    const Pane& pane = type == 0 ? m_price : m_profit;
    const QPointF point = pixel(pane, minute, value);
    const bool roomAtRight = point.x() + width + 4 < pane.area.right();
    const double beside = roomAtRight ? point.x() + 4 : point.x() - width - 4;
    const double left = std::clamp<double>(beside, pane.area.left(),
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
        painter.setBrush(style::PANEL);  // what the boxes of labels are filled with
        Draw::instance()->drawGraph(
            Type(type), key, &painter, pane.area.adjusted(0, 0, 1, 1),
            [&](const QPointF& point) { return pixel(pane, point.x(), point.y()); });
    }
    painter.restore();
}

}  // namespace desk
