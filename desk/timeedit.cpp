#include "desk/timeedit.h"

#include <QCoreApplication>
#include <QFontMetrics>

namespace desk {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(BalanceTime)
};

const QString SHOWN = QStringLiteral("HH:mm:ss");

}  // namespace

QTime typedTime(const QString& text) {
    QString digits = text.trimmed();
    if (digits.contains(':')) {
        QStringList parts = digits.split(':');
        for (QString& part : parts) {
            if (part.isEmpty() || part.size() > 2) return {};
            part = part.rightJustified(2, '0');
        }
        digits = parts.join(QString());
    }
    if (digits.size() == 3 || digits.size() == 5) digits.prepend('0');
    if (digits.size() == 4) digits.append(QStringLiteral("00"));
    return digits.size() == 6 ? QTime::fromString(digits, QStringLiteral("HHmmss")) : QTime();
}

QString timeRemark(const QTime& time, const QTime& now) {
    if (!time.isValid()) return Texts::tr("No time of day; write 1450 or 14:50:00");
    if (now.isValid() && time <= now)
        return Texts::tr("%1 is past: it balances nothing today any more")
            .arg(time.toString(SHOWN));
    return {};
}

CTimeEdit::CTimeEdit(QWidget* parent) : QLineEdit(parent) {
    setMaxLength(SHOWN.size());
    setPlaceholderText(SHOWN.toLower());
}

void CTimeEdit::setTime(const QTime& time) { setText(time.toString(SHOWN)); }

QSize CTimeEdit::sizeHint() const {
    const int width = fontMetrics().horizontalAdvance(QStringLiteral("00:00:00")) + 24;
    return {width, QLineEdit::sizeHint().height()};
}

}  // namespace desk
