#include "linkage/draw/cenhancedrawmanager.h"
#include "tests/support/paintrecorder.h"

#include <QGuiApplication>
#include <QPainter>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <functional>

namespace {

using support::CPaintRecorder;
using support::Painted;
using Manager = TC::CEnhanceDrawManager;
using Singleton = utils::CSingletonT<Manager>;
using Type = TC::IEnhanceDataBase::EDrawType;
using Texts = std::vector<std::string>;

constexpr Type FIRST = TC::IEnhanceDataBase::DRAW_FIRST;
constexpr Type SECOND = TC::IEnhanceDataBase::DRAW_SECOND;
const QRect CLIP(5, 6, 700, 800);

/// Ten pixels a unit, y upwards from 500.
QPointF map(const QPointF& point) { return {point.x() * 10.0, 500.0 - point.y() * 10.0}; }

/// Kind, place, pen and brush of what was drawn.
std::string shown(const Painted& painted) {
    const auto name = [](const QColor& colour) {
        return colour.name(QColor::HexArgb).toStdString();
    };
    const QRect rect = painted.rect.toRect();
    const std::string place =
        fmt::format("{},{} {}x{}", rect.x(), rect.y(), rect.width(), rect.height());
    const std::string pen = name(painted.pen.color());
    switch (painted.kind) {
        case Painted::PATH: {
            std::string path;
            for (int i = 0; i < painted.path.elementCount(); ++i) {
                const auto point = painted.path.elementAt(i);
                path += fmt::format(" {},{}", point.x, point.y);
            }
            return fmt::format("line{} {} width {}{}{}", path, pen, painted.pen.width(),
                               painted.pen.style() == Qt::DotLine ? " dotted" : "",
                               painted.brush.style() == Qt::NoBrush ? "" : " filled");
        }
        case Painted::ELLIPSE:
        case Painted::RECT:
            return fmt::format("{} {} {} {}", painted.kind == Painted::RECT ? "box" : "circle",
                               place, pen, name(painted.brush.color()));
        case Painted::TEXT:
            return fmt::format("text {},{} {} {}", painted.origin.x(), painted.origin.y(), pen,
                               painted.text.toStdString());
        default:
            return "other";
    }
}

class DrawGraph : public testing::Test {
protected:
    ~DrawGraph() override { Singleton::release(); }

    static Manager& draw() { return *Singleton::instance(); }

    static std::vector<Painted> paint(Type type = FIRST, const std::string& key = "k",
                                      const boost::function<QPointF(const QPointF&)>& by = map) {
        CPaintRecorder recorder;
        QPainter painter(&recorder);
        painter.setPen(Qt::green);
        painter.setBrush(Qt::yellow);
        painter.setClipRect(0, 0, 10, 10);  // replaced, not narrowed
        draw().drawGraph(type, key, &painter, CLIP, by);
        EXPECT_EQ(painter.clipRegion(), QRegion(CLIP)) << "the clip stays set";
        painter.end();
        for (const Painted& each : recorder.painted) EXPECT_EQ(each.clip, QRegion(CLIP));
        return recorder.painted;
    }

