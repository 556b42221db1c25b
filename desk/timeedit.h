#pragma once

#include <QLineEdit>
#include <QTime>

namespace desk {

/// A time of day that is typed as digits, with or without colons: 1450, 14:50, 145005, 14:50:05.
/// Any other text is no time.
QTime typedTime(const QString& text);

/// What there is to say about a balance time while it is typed; empty for a time still to come.
/// `now` is the client's time.
QString timeRemark(const QTime& time, const QTime& now);

/// A line for a time of day that takes digits at once.
class CTimeEdit final : public QLineEdit {
    Q_OBJECT

public:
    explicit CTimeEdit(QWidget* parent = nullptr);

    /// Invalid while the text is no time.
    QTime time() const { return typedTime(text()); }
    void setTime(const QTime& time);

    QSize sizeHint() const override;
};

}  // namespace desk
