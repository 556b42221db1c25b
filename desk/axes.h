#pragma once

#include <QString>

#include <vector>

/// Where minutes and values stand on a chart. Values in, values out.
namespace desk {

/// The time axis of one day. It shows the market's session, in which the lunch break takes no room,
/// unless all data lie outside of it: then it shows plain clock time.
class CTimeAxis {
public:
    CTimeAxis() : CTimeAxis(0, 0) {}
    /// `first` and `last` minute to show; a day without data has first > last.
    CTimeAxis(int first, int last);

    /// Place of a minute, 0 (left) to 1 (right); minutes outside stand at the ends.
    double place(double minute) const;

    /// The minute that stands at a place from 0 to 1; at the lunch break its end.
    double minuteAt(double place) const;

    bool isSession() const { return m_bSession; }
    int first() const { return m_nFirst; }
    int last() const { return m_nLast; }

    /// Minutes that get a grid line, at most `most` of them.
    std::vector<int> marks(int most) const;

private:
    double offset(double minute) const;

    bool m_bSession = true;
    int m_nFirst;
    int m_nLast;
};

/// A value axis with round steps.
struct ValueAxis {
    double low = 0.0;
    double high = 1.0;
    double step = 1.0;

    /// An axis from `least` to `most` with a little room, in about `lines` steps, none smaller
    /// than `finest`.
    static ValueAxis over(double least, double most, int lines, double finest);

    /// 0 (bottom) to 1 (top).
    double place(double value) const { return (value - low) / (high - low); }
    std::vector<double> marks() const;
};

/// "hh:mm" of a minute of the day.
QString minuteText(int minute);

}  // namespace desk
