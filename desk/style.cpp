#include "desk/style.h"

#include <QApplication>
#include <QFont>
#include <QPainter>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QStyleOption>

namespace desk::style {

namespace {

constexpr int POINT_SIZE = 9;
constexpr int CELL_MARGIN = 8;

QPalette palette() {
    QPalette palette;
    palette.setColor(QPalette::Window, GROUND);
    palette.setColor(QPalette::WindowText, TEXT);
    palette.setColor(QPalette::Base, PANEL);
    palette.setColor(QPalette::AlternateBase, RAISED);
    palette.setColor(QPalette::Text, TEXT);
    palette.setColor(QPalette::Button, RAISED);
    palette.setColor(QPalette::ButtonText, TEXT);
    palette.setColor(QPalette::BrightText, RISE);
    palette.setColor(QPalette::ToolTipBase, RAISED);
    palette.setColor(QPalette::ToolTipText, TEXT);
    palette.setColor(QPalette::PlaceholderText, FAINT);
    palette.setColor(QPalette::Highlight, ACCENT.darker(230));
    palette.setColor(QPalette::HighlightedText, TEXT);
    palette.setColor(QPalette::Link, ACCENT);
    palette.setColor(QPalette::Light, EDGE);
    palette.setColor(QPalette::Mid, EDGE);
    palette.setColor(QPalette::Dark, GROUND.darker(120));
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, FAINT.darker(140));
    return palette;
}

const char* const SHEET = R"(
QTableView { border: 1px solid #2d3849; background: #181f2a; selection-background-color: #27456e; }
QTableView:focus { border-color: #4f9dff; }
QHeaderView { background: #202937; }
QHeaderView::section { background: #202937; color: #8b97aa; border: 0; padding: 4px 8px;
                       border-bottom: 1px solid #2d3849; }
QTabWidget::pane { border: 1px solid #2d3849; top: -1px; }
QTabBar::tab { background: #11161f; color: #8b97aa; padding: 6px 10px;
               border: 1px solid transparent; }
QTabBar::tab:selected { background: #181f2a; color: #dce3ee; border: 1px solid #2d3849;
                        border-bottom-color: #181f2a; }
QPushButton { background: #202937; border: 1px solid #2d3849; border-radius: 4px;
              padding: 5px 14px; }
QTabBar:focus { color: #4f9dff; }
QTabBar::tab:selected:focus { border-color: #4f9dff; }
QPushButton:focus { border: 1px solid #4f9dff; }
QPushButton:hover { border-color: #4f9dff; }
QPushButton:disabled { color: #5b6575; }
QPushButton[primary="true"] { background: #1f5fae; border-color: #2c76cf; }
QPushButton[primary="true"]:focus { border-color: #dce3ee; }
QPushButton[primary="true"]:disabled { background: #202937; border-color: #2d3849; }
QProgressBar { background: #202937; border: 0; border-radius: 3px; max-height: 6px; }
QProgressBar::chunk { background: #4f9dff; border-radius: 3px; }
QSplitter::handle { background: #11161f; }
QLabel[role="title"] { color: #8b97aa; padding: 2px 0; }
QLabel[role="heading"] { font-size: 12pt; }
QLabel[role="clock"] { font-size: 15pt; }
QLabel[role="faint"] { color: #8b97aa; }
QToolTip { border: 1px solid #2d3849; }
)";

/// Cells of tables keep the distance that their headers keep, and boxes show where the focus is.
class CDeskStyle final : public QProxyStyle {
public:
    CDeskStyle() : QProxyStyle(QStyleFactory::create("Fusion")) {}

    int pixelMetric(PixelMetric metric, const QStyleOption* option,
                    const QWidget* widget) const override {
        if (metric == PM_FocusFrameHMargin) return CELL_MARGIN - 1;
        return QProxyStyle::pixelMetric(metric, option, widget);
    }

    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                            QPainter* painter, const QWidget* widget) const override {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        if (control != CC_ComboBox || !(option->state & State_HasFocus)) return;
        painter->save();
        painter->setPen(ACCENT);
        painter->setBrush(Qt::NoBrush);
        painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
        painter->restore();
    }
};

}  // namespace

void apply(QApplication& application) {
    application.setStyle(new CDeskStyle);
    application.setPalette(palette());
    QFont font = application.font();
    font.setPointSize(POINT_SIZE);
    application.setFont(font);
    application.setStyleSheet(SHEET);
}

}  // namespace desk::style
