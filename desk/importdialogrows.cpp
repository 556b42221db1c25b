#include "desk/importdialog.h"
#include "desk/importtexts.h"
#include "desk/rowsview.h"
#include "desk/texts.h"

#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QPushButton>

#include <algorithm>
#include <utility>

/// What the import dialog shows of its files.
namespace desk {

QString CImportDialog::Shown::name() const { return QFileInfo(file.path).fileName(); }

void CImportDialog::setBusy(bool busy) {
    m_bBusy = busy;
    showAll();
}

void CImportDialog::showAll() {
    m_pHeading->setText(heading());
    m_pNotice->setVisible(!m_pNotice->text().isEmpty());
    m_pAccount->setEnabled(!m_bBusy);
    showButtons();
    if (m_bBusy) return;
    showDays();
    showRows();
}

QString CImportDialog::heading() const {
    if (m_bBusy) return tr("Reading …");
    int read = 0, taken = 0, added = 0;
    for (const Shown& each : m_files) {
        read += each.report.read;
        taken += each.report.taken;
        added += each.report.added;
    }
    const auto imported = std::count_if(m_files.begin(), m_files.end(),
                                        [](const Shown& each) { return each.isImported; });
    const QString counts = tr("rows read %1, taken %2, of these new %3, left out %4")
                               .arg(read)
                               .arg(taken)
                               .arg(added)
                               .arg(read - taken);
    if (m_bUndone) return tr("Taken back: %1").arg(counts);
    if (imported == 0) return tr("Preview, nothing is imported yet: %1").arg(counts);
    if (imported == static_cast<std::ptrdiff_t>(m_files.size()))
        return tr("Imported: %1").arg(counts);
    return tr("Imported %1 of %2 files: %3").arg(imported).arg(m_files.size()).arg(counts);
}

QString CImportDialog::stateOf(const Shown& file) const {
    if (!file.report.ok()) return tr("refused");
    if (!file.isImported) return tr("not imported yet");
    return m_bUndone ? tr("taken back") : tr("imported");
}

void CImportDialog::showDays() {
    std::vector<Row> rows;
    for (const Shown& each : m_files) {
        const QString name = each.name();
        const QString state = stateOf(each);
        if (each.report.days.empty()) rows.push_back({each.file.path, {name, state}, false});
        const QString kind =
            each.report.kind == TC::ImportReport::Kind::Orders ? tr("Orders") : tr("Deals");
        for (const TC::ImportReport::Day& day : each.report.days) {
            const QString account = QString::fromStdString(day.account);
            const QString date = QString::fromStdString(day.date);
            rows.push_back(
                {QStringList{each.file.path, account, date}.join('\n'),
                 {name, state, account, dashedDate(day.date), kind, day.records, day.bought,
                  day.sold, day.added, day.repeated, day.matched, day.reported},
                 false});
        }
    }
    m_pDays->rows().setRows(std::move(rows));
    m_pDays->measureAnew();
}

void CImportDialog::showRows() {
    std::vector<Row> rows;
    const auto add = [&rows](const QString& file, const QString& sheet, const QVariant& row,
                             const QString& text) {
        rows.push_back({QString::number(rows.size()), {file, sheet, row, text}, false});
    };
    for (const Shown& each : m_files) {
        const QString name = each.name();
        if (!each.report.ok())
            add(name, {}, {}, tr("nothing is taken: %1").arg(importText(each.report.refusal)));
        for (const QString& note : each.report.notes)
            add(name, {}, {}, tr("to check: %1").arg(importText(note)));
        for (const auto& skipped : each.report.skipped)
            add(name, skipped.sheet, skipped.row, importText(skipped.reason));
    }
    m_pRows->rows().setRows(std::move(rows));
    m_pRows->measureAnew();
}

void CImportDialog::showButtons() {
    const bool isAny = std::any_of(m_files.begin(), m_files.end(),
                                   [](const Shown& each) { return each.isImported; });
    m_pImport->setVisible(!m_bBusy && !filesToImport().empty());
    m_pImport->setEnabled(!m_bBusy);
    m_pUndo->setVisible(!m_bBusy && isAny && !m_bUndone && !numbers().empty());
    m_pCancel->setText(isAny ? tr("Close") : tr("Cancel"));
}

}  // namespace desk
