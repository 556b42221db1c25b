#include "desk/balancetimespage.h"

#include "desk/question.h"
#include "desk/timeedit.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include <functional>
#include <utility>

namespace desk {

namespace {

constexpr int TIME_COLUMN = 2;
const QString KEPT = QStringLiteral("HHmmss");

class CTimeDelegate final : public QStyledItemDelegate {
public:
    using MakeEditor = std::function<QWidget*(QWidget*)>;

    CTimeDelegate(QObject* parent, MakeEditor make)
        : QStyledItemDelegate(parent), m_make(std::move(make)) {}

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&,
                          const QModelIndex&) const override {
        return m_make(parent);
    }
    void setEditorData(QWidget* editor, const QModelIndex& index) const override {
        auto* edit = static_cast<CTimeEdit*>(editor);
        // Pictures come while the user types; they must not take back what was typed.
        if (!edit->text().isEmpty()) return;
        edit->setTime(QTime::fromString(index.data(CRowsModel::ROLE_VALUE).toString(), KEPT));
        edit->selectAll();
    }
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override {
        const QTime time = static_cast<CTimeEdit*>(editor)->time();
        if (time.isValid()) model->setData(index, time.toString(KEPT));
    }

private:
    MakeEditor m_make;
};

}  // namespace

CBalanceTimesPage::CBalanceTimesPage(CActions& actions, QWidget* parent)
    : QWidget(parent), m_actions(actions) {
    m_pTable =
        new CRowsView({{tr("Account")}, {tr("Strategy")}, {tr("Balanced at"), EFormat::Time, true}},
                      CRowsView::ESorting::Off, this);
    m_pTable->setObjectName("balanceTimes");
    m_pTable->setPlaceholder(tr("No strategy has a balance time"));
    m_pTable->setItemDelegateForColumn(
        TIME_COLUMN,
        new CTimeDelegate(m_pTable, [this](QWidget* cells) { return makeTimeEditor(cells); }));
    // The table of times is for editing: a typed key begins with the time, wherever it stands.
    m_pTable->setEditedColumn(TIME_COLUMN);
    connect(&m_pTable->rows(), &CRowsModel::sigEdited, this,
            [this](const QString& key, int, const QVariant& time) {
                m_actions.setBalanceTime(key.toStdString(), time.toString().toStdString());
            });

    if (!m_actions.mayCommand()) m_pTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_pChosen = new QLabel(this);
    m_pTime = static_cast<CTimeEdit*>(makeTimeEditor(this));
    m_pTime->setObjectName("balanceTimeEdit");
    m_pRemark = new QLabel(this);
    m_pRemark->setObjectName("balanceTimeRemark");
    connect(m_pTime, &QLineEdit::returnPressed, this, &CBalanceTimesPage::setTime);
    m_pSet = new QPushButton(tr("Set time"), this);
    m_pSet->setObjectName("balanceTimeSet");
    connect(m_pSet, &QPushButton::clicked, this, &CBalanceTimesPage::setTime);
    m_pDelete = new QPushButton(tr("Delete row…"), this);
    m_pDelete->setObjectName("balanceTimeDelete");
    connect(m_pDelete, &QPushButton::clicked, this, &CBalanceTimesPage::askDelete);

    auto* line = new QHBoxLayout;
    line->addWidget(m_pChosen);
    line->addWidget(m_pTime);
    line->addWidget(m_pSet);
    line->addWidget(m_pRemark);
    line->addStretch();
    line->addWidget(m_pDelete);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_pTable);
    layout->addLayout(line);
    m_pTime->setTime(QTime(14, 55));
    show({}, {}, {});
}

QWidget* CBalanceTimesPage::makeTimeEditor(QWidget* parent) {
    auto* edit = new CTimeEdit(parent);
    edit->setFrame(parent == this);
    connect(edit, &QLineEdit::textChanged, this, [this, edit] { judge(*edit); });
    return edit;
}

/// Says what is wrong with a time while it is typed.
void CBalanceTimesPage::judge(const CTimeEdit& edit) {
    m_pRemark->setText(timeRemark(edit.time(), m_now));
    m_pSet->setEnabled(m_pTime->isEnabled() && m_pTime->time().isValid());
}

void CBalanceTimesPage::setTime() {
    const QTime time = m_pTime->time();
    if (!time.isValid() || m_chosen.strategy.empty()) return;
    m_actions.setBalanceTime(balanceKey(m_chosen.account, m_chosen.strategy),
                             time.toString(KEPT).toStdString());
}

void CBalanceTimesPage::askDelete() {
    const QString key = m_pTable->currentKey();
    if (key.isEmpty()) return;
    const QString name = key.section(':', 0, 0) + QStringLiteral(" / ") + key.section(':', 1);
    ask(this,
        {QStringLiteral("balanceTimeDelete"), tr("Delete a balance time"),
         tr("Delete the balance time of %1? It will not be balanced by itself any more.").arg(name),
         tr("Delete")},
        [this, key] { m_actions.deleteBalanceTime(key.toStdString()); });
}

void CBalanceTimesPage::show(const std::map<std::string, std::string>& times,
                             const Selection& chosen, const std::string& now) {
    m_now = typedTime(QString::fromStdString(now));
    std::vector<Row> rows;
    for (const auto& [key, time] : times) {
        const QString text = QString::fromStdString(key);
        rows.push_back(
            {text,
             {text.section(':', 0, 0), text.section(':', 1), QString::fromStdString(time)},
             false});
    }
    m_pTable->rows().setRows(std::move(rows));
    m_chosen = chosen;
    const bool pair = !chosen.strategy.empty();
    m_pChosen->setText(pair ? tr("%1 / %2 at")
                                  .arg(QString::fromStdString(chosen.account),
                                       QString::fromStdString(chosen.strategy))
                            : tr("Choose a strategy to give it a time"));
    m_pTime->setEnabled(pair && m_actions.mayCommand());
    const auto* edited = m_pTable->findChild<CTimeEdit*>();
    judge(edited ? *edited : *m_pTime);
    m_pDelete->setEnabled(m_actions.mayCommand() && !m_pTable->currentKey().isEmpty());
}

}  // namespace desk
