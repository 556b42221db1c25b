#include "desk/importdialog.h"

#include "desk/question.h"
#include "desk/rowsview.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace desk {

namespace {

constexpr QSize SIZE{1120, 620};

/// Wide texts take more lines instead of a wider window.
QLabel* makeLabel(QWidget* parent, const char* name) {
    auto* label = new QLabel(parent);
    label->setObjectName(name);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

}  // namespace

CImportDialog::CImportDialog(CActions& actions, const QStringList& paths, QWidget* parent)
    : QDialog(parent),
      m_actions(actions),
      m_pHeading(makeLabel(this, "importHeading")),
      m_pNotice(makeLabel(this, "importNotice")) {
    setObjectName("importPreview");
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Import statements"));
    m_files.reserve(static_cast<std::size_t>(paths.size()));
    for (const QString& path : paths) m_files.push_back({{path, {}}, {}, false});
    m_pHeading->setProperty("role", "heading");
    m_pAccountLine = makeAccountLine();
    makeTables();
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_pHeading);
    layout->addWidget(m_pNotice);
    layout->addWidget(m_pAccountLine);
    layout->addWidget(m_pDays, 3);
    layout->addWidget(m_pRows, 2);
    layout->addWidget(makeButtons());
    resize(SIZE);
    preview();
}

void CImportDialog::makeTables() {
    constexpr int LEAST_ROWS = 4;
    m_pDays = new CRowsView({{tr("File")},
                             {tr("State")},
                             {tr("Account")},
                             {tr("Day")},
                             {tr("Kind")},
                             {tr("Number"), EFormat::Count},
                             {tr("Bought amount"), EFormat::Money},
                             {tr("Sold amount"), EFormat::Money},
                             {tr("New"), EFormat::Count},
                             {tr("Imported before"), EFormat::Count},
                             {tr("In other statements"), EFormat::Count},
                             {tr("Reported"), EFormat::Count}},
                            CRowsView::ESorting::Off, this);
    m_pDays->setObjectName("importDays");
    m_pRows = new CRowsView(
        {{tr("File")}, {tr("Sheet")}, {tr("Row"), EFormat::Count}, {tr("Not taken, or to check")}},
        CRowsView::ESorting::Off, this);
    m_pRows->setObjectName("importRows");
    m_pRows->setPlaceholder(tr("Every row is taken"));
    for (CRowsView* table : {m_pDays, m_pRows}) {
        table->setMinimumHeight(table->heightOf(LEAST_ROWS));
    }
}

QWidget* CImportDialog::makeAccountLine() {
    auto* line = new QWidget(this);
    m_pAccount = new QComboBox(line);
    m_pAccount->setObjectName("importAccount");
    connect(m_pAccount, QOverload<int>::of(&QComboBox::activated), this,
            &CImportDialog::chooseAccount);
    auto* layout = new QHBoxLayout(line);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel(tr("Account of files that name none that is followed:"), line));
    layout->addWidget(m_pAccount);
    layout->addStretch();
    line->hide();
    return line;
}

QPushButton* CImportDialog::addButton(QWidget* box, const QString& text, const char* name) {
    auto* button = new QPushButton(text, box);
    button->setObjectName(name);
    button->setAutoDefault(false);
    box->layout()->addWidget(button);
    return button;
}

QWidget* CImportDialog::makeButtons() {
    auto* box = new QWidget(this);
    auto* line = new QHBoxLayout(box);
    line->setContentsMargins(0, 0, 0, 0);
    m_pUndo = addButton(box, tr("Undo this import…"), "importUndo");
    line->addStretch();
    m_pImport = addButton(box, tr("Import"), "importGo");
    m_pCancel = addButton(box, tr("Cancel"), "importCancel");
    m_pCancel->setAutoDefault(true);
    m_pCancel->setDefault(true);
    m_pCancel->setFocus();
    connect(m_pImport, &QPushButton::clicked, this, &CImportDialog::importFiles);
    connect(m_pUndo, &QPushButton::clicked, this, &CImportDialog::undo);
    connect(m_pCancel, &QPushButton::clicked, this, &QDialog::reject);
    return box;
}

// ------------------------------------------------------------------- what is asked

