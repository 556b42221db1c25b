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
    expectTexts(TC::getOrderStatusQString, {{'0', "未报"},
                                            {'1', "待报"},
                                            {'2', "已报"},
                                            {'3', "已报待撤"},
                                            {'4', "部成待撤"},
                                            {'5', "部撤"},
                                            {'6', "已撤"},
                                            {'7', "部成"},
                                            {'8', "已成"},
                                            {'9', "废单"}});
}

TEST(StatusTexts, TaskStatusLeavesElevenOut) {
    expectTexts(TC::getTaskStatusQString, {{3, "执行中"},
                                           {4, "暂停"},
                                           {5, "撤销中"},
                                           {6, "异常撤销中"},
                                           {7, "完成"},
                                           {8, "已撤"},
                                           {9, "打回"},
                                           {10, "异常终止"},
                                           {12, "强制终止"}});
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
