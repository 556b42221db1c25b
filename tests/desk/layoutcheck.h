#pragma once

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QApplication>
#include <QComboBox>
#include <QFontMetrics>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QScrollBar>
#include <QSizeGrip>
#include <QStringList>
#include <QTabBar>
#include <QTableView>

namespace support {

/// What of a window is cut off or lies over something else.
class CLayoutCheck {
public:
    static QStringList faults(const QWidget& window) {
        CLayoutCheck check;
        check.look(window);
        return check.m_faults;
    }

private:
    void look(const QWidget& widget) {
        if (const auto* label = qobject_cast<const QLabel*>(&widget)) lookAtLabel(*label);
        if (qobject_cast<const QAbstractButton*>(&widget) ||
            qobject_cast<const QComboBox*>(&widget))
            lookAtHint(widget);
        if (const auto* bar = qobject_cast<const QTabBar*>(&widget)) lookAtTabs(*bar);
        if (const auto* table = qobject_cast<const QTableView*>(&widget))
            return lookAtTable(*table);
        lookAtSiblings(widget);
        for (const QObject* child : widget.children()) {
            const auto* inner = qobject_cast<const QWidget*>(child);
            if (inner && inner->isVisible()) look(*inner);
        }
    }

    void lookAtLabel(const QLabel& label) {
        const QFontMetrics metrics(label.font());
        if (label.wordWrap()) {
            if (label.heightForWidth(label.width()) > label.height())
                fault("label too low", label.text());
        } else if (metrics.size(label.buddy() ? Qt::TextShowMnemonic : 0, label.text()).width() >
                   label.contentsRect().width()) {
            fault("label too narrow", label.text());
        }
        for (const uint letter : label.text().toUcs4()) {
            if (letter != '\n' && !metrics.inFontUcs4(letter))
                fault("letter without a glyph", label.text());
        }
    }

    void lookAtHint(const QWidget& widget) {
        const QSize hint = widget.sizeHint();
        if (widget.width() < hint.width() || widget.height() < hint.height())
            fault("smaller than its hint", widget.objectName());
    }

    void lookAtTabs(const QTabBar& bar) {
        const QFontMetrics metrics(bar.font());
        for (int i = 0; i < bar.count(); ++i) {
            if (bar.tabRect(i).width() < metrics.horizontalAdvance(bar.tabText(i)) + 16 ||
                bar.tabRect(i).right() > bar.width())
                fault("tab cut off", bar.tabText(i));
        }
    }

    void lookAtTable(const QTableView& table) {
        if (table.verticalScrollBar()->maximum() > 0 &&
            table.viewport()->height() % table.rowHeight(0) != 0)
            fault("row cut off", table.objectName());
        const QFontMetrics header(table.horizontalHeader()->font());
        for (int column = 0; column < table.model()->columnCount(); ++column) {
            if (table.isColumnHidden(column)) continue;
            const int width = table.columnWidth(column);
            const bool scrolls = table.horizontalScrollBarPolicy() != Qt::ScrollBarAlwaysOff;
            if (!scrolls &&
                table.columnViewportPosition(column) + width > table.viewport()->width())
                fault("column cut off", table.objectName());
            const QString title = table.model()->headerData(column, Qt::Horizontal).toString();
            if (header.horizontalAdvance(title) + 16 > width) fault("title cut off", title);
            for (int row = 0; row < table.model()->rowCount(); ++row) {
                const QModelIndex index = table.model()->index(row, column);
                const QString text = index.data().toString();
                const QVariant font = index.data(Qt::FontRole);
                const QFontMetrics cells(font.isValid() ? font.value<QFont>() : table.font());
                if (cells.horizontalAdvance(text) + 16 > width) fault("cell cut off", text);
                if (cells.height() > table.rowHeight(row)) fault("row too low", text);
            }
        }
    }

    /// Widgets that stand beside each other in one layout must not lie over each other.
    void lookAtSiblings(const QWidget& parent) {
        if (!parent.layout()) return;
        QList<const QWidget*> seen;
        for (const QObject* child : parent.children()) {
            const auto* widget = qobject_cast<const QWidget*>(child);
            if (!widget || !widget->isVisible() || widget->isWindow()) continue;
            if (qobject_cast<const QSizeGrip*>(widget)) continue;  // lies in its corner
            if (!parent.rect().contains(widget->geometry()))
                fault("outside of its parent", widget->objectName());
            for (const QWidget* other : seen) {
                if (other->geometry().intersects(widget->geometry()))
                    fault("overlap", other->objectName() + " and " + widget->objectName());
            }
            seen << widget;
        }
    }

    void fault(const QString& what, const QString& where) { m_faults << what + ": " + where; }

    QStringList m_faults;
};

}  // namespace support
