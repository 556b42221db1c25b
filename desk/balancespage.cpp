#include "desk/balancespage.h"

#include "desk/ownbalances.h"
#include "desk/timeedit.h"
#include "platform/utils/text.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QStringList>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace desk {

namespace {

/// The book's words; "%1" stands for a balance's number. A broker's or a client's own words
/// may follow behind a colon.
[[maybe_unused]] constexpr const char* BOOK_TEXTS[] = {
    QT_TRANSLATE_NOOP("BookText", "asked"),
    QT_TRANSLATE_NOOP("BookText", "cancelling"),
    QT_TRANSLATE_NOOP("BookText", "sent"),
    QT_TRANSLATE_NOOP("BookText", "ended"),
    QT_TRANSLATE_NOOP("BookText", "refused"),
    QT_TRANSLATE_NOOP("BookText", "balanced"),
    QT_TRANSLATE_NOOP("BookText", "less than a lot"),
    QT_TRANSLATE_NOOP("BookText", "rounded to whole lots"),
    QT_TRANSLATE_NOOP("BookText", "no instrument"),
    QT_TRANSLATE_NOOP("BookText", "no price"),
    QT_TRANSLATE_NOOP("BookText", "waiting for open orders"),
    QT_TRANSLATE_NOOP("BookText", "task running"),
    QT_TRANSLATE_NOOP("BookText", "refused by the command center"),
    QT_TRANSLATE_NOOP("BookText", "rejected"),
    QT_TRANSLATE_NOOP("BookText", "lost: nothing was heard of the order"),
    QT_TRANSLATE_NOOP("BookText", "resting"),
    QT_TRANSLATE_NOOP("BookText", "cancelled"),
    QT_TRANSLATE_NOOP("BookText", "traded since"),
    QT_TRANSLATE_NOOP("BookText", "restart"),
    QT_TRANSLATE_NOOP("BookText", "new trading date"),
    QT_TRANSLATE_NOOP("BookText", "nothing was sent: the book of balances cannot be written"),
    QT_TRANSLATE_NOOP("BookText", "a service of the client did not answer"),
    QT_TRANSLATE_NOOP("BookText", "the account is not loaded"),
    QT_TRANSLATE_NOOP("BookText", "no account data"),
    QT_TRANSLATE_NOOP("BookText", "no account info"),
    QT_TRANSLATE_NOOP("BookText", "neither a stock nor a credit account"),
    QT_TRANSLATE_NOOP("BookText", "nothing was traded"),
    QT_TRANSLATE_NOOP("BookText", "replaced by balance %1"),
    QT_TRANSLATE_NOOP("BookText", "balance %1 is under way"),
    QT_TRANSLATE_NOOP("BookText", "balance %1 balanced the whole account"),
};

QString translated(const QString& text) {
    return QCoreApplication::translate("BookText", text.toUtf8().constData());
}

QString remainsText(const replay::BalanceFigures& balance) {
    QStringList remains;
    for (const replay::Remainder& rest : balance.remains) {
        const QString reason = bookText(rest.reason);
        if (rest.stockKey.empty()) {
            remains << reason;
            continue;
        }
        const QString sign = rest.difference > 0 ? QStringLiteral("+") : QString();
        remains << Pim::sToQs(rest.stockKey) + ' ' + sign +
                       formatted(qlonglong(rest.difference), EFormat::Count) + ": " + reason;
    }
    return remains.join(QStringLiteral("; "));
}

/// `pair` is empty where nothing is known of what still runs.
QString stateText(const replay::BalanceFigures& balance, const PairRow* pair,
                  const std::string& now) {
    if (balance.state == "asked" && !balance.history) {
        const int left =
            BALANCE_DELAY +
            typedTime(QString::fromStdString(now)).secsTo(typedTime(Pim::sToQs(balance.asked)));
        return left > 0 ? CBalancesPage::tr("asked, starts in %1 s").arg(left)
                        : CBalancesPage::tr("asked, waits for its turn");
    }
    const auto asked = static_cast<int>(balance.cancelledOrders + balance.cancelledTasks);
    if (balance.state == "cancelling" && pair) {
        const int running = std::min(asked, pair->runningOrders + pair->runningTasks);
        return CBalancesPage::tr("cancelling: %1 of %2 done").arg(asked - running).arg(asked);
    }
    if (balance.state == "sent")
        return CBalancesPage::tr("sent, filled %1 of %2")
            .arg(formatted(qlonglong(balance.filled()), EFormat::Count),
                 formatted(qlonglong(balance.sent()), EFormat::Count));
    return bookText(balance.state);
}

const PairRow* pairOf(const replay::BalanceFigures& balance, const std::vector<PairRow>& pairs) {
    const auto found = std::find_if(pairs.begin(), pairs.end(), [&balance](const PairRow& pair) {
        return pair.account == balance.pair.first && pair.strategy == balance.pair.second;
    });
    return found == pairs.end() ? nullptr : &*found;
}

Row rowOf(const BalanceRow& balance, const Picture& picture) {
    const QString strategy = balance.pair.second.empty() ? CBalancesPage::tr("whole account")
                                                         : Pim::sToQs(balance.pair.second);
    return {QString::number(balance.number),
            {balance.number, Pim::sToQs(balance.asked), askedByText(balance.by),
             Pim::sToQs(balance.pair.first),
             balance.history ? CBalancesPage::tr("%1, earlier days").arg(strategy) : strategy,
             stateText(balance, pairOf(balance, picture.pairs), picture.time),
             qlonglong(balance.cancelledOrders + balance.cancelledTasks), qlonglong(balance.sent()),
             qlonglong(balance.filled()), remainsText(balance)},
            false};
}

}  // namespace

