#include "linkage/draw/cenhancedrawmanager.h"
#include "tests/support/paintrecorder.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

namespace {

using support::CPaintRecorder;
using support::Painted;
using Singleton = utils::CSingletonT<TC::CEnhanceDrawManager>;
using Type = TC::IEnhanceDataBase::EDrawType;

constexpr Type FIRST = TC::IEnhanceDataBase::DRAW_FIRST;
constexpr Type SECOND = TC::IEnhanceDataBase::DRAW_SECOND;
const QRect CLIP(5, 6, 700, 800);

/// Ten pixels a unit, y upwards from 500.
QPointF map(const QPointF& point) { return {point.x() * 10.0, 500.0 - point.y() * 10.0}; }

/// Where a shape stands and how large it is, its pen's and its brush's colour.
std::string shown(const Painted& painted) {
    const auto name = [](const QColor& colour) {
        return colour.name(QColor::HexArgb).toStdString();
    };
    const QRect rect = painted.rect.toRect();
    return fmt::format("{},{} {}x{} {} {}", rect.x(), rect.y(), rect.width(), rect.height(),
                       name(painted.pen.color()), name(painted.brush.color()));
}

class DrawGraph : public testing::Test {
protected:
    ~DrawGraph() override { Singleton::release(); }

    TC::CEnhanceDrawManager& draw() { return *Singleton::instance(); }

    std::vector<Painted> paint(Type type = FIRST, const std::string& key = "k") {
        CPaintRecorder recorder;
        QPainter painter(&recorder);
        painter.setPen(Qt::green);
        painter.setBrush(Qt::yellow);
        painter.setClipRect(0, 0, 10, 10);  // replaced, not narrowed
        draw().drawGraph(type, key, &painter, CLIP, map);
        EXPECT_EQ(painter.clipRegion(), QRegion(CLIP)) << "the clip stays set";
        painter.end();
        return recorder.painted;
    }

