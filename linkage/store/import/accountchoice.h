#pragma once

#include "linkage/export.h"
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
/// - A row that names a followed account (by its fund account, else by its holder
///   code) belongs to that one.
/// - When no row names a followed account, all rows belong to the only one there is,
///   unless they name different fund accounts. Brokers write their numbers in many
///   ways, so a name alone is no reason to refuse; a note tells the user.
/// - Otherwise nothing can be taken, or not that row.
class LINKAGE_EXPORT CAccountChoice {
public:
    using Account = boost::shared_ptr<vexservice::CAccountInfo>;

    CAccountChoice(const std::vector<Account>& followed, const std::vector<NamedAccount>& named);

    /// Why no row at all can be taken; empty otherwise.
    const QString& refusal() const { return m_refusal; }
    /// What the user should check; may be empty.
    const QString& note() const { return m_note; }
    /// The account of a row, empty when the row's account is not followed.
    Account of(const NamedAccount& named) const;

private:
    Account find(const NamedAccount& named) const;

    QHash<QString, Account> m_byId;
    Account m_only;
    QString m_refusal;
    QString m_note;
};

}  // namespace TC::statement
