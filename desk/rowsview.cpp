#include "desk/rowsview.h"

#include "desk/sortedrows.h"
#include "desk/style.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QFontMetrics>
#include <QKeyEvent>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QRegularExpression>
#include <QSaveFile>
#include <QScrollBar>
#include <QStyledItemDelegate>

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <utility>

namespace desk {

namespace {

constexpr int PADDING = 17;
constexpr int SORT_MARK = 16;
/// When more rows than this change at once, the table was just filled, and its first rows are
/// enough to measure.
constexpr int MEASURED_AT_MOST = 200;
/// Words whose widths are kept.
constexpr int MOST_WORDS = 2000;

/// What a saved layout begins with. One of an earlier version begins with neither.
const QByteArray WIDTHS_BY_HAND("h");
const QByteArray WIDTHS_BY_CONTENT("c");

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

using Advances = std::array<double, 128>;

/// Letters of which figures are made.
const QString FIGURES = QStringLiteral("0123456789,.:-+% ");

/// How wide the letters of figures are. The window's thread; few fonts are in use.
const Advances& advancesOf(const QFont& font) {
    static std::vector<std::pair<QFont, Advances>> known;
    const auto found = std::find_if(known.begin(), known.end(),
                                    [&font](const auto& each) { return each.first == font; });
    if (found != known.end()) return found->second;
    Advances advances{};
    const QFontMetricsF metrics(font);
    for (const QChar letter : FIGURES)
        advances[letter.unicode()] = metrics.horizontalAdvance(letter);
    return known.emplace_back(font, advances).second;
}

QFont bold(QFont font) {
    font.setBold(true);
    return font;
}

}  // namespace

CRowsView::CRowsView(std::vector<Column> columns, ESorting sorting, QWidget* parent)
    : QTableView(parent), m_pRows(new CRowsModel(std::move(columns), this)) {
    if (sorting == ESorting::ByUser) {
        m_pSorted = new CSortedRows(*m_pRows, this);
        setModel(m_pSorted);
        setSortingEnabled(true);
        sortByColumn(-1, Qt::AscendingOrder);  // the source's order until the user asks
    } else {
        setModel(m_pRows);
    }
    followRows();
    setItemDelegate(new CRowsDelegate(this));
    setSelectionBehavior(SelectRows);
    setSelectionMode(ExtendedSelection);
    setTabKeyNavigation(false);
    makeMenus();
    setShowGrid(false);
    setWordWrap(false);
    setTextElideMode(Qt::ElideRight);
    setHorizontalScrollMode(ScrollPerPixel);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 8);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);

    for (std::size_t column = 0; column < m_pRows->columns().size(); ++column)
        m_widths.push_back(titleWidth(column));
    connect(horizontalHeader(), &QHeaderView::sectionResized, this,
            [this] { m_bByHand |= !m_bSpreading && isVisible(); });
    connect(horizontalHeader(), &QHeaderView::sortIndicatorChanged, this,
            &CRowsView::makeRoomForMark);
    connect(m_pRows, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex&, int first, int last) { measure(first, last); });
    connect(m_pRows, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex& first, const QModelIndex& last) {
                measure(first.row(), last.row());
            });
}

