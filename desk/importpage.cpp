#include "desk/importpage.h"

#include "desk/importtexts.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace desk {

CImportPage::CImportPage(CActions& actions, QWidget* parent) : QWidget(parent), m_actions(actions) {
    m_pChoose = new QPushButton(tr("Import a statement…"), this);
    m_pChoose->setObjectName("importChoose");
    connect(m_pChoose, &QPushButton::clicked, this, &CImportPage::chooseFile);
    m_pSummary = new QLabel(tr("Deals and orders from workbooks, CSV and text files."), this);
    m_pSummary->setObjectName("importSummary");
    m_pSummary->setWordWrap(true);
    m_pSummary->setTextFormat(Qt::PlainText);
    m_pSkipped =
        new CRowsView({{tr("Sheet")}, {tr("Row"), EFormat::Count}, {tr("Not taken because")}},
                      CRowsView::ESorting::Off, this);
    m_pSkipped->setObjectName("importSkipped");

    auto* line = new QHBoxLayout;
    line->addWidget(m_pChoose);
    line->addWidget(m_pSummary, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(line);
    layout->addWidget(m_pSkipped);
}

void CImportPage::chooseFile() {
    auto* dialog = new QFileDialog(this, tr("Import a statement"));
    dialog->setObjectName("importDialog");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setNameFilters({tr("Statements (*.xls *.xlsx *.csv *.txt)"), tr("All files (*)")});
    connect(dialog, &QFileDialog::fileSelected, this, &CImportPage::import);
    dialog->open();
}

void CImportPage::setAlive(bool alive) { m_pChoose->setEnabled(alive && !m_bReading); }

void CImportPage::import(const QString& path) {
    m_bReading = true;
    setAlive(true);
    m_pSummary->setText(tr("Reading %1 …").arg(QFileInfo(path).fileName()));
    m_actions.import(path, [this](const TC::ImportReport& report) { show(report); });
}

void CImportPage::show(const TC::ImportReport& report) {
    m_bReading = false;
    setAlive(true);
    const QString name = QFileInfo(report.path).fileName();
    if (!report.ok()) {
        m_pSummary->setText(tr("%1: nothing was taken: %2").arg(name, importText(report.refusal)));
    } else {
        QStringList text{tr("%1: rows read %2, taken %3, of these new %4, left out %5.")
                             .arg(name)
                             .arg(report.read)
                             .arg(report.taken)
                             .arg(report.added)
                             .arg(report.skippedCount())};
        for (const QString& note : report.notes) text << importText(note);
        m_pSummary->setText(text.join(" · "));
    }
    std::vector<Row> rows;
    for (const auto& skipped : report.skipped) {
        rows.push_back({skipped.sheet + '\n' + QString::number(skipped.row),
                        {skipped.sheet, skipped.row, importText(skipped.reason)},
                        false});
    }
    m_pSkipped->rows().setRows(std::move(rows));
}

}  // namespace desk
