#include "desk/rowsmodel.h"

#include "desk/style.h"
#include "platform/utils/numberformat.h"

#include <QFont>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <utility>

namespace desk {

namespace {

QString money(double value, int flags) {
    return QString::fromStdString(utils::formatDoubleNumber(value, flags));
}

/// A price has two decimals, or three when the third is not 0.
QString price(double value) {
    if (!std::isfinite(value)) return money(value, utils::FORMAT_NUMBER_NONE);
    const QString digits = QString::number(std::fabs(value), 'f', 3);
    const QString whole = formatted(digits.section('.', 0, 0).toLongLong(), EFormat::Count);
    QString text = whole + '.' + digits.section('.', 1);
    if (text.endsWith('0')) text.chop(1);
    return value < 0 && digits != "0.000" ? '-' + text : text;
}

bool isNumber(EFormat format) {
    return format != EFormat::Text && format != EFormat::Side && format != EFormat::Time;
}

QVariant colourOf(const QVariant& value, EFormat format) {
    if (format == EFormat::Side) return value.toBool() ? style::RISE : style::FALL;
    const bool coloured = format == EFormat::Profit || format == EFormat::Change;
    if (!coloured || value.toDouble() == 0.0) return {};
    return value.toDouble() > 0.0 ? style::RISE : style::FALL;
}

}  // namespace

QString formatted(const QVariant& value, EFormat format) {
    if (!value.isValid()) return {};
    switch (format) {
        case EFormat::Text:
            return value.toString();
        case EFormat::Count:
            return QString::fromStdString(
                utils::formatIntNumber(value.toLongLong(), 0, utils::FORMAT_NUMBER_GROUPED));
        case EFormat::Yuan:
            return QString::fromStdString(utils::formatIntNumber(std::llround(value.toDouble()), 0,
                                                                 utils::FORMAT_NUMBER_GROUPED));
        case EFormat::Price:
            // A word instead of a price, as of a market order, stays.
            return value.type() == QVariant::String ? value.toString() : price(value.toDouble());
        case EFormat::Money:
            return money(value.toDouble(), utils::FORMAT_NUMBER_GROUPED);
        case EFormat::Profit:
            return money(value.toDouble(),
                         utils::FORMAT_NUMBER_GROUPED | utils::FORMAT_NUMBER_SIGNED);
        case EFormat::Change:
            return QString("%1%").arg(money(
                value.toDouble(), utils::FORMAT_NUMBER_GROUPED | utils::FORMAT_NUMBER_SIGNED));
        case EFormat::Side:
            return value.toBool() ? CRowsModel::tr("Buy") : CRowsModel::tr("Sell");
        case EFormat::Time: {
            QString text = value.toString();
            if (text.size() != 6) return text;
            return text.left(2) + ':' + text.mid(2, 2) + ':' + text.right(2);
        }
    }
    return {};
}

CRowsModel::CRowsModel(std::vector<Column> columns, QObject* parent)
    : QAbstractTableModel(parent), m_columns(std::move(columns)) {}

int CRowsModel::indexOf(const QString& key) const {
    const auto found = std::find_if(m_rows.begin(), m_rows.end(),
                                    [&key](const Row& row) { return row.key == key; });
    return found == m_rows.end() ? -1 : static_cast<int>(found - m_rows.begin());
}

void CRowsModel::setRows(std::vector<Row> rows) {
    if (rows == m_rows) return;
    Q_EMIT sigSetting();
    removeMissing(rows);
    arrange(rows);
    QSet<QString> present;
    present.reserve(static_cast<int>(m_rows.size()));
    for (const Row& row : m_rows) present.insert(row.key);
    std::size_t next = 0;
    while (next < rows.size()) {
        std::size_t end = next;  // of the new rows that stand together
        while (end < rows.size() && !present.contains(rows[end].key)) ++end;
        insert(next, {std::make_move_iterator(rows.begin() + std::ptrdiff_t(next)),
                      std::make_move_iterator(rows.begin() + std::ptrdiff_t(end))});
        if (end < rows.size()) place(static_cast<int>(end), std::move(rows[end]));
        next = end + 1;
    }
    removeFrom(rows.size());
    Q_EMIT sigSet();
}

void CRowsModel::insert(std::size_t index, std::vector<Row> rows) {
    if (rows.empty()) return;
    beginInsertRows({}, static_cast<int>(index), static_cast<int>(index + rows.size()) - 1);
    m_rows.insert(m_rows.begin() + static_cast<std::ptrdiff_t>(index),
                  std::make_move_iterator(rows.begin()), std::make_move_iterator(rows.end()));
    endInsertRows();
}

void CRowsModel::removeMissing(const std::vector<Row>& rows) {
    QSet<QString> keys;
    for (const Row& row : rows) keys.insert(row.key);
    for (int last = static_cast<int>(m_rows.size()) - 1; last >= 0; --last) {
        if (keys.contains(row(last).key)) continue;
        int first = last;
        while (first > 0 && !keys.contains(row(first - 1).key)) --first;
        beginRemoveRows({}, first, last);
        m_rows.erase(m_rows.begin() + first, m_rows.begin() + last + 1);
        endRemoveRows();
        last = first;
    }
}

/// Brings the rows into the order of the new ones, in one step: when one row goes down, each row
/// that it passes would be a move of its own, and each move sorts the table.
void CRowsModel::arrange(const std::vector<Row>& rows) {
    QHash<QString, int> places;
    places.reserve(static_cast<int>(rows.size()));
    for (std::size_t i = rows.size(); i-- > 0;) places.insert(rows[i].key, static_cast<int>(i));
    std::vector<std::pair<int, int>> order;  // the new place, and where the row stands now
    order.reserve(m_rows.size());
    for (std::size_t i = 0; i < m_rows.size(); ++i)
        order.emplace_back(places.value(m_rows[i].key), static_cast<int>(i));
    if (std::is_sorted(order.begin(), order.end())) return;
    std::sort(order.begin(), order.end());

    Q_EMIT layoutAboutToBeChanged();
    std::vector<Row> arranged;
    std::vector<int> now(order.size());
    arranged.reserve(order.size());
    for (const auto& [place, from] : order) {
        now[static_cast<std::size_t>(from)] = static_cast<int>(arranged.size());
        arranged.push_back(std::move(m_rows[static_cast<std::size_t>(from)]));
    }
    m_rows = std::move(arranged);
    for (const QModelIndex& old : persistentIndexList())
        changePersistentIndex(old, index(now[static_cast<std::size_t>(old.row())], old.column()));
    Q_EMIT layoutChanged();
}

/// The row stands there already, except when its key stands in the source twice.
void CRowsModel::place(int index, Row&& row) {
    if (index < rowCount() && this->row(index).key == row.key) return update(index, std::move(row));
    std::vector<Row> single;
    single.push_back(std::move(row));
    insert(static_cast<std::size_t>(index), std::move(single));
}

/// What is left of a key that stood in the source twice.
void CRowsModel::removeFrom(std::size_t index) {
    if (index >= m_rows.size()) return;
    beginRemoveRows({}, static_cast<int>(index), rowCount() - 1);
    m_rows.resize(index);
    endRemoveRows();
}

void CRowsModel::update(int index, Row&& row) {
    Row& present = m_rows[static_cast<std::size_t>(index)];
    if (present == row) return;
    present = std::move(row);
    Q_EMIT dataChanged(this->index(index, 0), this->index(index, columnCount() - 1));
}

int CRowsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int CRowsModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

QVariant CRowsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const Row& shown = row(index.row());
    const auto column = static_cast<std::size_t>(index.column());
    const EFormat format = m_columns[column].format;
    QVariant value = column < shown.cells.size() ? shown.cells[column] : QVariant();
    switch (role) {
        case Qt::DisplayRole:
            return formatted(value, format);
        case Qt::EditRole:
        case ROLE_VALUE:
            return value;
        case ROLE_KEY:
            return shown.key;
        case Qt::ForegroundRole:
            if (const int from = m_columns[column].colourFrom; from >= 0)
                return colourOf(shown.cells[static_cast<std::size_t>(from)], EFormat::Profit);
            return colourOf(value, format);
        case Qt::TextAlignmentRole:
            return int((isNumber(format) ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
        case Qt::FontRole:
            if (shown.heading) {
                QFont font;
                font.setBold(true);
                return font;
            }
            return {};
        case Qt::BackgroundRole:
            return shown.heading ? QVariant(style::RAISED) : QVariant();
        default:
            return {};
    }
}

QVariant CRowsModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    const Column& column = m_columns[static_cast<std::size_t>(section)];
    if (role == Qt::DisplayRole) return column.title;
    if (role == Qt::ToolTipRole && !column.tip.isEmpty()) return column.tip;
    if (role == Qt::TextAlignmentRole)
        return int((isNumber(column.format) ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    return {};
}

Qt::ItemFlags CRowsModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (index.isValid() && m_columns[static_cast<std::size_t>(index.column())].editable)
        flags |= Qt::ItemIsEditable;
    return flags;
}

bool CRowsModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || !(flags(index) & Qt::ItemIsEditable)) return false;
    Q_EMIT sigEdited(row(index.row()).key, index.column(), value);
    return true;
}

}  // namespace desk
