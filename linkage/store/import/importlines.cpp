#include "linkage/store/import/importlines.h"

#include "linkage/ledger/daykey.h"
#include "linkage/store/import/statement.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <fmt/format.h>
#include <boost/make_shared.hpp>

#include <algorithm>
#include <cmath>

namespace TC::statement {

namespace {

using vexservice::CDealDetail;
using vexservice::COrderDetail;
using Kind = ImportReport::Kind;

/// A text as JSON; what stands in names cannot end a line.
std::string quoted(const std::string& text) {
    const auto isPlain = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    const bool plain = std::all_of(text.begin(), text.end(), isPlain);
    std::string out = "\"";
    for (const char c : plain ? text : QString::fromStdString(text).toStdString()) {
        if (c == '"' || c == '\\') {
            (out += '\\') += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            out += fmt::format("\\u{:04x}", static_cast<unsigned>(c));
        } else {
            out += c;
        }
    }
    return out += '"';
}

template <class Record>
std::string commonMembers(const std::string& account, const Record& record,
                          const std::string& number) {
    return fmt::format(R"("account":{},"key":"{:x}","day":{},"market":{},"code":{},)"
                       R"("side":{},"volume":{},"price":{},"number":{})",
                       quoted(account), record.recordKey(), quoted(record.m_strTradeDate),
                       quoted(record.m_strMarket), quoted(record.m_strCode),
                       static_cast<int>(record.m_eDirection), record.m_nVolume, record.m_dPrice,
                       quoted(number));
}

std::string lineOf(const std::string& account, const CDealDetail& deal) {
    return fmt::format("{{{},\"amount\":{},\"time\":{}}}\n",
                       commonMembers(account, deal, deal.m_strDealID), deal.m_dAmount,
                       quoted(deal.m_strTradeTime));
}

std::string lineOf(const std::string& account, const COrderDetail& order) {
    return fmt::format("{{{},\"amount\":{},\"traded\":{},\"status\":{}}}\n",
                       commonMembers(account, order, order.m_strSysID), order.m_dTradedAmount,
                       order.m_nTradedVolume, static_cast<int>(order.m_eStatus));
}

std::string textMember(const QJsonObject& object, const char* name) {
    return object.value(QLatin1String(name)).toString().toStdString();
}

/// A record with what deals and orders share; empty where the line does not hold one.
template <class Record>
boost::shared_ptr<Record> commonRecord(const QJsonObject& object) {
    auto record = boost::make_shared<Record>();
    bool ok = false;
    record->m_nRecordKey = object.value(QLatin1String("key")).toString().toULongLong(&ok, 16);
    record->m_strTradeDate = textMember(object, "day");
    record->m_strMarket = textMember(object, "market");
    record->m_strCode = textMember(object, "code");
    const int side = object.value(QLatin1String("side")).toInt();
    record->m_eDirection = static_cast<vexservice::EEntrustBS>(side);
    record->m_nVolume = object.value(QLatin1String("volume")).toInt();
    record->m_dPrice = object.value(QLatin1String("price")).toDouble(-1);
    record->m_bImported = true;
    const bool isWhole = ok && (record->m_nRecordKey & kImportedKeyBit) != 0 &&
                         dayKey(record->m_strTradeDate) > 0 && !record->m_strMarket.empty() &&
                         record->m_strCode.size() == 6 && record->m_nVolume > 0 &&
                         record->m_dPrice >= 0 && std::isfinite(record->m_dPrice) &&
                         (side == vexservice::ENTRUST_BUY || side == vexservice::ENTRUST_SELL);
    return isWhole ? record : nullptr;
}

bool takeLine(const QJsonObject& object, StoredImport& import) {
    const std::string account = textMember(object, "account");
    const QJsonValue amount = object.value(QLatin1String("amount"));
    if (account.empty() || !std::isfinite(amount.toDouble(NAN))) return false;
    if (!object.contains(QLatin1String("status"))) {
        const auto deal = commonRecord<CDealDetail>(object);
        if (!deal) return false;
        deal->m_dAmount = amount.toDouble();
        deal->m_strTradeTime = textMember(object, "time");
        deal->m_strDealID = textMember(object, "number");
        import.deals.emplace_back(account, deal);
        return true;
    }
    const auto order = commonRecord<COrderDetail>(object);
    if (!order) return false;
    order->m_dTradedAmount = amount.toDouble();
    order->m_nTradedVolume = object.value(QLatin1String("traded")).toInt();
    order->m_strSysID = textMember(object, "number");
    order->m_eStatus =
        static_cast<vexservice::EEntrustStatus>(object.value(QLatin1String("status")).toInt());
    import.orders.emplace_back(account, order);
    return true;
}

}  // namespace

std::string textOf(const StoredImport& import) {
    std::string text =
        fmt::format("{{\"import\":{},\"path\":{},\"time\":{}}}\n", import.summary.number,
                    quoted(import.summary.path), quoted(import.summary.time));
    for (const auto& [account, deal] : import.deals) text += lineOf(account, *deal);
    for (const auto& [account, order] : import.orders) text += lineOf(account, *order);
    return text;
}

StoredImport importOf(std::string_view text) {
    StoredImport import;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        if (line.empty()) continue;
        const QJsonObject object =
            QJsonDocument::fromJson(QByteArray(line.data(), static_cast<int>(line.size())))
                .object();
        if (object.contains(QLatin1String("import"))) {
            import.summary.path = textMember(object, "path");
            import.summary.time = textMember(object, "time");
        } else if (!takeLine(object, import)) {
            ++import.damaged;
        }
    }
    import.summary.kind = !import.deals.empty()    ? Kind::Deals
                          : !import.orders.empty() ? Kind::Orders
                                                   : Kind::None;
    import.summary.records = static_cast<int>(import.deals.size() + import.orders.size());
    return import;
}

}  // namespace TC::statement
