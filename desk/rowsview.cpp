#include "desk/rowsview.h"

#include "desk/style.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFontMetrics>
#include <QHeaderView>
#include <QPainter>
#include <QScrollBar>
#include <QSortFilterProxyModel>
#include <QStyledItemDelegate>

#include <algorithm>
#include <numeric>
#include <utility>

namespace desk {

namespace {

constexpr int PADDING = 17;
constexpr int SORT_MARK = 16;
/// When more rows than this change at once, the table was just filled, and its first rows are
/// enough to measure.
constexpr int MEASURED_AT_MOST = 200;

/// Gain and loss keep their colours in the chosen row.
class CRowsDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        option->palette.setBrush(QPalette::HighlightedText, option->palette.brush(QPalette::Text));
    }
};

QFont bold(QFont font) {
    font.setBold(true);
    return font;
}

}  // namespace

CRowsView::CRowsView(std::vector<Column> columns, ESorting sorting, QWidget* parent)
    : QTableView(parent), m_pRows(new CRowsModel(std::move(columns), this)) {
    if (sorting == ESorting::ByUser) {
        m_pSorted = new QSortFilterProxyModel(this);
        m_pSorted->setSourceModel(m_pRows);
        m_pSorted->setSortRole(CRowsModel::ROLE_VALUE);
        setModel(m_pSorted);
        setSortingEnabled(true);
        sortByColumn(-1, Qt::AscendingOrder);  // the source's order until the user asks
    } else {
        setModel(m_pRows);
    }
    setItemDelegate(new CRowsDelegate(this));
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    auto* copy = new QAction(tr("Copy rows"), this);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, &CRowsView::copyChosen);
    addAction(copy);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    setShowGrid(false);
    setWordWrap(false);
    setTextElideMode(Qt::ElideRight);
    setHorizontalScrollMode(ScrollPerPixel);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 8);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);

    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    for (std::size_t column = 0; column < m_pRows->columns().size(); ++column)
        m_widths.push_back(titleWidth(column));
    connect(horizontalHeader(), &QHeaderView::sortIndicatorChanged, this,
            &CRowsView::makeRoomForMark);
    connect(m_pRows, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex&, int first, int last) { measure(first, last); });
    connect(m_pRows, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex& first, const QModelIndex& last) {
                measure(first.row(), last.row());
            });
}

int CRowsView::titleWidth(std::size_t column) const {
    const QFontMetrics metrics(horizontalHeader()->font());
    return metrics.horizontalAdvance(m_pRows->columns()[column].title) + PADDING;
}

int CRowsView::neededWidth(bool whole) const {
    const int columns = std::accumulate(m_widths.begin(), m_widths.end(), 0);
    if (!whole) return columns;
    return columns + 2 * frameWidth() + verticalScrollBar()->sizeHint().width();
}

int CRowsView::heightOf(int rows) const {
    return horizontalHeader()->sizeHint().height() + rows * verticalHeader()->defaultSectionSize() +
           2 * frameWidth();
}

void CRowsView::measureAnew() {
    for (std::size_t column = 0; column < m_widths.size(); ++column)
        m_widths[column] = titleWidth(column);
    measure(0, m_pRows->rowCount() - 1);
    spread();
}

void CRowsView::measure(int first, int last) {
    const QFontMetrics plain(font());
    const QFontMetrics heading(bold(font()));
    bool wider = false;
    for (int i = first; i <= std::min(last, first + MEASURED_AT_MOST); ++i) {
        const QFontMetrics& metrics = m_pRows->row(i).heading ? heading : plain;
        for (std::size_t column = 0; column < m_widths.size(); ++column) {
            const QModelIndex cell = m_pRows->index(i, static_cast<int>(column));
            const QString text = m_pRows->data(cell, Qt::DisplayRole).toString();
            const int width = metrics.horizontalAdvance(text) + PADDING;
            wider |= width > m_widths[column];
            m_widths[column] = std::max(m_widths[column], width);
        }
    }
    if (wider) spread();
}

