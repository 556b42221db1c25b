#include "desk/sortedrows.h"

namespace desk {

namespace {

bool isNumber(const QVariant& value) {
    switch (value.type()) {
        case QVariant::Bool:
        case QVariant::Int:
        case QVariant::UInt:
        case QVariant::LongLong:
        case QVariant::ULongLong:
        case QVariant::Double:
            return true;
        default:
            return false;
    }
}

/// Below 0, 0 or above: like the names. An empty cell comes first.
int compare(const QVariant& left, const QVariant& right) {
    if (!left.isValid() || !right.isValid()) return int(left.isValid()) - int(right.isValid());
    if (isNumber(left) != isNumber(right)) return isNumber(left) ? -1 : 1;
    if (!isNumber(left)) return QString::compare(left.toString(), right.toString());
    // Keys of orders have more digits than a double keeps.
    if (left.type() == QVariant::ULongLong && right.type() == QVariant::ULongLong) {
        const qulonglong one = left.toULongLong(), other = right.toULongLong();
        return one < other ? -1 : int(one > other);
    }
    const double one = left.toDouble(), other = right.toDouble();
    return one < other ? -1 : int(one > other);
}

QVariant valueOf(const Row& row, int column) {
    const auto cell = static_cast<std::size_t>(column);
    return cell < row.cells.size() ? row.cells[cell] : QVariant();
}

}  // namespace

CSortedRows::CSortedRows(CRowsModel& rows, QObject* parent)
    : QSortFilterProxyModel(parent), m_rows(rows) {
    setDynamicSortFilter(false);
    // Before the base hears of it, which then sorts by what stood elsewhere.
    connect(&rows, &QAbstractItemModel::layoutChanged, this, &CSortedRows::noteHeadings);
    setSourceModel(&rows);
}

void CSortedRows::sortAnew() {
    if (sortColumn() >= 0) sort(sortColumn(), sortOrder());
}

void CSortedRows::noteHeadings() {
    m_headings.clear();
    for (int i = 0; i < m_rows.rowCount(); ++i) {
        if (m_rows.row(i).heading) m_headings.insert(m_rows.row(i).group, i);
    }
}

void CSortedRows::sort(int column, Qt::SortOrder order) {
    noteHeadings();
    QSortFilterProxyModel::sort(column, order);
}

bool CSortedRows::lessThan(const QModelIndex& left, const QModelIndex& right) const {
    const Row& one = m_rows.row(left.row());
    const Row& other = m_rows.row(right.row());
    const int column = left.column();
    if (one.group == other.group) {
        // The heading stands above its rows, whichever way they are sorted.
        if (one.heading != other.heading) return one.heading == (sortOrder() == Qt::AscendingOrder);
        return compare(valueOf(one, column), valueOf(other, column)) < 0;
    }
    const auto heading = [this](const QString& group, int row) {
        return m_headings.value(group, row);
    };
    const int first = heading(one.group, left.row());
    const int second = heading(other.group, right.row());
    const int order =
        compare(valueOf(m_rows.row(first), column), valueOf(m_rows.row(second), column));
    return order != 0 ? order < 0 : first < second;
}

}  // namespace desk