    static void addLine(std::vector<double> xs, std::vector<double> ys, int width = 1,
                        bool dotted = false) {
        draw().addDrawLineData(FIRST, "k", xs, ys, width, dotted, true, 0x00ff00, 50);
    }
    static void addRound(double x, double y, int diameter, int second = 0, int colour = 0,
                         int transparency = 0, Type type = FIRST, const char* key = "k") {
        draw().addDrawRoundData(type, key, x, y, diameter, second, colour, transparency);
    }
    static void addText(int boxWidth, int boxHeight, const std::string& text) {
        draw().addDrawTextData(FIRST, "k", 3.06, 4.0, text, 0x102030, "Serif", 40, 20, boxWidth,
                               boxHeight, 0x0000ff, 75, 7, -9);
    }
};

// The anchor of most maps to (30.6, 460): halves are cut by integer division, the rest by
// truncation, transparency too: 60 % of 255 is 153 (99), 1 % is 2.
TEST_F(DrawGraph, PaintsEachGraphicToThePixel) {
    struct Row {
        const char* name;
        std::function<void()> add;
        Texts painted;
    };
    const char* const textAt = "text 37,451 #cc102030 abc";  // trunc(30.6 + 7), trunc(460 - 9)
    const Row rows[] = {
        {"a line runs through the common points, red whatever colour is asked",
         [] {
             addLine({1, 2, 3}, {10, 20, 15, 7, 8}, 4, true);
         },
         {"line 10,400 20,300 30,350 #ffff0000 width 4 dotted"}},
        {"equal graphics are all kept",
         [] {
             addLine({1, 2}, {1, 1}), addLine({1, 2}, {1, 1});
         },
         {"line 10,490 20,490 #ffff0000 width 1", "line 10,490 20,490 #ffff0000 width 1"}},
        {"fewer than two values are no line, nor is one without length",
         [] {
             addLine({1}, {1, 2, 3}), addLine({1, 2, 3}, {1}), addLine({1, 1}, {2, 2});
         },
         {}},
        {"a round is centred, its second circle is not",
         [] { addRound(3.06, 4.0, 7, 5, 0x123456, 40); },
         {"circle 27,457 7x7 #99123456 #99123456", "circle 30,460 5x5 #99123456 #99123456"}},
        {"no second circle",
         [] { addRound(-0.25, 50.15, 4, 0, 0xffffff, 100); },
         {"circle -4,-3 4x4 #00ffffff #00ffffff"}},
        {"hardly visible",
         [] { addRound(0, 0, 2, 0, 0x808080, 99); },
         {"circle -1,499 2x2 #02808080 #02808080"}},
        {"opaque",
         [] { addRound(0, 0, 2, 0, 0x808080); },
         {"circle -1,499 2x2 #ff808080 #ff808080"}},
        {"a text without box stands on its baseline", [] { addText(0, 30, "abc"); }, {textAt}},
        {"nor is it a box without height", [] { addText(120, 0, "abc"); }, {textAt}},
        {"or less than that", [] { addText(-1, -1, "abc"); }, {textAt}},
    };
    for (const Row& row : rows) {
        draw().clearDatas();
        row.add();
        Texts painted;
        for (const Painted& each : paint()) painted.push_back(shown(each));
        EXPECT_EQ(painted, row.painted) << row.name;
    }
}

TEST_F(DrawGraph, FramedTextIsCentredInItsBoxAndKeepsTheDefaultSize) {
    addText(120, 30, "卖①价 12.5");
    const auto painted = paint();
    ASSERT_GE(painted.size(), 2u);
    EXPECT_EQ(shown(painted[0]), "box 37,451 120x30 #3f0000ff #ffffff00")
        << "the painter's own brush";
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
    EXPECT_NEAR(ink.center().x(), 37 + 60, 1.0);
    EXPECT_NEAR(ink.center().y(), 451 + 15, 1.0);
}

TEST_F(DrawGraph, StoresAreToldApartAsZeroAndNotZero) {
    addRound(0, 0, 1);
    addRound(0, 0, 2, 0, 0, 0, SECOND);
    addRound(0, 0, 3, 0, 0, 0, static_cast<Type>(7));
    addRound(0, 0, 4, 0, 0, 0, FIRST, "other");
    const auto second = paint(static_cast<Type>(-1));
    ASSERT_EQ(second.size(), 2u);
    EXPECT_EQ(second[0].rect.width(), 2) << "in the order of adding";
    using Counts = std::vector<std::size_t>;
    const auto counts = [] {
        return Counts{paint().size(), paint(SECOND).size(), paint(FIRST, "other").size()};
    };
    EXPECT_EQ(counts(), (Counts{1, 2, 1}));
    draw().clearDatas("k");
    EXPECT_EQ(counts(), (Counts{0, 0, 1}));
    draw().clearDatas();
    EXPECT_EQ(counts(), (Counts{0, 0, 0}));
}

TEST_F(DrawGraph, MapMayBeEmptyOrChangeWhatIsBeingPainted) {
    EXPECT_TRUE(paint(FIRST, "k", {}).empty()) << "nothing to be mapped";
    for (int i = 0; i < 4; ++i) addRound(i, 0, 1);
    CPaintRecorder recorder;
    QPainter painter(&recorder);
    EXPECT_THROW(draw().drawGraph(FIRST, "k", &painter, CLIP, {}), boost::bad_function_call);
    const auto clearing = [](const QPointF& point) {
        draw().clearDatas("k");
        addRound(9, 9, 1);
        return point;
    };
    EXPECT_EQ(paint(FIRST, "k", clearing).size(), 4u) << "seen from the next paint on";
    EXPECT_EQ(paint().size(), 1u);
}

TEST_F(DrawGraph, RoundTakesItsSecondDiameterFirst) {
    const TC::EnhanceRoundData round(3, 8, 1.5, 2.5, 0xabcdef, 10);
    EXPECT_EQ(std::pair(round.m_nSecondDiameter, round.m_nMainDiameter), std::pair(3, 8));
}

}  // namespace
