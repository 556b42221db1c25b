#include "desk/recorddialog.h"

#include "desk/faulttexts.h"
#include "desk/question.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>

namespace desk {

namespace {

constexpr std::uint64_t GIB = std::uint64_t{1} << 30;
constexpr int MOST_GIB = 10000;
constexpr int MOST_DAYS = 9999;
constexpr int WIDTH = 620;

QLabel* makeText(QWidget* parent, const char* name) {
    auto* label = new QLabel(parent);
    label->setObjectName(name);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    return label;
}

QString fileName(const TC::RecordingState& state) {
    return QFileInfo(QString::fromStdString(state.file)).fileName();
}

}  // namespace

QString recordingText(const Picture& picture) {
    if (!picture.recording) return {};
    const TC::RecordingState& state = *picture.recording;
    const QString bytes = QLocale::c().formattedDataSize(static_cast<qint64>(state.bytes), 1);
    if (state.running) return CRecordDialog::tr("Recording %1").arg(bytes);
    if (state.fault.empty()) return CRecordDialog::tr("Recorded %1").arg(bytes);
    return CRecordDialog::tr("Not recorded any more: %1")
        .arg(faultText(QString::fromStdString(state.fault)));
}

CRecordDialog::CRecordDialog(CActions& actions, const RecordTerms& terms, QWidget* parent)
    : QDialog(parent), m_actions(actions) {
    setObjectName("recordDialog");
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Record"));
    auto* what = makeText(this, "recordWhat");
    what->setText(
        tr("A recording holds everything that decides what the library does, with "
           "accounts, orders and the files of the library. It plays in this program, "
           "and a maker can follow it."));
    m_pEvery = new QCheckBox(tr("Record every session from its start"), this);
    m_pEvery->setObjectName("recordEvery");
    m_pEvery->setChecked(terms.everySession);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(what);
    layout->addWidget(m_pEvery);
    layout->addWidget(makeDirectoryLine());
    layout->addWidget(makeLimitsLine());
    layout->addWidget(m_pState = makeText(this, "recordState"));
    layout->addWidget(m_pNotice = makeText(this, "recordNotice"));
    layout->addWidget(makeButtons());
    m_pDirectory->setText(terms.directory);
    m_pMost->setValue(static_cast<int>(std::min<std::uint64_t>(terms.mostBytes / GIB, MOST_GIB)));
    m_pMostDays->setValue(static_cast<int>(std::min<std::uint32_t>(terms.mostDays, MOST_DAYS)));
    resize(WIDTH, layout->totalHeightForWidth(WIDTH));
}

/// A text that is new may need more lines.
void CRecordDialog::say(QLabel* label, const QString& text) {
    if (label->text() == text) return;
    label->setText(text);
    resize(width(), std::max(height(), layout()->totalHeightForWidth(width())));
}

QWidget* CRecordDialog::makeDirectoryLine() {
    auto* box = new QWidget(this);
    m_pDirectory = new QLineEdit(box);
    m_pDirectory->setObjectName("recordDirectory");
    auto* choose = new QPushButton(tr("Choose…"), box);
    choose->setObjectName("recordChoose");
    choose->setAutoDefault(false);
    connect(choose, &QPushButton::clicked, this, &CRecordDialog::chooseDirectory);
    auto* line = new QHBoxLayout(box);
    line->setContentsMargins(0, 0, 0, 0);
    line->addWidget(new QLabel(tr("Directory"), box));
    line->addWidget(m_pDirectory, 1);
    line->addWidget(choose);
    return box;
}

QWidget* CRecordDialog::makeLimitsLine() {
    auto* box = new QWidget(this);
    m_pMost = new QSpinBox(box);
    m_pMost->setObjectName("recordMost");
    m_pMost->setRange(1, MOST_GIB);
    m_pMost->setSuffix(" GB");
    m_pMostDays = new QSpinBox(box);
    m_pMostDays->setObjectName("recordDays");
    m_pMostDays->setRange(0, MOST_DAYS);
    m_pMostDays->setSuffix(tr(" days"));
    m_pMostDays->setSpecialValueText(tr("any age"));
    auto* line = new QHBoxLayout(box);
    line->setContentsMargins(0, 0, 0, 0);
    line->addWidget(new QLabel(tr("Keep at most"), box));
    line->addWidget(m_pMost);
    line->addWidget(m_pMostDays);
    line->addWidget(new QLabel(tr("The oldest recordings are removed when one begins."), box), 1);
    return box;
}

QWidget* CRecordDialog::makeButtons() {
    auto* box = new QWidget(this);
    m_pRecord = new QPushButton(tr("Record this session"), box);
    m_pRecord->setObjectName("recordNow");
    m_pRecord->setAutoDefault(false);
    connect(m_pRecord, &QPushButton::clicked, this, &CRecordDialog::recordOrStop);
    auto* well = new QPushButton(tr("OK"), box);
    well->setObjectName("recordChosen");
    well->setProperty("primary", true);
    well->setDefault(true);
    connect(well, &QPushButton::clicked, this, [this] {
        choose();
        accept();
    });
    auto* no = new QPushButton(tr("Cancel"), box);
    no->setAutoDefault(false);
    connect(no, &QPushButton::clicked, this, &QDialog::reject);
    auto* line = new QHBoxLayout(box);
    line->setContentsMargins(0, 0, 0, 0);
    line->addWidget(m_pRecord);
    line->addStretch();
    line->addWidget(no);
    line->addWidget(well);
    return box;
}

void CRecordDialog::chooseDirectory() {
    auto* dialog = new QFileDialog(this, tr("Directory of the recordings"), m_pDirectory->text());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    connect(dialog, &QFileDialog::fileSelected, m_pDirectory, &QLineEdit::setText);
    dialog->open();
}

RecordTerms CRecordDialog::terms() const {
    return {.directory = m_pDirectory->text().trimmed(),
            .everySession = m_pEvery->isChecked(),
            .mostBytes = static_cast<std::uint64_t>(m_pMost->value()) * GIB,
            .mostDays = static_cast<std::uint32_t>(m_pMostDays->value())};
}

void CRecordDialog::choose() { Q_EMIT sigChosen(terms()); }

void CRecordDialog::recordOrStop() { m_bRunning ? askStop() : recordNow(); }

/// The library decides whether a session can be recorded from its middle on.
void CRecordDialog::recordNow() {
    choose();
    m_actions.recordNow([open = QPointer<CRecordDialog>(this)](bool begun) {
        if (!open || begun) return;
        open->m_pEvery->setChecked(true);
        open->choose();
        open->say(open->m_pNotice,
                  tr("This session has begun already: recording begins with the next session."));
    });
}

void CRecordDialog::askStop() {
    ask(this,
        {QStringLiteral("recordStop"), tr("Stop recording"),
         tr("Stop recording this session? It cannot be gone on with."), tr("Stop")},
        [this] { m_actions.stopRecording(); });
}

void CRecordDialog::show(const Picture& picture) {
    m_bRunning = picture.recording && picture.recording->running;
    m_pRecord->setText(m_bRunning ? tr("Stop recording…") : tr("Record this session"));
    m_pRecord->setEnabled(m_bRunning || (picture.alive && !picture.recording));
    const QString state = recordingText(picture);
    say(m_pState, state.isEmpty() ? tr("This session is not recorded.")
                                  : tr("%1: %2").arg(fileName(*picture.recording), state));
}

}  // namespace desk
