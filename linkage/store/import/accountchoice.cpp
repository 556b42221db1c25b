#include "linkage/store/import/accountchoice.h"

#include "linkage/store/import/cellvalues.h"

#include <QRegularExpression>
#include <QSet>
#include <QStringList>

namespace TC::statement {

namespace {

constexpr int LONGEST_NAME = 40;  ///< in a text for the user

/// Workbooks lose the zeros in front of numbers.
QString nameWithoutZeros(QString name) {
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
                               const std::vector<NamedAccount>& named, const std::string& chosen) {
    Account only = followed.size() == 1 ? followed.front() : nullptr;
    for (const Account& account : followed) {
        for (const std::string& id : {account->m_strKey, account->m_strID}) {
            const QString name = plainText(QString::fromStdString(id));
            if (name.isEmpty()) continue;
            insert(m_byName, name, account);
            insert(m_byNameWithoutZeros, nameWithoutZeros(name), account);
        }
        if (!chosen.empty() && account->m_strKey == chosen) only = account;
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
    const bool isOfOne = different.size() <= 1;
    if (followed.empty()) {
        refuse(QStringLiteral("no account is followed"), false);
    } else if (!chosen.empty() && (!only || only->m_strKey != chosen)) {
        refuse(QStringLiteral("account %1 is not followed").arg(QString::fromStdString(chosen)),
               true);
    } else if (!unclear.isEmpty() && chosen.empty()) {
        refuse(unclear, isOfOne);
    } else if (only && isOfOne) {
        takeAll(only, names);
    } else {
        refuse(names.isEmpty()
                   ? QStringLiteral("the file names no account, and several are followed")
                   : QStringLiteral("the file is of account %1, which is not followed").arg(names),
               isOfOne);
    }
}

void CAccountChoice::refuse(const QString& why, bool needsChoice) {
    m_refusal = why;
    m_bNeedsChoice = needsChoice;
}

void CAccountChoice::takeAll(const Account& account, const QString& names) {
    m_only = account;
    if (names.isEmpty()) return;
    m_note = QStringLiteral("the file names account %1; it was taken for %2")
                 .arg(names, QString::fromStdString(account->m_strKey));
}

CAccountChoice::Choice CAccountChoice::find(const NamedAccount& named) const {
    const QString& id = named.fundAccount.isEmpty() ? named.holder : named.fundAccount;
    if (id.isEmpty()) return {{}, QStringLiteral("the row names no account"), false};
    const QString shown = id.left(LONGEST_NAME);
    const QString name = plainText(id);
    auto found = m_byName.constFind(name);
    if (found == m_byName.constEnd()) {
        found = m_byNameWithoutZeros.constFind(nameWithoutZeros(name));
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
