#pragma once

#include "platform/records/accountinfo.h"

#include <QHash>
#include <QString>

#include <boost/shared_ptr.hpp>

#include <vector>

namespace TC::statement {

/// The account that a row names; both texts may be empty.
struct NamedAccount {
    QString fundAccount;
    QString holder;
};

/// Which followed account each row of a statement belongs to.
///
/// - A row that names a followed account (by its fund account; by its holder code only
///   where it names no fund account) belongs to that one. The name is an account's key or
///   ID as it stands, else one that differs by zeros in front; a name that fits several
///   accounts alike names none of them.
/// - When no row names a followed account, all rows belong to the only one there is,
///   unless they name different fund accounts. Brokers write their numbers in many
///   ways, so a name alone is no reason to refuse; a note tells the user. Where several
///   accounts are followed, the user can choose the one.
/// - Otherwise nothing can be taken, or not that row.
class CAccountChoice {
public:
    using Account = boost::shared_ptr<vexservice::CAccountInfo>;

    struct Choice {
        Account account;
        QString why;             ///< there is none
        bool isUnclear = false;  ///< there are several
    };

    /// `chosen` is the key of the account that the user has chosen, "" for none.
    CAccountChoice(const std::vector<Account>& followed, const std::vector<NamedAccount>& named,
                   const std::string& chosen = {});

    /// Why no row at all can be taken; empty otherwise.
    const QString& refusal() const { return m_refusal; }
    /// The refusal is only that the user has to choose an account.
    bool needsChoice() const { return m_bNeedsChoice; }
    /// What the user should check; may be empty.
    const QString& note() const { return m_note; }
    /// The account of a row.
    Choice of(const NamedAccount& named) const;

private:
    /// By name; an empty account where several have the name.
    using Names = QHash<QString, Account>;
    static void insert(Names& names, const QString& name, const Account& account);
    Choice find(const NamedAccount& named) const;
    void takeAll(const Account& account, const QString& names);
    void refuse(const QString& why, bool needsChoice);

    Names m_byName;
    Names m_byNameWithoutZeros;
    Account m_only;
    QString m_refusal;
    bool m_bNeedsChoice = false;
    QString m_note;
};

}  // namespace TC::statement
