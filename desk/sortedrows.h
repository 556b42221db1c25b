#pragma once

#include "desk/rowsmodel.h"

#include <QHash>
#include <QSortFilterProxyModel>

namespace desk {

/// The rows of a table in the order that the user asked for, by their values: numbers before
/// words. Groups are ordered by their headings, and the rows of a group below its heading.
class CSortedRows final : public QSortFilterProxyModel {
    Q_OBJECT

public:
    CSortedRows(CRowsModel& rows, QObject* parent);

    /// Orders the rows again; nothing happens while the user has asked for no order.
    void sortAnew();
    void sort(int column, Qt::SortOrder order) override;

protected:
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    void noteHeadings();

    const CRowsModel& m_rows;
    QHash<QString, int> m_headings;  ///< rows, by group
};

}  // namespace desk
