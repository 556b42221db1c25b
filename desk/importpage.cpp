#include "desk/importpage.h"

#include "desk/importdialog.h"

#include <QDateTime>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <utility>

namespace desk {

namespace {

constexpr int FILE_COLUMN = 1;

Row importRow(const TC::ImportSummary& import) {
    const QString number = QString::number(import.number);
    const QString time = QString::fromStdString(import.time);
    const QDateTime taken = QDateTime::fromString(time, "yyyyMMddHHmmss");
    const bool orders = import.kind == TC::ImportReport::Kind::Orders;
    return {number,
            {import.number, QFileInfo(QString::fromStdString(import.path)).fileName(),
             orders ? CImportPage::tr("Orders") : CImportPage::tr("Deals"), import.records,
             taken.isValid() ? taken.toString("yyyy-MM-dd HH:mm:ss") : time},
            false};
}

}  // namespace

CImportPage::CImportPage(CActions& actions, QWidget* parent) : QWidget(parent), m_actions(actions) {
    m_pChoose = new QPushButton(tr("Import statements…"), this);
    m_pChoose->setObjectName("importChoose");
    connect(m_pChoose, &QPushButton::clicked, this, &CImportPage::chooseFiles);
    m_pUndo = new QPushButton(tr("Undo the chosen import…"), this);
    m_pUndo->setObjectName("importsUndo");
    connect(m_pUndo, &QPushButton::clicked, this, &CImportPage::undo);
    auto* hint = new QLabel(tr("Deals and orders from workbooks, CSV and text files."), this);
    hint->setWordWrap(true);
    m_pImports = new CRowsView({{tr("Import"), EFormat::Count},
                                {tr("File")},
                                {tr("Kind")},
                                {tr("Rows"), EFormat::Count},
                                {tr("Imported at")}},
                               CRowsView::ESorting::Off, this);
    m_pImports->setObjectName("imports");
    m_pImports->setPlaceholder(tr("Nothing was imported"));
    connect(m_pImports, &CRowsView::sigChosen, this, &CImportPage::showButtons);

    auto* line = new QHBoxLayout;
    line->addWidget(m_pChoose);
    line->addWidget(hint, 1);
    line->addWidget(m_pUndo);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(line);
    layout->addWidget(m_pImports);
    showButtons();
}

void CImportPage::chooseFiles() {
    if (!m_actions.mayCommand()) return;
    auto* dialog = new QFileDialog(this, tr("Import statements"));
    dialog->setObjectName("importDialog");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setNameFilters(
        {tr("Statements (*.xls *.xlsx *.ods *.csv *.txt)"), tr("All files (*)")});
    connect(dialog, &QFileDialog::filesSelected, this, &CImportPage::preview);
    dialog->open();
}

void CImportPage::preview(const QStringList& paths) {
    auto* dialog = new CImportDialog(m_actions, paths, this);
    dialog->open();
}

void CImportPage::undo() {
    const int row = m_pImports->rows().indexOf(m_pImports->currentKey());
    if (row < 0) return;
    const int number = m_pImports->currentKey().toInt();
    const QString name = m_pImports->rows().index(row, FILE_COLUMN).data().toString();
    CImportDialog::askUndo(m_actions, {number}, name, this, [this, name](int undone) {
        Q_EMIT sigMessage(undone > 0 ? tr("What was imported from %1 was taken back.").arg(name)
                                     : tr("The import of %1 was taken back before.").arg(name));
    });
}

void CImportPage::setAlive(bool alive) {
    m_bAlive = alive;
    showButtons();
}

void CImportPage::showButtons() {
    const bool may = m_bAlive && m_actions.mayCommand();
    m_pChoose->setEnabled(may);
    m_pUndo->setEnabled(may && !m_pImports->currentKey().isEmpty());
}

void CImportPage::show(const std::vector<TC::ImportSummary>& imports) {
    std::vector<Row> rows;
    rows.reserve(imports.size());
    for (const TC::ImportSummary& import : imports) rows.push_back(importRow(import));
    m_pImports->rows().setRows(std::move(rows));
    showButtons();
}

}  // namespace desk
