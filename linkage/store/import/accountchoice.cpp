#include "linkage/store/import/accountchoice.h"

#include "linkage/store/import/cellvalues.h"

#include <QRegularExpression>
#include <QStringList>

namespace TC::statement {

namespace {

/// An ID as both sides can be compared: workbooks lose the zeros in front of numbers.
QString comparable(const QString& id) {
    static const QRegularExpression zeros(QStringLiteral("^0+(?=\\d+$)"));
    return plainText(id).remove(zeros);
}

}  // namespace

CAccountChoice::CAccountChoice(const std::vector<Account>& followed,
                               const std::vector<NamedAccount>& named) {
    for (const Account& account : followed) {
        for (const std::string& id : {account->m_strKey, account->m_strID}) {
            if (!id.empty()) m_byId.insert(comparable(QString::fromStdString(id)), account);
        }
    }
    QStringList fundAccounts;
    for (const NamedAccount& each : named) {
        if (find(each)) return;
        if (!each.fundAccount.isEmpty() && !fundAccounts.contains(each.fundAccount)) {
            fundAccounts << each.fundAccount;
        }
    }
    const QString names = fundAccounts.mid(0, 5).join(QStringLiteral(", "));
    if (followed.empty()) {
        m_refusal = QStringLiteral("no account is followed");
    } else if (followed.size() > 1 || fundAccounts.size() > 1) {
        m_refusal =
            names.isEmpty()
                ? QStringLiteral("the file names no account, and several are followed")
                : QStringLiteral("the file is of account %1, which is not followed").arg(names);
    } else {
        m_only = followed.front();
        if (!names.isEmpty()) {
            m_note = QStringLiteral("the file names account %1; it was taken for %2")
                         .arg(names, QString::fromStdString(m_only->m_strKey));
        }
    }
}

CAccountChoice::Account CAccountChoice::find(const NamedAccount& named) const {
    for (const QString& id : {named.fundAccount, named.holder}) {
        const auto found = m_byId.constFind(comparable(id));
        if (!id.isEmpty() && found != m_byId.constEnd()) return found.value();
    }
    return {};
}

CAccountChoice::Account CAccountChoice::of(const NamedAccount& named) const {
    return m_only ? m_only : find(named);
}

}  // namespace TC::statement
