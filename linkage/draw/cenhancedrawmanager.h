#pragma once

#include "linkage/export.h"
#include "platform/utils/singleton.h"

#include <QPointF>
#include <QRect>

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <atomic>
#include <map>
#include <string>
#include <vector>

class QPainter;

namespace TC {

/// One graphic over a chart. Points are in the chart's data space (for example bar
/// index and price); colours are 0xRRGGBB, transparencies percent (0: opaque).
///
/// Graphics are made and held as their concrete type, so that the shared pointer
/// destroys that type: the base has no virtual destructor.
class LINKAGE_EXPORT IEnhanceDataBase {
public:
    /// Which of the two stores a graphic is filed in: 0 is the first, any other value
    /// the second.
    enum EDrawType : int { DRAW_FIRST = 0, DRAW_SECOND = 1 };

    /// Anchor in data space, colour as 0xRRGGBB, transparency in percent.
    IEnhanceDataBase(EDrawType type, double x, double y, int colour, int transparency)
        : m_dX(x), m_dY(y), m_eDrawType(type), m_nTransparency(transparency), m_nColour(colour) {}
    /// A copy is a graphic of its own.
    IEnhanceDataBase(const IEnhanceDataBase&) = default;
    /// Takes all values of the other one.
    IEnhanceDataBase& operator=(const IEnhanceDataBase&) = default;

    /// The store that the graphic is filed in.
    virtual EDrawType getDrawType() { return m_eDrawType; }

    /// Paints the graphic; `map` turns a data-space point into a pixel. An empty `map`
    /// throws boost::bad_function_call. Pen, brush and font stay set.
    virtual void drawGraph(QPainter* painter, boost::function<QPointF(QPointF const&)>& map) = 0;

    double m_dX;            ///< anchor
    double m_dY;            ///< the anchor's second value
    EDrawType m_eDrawType;  ///< see getDrawType()
    int m_nTransparency;    ///< percent
    int m_nColour;          ///< 0xRRGGBB

protected:
    ~IEnhanceDataBase() = default;
};

/// A polyline through the points that both vectors have.
class LINKAGE_EXPORT EnhanceLineData final : public IEnhanceDataBase {
public:
    EnhanceLineData() : IEnhanceDataBase(DRAW_FIRST, 0.0, 0.0, 0xff0000, 0) {}

    void drawGraph(QPainter* painter, boost::function<QPointF(QPointF const&)>& map) override;

    std::vector<double> m_xs;  ///< first values of the points, in data space
    std::vector<double> m_ys;  ///< second values, likewise
    int m_nWidth = 1;          ///< pixels
    bool m_bDotted = false;    ///< draws dots, else a full line
    bool m_bFlag2 = false;     ///< kept for the caller; painting does not read it
};

/// A dot centred on its anchor, and a second circle whose top left corner is there.
class LINKAGE_EXPORT EnhanceRoundData final : public IEnhanceDataBase {
public:
    /// Mind the order: the second diameter comes first here.
    EnhanceRoundData(int secondDiameter, int mainDiameter, double x, double y, int colour,
                     int transparency)
        : IEnhanceDataBase(DRAW_FIRST, x, y, colour, transparency),
          m_nSecondDiameter(secondDiameter),
          m_nMainDiameter(mainDiameter) {}

    void drawGraph(QPainter* painter, boost::function<QPointF(QPointF const&)>& map) override;

    int m_nSecondDiameter;  ///< pixels; 0: no second circle
    int m_nMainDiameter;    ///< pixels
};

/// A label: in a box when width and height are at least 1, else from its baseline.
class LINKAGE_EXPORT EnhanceTextData final : public IEnhanceDataBase {
public:
    EnhanceTextData() : IEnhanceDataBase(DRAW_FIRST, 0.0, 0.0, 0xff0000, 0) {}

    void drawGraph(QPainter* painter, boost::function<QPointF(QPointF const&)>& map) override;

