#pragma once

#include <QAbstractTableModel>
#include <QString>
#include <QVariant>

#include <cstddef>
#include <vector>

namespace desk {

/// How the cells of a column are written. Numbers stand on the right.
enum class EFormat {
    Text,
    Count,   ///< whole number, grouped
    Money,   ///< two decimals, grouped
    Yuan,    ///< money in whole yuan, grouped
    Profit,  ///< the same with its sign, and in the colour of gain or loss
    Price,   ///< two decimals, or three when the third is not 0; grouped; a text stays
    Side,    ///< true: buy
    Time,    ///< "hhmmss" as hh:mm:ss
    Change,  ///< percent with its sign, in the colour of rise or fall
};

struct Column {
    QString title;
    EFormat format = EFormat::Text;
    bool editable = false;
    int colourFrom = -1;  ///< the column whose sign colours this one; -1: its own
    QString tip{};        ///< of the title
};

struct Row {
    QString key;  ///< unique in the table
    std::vector<QVariant> cells;
    bool heading = false;
    QString group{};  ///< rows of a group stay together, below its heading, however they are sorted

    bool operator==(const Row&) const = default;
};

/// A table of keyed rows that follows its source row by row: it leaves unchanged rows alone, so
/// selections and scroll positions stay, and the screen does not flicker, while many reports
/// come in.
class CRowsModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    enum ERole { ROLE_KEY = Qt::UserRole, ROLE_VALUE };

    explicit CRowsModel(std::vector<Column> columns, QObject* parent = nullptr);

    /// Makes the table equal to `rows`, in their order.
    void setRows(std::vector<Row> rows);

    const std::vector<Column>& columns() const { return m_columns; }
    const Row& row(int index) const { return m_rows[static_cast<std::size_t>(index)]; }
    /// -1 when there is none.
    int indexOf(const QString& key) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    /// Asks for a change through sigEdited; the cell changes when the source does.
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

Q_SIGNALS:
    void sigEdited(const QString& key, int column, const QVariant& value);
    /// setRows() begins, and is done: between the two the rows are of two times.
    void sigSetting();
    void sigSet();

private:
    void removeMissing(const std::vector<Row>& rows);
    void insert(std::size_t index, std::vector<Row> rows);
    void arrange(const std::vector<Row>& rows);
    void place(int index, Row&& row);
    void removeFrom(std::size_t index);
    void update(int index, Row&& row);

    std::vector<Column> m_columns;
    std::vector<Row> m_rows;
};

/// A value as the cells of a column show it.
QString formatted(const QVariant& value, EFormat format);

}  // namespace desk