QString bookText(const std::string& text) {
    const QString source = Pim::sToQs(text);
    QString known = translated(source);
    if (known != source) return known;
    static const QRegularExpression NUMBERED(QStringLiteral("balance (\\d+)"));
    if (const auto match = NUMBERED.match(source); match.hasMatch()) {
        QString pattern = source;
        pattern.replace(match.capturedStart(1), match.capturedLength(1), QStringLiteral("%1"));
        return translated(pattern).arg(match.captured(1));
    }
    const int colon = source.indexOf(QStringLiteral(": "));
    return colon < 0 ? source : translated(source.left(colon)) + source.mid(colon);
}

CBalancesPage::CBalancesPage(QWidget* parent) : QWidget(parent) {
    m_pTable = new CRowsView({{tr("No."), EFormat::Count},
                              {tr("Asked")},
                              {tr("Asked for by")},
                              {tr("Account")},
                              {tr("Strategy")},
                              {tr("State")},
                              {tr("Cancelled"), EFormat::Count},
                              {tr("Sent"), EFormat::Count},
                              {tr("Filled"), EFormat::Count},
                              {tr("Still unequal")}},
                             CRowsView::ESorting::Off, this);
    m_pTable->setObjectName("balances");
    m_pTable->setPlaceholder(tr("Nothing was balanced today"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_pTable);
}

QString askedByText(EAskedBy by) {
    switch (by) {
        case EAskedBy::Trader:
            return CBalancesPage::tr("the trader");
        case EAskedBy::StrategyTime:
            return CBalancesPage::tr("the strategy's balance time");
        case EAskedBy::AccountTime:
            return CBalancesPage::tr("the account's balance time");
        case EAskedBy::Recording:
            return CBalancesPage::tr("the recording");
        case EAskedBy::Program:
            break;
    }
    return CBalancesPage::tr("the client, automatically");
}

QString balanceStateText(const Picture& picture, const PairRow& pair) {
    const auto& balances = picture.balances;
    const auto newest =
        std::find_if(balances.rbegin(), balances.rend(), [&pair](const auto& balance) {
            return balance.pair == replay::PairKey(pair.account, pair.strategy);
        });
    if (newest == balances.rend()) return {};
    const QString state = stateText(*newest, &pair, picture.time);
    const bool isOver = newest->state == "ended" || newest->state == "refused";
    return isOver && !newest->remains.empty()
               ? QString("%1; %2").arg(state, bookText(newest->remains.front().reason))
               : state;
}

void CBalancesPage::show(const Picture& picture) {
    std::vector<Row> rows;
    rows.reserve(picture.balances.size());
    for (auto each = picture.balances.rbegin(); each != picture.balances.rend(); ++each)
        rows.push_back(rowOf(*each, picture));
    m_pTable->rows().setRows(std::move(rows));
}

}  // namespace desk
