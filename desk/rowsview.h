#pragma once

#include "desk/rowsmodel.h"

#include <QTableView>

#include <vector>

class QSortFilterProxyModel;

namespace desk {

/// Shows a CRowsModel. Columns are as wide as what they ever held, and share what room
/// is left; only rows that changed are measured.
class CRowsView final : public QTableView {
    Q_OBJECT

public:
    enum class ESorting { Off, ByUser };

    CRowsView(std::vector<Column> columns, ESorting sorting, QWidget* parent = nullptr);

    CRowsModel& rows() { return *m_pRows; }

    /// Key of the current row; empty when there is none.
    QString currentKey() const;
    /// Chooses a row; nothing happens when there is none of this key.
    void chooseKey(const QString& key);

    /// Width that all columns need.
    int neededWidth() const;

Q_SIGNALS:
    /// The user, or the table, chose another row.
    void sigChosen(const QString& key);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

private:
    void measure(int first, int last);
    void makeRoomForMark(int column);
    void spread();

    CRowsModel* m_pRows;
    QSortFilterProxyModel* m_pSorted = nullptr;
    std::vector<int> m_widths;
};

}  // namespace desk
