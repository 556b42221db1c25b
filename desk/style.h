#pragma once

#include <QColor>

class QApplication;

/// The look of the desk. As everywhere in this market red is up and green is down.
namespace desk::style {

inline const QColor GROUND{0x11, 0x16, 0x1f};
inline const QColor PANEL{0x18, 0x1f, 0x2a};
inline const QColor RAISED{0x20, 0x29, 0x37};
inline const QColor EDGE{0x2d, 0x38, 0x49};
inline const QColor TEXT{0xdc, 0xe3, 0xee};
inline const QColor FAINT{0x8b, 0x97, 0xaa};
inline const QColor ACCENT{0x4f, 0x9d, 0xff};
inline const QColor RISE{0xff, 0x5c, 0x66};
inline const QColor FALL{0x2f, 0xc4, 0x8d};

/// Palette, font and style sheet of all windows.
void apply(QApplication& application);

}  // namespace desk::style
