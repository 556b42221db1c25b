#include "desk/chart.h"
#include "desk/restinglevels.h"
#include "desk/style.h"
#include "tests/support/paintrecorder.h"

#include <QCoreApplication>
#include <QImage>
#include <QMouseEvent>
#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

/// A chart's prices, and what its running orders do to them.
TEST(DeskChart, RestingOrdersStretchThePricesWithinBounds) {
    desk::Picture picture;
    picture.prices = {{600, 10.0}, {660, 10.4}};
    const auto order = [](double price, bool buys, bool running) {
        return desk::OrderRow{0, buys, running, price, 300, 100, 50};
    };
    picture.orders = {order(9.7, true, true),    order(9.7, true, true),  order(10.7, false, true),
                      order(5.0, true, true),    order(9.0, true, false), order(0.0, true, true),
                      order(qQNaN(), true, true)};
    const auto levels = desk::restingLevels(picture.orders, desk::marketPrice(picture), 8);
    const std::vector<desk::RestingLevel> expected = {
        {10.7, false, 200}, {9.7, true, 400}, {5.0, true, 200}};
    EXPECT_EQ(levels, expected) << "the nearest first, added up";
    EXPECT_EQ(desk::restingLevels(picture.orders, 10.4, 1).size(), 1u);
    desk::ChartRange range = desk::chartRange(picture, levels);
    EXPECT_EQ(std::pair(range.low, range.high), std::pair(9.7, 10.7)) << "5.00 is too far away";
    EXPECT_EQ(std::pair(range.first, range.last), std::pair(600, 660));
    picture.prices.clear();
    range = desk::chartRange(picture, levels);
    EXPECT_EQ(std::pair(range.low, range.high), std::pair(5.0, 10.7)) << "nothing to press flat";
    EXPECT_GT(range.first, range.last);
}

TEST(DeskChart, LabelsStandBesideTheCurvesAndInsideTheirPanes) {
    auto picture = std::make_shared<desk::Picture>();
    picture->selection = {"A", "s", "SH600001"};
    picture->minute = 15 * 60;
    for (int minute = 9 * 60 + 30; minute <= 15 * 60; ++minute) {
        picture->prices[minute] = 10.0 + minute % 7 * 0.01;
        picture->curve[minute].profit = minute % 5 * 100.0;
    }
    picture->orders = {{1, true, true, 9.9, 300, 0, 50},
                       {2, false, true, 10.155, 1200, 0, 50},
                       {3, true, true, 5.0, 100, 0, 50}};
    desk::CChart chart;
    chart.resize(700, 400);
    chart.show(picture);
    support::CPaintRecorder recorder;
    chart.render(&recorder);

    QStringList labels;
    std::vector<QRectF> frames;
    double curveEnd = 0.0;
    for (const support::Painted& painted : recorder.painted) {
        if (painted.kind == support::Painted::PATH && painted.pen.style() == Qt::SolidLine)
            curveEnd = std::max(curveEnd, painted.path.boundingRect().right());
        const bool label =
            painted.pen.color() == desk::style::RISE || painted.pen.color() == desk::style::FALL;
        if (painted.kind == support::Painted::TEXT && label) labels << painted.text;
        if (painted.kind == support::Painted::RECT && painted.pen.color().alpha() == 178)
            frames.push_back(painted.rect);
    }
    EXPECT_EQ(labels.join('|').remove(' '), "Sell10.155×1,200|Buy9.90×300|↓Buy5.00×100|0.00");
    ASSERT_EQ(frames.size(), 4u);
    for (const QRectF& frame : frames) {
        EXPECT_GT(frame.left(), curveEnd) << "the day is over, and still no curve is covered";
        EXPECT_TRUE(QRectF(chart.rect()).contains(frame));
    }
}

TEST(DeskChart, PaintsDealsAndRestingOrdersWhereTheyBelong) {
    auto picture = std::make_shared<desk::Picture>();
    picture->selection = {"A", "s", "SH600001"};
    picture->prices = {{600, 10.0}, {660, 10.0}};
    picture->dots = {{800, true, 10.5, 100}, {860, false, 9.5, 100}};
    picture->orders = {{1, true, true, 9.7, 300, 0, 50}};
    desk::CChart chart;
    chart.resize(800, 500);
    const auto count = [&chart](const std::function<bool(QColor)>& wanted) {
        const QImage image = chart.grab().toImage();
        int found = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) found += wanted(image.pixelColor(x, y));
        return found;
    };
    const auto red = [](QColor c) { return c.red() > 180 && c.green() < 110 && c.blue() < 120; };
    const auto green = [](QColor c) { return c.green() > 140 && c.red() < 80 && c.blue() < 150; };
    // The dots of a buy's line, which are not opaque.
    const auto line = [](QColor c) { return c.red() > 140 && c.red() < 180 && c.blue() < 100; };
    chart.show(picture);
    EXPECT_GT(count(red), 40);
    EXPECT_GT(count(green), 40) << "the sale";
    EXPECT_GT(count(line), 180) << "the dotted line of the resting order";
    auto sale = std::make_shared<desk::Picture>(*picture);
    sale->dots.clear();
    sale->orders[0].buys = false;
    chart.show(sale);
    EXPECT_EQ(count(line) + count(red), 0) << "nothing of a sale is red";
    auto far = std::make_shared<desk::Picture>(*picture);
    far->dots.clear();
    far->orders[0].price = 5.0;
    chart.show(far);
    EXPECT_LT(count(line), 120) << "its price is not on the axis";
    EXPECT_GT(count(red), 40) << "its label is";
    auto empty = std::make_shared<desk::Picture>(*picture);
    empty->dots.clear();
    empty->orders.clear();
    chart.show(empty);
    EXPECT_EQ(count(red) + count(green) + count(line), 0);
}

