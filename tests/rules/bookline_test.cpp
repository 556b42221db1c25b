#include "linkage/balance/guardedbalance.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <limits>

using namespace TC;

namespace {

constexpr std::int64_t MOST = 9'007'199'254'740'991;  ///< the largest that every JSON reader keeps

GuardedBalance oddBalance() {
    GuardedBalance balance;
    balance.number = 7;
    balance.date = "20240102";
    balance.pair = {"账户\"A\"\\", "grid\n\t\x01\x7f", true};
    balance.form = EBalanceForm::GroupedHistory;
    balance.state = EBalanceState::Sent;
    balance.askedAt = 1704159000123456;
    balance.sentAt = MOST;
    balance.reason = std::string("nul\0 and \xf0\x9f\x98\x80", 13);
    balance.cancelledOrders[std::numeric_limits<std::uint64_t>::max()] = {1, 0};
    balance.cancelledOrders[1] = {2, 3};
    balance.commands = {{.number = 3, .orders = {{.stock = "SH600000", .buys = true}, {}}},
                        {.refused = true, .text = "余额不足"}};
    balance.stocks["SZ000001"].least = -MOST;
    balance.stocks["SH600000"].reason = "less than a lot";
    return balance;
}

}  // namespace

// A book is read by other programs as well: its lines are what Qt's writer makes of the same
// values, byte for byte, and they read back to the same balance.
TEST(BookLine, IsWhatQtWouldWrite) {
    for (const GuardedBalance& balance : {oddBalance(), GuardedBalance{.number = 1}}) {
        const std::string line = bookLine(balance, "sent", 1704159000123456);
        const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(line));
        ASSERT_TRUE(document.isObject()) << line;
        EXPECT_EQ(line, document.toJson(QJsonDocument::Compact).toStdString() + "\n");
        EXPECT_EQ(document["at"].toString(), "2024-01-02 09:30:00.123");
        int damaged = 0;
        const auto read = readBook(line, damaged);
        ASSERT_EQ(read.size(), 1u);
        EXPECT_EQ(bookLine(read.begin()->second, "sent", 1704159000123456), line);
        EXPECT_EQ(damaged, 0);
    }
}