/// Widens a column so that the sort mark fits beside its title.
void CRowsView::makeRoomForMark(int column) {
    if (column < 0) return;
    const QString title = m_pRows->columns()[static_cast<std::size_t>(column)].title;
    const int width = QFontMetrics(horizontalHeader()->font()).horizontalAdvance(title);
    int& kept = m_widths[static_cast<std::size_t>(column)];
    kept = std::max(kept, width + PADDING + SORT_MARK);
    spread();
}

void CRowsView::setScrolling() {
    m_bScrolling = true;
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    spread();
}

QString CRowsView::chosenText() const {
    QModelIndexList chosen = selectionModel()->selectedRows();
    std::sort(chosen.begin(), chosen.end());
    QString text;
    for (const QModelIndex& row : chosen) {
        for (int column = 0; column < model()->columnCount(); ++column) {
            if (column > 0) text += '\t';
            text += row.sibling(row.row(), column).data().toString();
        }
        text += '\n';
    }
    return text;
}

void CRowsView::copyChosen() const { QApplication::clipboard()->setText(chosenText()); }

/// How many columns fit into `room`; at least one.
int CRowsView::shownColumns(int room) const {
    int used = m_widths.front();
    std::size_t count = 1;
    while (count < m_widths.size() && used + m_widths[count] <= room) used += m_widths[count++];
    return static_cast<int>(count);
}

void CRowsView::spread() {
    const int room = viewport()->width();
    const int count = m_bScrolling ? static_cast<int>(m_widths.size()) : shownColumns(room);
    const int used = std::accumulate(m_widths.begin(), m_widths.begin() + count, 0);
    const int spare = std::max(0, room - used);
    for (int i = 0; i < static_cast<int>(m_widths.size()); ++i) {
        setColumnHidden(i, i >= count);
        // The first columns take the pixels that do not divide evenly.
        const int share = spare / count + (i < spare % count ? 1 : 0);
        if (i < count) setColumnWidth(i, m_widths[static_cast<std::size_t>(i)] + share);
    }
}

void CRowsView::paintEvent(QPaintEvent* event) {
    QTableView::paintEvent(event);
    if (m_pRows->rowCount() > 0 || m_strPlaceholder.isEmpty()) return;
    QPainter painter(viewport());
    painter.setPen(style::FAINT);
    painter.drawText(viewport()->rect().adjusted(PADDING, 0, -PADDING, 0),
                     Qt::AlignCenter | Qt::TextWordWrap, m_strPlaceholder);
}

/// Leaves the space below the last whole row free, instead of showing a part of a row.
void CRowsView::updateGeometries() {
    if (m_bMeasuring) return;
    m_bMeasuring = true;
    QTableView::updateGeometries();
    const int row = verticalHeader()->defaultSectionSize();
    const int rest = viewport()->height() % row;
    const bool full = m_pRows->rowCount() * row > viewport()->height();
    if (full && rest > 0 && viewport()->height() > row) {
        QMargins margins = viewportMargins();
        margins.setBottom(rest);
        setViewportMargins(margins);
    }
    m_bMeasuring = false;
}

void CRowsView::resizeEvent(QResizeEvent* event) {
    QTableView::resizeEvent(event);
    spread();
}

QString CRowsView::currentKey() const {
    return currentIndex().isValid() ? currentIndex().data(CRowsModel::ROLE_KEY).toString()
                                    : QString();
}

void CRowsView::chooseKey(const QString& key) {
    const int row = m_pRows->indexOf(key);
    if (row < 0) return;
    const QModelIndex source = m_pRows->index(row, 0);
    setCurrentIndex(m_pSorted ? m_pSorted->mapFromSource(source) : source);
}

void CRowsView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTableView::currentChanged(current, previous);
    if (current.isValid() && current.row() != previous.row())
        Q_EMIT sigChosen(current.data(CRowsModel::ROLE_KEY).toString());
}

}  // namespace desk
