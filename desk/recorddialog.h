#pragma once

#include "desk/actions.h"
#include "desk/recorder.h"

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;

namespace desk {

/// What is recorded, where, and how much of it is kept.
class CRecordDialog final : public QDialog {
    Q_OBJECT

public:
    CRecordDialog(CActions& actions, const RecordTerms& terms, QWidget* parent);

    /// How far the recording of this session has come.
    void show(const Picture& picture);
    using QDialog::show;

Q_SIGNALS:
    /// The user wants it so from now on.
    void sigChosen(const RecordTerms& terms);

private:
    QWidget* makeDirectoryLine();
    QWidget* makeLimitsLine();
    QWidget* makeButtons();
    void chooseDirectory();
    void say(QLabel* label, const QString& text);
    RecordTerms terms() const;
    void choose();
    void recordOrStop();
    void recordNow();
    void askStop();

    CActions& m_actions;
    QCheckBox* m_pEvery = nullptr;
    QLineEdit* m_pDirectory = nullptr;
    QSpinBox* m_pMost = nullptr;
    QSpinBox* m_pMostDays = nullptr;
    QLabel* m_pState = nullptr;
    QLabel* m_pNotice = nullptr;
    QPushButton* m_pRecord = nullptr;
    bool m_bRunning = false;
};

/// The state of a recording in a line; empty when there is none.
QString recordingText(const Picture& picture);

}  // namespace desk