    std::string m_strText;                 ///< UTF-8
    std::string m_strFontFamily = "宋体";  ///< name of the font family, UTF-8
    int m_nFontSize = 12;                  ///< kept for the caller; texts have the default size
    int m_nTextColour = 0xff0000;          ///< 0xRRGGBB, of the letters
    int m_nTextTransparency = 0;           ///< percent, of the letters
    int m_nBorderColour = 0xff0000;        ///< 0xRRGGBB, of the box
    int m_nBoxWidth = -1;                  ///< pixels
    int m_nBoxHeight = -1;                 ///< pixels; below 1 there is no box
    int m_nBorderTransparency = 100;       ///< percent, of the box
    int m_nOffsetX = 0;                    ///< pixels
    int m_nOffsetY = 0;                    ///< pixels
};

/// Keeps graphics by type and key, and paints them over a chart.
///
/// Graphics of a key are painted in the order in which they were added; adding the
/// same one twice paints it twice.
///
/// Threads: every operation from any thread. Each of the two stores has a recursive lock of its
/// own, held for the whole of an append, an erase or a paint; the operations themselves never
/// hold both. The map function of a paint runs under its store's lock. It may add to that
/// store, and paint it; what it adds shows from the next paint on. A map function that uses the
/// other store takes the second lock while the first is held; clearing always uses both stores.
/// While one thread paints with such a function, no other thread may paint the other store with
/// one, or both wait forever.
///
/// Every operation is virtual: see CLinkageManager.
class LINKAGE_EXPORT CEnhanceDrawManager {
public:
    /// See IEnhanceDataBase::EDrawType
    using EDrawType = IEnhanceDataBase::EDrawType;

    /// Only notes that it was called; drawing works without it.
    virtual void init();

    /// Adds a polyline, unless one of the vectors has fewer than two values. Every
    /// line is 0xff0000 and opaque: the last two numbers are not used.
    virtual void addDrawLineData(EDrawType type, std::string const& key, std::vector<double>& xs,
                                 std::vector<double>& ys, int width, bool dotted, bool flag2, int,
                                 int);

    /// Adds a dot. Mind the order: the main diameter comes first here.
    virtual void addDrawRoundData(EDrawType type, std::string const& key, double x, double y,
                                  int mainDiameter, int secondDiameter, int colour,
                                  int transparency);

    /// Adds a label. The parameters are the members of EnhanceTextData, in another order.
    virtual void addDrawTextData(EDrawType type, std::string const& key, double x, double y,
                                 std::string const& text, int textColour, std::string fontFamily,
                                 int fontSize, int textTransparency, int boxWidth, int boxHeight,
                                 int borderColour, int borderTransparency, int offsetX,
                                 int offsetY);

    /// Removes a key, or everything, from both stores, one after the other.
    virtual void clearDatas(std::string const& key);
    /// Removes all keys from both stores, likewise.
    virtual void clearDatas();

    /// Paints what a store has under a key. Sets the painter's clip to `clip` in any
    /// case and leaves it set. An empty `map` throws boost::bad_function_call at the
    /// first graphic.
    virtual void drawGraph(EDrawType type, std::string const& key, QPainter* painter,
                           QRect const& clip, boost::function<QPointF(QPointF const&)> map);

private:
    friend class utils::CSingletonT<CEnhanceDrawManager>;
    using Graphics = std::vector<boost::shared_ptr<IEnhanceDataBase>>;
    struct Store {
        boost::recursive_mutex m_mutex;
        std::map<std::string, Graphics> m_graphics;
    };

    CEnhanceDrawManager() = default;
    virtual ~CEnhanceDrawManager() = default;

    Store& store(EDrawType type) { return type == 0 ? m_first : m_second; }
    LINKAGE_LOCAL void append(EDrawType type, std::string const& key,
                              boost::shared_ptr<IEnhanceDataBase> graphic);

    Store m_first;
    Store m_second;
    std::atomic<bool> m_bInited{false};
};

}  // namespace TC

extern template class LINKAGE_EXPORT utils::CSingletonT<TC::CEnhanceDrawManager>;