void CRowsView::followRows() {
    connect(m_pRows, &CRowsModel::sigSetting, this, [this] {
        m_bInSight =
            currentIndex().isValid() && viewport()->rect().intersects(visualRect(currentIndex()));
    });
    connect(m_pRows, &CRowsModel::sigSet, this, [this] {
        if (m_pSorted) m_pSorted->sortAnew();
        if (!m_bInSight || !currentIndex().isValid()) return;
        const int across = horizontalScrollBar()->value();
        scrollTo(currentIndex());
        horizontalScrollBar()->setValue(across);
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
    const bool scrolls = neededWidth() > viewport()->width();
    return (scrolls ? horizontalScrollBar()->sizeHint().height() : 0) +
           horizontalHeader()->sizeHint().height() + rows * verticalHeader()->defaultSectionSize() +
           2 * frameWidth();
}

void CRowsView::measureAnew() {
    m_bByHand = false;
    for (auto& measured : m_measured) measured.clear();
    for (std::size_t column = 0; column < m_widths.size(); ++column)
        m_widths[column] = titleWidth(column);
    measure(0, m_pRows->rowCount() - 1);
    spread();
}

/// Figures are new with each picture, so the widths of their letters are added up; words come
/// again.
int CRowsView::widthOf(const QString& text, bool heading) {
    const QFont letters = heading ? bold(font()) : font();
    const bool isFigure = std::all_of(text.begin(), text.end(),
                                      [](QChar letter) { return FIGURES.contains(letter); });
    if (isFigure) {
        const auto& advances = advancesOf(letters);
        double width = 0.0;
        for (const QChar letter : text) width += advances[letter.unicode()];
        return static_cast<int>(std::ceil(width));
    }
    auto& measured = m_measured[heading];
    if (measured.size() > MOST_WORDS) measured.clear();
    const auto found = measured.constFind(text);
    if (found != measured.constEnd()) return *found;
    return *measured.insert(text, QFontMetrics(letters).horizontalAdvance(text));
}

void CRowsView::measure(int first, int last) {
    bool wider = false;
    for (int i = first; i <= std::min(last, first + MEASURED_AT_MOST); ++i) {
        const bool heading = m_pRows->row(i).heading;
        for (std::size_t column = 0; column < m_widths.size(); ++column) {
            const QModelIndex cell = m_pRows->index(i, static_cast<int>(column));
            const QString text = m_pRows->data(cell, Qt::DisplayRole).toString();
            const int width = widthOf(text, heading) + PADDING;
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

QString CRowsView::csv() const {
    const auto line = [this](const auto& textOf) {
        QStringList cells;
        for (int column = 0; column < model()->columnCount(); ++column) {
            if (isColumnHidden(column)) continue;
            QString text = textOf(column);
            if (text.contains(QRegularExpression("[\",\n]")))
                text = QString("\"%1\"").arg(text.replace('"', QStringLiteral("\"\"")));
            cells << text;
        }
        return cells.join(',') + '\n';
    };
    QString text =
        line([this](int column) { return model()->headerData(column, Qt::Horizontal).toString(); });
    for (int row = 0; row < model()->rowCount(); ++row)
        text += line([this, row](int column) {
            return model()->index(row, column).data().toString().trimmed();
        });
    return text;
}

/// The file begins with a mark by which spreadsheets know UTF-8.
void CRowsView::saveCsv() {
    auto* dialog = new QFileDialog(this, tr("Save the table as CSV"));
    dialog->setObjectName("csvDialog");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QStringLiteral("csv"));
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) {
        QSaveFile file(path);
        const QByteArray text = csv().prepend(QChar(QChar::ByteOrderMark)).toUtf8();
        const bool saved =
            file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit();
        if (!saved)
            QMessageBox::warning(this, tr("Save the table as CSV"),
                                 tr("%1 cannot be written: %2").arg(path, file.errorString()));
    });
    dialog->open();
}

void CRowsView::makeMenus() {
    const auto add = [this](const QString& text, auto work) {
        auto* action = new QAction(text, this);
        connect(action, &QAction::triggered, this, work);
        addAction(action);
        return action;
    };
    QAction* copy = add(tr("&Copy rows"), &CRowsView::copyChosen);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    add(tr("&Save as CSV…"), &CRowsView::saveCsv);
    add(tr("Choose c&olumns…"),
        [this] { chooseColumns(horizontalHeader()->mapToGlobal(QPoint())); });
    setContextMenuPolicy(Qt::ActionsContextMenu);
    horizontalHeader()->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(horizontalHeader(), &QWidget::customContextMenuRequested, this,
            [this](const QPoint& place) { chooseColumns(horizontalHeader()->mapToGlobal(place)); });
}

/// The first column always stays.
void CRowsView::chooseColumns(const QPoint& place) {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (int column = 1; column < model()->columnCount(); ++column) {
        QAction* action = menu->addAction(model()->headerData(column, Qt::Horizontal).toString());
        action->setCheckable(true);
        action->setChecked(!isColumnHidden(column));
        connect(action, &QAction::toggled, this, [this, column](bool shown) {
            m_bSpreading = true;  // showing a column is not giving it a width
            setColumnHidden(column, !shown);
            m_bSpreading = false;
            spread();
        });
    }
    menu->popup(place);
}

QByteArray CRowsView::layoutState() const {
    const bool isSorted = m_pSorted && m_pSorted->sortColumn() >= 0;
    const bool isChanged = m_bByHand || isSorted || horizontalHeader()->hiddenSectionCount() > 0;
    if (!isChanged) return {};
    return (m_bByHand ? WIDTHS_BY_HAND : WIDTHS_BY_CONTENT) + horizontalHeader()->saveState();
}

void CRowsView::restoreLayout(const QByteArray& state) {
    if (state.isEmpty()) return;
    const bool byContent = state.startsWith(WIDTHS_BY_CONTENT);
    const bool isMarked = byContent || state.startsWith(WIDTHS_BY_HAND);
    const bool restored = horizontalHeader()->restoreState(isMarked ? state.mid(1) : state);
    m_bByHand = restored && !byContent;
    spread();
}

/// Widths that the user has given stay.
void CRowsView::spread() {
    if (m_bByHand) return;
    m_bSpreading = true;
    std::vector<int> shown;
    shown.reserve(m_widths.size());
    int used = 0;
    for (int i = 0; i < static_cast<int>(m_widths.size()); ++i) {
        if (isColumnHidden(i)) continue;
        shown.push_back(i);
        used += m_widths[static_cast<std::size_t>(i)];
    }
    const int count = static_cast<int>(shown.size());
    const int spare = std::max(0, viewport()->width() - used);
    for (int place = 0; place < count; ++place) {
        // The first columns take the pixels that do not divide evenly.
        const int share = spare / count + (place < spare % count ? 1 : 0);
        const int column = shown[static_cast<std::size_t>(place)];
        setColumnWidth(column, m_widths[static_cast<std::size_t>(column)] + share);
    }
    m_bSpreading = false;
    updateGeometries();  // a scroll bar may have come or gone
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

void CRowsView::keyPressEvent(QKeyEvent* event) {
    const QString text = event->text();
    const bool digit = text.size() == 1 && text.front().isDigit();
    if (m_nEdited >= 0 && digit && currentIndex().isValid() && state() != EditingState)
        setCurrentIndex(currentIndex().siblingAtColumn(m_nEdited));
    QTableView::keyPressEvent(event);
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
