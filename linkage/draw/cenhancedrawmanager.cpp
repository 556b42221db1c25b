#include "linkage/draw/cenhancedrawmanager.h"

#include "platform/utils/singletonimpl.h"

#include <QPainter>

#include <boost/make_shared.hpp>
#include <boost/thread/locks.hpp>

#include <utility>

template class utils::CSingletonT<TC::CEnhanceDrawManager>;

namespace TC {

using Lock = boost::lock_guard<boost::recursive_mutex>;

void CEnhanceDrawManager::init() { m_bInited = true; }

void CEnhanceDrawManager::append(EDrawType type, std::string const& key,
                                 boost::shared_ptr<IEnhanceDataBase> graphic) {
    Store& target = store(type);
    const Lock lock(target.m_mutex);
    target.m_graphics[key].push_back(std::move(graphic));
}

void CEnhanceDrawManager::addDrawLineData(EDrawType type, std::string const& key,
                                          std::vector<double>& xs, std::vector<double>& ys,
                                          int width, bool dotted, bool flag2, int, int) {
    if (xs.size() < 2 || ys.size() < 2) return;
    auto line = boost::make_shared<EnhanceLineData>();
    line->m_xs = xs;
    line->m_ys = ys;
    line->m_nWidth = width;
    line->m_bDotted = dotted;
    line->m_bFlag2 = flag2;
    append(type, key, std::move(line));
}

void CEnhanceDrawManager::addDrawRoundData(EDrawType type, std::string const& key, double x,
                                           double y, int mainDiameter, int secondDiameter,
                                           int colour, int transparency) {
    append(type, key,
           boost::make_shared<EnhanceRoundData>(secondDiameter, mainDiameter, x, y, colour,
                                                transparency));
}

void CEnhanceDrawManager::addDrawTextData(EDrawType type, std::string const& key, double x,
                                          double y, std::string const& text, int textColour,
                                          std::string fontFamily, int fontSize,
                                          int textTransparency, int boxWidth, int boxHeight,
                                          int borderColour, int borderTransparency, int offsetX,
                                          int offsetY) {
    auto label = boost::make_shared<EnhanceTextData>();
    label->m_dX = x;
    label->m_dY = y;
    label->m_strText = text;
    label->m_nTextColour = textColour;
    label->m_strFontFamily = std::move(fontFamily);
    label->m_nFontSize = fontSize;
    label->m_nTextTransparency = textTransparency;
    label->m_nBoxWidth = boxWidth;
    label->m_nBoxHeight = boxHeight;
    label->m_nBorderColour = borderColour;
    label->m_nBorderTransparency = borderTransparency;
    label->m_nOffsetX = offsetX;
    label->m_nOffsetY = offsetY;
    append(type, key, std::move(label));
}

void CEnhanceDrawManager::clearDatas(std::string const& key) {
    for (Store* target : {&m_first, &m_second}) {
        const Lock lock(target->m_mutex);
        target->m_graphics.erase(key);
    }
}

void CEnhanceDrawManager::clearDatas() {
    for (Store* target : {&m_first, &m_second}) {
        const Lock lock(target->m_mutex);
        target->m_graphics.clear();
    }
}

void CEnhanceDrawManager::drawGraph(EDrawType type, std::string const& key, QPainter* painter,
                                    QRect const& clip,
                                    boost::function<QPointF(QPointF const&)> map) {
    painter->setClipRect(clip, Qt::ReplaceClip);
    Store& source = store(type);
    const Lock lock(source.m_mutex);
    const auto found = source.m_graphics.find(key);
    if (found == source.m_graphics.end()) return;
    // A copy, because the lock is recursive: the map function may add to this key or
    // clear it while we walk.
    const Graphics graphics = found->second;
    for (const auto& graphic : graphics) graphic->drawGraph(painter, map);
}

}  // namespace TC