/// What the box beside the mouse says, line by line; empty without a box.
QStringList crossText(desk::CChart& chart, const QPointF& mouse) {
    QMouseEvent move(QEvent::MouseMove, mouse.toPoint(), Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    QCoreApplication::sendEvent(&chart, &move);
    support::CPaintRecorder recorder;
    chart.render(&recorder);
    QStringList lines;
    double height = 0.0;
    for (const support::Painted& painted : recorder.painted) {
        if (painted.kind != support::Painted::TEXT || painted.pen.color() != desk::style::TEXT)
            continue;
        if (lines.isEmpty() || painted.origin.y() != height) lines << QString();
        height = painted.origin.y();
        lines.back() = (lines.back() + painted.text).simplified();
    }
    return lines;
}

TEST(DeskChart, TheCrossTellsTimeValueAndTheDealsUnderIt) {
    constexpr int HALF_PAST_TEN = 10 * 60 + 30;
    auto picture = std::make_shared<desk::Picture>();
    picture->selection = {"A", "s", "SH600001"};
    picture->minute = 11 * 60;
    picture->prices = {{9 * 60 + 40, 10.0}, {HALF_PAST_TEN, 10.5}};
    picture->curve[10 * 60].profit = 1234.0;
    picture->dots = {{HALF_PAST_TEN, true, 10.25, 1200},
                     {HALF_PAST_TEN, false, 10.25, 300},
                     {HALF_PAST_TEN + 20, false, 10.5, 700}};
    desk::CChart chart;
    chart.resize(700, 400);
    chart.show(picture);
    support::CPaintRecorder recorder;
    chart.render(&recorder);
    std::vector<QPointF> dots;
    for (const support::Painted& painted : recorder.painted) {
        if (painted.kind == support::Painted::ELLIPSE) dots.push_back(painted.rect.center());
    }
    ASSERT_GE(dots.size(), 3u);
    const double minuteWidth = (dots[2].x() - dots[0].x()) / 20;
    const auto at = [&](int minute, double y) {
        const double x = dots[0].x() + (minute - HALF_PAST_TEN) * minuteWidth;
        return crossText(chart, {x, y});
    };

    QStringList lines = at(HALF_PAST_TEN, dots[0].y());
    ASSERT_FALSE(lines.isEmpty());
    const QStringList first = lines.takeFirst().split(' ');
    EXPECT_EQ(first.front(), "10:30");
    EXPECT_NEAR(first.back().toDouble(), 10.25, 0.003) << "where the mouse is, to a pixel";
    EXPECT_EQ(lines.join('|'),
              "Price 10.50|Profit +1,234.00|10:30 Buy 10.25 × 1,200|10:30 Sell 10.25 × 300");
    lines = at(HALF_PAST_TEN + 22, dots[0].y());
    EXPECT_EQ(lines.mid(1).join('|'), "Price 10.50|Profit +1,234.00|10:50 Sell 10.50 × 700")
        << "two minutes beside the dot, and still on it";
    EXPECT_EQ(at(9 * 60 + 50, dots[0].y()).mid(1).join('|'), "Price 10.00")
        << "there is no profit yet";
    lines = at(11 * 60 + 20, chart.height() - 40);
    ASSERT_EQ(lines.size(), 1) << "that minute has not come yet";
    EXPECT_TRUE(lines.front().startsWith("11:20 ")) << lines.front().toStdString();
    EXPECT_FALSE(lines.front().contains('.')) << "whole yuan, not prices, stand on this axis";
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(&chart, &leave);
    recorder.painted.clear();
    chart.render(&recorder);
    EXPECT_TRUE(std::none_of(recorder.painted.begin(), recorder.painted.end(),
                             [](const auto& each) {
                                 return each.kind == support::Painted::TEXT &&
                                        each.pen.color() == desk::style::TEXT;
                             }))
        << "the mouse is elsewhere";
}

}  // namespace
