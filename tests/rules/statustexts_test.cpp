#include "linkage/core/clinkagemanager.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>

namespace {

using Texts = std::map<int, QString>;

/// Every code around and inside the table: those of the table have their text, all
/// others the one for unknown codes.
void expectTexts(QString (*textOf)(int), const Texts& texts) {
    for (int code = -70; code <= 130; ++code) {
        const auto found = texts.find(code);
        EXPECT_EQ(textOf(code), found == texts.end() ? QString("未知") : found->second) << code;
    }
    for (const int code : {INT_MIN, INT_MAX}) EXPECT_EQ(textOf(code), QString("未知")) << code;
}

TEST(StatusTexts, OrderStatusIsTheCharacterOfADigit) {
    const char* const names[] = {"未报", "待报", "已报", "已报待撤", "部成待撤",
                                 "部撤", "已撤", "部成", "已成",     "废单"};
    Texts texts;
    for (int digit = 0; digit < 10; ++digit) texts['0' + digit] = names[digit];
    expectTexts(TC::getOrderStatusQString, texts);
}

TEST(StatusTexts, TaskStatusLeavesElevenOut) {
    const char* const names[] = {"执行中", "暂停", "撤销中", "异常撤销中",
                                 "完成",   "已撤", "打回",   "异常终止"};
    Texts texts = {{12, "强制终止"}};
    for (int status = 3; status <= 10; ++status) texts[status] = names[status - 3];
    expectTexts(TC::getTaskStatusQString, texts);
}

TEST(StatusTexts, NearAsksRunDownwardsAndFarAsksUpwards) {
    Texts texts = {{5, "最新价"}, {11, "指定价"}, {12, "市价"}, {13, "挂单价"}, {14, "对手价"}};
    const QString digits = "①②③④⑤⑥⑦⑧⑨⑩";
    for (int level = 1; level <= 10; ++level) {
        const QString tail = QString(digits[level - 1]) + "价";
        texts[level <= 5 ? 5 - level : 24 + level] = "卖" + tail;
        texts[level <= 5 ? 5 + level : 29 + level] = "买" + tail;
    }
    expectTexts(TC::getPriceTypeQString, texts);
}

}  // namespace
