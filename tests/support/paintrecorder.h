#pragma once

#include <QBrush>
#include <QFont>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainterPath>
#include <QPen>
#include <QRect>
#include <QString>

#include <vector>

/// A paint device without pixels that notes each drawing call and the state it found.
namespace support {

struct Painted {
    enum Kind { PATH, ELLIPSE, RECT, TEXT, OTHER } kind = OTHER;
    QPainterPath path;
    QRectF rect;     ///< of an ellipse or rectangle; of a text, its ink line box
    QPointF origin;  ///< of a text, its baseline origin
    QString text;
    QPen pen;
    QBrush brush;
    QFont font;
    QRegion clip;
};

class CPaintRecorder final : public QPaintDevice {
public:
    std::vector<Painted> painted;

    QPaintEngine* paintEngine() const override { return &m_engine; }

protected:
    int metric(PaintDeviceMetric metric) const override {
        if (metric == PdmDepth) return 32;
        if (metric == PdmDevicePixelRatio) return 1;
        if (metric == PdmDevicePixelRatioScaled) return static_cast<int>(devicePixelRatioFScale());
        return metric == PdmWidth || metric == PdmHeight ? 1000 : 96;
    }

private:
    class CEngine final : public QPaintEngine {
    public:
        explicit CEngine(std::vector<Painted>& painted)
            : QPaintEngine(AllFeatures), m_painted(painted) {}

        bool begin(QPaintDevice*) override { return true; }
        bool end() override { return true; }
        Type type() const override { return User; }
        void updateState(const QPaintEngineState& now) override {
            const DirtyFlags dirty = now.state();
            if (dirty & DirtyPen) m_now.pen = now.pen();
            if (dirty & DirtyBrush) m_now.brush = now.brush();
            if (dirty & DirtyClipRegion) m_now.clip = now.clipRegion();
        }
        void drawPath(const QPainterPath& path) override { note(Painted::PATH).path = path; }
        void drawEllipse(const QRect& rect) override { note(Painted::ELLIPSE).rect = rect; }
        void drawRects(const QRect* rects, int count) override {
            for (int i = 0; i < count; ++i) note(Painted::RECT).rect = rects[i];
        }
        void drawTextItem(const QPointF& origin, const QTextItem& item) override {
            Painted& text = note(Painted::TEXT);
            text.origin = origin;
            text.text = item.text();
            text.font = item.font();
            text.rect = QRectF(origin.x(), origin.y() - item.ascent(), item.width(),
                               item.ascent() + item.descent());
        }
        void drawPixmap(const QRectF&, const QPixmap&, const QRectF&) override {
            note(Painted::OTHER);
        }
        void drawPolygon(const QPointF*, int, PolygonDrawMode) override { note(Painted::OTHER); }

    private:
        Painted& note(Painted::Kind kind) {
            m_painted.push_back(m_now);
            m_painted.back().kind = kind;
            return m_painted.back();
        }

        std::vector<Painted>& m_painted;
        Painted m_now;
    };

    mutable CEngine m_engine{painted};
};

}  // namespace support
