#pragma once

#include "desk/actions.h"

#include <QDialog>
#include <QStringList>

#include <functional>
#include <vector>

class QComboBox;
class QLabel;
class QPushButton;
class QWidget;

namespace desk {

class CRowsView;

/// Shows what an import of statement files would do, imports them when the user says so, and
/// shows what was imported.
///
/// The library imports a file only as it was shown. A file for which it would be something else
/// by then is shown anew, and waits for the user again.
class CImportDialog final : public QDialog {
    Q_OBJECT

public:
    CImportDialog(CActions& actions, const QStringList& paths, QWidget* parent);

    /// Asks whether imports are to be taken back, then does it; `done` is told how many there
    /// were.
    static void askUndo(CActions& actions, const std::vector<int>& numbers, const QString& names,
                        QWidget* parent, std::function<void(int)> done);

Q_SIGNALS:
    /// Something was imported or taken back.
    void sigImported();

private:
    /// A file and what is shown of it.
    struct Shown {
        ImportFile file;
        TC::ImportReport report;
        bool isImported = false;

        QString name() const;
    };

    void makeTables();
    QWidget* makeAccountLine();
    QWidget* makeButtons();
    QPushButton* addButton(QWidget* box, const QString& text, const char* name);
    std::vector<ImportFile> filesToImport() const;
    void preview();
    void takePreviews(const ImportAnswer& answer);
    void offerAccounts(const std::vector<std::string>& accounts);
    void chooseAccount();
    void importFiles();
    void takeReports(const ImportAnswer& answer);
    void undo();
    void setBusy(bool busy);
    void showAll();
    void showDays();
    void showRows();
    void showButtons();
    QString heading() const;
    QString stateOf(const Shown& file) const;
    std::vector<int> numbers() const;

    CActions& m_actions;
    std::vector<Shown> m_files;
    bool m_bBusy = false;
    bool m_bUndone = false;
    QLabel* m_pHeading;
    QLabel* m_pNotice;
    QWidget* m_pAccountLine;
    QComboBox* m_pAccount = nullptr;
    CRowsView* m_pDays = nullptr;
    CRowsView* m_pRows = nullptr;
    QPushButton* m_pImport = nullptr;
    QPushButton* m_pUndo = nullptr;
    QPushButton* m_pCancel = nullptr;
};

}  // namespace desk
