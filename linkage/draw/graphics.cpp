#include "linkage/draw/cenhancedrawmanager.h"
#include "platform/utils/text.h"

#include <QBrush>
#include <QColor>
#include <QFont>
#include <QPainter>
#include <QPainterPath>
#include <QPen>

#include <algorithm>

namespace TC {
namespace {

QColor colourOf(int colour, int transparency) {
    return QColor((colour >> 16) & 0xff, (colour >> 8) & 0xff, colour & 0xff,
                  static_cast<int>((100 - transparency) / 100.0 * 255.0));
}

}  // namespace

void EnhanceLineData::drawGraph(QPainter* painter, boost::function<QPointF(QPointF const&)>& map) {
    QPen pen(colourOf(m_nColour, m_nTransparency));
    pen.setStyle(m_bDotted ? Qt::DotLine : Qt::SolidLine);
    pen.setWidth(m_nWidth);
    painter->setPen(pen);

    QPainterPath path;
    const std::size_t count = std::min(m_xs.size(), m_ys.size());
    for (std::size_t i = 0; i < count; ++i) {
        const QPointF point = map(QPointF(m_xs[i], m_ys[i]));
        if (i == 0)
            path.moveTo(point);
        else
            path.lineTo(point);
    }
    if (path.isEmpty()) return;
    painter->setBrush(Qt::NoBrush);
    painter->drawPath(path);
}

void EnhanceRoundData::drawGraph(QPainter* painter, boost::function<QPointF(QPointF const&)>& map) {
    const QColor colour = colourOf(m_nColour, m_nTransparency);
    painter->setPen(QPen(colour));
    painter->setBrush(QBrush(colour, Qt::SolidPattern));

    const QPointF centre = map(QPointF(m_dX, m_dY));
    const int radius = m_nMainDiameter / 2;
    painter->drawEllipse(static_cast<int>(centre.x() - radius),
                         static_cast<int>(centre.y() - radius), m_nMainDiameter, m_nMainDiameter);
    if (m_nSecondDiameter != 0) {
        painter->drawEllipse(static_cast<int>(centre.x()), static_cast<int>(centre.y()),
                             m_nSecondDiameter, m_nSecondDiameter);
    }
}

void EnhanceTextData::drawGraph(QPainter* painter, boost::function<QPointF(QPointF const&)>& map) {
    painter->setPen(QPen(colourOf(m_nColour, m_nTransparency)));
    const QPointF anchor = map(QPointF(m_dX, m_dY));
    const int left = static_cast<int>(anchor.x() + m_nOffsetX);
    const int top = static_cast<int>(anchor.y() + m_nOffsetY);

    const bool boxed = m_nBoxWidth >= 1 && m_nBoxHeight >= 1;
    if (boxed) {
        painter->setPen(QPen(colourOf(m_nBorderColour, m_nBorderTransparency)));
        painter->drawRect(left, top, m_nBoxWidth, m_nBoxHeight);
    }
    painter->setPen(QPen(colourOf(m_nTextColour, m_nTextTransparency)));
    painter->setFont(QFont(Pim::sToQs(m_strFontFamily), -1, -1, false));

    const QString text = Pim::sToQs(m_strText);
    if (boxed)
        painter->drawText(left, top, m_nBoxWidth, m_nBoxHeight, Qt::AlignCenter, text);
    else
        painter->drawText(left, top, text);
}

}  // namespace TC
