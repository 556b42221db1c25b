#include "desk/balancetimespage.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTimeEdit>
#include <QVBoxLayout>

namespace desk {

namespace {

constexpr int TIME_COLUMN = 2;
const QString SHOWN = QStringLiteral("HH:mm:ss");
const QString KEPT = QStringLiteral("HHmmss");

class CTimeDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&,
                          const QModelIndex&) const override {
        auto* editor = new QTimeEdit(parent);
        editor->setDisplayFormat(SHOWN);
        editor->setFrame(false);
        return editor;
    }
    void setEditorData(QWidget* editor, const QModelIndex& index) const override {
        static_cast<QTimeEdit*>(editor)->setTime(
            QTime::fromString(index.data(CRowsModel::ROLE_VALUE).toString(), KEPT));
    }
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override {
        model->setData(index, static_cast<QTimeEdit*>(editor)->time().toString(KEPT));
    }
};

}  // namespace

CBalanceTimesPage::CBalanceTimesPage(CActions& actions, QWidget* parent)
    : QWidget(parent), m_actions(actions) {
    m_pTable =
        new CRowsView({{tr("Account")}, {tr("Strategy")}, {tr("Balanced at"), EFormat::Time, true}},
                      CRowsView::ESorting::Off, this);
    m_pTable->setObjectName("balanceTimes");
    m_pTable->setPlaceholder(tr("No strategy has a balance time"));
    m_pTable->setItemDelegateForColumn(TIME_COLUMN, new CTimeDelegate(m_pTable));
    connect(&m_pTable->rows(), &CRowsModel::sigEdited, this,
            [this](const QString& key, int, const QVariant& time) {
                m_actions.setBalanceTime(key.toStdString(), time.toString().toStdString());
            });

    m_pChosen = new QLabel(this);
    m_pTime = new QTimeEdit(QTime(14, 55), this);
    m_pTime->setObjectName("balanceTimeEdit");
    m_pTime->setDisplayFormat(SHOWN);
    m_pSet = new QPushButton(tr("Set time"), this);
    m_pSet->setObjectName("balanceTimeSet");
    connect(m_pSet, &QPushButton::clicked, this, [this] {
        m_actions.setBalanceTime(balanceKey(m_chosen.account, m_chosen.strategy),
                                 m_pTime->time().toString(KEPT).toStdString());
    });
    m_pDelete = new QPushButton(tr("Delete row"), this);
    m_pDelete->setObjectName("balanceTimeDelete");
    connect(m_pDelete, &QPushButton::clicked, this,
            [this] { m_actions.deleteBalanceTime(m_pTable->currentKey().toStdString()); });

    auto* line = new QHBoxLayout;
    line->addWidget(m_pChosen);
    line->addWidget(m_pTime);
    line->addWidget(m_pSet);
    line->addStretch();
    line->addWidget(m_pDelete);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_pTable);
    layout->addLayout(line);
    show({}, {});
}

void CBalanceTimesPage::show(const std::map<std::string, std::string>& times,
                             const Selection& chosen) {
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
    m_pTime->setEnabled(pair);
    m_pSet->setEnabled(pair);
    m_pDelete->setEnabled(!m_pTable->currentKey().isEmpty());
}

}  // namespace desk