    void addLine(std::vector<double> xs, std::vector<double> ys, int width = 1,
                 bool dotted = false) {
        draw().addDrawLineData(FIRST, "k", xs, ys, width, dotted, true, 0x00ff00, 50);
    }
    void addText(int boxWidth, int boxHeight, const std::string& text = "卖①价 12.5") {
        draw().addDrawTextData(FIRST, "k", 3.06, 4.0, text, 0x102030, "Serif", 40, 20, boxWidth,
                               boxHeight, 0x0000ff, 75, 7, -9);
    }
};

TEST_F(DrawGraph, LineRunsThroughTheCommonPointsInRedWhateverColourIsAsked) {
    addLine({1, 2, 3}, {10, 20, 15, 7, 8}, 4, true);
    for (int same = 0; same < 2; ++same) addLine({1, 2}, {1, 1});
    const auto painted = paint();
    ASSERT_EQ(painted.size(), 3u) << "equal graphics are all kept";

    QPainterPath path(QPointF(10, 400));
    path.lineTo(20, 300);
    path.lineTo(30, 350);
    EXPECT_EQ(painted[0].kind, Painted::PATH);
    EXPECT_EQ(painted[0].path, path);
    EXPECT_EQ(painted[0].pen.color(), QColor(255, 0, 0, 255));
    EXPECT_EQ(painted[0].pen.style(), Qt::DotLine);
    EXPECT_EQ(painted[0].pen.width(), 4);
    EXPECT_EQ(painted[0].brush.style(), Qt::NoBrush);
    EXPECT_EQ(painted[0].clip, QRegion(CLIP));
    EXPECT_EQ(painted[1].pen.style(), Qt::SolidLine);
    EXPECT_EQ(painted[1].pen.width(), 1);
}

TEST_F(DrawGraph, LineOfFewerThanTwoValuesIsNotStored) {
    addLine({1}, {1, 2, 3});
    addLine({1, 2, 3}, {1});
    addLine({}, {});
    CPaintRecorder recorder;
    QPainter painter(&recorder);
    EXPECT_NO_THROW(draw().drawGraph(FIRST, "k", &painter, CLIP, {})) << "nothing to be mapped";
    addLine({1, 1}, {2, 2});
    EXPECT_TRUE(paint().empty()) << "a line without length has no path";
}

TEST_F(DrawGraph, RoundIsCentredAndItsSecondCircleIsNot) {
    // The anchor maps to (30.6, 460): halves are cut by integer division, the rest by
    // truncation.
    draw().addDrawRoundData(FIRST, "k", 3.06, 4.0, 7, 5, 0x123456, 40);
    draw().addDrawRoundData(FIRST, "k", -0.25, 50.15, 4, 0, 0xffffff, 100);
    draw().addDrawRoundData(FIRST, "k", 0, 0, 2, 0, 0x808080, 99);
    draw().addDrawRoundData(FIRST, "k", 0, 0, 2, 0, 0x808080, 0);
    std::vector<std::string> circles;
    for (const Painted& circle : paint()) {
        EXPECT_EQ(circle.kind, Painted::ELLIPSE);
        EXPECT_EQ(circle.brush.style(), Qt::SolidPattern);
        circles.push_back(shown(circle));
    }
    // The transparency is truncated too: 60 % of 255 is 153 (99), 1 % is 2.
    const std::vector<std::string> expected = {
        "27,457 7x7 #99123456 #99123456", "30,460 5x5 #99123456 #99123456",
        "-4,-3 4x4 #00ffffff #00ffffff",  // not drawn twice without a second
        "-1,499 2x2 #02808080 #02808080", "-1,499 2x2 #ff808080 #ff808080"};
    EXPECT_EQ(circles, expected);
}

TEST_F(DrawGraph, FramedTextIsCentredInItsBoxAndKeepsTheDefaultSize) {
    addText(120, 30);
    const auto painted = paint();
    ASSERT_GE(painted.size(), 2u);
    const QRectF box(37, 451, 120, 30);  // trunc(30.6 + 7), trunc(460 - 9)
    EXPECT_EQ(painted[0].kind, Painted::RECT);
    EXPECT_EQ(shown(painted[0]), "37,451 120x30 #3f0000ff #ffffff00") << "the painter's own brush";
    QRectF ink;
    QString text;
    for (std::size_t i = 1; i < painted.size(); ++i) {
        ASSERT_EQ(painted[i].kind, Painted::TEXT);
        EXPECT_EQ(painted[i].pen, QPen(QColor(0x10, 0x20, 0x30, 204)));
        EXPECT_EQ(painted[i].font.family(), "Serif");
        EXPECT_EQ(painted[i].font.pointSize(), QGuiApplication::font().pointSize());
        ink |= painted[i].rect;
        text += painted[i].text;
    }
    EXPECT_EQ(text, QString("卖①价 12.5"));
    EXPECT_NEAR(ink.center().x(), box.center().x(), 1.0);
    EXPECT_NEAR(ink.center().y(), box.center().y(), 1.0);
}

TEST_F(DrawGraph, TextWithoutBoxStandsOnItsBaseline) {
    for (const auto& [width, height] : {std::pair(0, 30), {120, 0}, {-1, -1}}) {
        draw().clearDatas();
        addText(width, height, "abc");
        const auto painted = paint();
        ASSERT_EQ(painted.size(), 1u) << "no frame for " << width << " x " << height;
        EXPECT_EQ(painted[0].kind, Painted::TEXT);
        EXPECT_EQ(painted[0].text, "abc");
        EXPECT_EQ(painted[0].origin, QPointF(37, 451));
    }
}

TEST_F(DrawGraph, StoresAreToldApartAsZeroAndNotZero) {
    draw().addDrawRoundData(FIRST, "k", 0, 0, 1, 0, 0, 0);
    draw().addDrawRoundData(SECOND, "k", 0, 0, 2, 0, 0, 0);
    draw().addDrawRoundData(static_cast<Type>(7), "k", 0, 0, 3, 0, 0, 0);
    draw().addDrawRoundData(FIRST, "other", 0, 0, 4, 0, 0, 0);
    const auto second = paint(static_cast<Type>(-1));
    ASSERT_EQ(second.size(), 2u);
    EXPECT_EQ(second[0].rect.width(), 2) << "in the order of adding";
    EXPECT_EQ(second[1].rect.width(), 3);

    using Counts = std::vector<std::size_t>;
    const auto counts = [this] {
        return Counts{paint().size(), paint(SECOND).size(), paint(FIRST, "other").size()};
    };
    EXPECT_EQ(counts(), (Counts{1, 2, 1}));
    draw().clearDatas("k");
    EXPECT_EQ(counts(), (Counts{0, 0, 1}));
    draw().clearDatas();
    EXPECT_EQ(counts(), (Counts{0, 0, 0}));
}

TEST_F(DrawGraph, EmptyMapThrowsAtTheFirstGraphicAndLeavesTheLockFree) {
    draw().addDrawRoundData(FIRST, "k", 0, 0, 1, 0, 0, 0);
    QImage image(20, 20, QImage::Format_ARGB32);
    QPainter painter(&image);
    EXPECT_NO_THROW(draw().drawGraph(FIRST, "unknown", &painter, CLIP, {}));
    EXPECT_EQ(painter.clipRegion(), QRegion(CLIP));
    EXPECT_THROW(draw().drawGraph(FIRST, "k", &painter, CLIP, {}), boost::bad_function_call);
    EXPECT_EQ(paint().size(), 1u);
}

TEST_F(DrawGraph, MapMayChangeWhatIsBeingPainted) {
    for (int i = 0; i < 4; ++i) draw().addDrawRoundData(FIRST, "k", i, 0, 1, 0, 0, 0);
    CPaintRecorder recorder;
    QPainter painter(&recorder);
    draw().drawGraph(FIRST, "k", &painter, CLIP, [this](const QPointF& point) {
        draw().clearDatas("k");
        draw().addDrawRoundData(FIRST, "k", 9, 9, 1, 0, 0, 0);
        return point;
    });
    EXPECT_EQ(recorder.painted.size(), 4u) << "the change shows from the next paint on";
    EXPECT_EQ(paint().size(), 1u);
}

TEST_F(DrawGraph, RoundTakesItsSecondDiameterFirst) {
    const TC::EnhanceRoundData round(3, 8, 1.5, 2.5, 0xabcdef, 10);
    EXPECT_EQ(round.m_nSecondDiameter, 3);
    EXPECT_EQ(round.m_nMainDiameter, 8);
}

}  // namespace
