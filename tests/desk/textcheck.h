#pragma once

#include <QAbstractButton>
#include <QLabel>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace support {

inline bool isChinese(const QString& text) {
    return std::any_of(text.begin(), text.end(),
                       [](QChar letter) { return letter.script() == QChar::Script_Han; });
}

/// Texts of a window that are not in its language. Names and figures belong to every language.
inline QStringList foreignTexts(const QWidget& window, bool chinese) {
    QStringList texts{window.windowTitle()};
    for (const auto* label : window.findChildren<QLabel*>())
        if (label->isVisible()) texts << label->text();
    for (const auto* button : window.findChildren<QAbstractButton*>())
        if (button->isVisible()) texts << button->text();
    static const QRegularExpression WORD("[A-Za-z]{3}");
    QStringList foreign;
    for (const QString& text : texts) {
        const bool isForeign = chinese ? text.contains(WORD) && !isChinese(text) : isChinese(text);
        if (isForeign) foreign << QString("foreign: %1").arg(text);
    }
    return foreign;
}

}  // namespace support
