#pragma once

#include "desk/axes.h"
#include "desk/picture.h"
#include "desk/restinglevels.h"
#include "desk/rowsmodel.h"

#include <QWidget>

#include <memory>
#include <optional>
#include <vector>

class QPainter;

namespace desk {

/// The day of the chosen strategy and stock: the price with its deals and resting
/// orders above, the profit curve below. Deals, orders and labels are graphics of the
/// library's draw manager; this widget gives it the mapping.
class CChart final : public QWidget {
    Q_OBJECT

public:
    explicit CChart(QWidget* parent = nullptr);
    ~CChart() override;

    void show(std::shared_ptr<const Picture> picture);

    QSize sizeHint() const override { return {640, 380}; }
    QSize minimumSizeHint() const override { return {420, 260}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    struct Pane {
        QRect area;
        ValueAxis values;
        EFormat format = EFormat::Price;
    };

    void layOut();
    void makeRoomForLabels(int last);
    int widestLabel() const;
    void fileMarks();
    void fileDeals();
    void fileOrders();
    void paintOrders(QPainter& painter) const;
    void fileLabel(int type, double minute, double value, const QString& text, QColor colour,
                   bool above);
    QString orderLabel(const RestingLevel& level) const;
    QString profitLabel() const;
    QPointF pixel(const Pane& pane, double minute, double value) const;
    double valueAt(const Pane& pane, double y) const;
    void paintPane(QPainter& painter, const Pane& pane, const QString& title,
                   const QString& lack) const;
    void paintMinutes(QPainter& painter, const Pane& pane) const;
    /// With a `ground`, fills the area between that value and the curve.
    void paintCurve(QPainter& painter, const QRect& clip, const std::vector<QPointF>& points,
                    QColor colour, std::optional<double> ground) const;
    void paintProfit(QPainter& painter) const;
    /// Lines through the mouse, with the time, the value, and the deals of that minute.
    void paintCross(QPainter& painter) const;
    QString crossText(const Pane& pane, int minute) const;
    std::vector<DealDot> dealsAt(int x) const;
    void paintMarks(QPainter& painter, int type, const Pane& pane) const;
    std::vector<QPointF> pricePoints() const;
    QString priceTitle() const;
    QString profitTitle() const;
    QString priceLack() const;
    QString profitLack() const;

    std::shared_ptr<const Picture> m_pPicture;
    CTimeAxis m_time;
    Pane m_price;
    Pane m_profit;
    double m_dDayWidth = 0.0;  ///< pixels that the time axis takes
    std::vector<RestingLevel> m_resting;
    std::size_t m_nUnlabelled = 0;  ///< levels of resting orders that have no label
    std::optional<QPoint> m_mouse;
    bool m_bStale = true;
};

}  // namespace desk
