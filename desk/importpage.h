#pragma once

#include "desk/actions.h"
#include "desk/rowsview.h"

#include <QWidget>

#include <vector>

class QPushButton;

namespace desk {

/// Import of statement files, and the imports that stand.
class CImportPage final : public QWidget {
    Q_OBJECT

public:
    explicit CImportPage(CActions& actions, QWidget* parent = nullptr);

    /// Asks for files, then shows what an import of them would do.
    void chooseFiles();
    void show(const std::vector<TC::ImportSummary>& imports);
    /// Without the library nothing can be imported.
    void setAlive(bool alive);

Q_SIGNALS:
    void sigMessage(const QString& text);

private:
    void preview(const QStringList& paths);
    void undo();
    void showButtons();

    CActions& m_actions;
    QPushButton* m_pChoose;
    QPushButton* m_pUndo;
    CRowsView* m_pImports;
    bool m_bAlive = true;
};

}  // namespace desk
