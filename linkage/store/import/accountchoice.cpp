#include "linkage/store/import/accountchoice.h"

#include "linkage/store/import/cellvalues.h"

#include <QRegularExpression>
#include <QSet>
#include <QStringList>

namespace TC::statement {

namespace {

constexpr int LONGEST_NAME = 40;  ///< in a text for the user

/// Workbooks lose the zeros in front of numbers.
QString withoutZeros(QString name) {
    static const QRegularExpression zeros(QStringLiteral("^0+(?=\\d+$)"));
    return name.remove(zeros);
}

}  // namespace

void CAccountChoice::insert(Names& names, const QString& name, const Account& account) {
    const auto known = names.find(name);
    if (known == names.end()) {
        names.insert(name, account);
    } else if (known.value() != account) {
        known.value() = nullptr;
    }
}

CAccountChoice::CAccountChoice(const std::vector<Account>& followed,
                               const std::vector<NamedAccount>& named) {
    for (const Account& account : followed) {
        for (const std::string& id : {account->m_strKey, account->m_strID}) {
            const QString name = plainText(QString::fromStdString(id));
            if (name.isEmpty()) continue;
            insert(m_byName, name, account);
            insert(m_byNameWithoutZeros, withoutZeros(name), account);
        }
    }
    QSet<QString> different;
    QStringList fundAccounts;  // the first of them, for the user
    QString unclear;
    for (const NamedAccount& each : named) {
        const Choice found = find(each);
        if (found.account) return;
        if (found.isUnclear) unclear = found.why;
        if (each.fundAccount.isEmpty() || different.contains(each.fundAccount)) continue;
        different.insert(each.fundAccount);
        if (fundAccounts.size() < 5) fundAccounts << each.fundAccount.left(LONGEST_NAME);
    }
    const QString names = fundAccounts.join(QStringLiteral(", "));
    if (followed.empty()) {
        m_refusal = QStringLiteral("no account is followed");
    } else if (!unclear.isEmpty()) {
        m_refusal = unclear;
    } else if (followed.size() > 1 || different.size() > 1) {
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

CAccountChoice::Choice CAccountChoice::find(const NamedAccount& named) const {
    const QString& id = named.fundAccount.isEmpty() ? named.holder : named.fundAccount;
    if (id.isEmpty()) return {{}, QStringLiteral("the row names no account"), false};
    const QString shown = id.left(LONGEST_NAME);
    const QString name = plainText(id);
    auto found = m_byName.constFind(name);
    if (found == m_byName.constEnd()) {
        found = m_byNameWithoutZeros.constFind(withoutZeros(name));
        if (found == m_byNameWithoutZeros.constEnd()) {
            return {{}, QStringLiteral("account %1 is not followed").arg(shown), false};
        }
    }
    if (!found.value()) {
        return {{},
                QStringLiteral("account %1 may be one of several that are followed").arg(shown),
                true};
    }
    return {found.value(), QString(), false};
}

CAccountChoice::Choice CAccountChoice::of(const NamedAccount& named) const {
    return m_only ? Choice{m_only, QString(), false} : find(named);
}

}  // namespace TC::statement
