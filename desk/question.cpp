#include "desk/question.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>

#include <utility>

namespace desk {

void ask(QWidget* parent, const Question& question, std::function<void()> go) {
    auto* box = new QMessageBox(QMessageBox::Warning, question.title, question.text,
                                QMessageBox::NoButton, parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setObjectName(QString("%1Box").arg(question.name));
    box->setTextFormat(Qt::PlainText);
    QPushButton* yes = box->addButton(question.go, QMessageBox::DestructiveRole);
    yes->setObjectName(QString("%1Go").arg(question.name));
    yes->setAutoDefault(false);
    QPushButton* no = box->addButton(QCoreApplication::translate("desk::Question", "Cancel"),
                                     QMessageBox::RejectRole);
    no->setObjectName(QString("%1Not").arg(question.name));
    box->setDefaultButton(no);
    box->setEscapeButton(no);
    QObject::connect(yes, &QPushButton::clicked, parent, std::move(go));
    box->open();
    no->setFocus();
}

}  // namespace desk