/// Previews the files that are not imported.
void CImportDialog::preview() {
    setBusy(true);
    std::vector<ImportFile> files;
    files.reserve(m_files.size());
    for (const Shown& each : m_files) {
        if (each.isImported) continue;
        files.push_back(each.file);
        files.back().terms.shown.reset();
    }
    m_actions.previewImport(files,
                            [self = QPointer<CImportDialog>(this)](const ImportAnswer& answer) {
                                if (self) self->takePreviews(answer);
                            });
}

void CImportDialog::takePreviews(const ImportAnswer& answer) {
    auto report = answer.reports.begin();
    for (Shown& each : m_files) {
        if (each.isImported || report == answer.reports.end()) continue;
        each.report = *report++;
        each.file.terms.shown = each.report;
    }
    offerAccounts(answer.accounts);
    setBusy(false);
}

/// Once a file was found that names no account, the choice stays.
void CImportDialog::offerAccounts(const std::vector<std::string>& accounts) {
    const bool isNeeded = std::any_of(m_files.begin(), m_files.end(), [](const Shown& each) {
        return !each.isImported && each.report.needsAccount;
    });
    if (!isNeeded) return;
    const QString chosen = m_pAccount->currentData().toString();
    m_pAccount->clear();
    m_pAccount->addItem(tr("choose one"), QString());
    for (const std::string& account : accounts) {
        const QString key = QString::fromStdString(account);
        m_pAccount->addItem(key, key);
    }
    m_pAccount->setCurrentIndex(std::max(0, m_pAccount->findData(chosen)));
    m_pAccountLine->setVisible(accounts.size() > 1);
}

void CImportDialog::chooseAccount() {
    const std::string account = m_pAccount->currentData().toString().toStdString();
    for (Shown& each : m_files) {
        if (!each.isImported) each.file.terms.account = account;
    }
    m_pNotice->clear();
    preview();
}

std::vector<ImportFile> CImportDialog::filesToImport() const {
    std::vector<ImportFile> files;
    files.reserve(m_files.size());
    for (const Shown& each : m_files) {
        if (!each.isImported && each.report.ok()) files.push_back(each.file);
    }
    return files;
}

void CImportDialog::importFiles() {
    setBusy(true);
    m_actions.import(filesToImport(),
                     [self = QPointer<CImportDialog>(this)](const ImportAnswer& answer) {
                         if (self) self->takeReports(answer);
                     });
}

void CImportDialog::takeReports(const ImportAnswer& answer) {
    auto report = answer.reports.begin();
    QStringList outdated;
    for (Shown& each : m_files) {
        if (each.isImported || !each.report.ok() || report == answer.reports.end()) continue;
        each.isImported = report->ok();
        if (report->isOutdated) outdated << each.name();
        each.report = *report++;
    }
    m_pNotice->setText(
        outdated.isEmpty()
            ? QString()
            : tr("%1: the import would not be what was shown any more, so nothing of it was "
                 "imported. This is what would be imported now.")
                  .arg(outdated.join(", ")));
    if (outdated.isEmpty()) {
        setBusy(false);
    } else {
        preview();
    }
    Q_EMIT sigImported();
}

std::vector<int> CImportDialog::numbers() const {
    std::vector<int> numbers;
    numbers.reserve(m_files.size());
    for (const Shown& each : m_files) {
        if (each.isImported && each.report.number != 0) numbers.push_back(each.report.number);
    }
    return numbers;
}

void CImportDialog::undo() {
    QStringList names;
    for (const Shown& each : m_files) {
        if (each.isImported && each.report.number != 0) names << each.name();
    }
    askUndo(m_actions, numbers(), names.join(", "), this, [this](int) {
        m_bUndone = true;
        m_pNotice->setText(tr("What was imported here was taken back."));
        showAll();
        Q_EMIT sigImported();
    });
}

void CImportDialog::askUndo(CActions& actions, const std::vector<int>& numbers,
                            const QString& names, QWidget* parent, std::function<void(int)> done) {
    ask(parent,
        {QStringLiteral("importUndo"), tr("Undo an import"),
         tr("Take back what was imported from %1?").arg(names), tr("Take back")},
        [&actions, numbers, parent = QPointer<QWidget>(parent), done = std::move(done)] {
            actions.undoImports(numbers, [parent, done](int undone) {
                if (parent) done(undone);
            });
        });
}

}  // namespace desk
