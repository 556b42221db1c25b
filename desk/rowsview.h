#pragma once

#include "desk/rowsmodel.h"

#include <QHash>
#include <QHeaderView>
#include <QTableView>

#include <utility>
#include <vector>

namespace desk {

class CSortedRows;

/// Shows a CRowsModel. Columns are as wide as the widest cell that they ever held, and share
/// the room that is left; only changed rows are measured. A narrow table scrolls to the columns
/// that have no room, and only whole rows are shown. The user can choose several rows and copy
/// them as text, hide columns, and save the table as CSV. Tab leaves the table. The current row
/// stays in sight while rows change, and a sorted table stays sorted.
class CRowsView final : public QTableView {
    Q_OBJECT

public:
    enum class ESorting { Off, ByUser };

    CRowsView(std::vector<Column> columns, ESorting sorting, QWidget* parent = nullptr);

    CRowsModel& rows() { return *m_pRows; }
    /// Shows a row for each of these.
    template <class Source>
    void fill(const std::vector<Source>& source, Row (*make)(const Source&)) {
        std::vector<Row> rows;
        rows.reserve(source.size());
        for (const Source& each : source) rows.push_back(make(each));
        m_pRows->setRows(std::move(rows));
    }

    /// Key of the current row; empty when there is none.
    QString currentKey() const;
    /// Chooses a row; nothing happens when there is none of this key.
    void chooseKey(const QString& key);

    /// Width that all columns need; with the frame and a scroll bar when `whole`.
    int neededWidth(bool whole = false) const;
    /// Height of the table with so many rows.
    int heightOf(int rows) const;

    /// The text that is shown while there are no rows.
    void setPlaceholder(const QString& text) { m_strPlaceholder = text; }

    /// The column in which a typed key begins an edit, whichever cell of the row is current.
    void setEditedColumn(int column) { m_nEdited = column; }

    /// The chosen rows as text, all of their columns: a line to each row, tabs between cells.
    QString chosenText() const;
    /// All rows and shown columns as comma-separated values, the titles first.
    QString csv() const;

    /// Which columns are hidden, the widths that the user gave, and the sorting.
    /// Empty while the user has changed nothing.
    QByteArray layoutState() const;
    void restoreLayout(const QByteArray& state);

    /// Makes the columns as wide as their present cells need.
    void measureAnew();

Q_SIGNALS:
    /// The user, or the table, chose another row.
    void sigChosen(const QString& key);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void updateGeometries() override;
    void keyPressEvent(QKeyEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

private:
    void followRows();
    void copyChosen() const;
    void measure(int first, int last);
    void makeRoomForMark(int column);
    void spread();
    void makeMenus();
    void chooseColumns(const QPoint& place);
    void saveCsv();
    int titleWidth(std::size_t column) const;
    int widthOf(const QString& text, bool heading);

    CRowsModel* m_pRows;
    CSortedRows* m_pSorted = nullptr;
    bool m_bInSight = false;  ///< while rows are set: the current one was in sight
    std::vector<int> m_widths;
    QHash<QString, int> m_measured[2];  ///< widths of words, plain and in headings
    QString m_strPlaceholder;
    int m_nEdited = -1;
    bool m_bMeasuring = false;  ///< inside updateGeometries()
    bool m_bSpreading = false;  ///< inside spread()
    bool m_bByHand = false;     ///< the user has given columns their widths
};

}  // namespace desk
