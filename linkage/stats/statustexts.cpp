#include "linkage/core/clinkagemanager.h"

#include <cstddef>

namespace TC {
namespace {

/// The text of a code in a table that starts at `first`; a null entry is a gap.
template <std::size_t N>
QString textOf(int code, int first, const char* const (&texts)[N]) {
    const bool inside = code >= first && code - first < static_cast<int>(N);
    const char* text = inside ? texts[code - first] : nullptr;
    return QString::fromUtf8(text ? text : "未知");
}

// Codes '0' to '9'.
constexpr const char* ORDER_STATUS[] = {"未报", "待报", "已报", "已报待撤", "部成待撤",
                                        "部撤", "已撤", "部成", "已成",     "废单"};

// From 3 on; 11 has no text.
constexpr const char* TASK_STATUS[] = {"执行中", "暂停", "撤销中",   "异常撤销中", "完成",
                                       "已撤",   "打回", "异常终止", nullptr,      "强制终止"};

// The first five asks run from far to near, ...
constexpr const char* PRICE_TYPE[] = {"卖⑤价",  "卖④价",  "卖③价", "卖②价",  "卖①价",
                                      "最新价", "买①价",  "买②价", "买③价",  "买④价",
                                      "买⑤价",  "指定价", "市价",  "挂单价", "对手价"};

// ... the further ones, from 30 on, from near to far.
constexpr const char* FAR_PRICE_TYPE[] = {"卖⑥价", "卖⑦价", "卖⑧价", "卖⑨价", "卖⑩价",
                                          "买⑥价", "买⑦价", "买⑧价", "买⑨价", "买⑩价"};

}  // namespace

QString getOrderStatusQString(int status) { return textOf(status, '0', ORDER_STATUS); }

QString getTaskStatusQString(int status) { return textOf(status, 3, TASK_STATUS); }

QString getPriceTypeQString(int priceType) {
    return priceType < 30 ? textOf(priceType, 0, PRICE_TYPE)
                          : textOf(priceType, 30, FAR_PRICE_TYPE);
}

}  // namespace TC
