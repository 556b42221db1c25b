#pragma once

#include "desk/actions.h"
#include "desk/rowsview.h"

#include <QWidget>

class QLabel;
class QPushButton;

namespace desk {

/// Import of a statement file, and the report of what became of its rows.
class CImportPage final : public QWidget {
    Q_OBJECT

public:
    explicit CImportPage(CActions& actions, QWidget* parent = nullptr);

    /// Asks for a file.
    void chooseFile();
    /// Without the library nothing can be imported.
    void setAlive(bool alive);

private:
    void import(const QString& path);
    void show(const TC::ImportReport& report);

    CActions& m_actions;
    QPushButton* m_pChoose;
    QLabel* m_pSummary;
    CRowsView* m_pSkipped;
    bool m_bReading = false;
};

}  // namespace desk
