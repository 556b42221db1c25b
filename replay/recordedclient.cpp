#include "replay/recordedclient.h"

#include "linkage/record/recordlines.h"
#include "replay/output.h"

#include <boost/make_shared.hpp>

#include <charconv>

namespace replay {

namespace {

using namespace vexservice;

constexpr std::size_t KEPT_REPORTS = 2;  ///< of a record, as the recorder counts them

std::string textOf(const CFields& in, std::string_view name) {
    return std::string(in.text(name, ""));
}

boost::shared_ptr<CAccountInfo> readInfo(const CFields& in) {
    auto info = boost::make_shared<CAccountInfo>();
    info->m_strKey = textOf(in, "key");
    info->m_strID = textOf(in, "id");
    info->m_strName = textOf(in, "name");
    info->m_nType = in.whole<int>("type");
    info->m_strBroker = textOf(in, "broker");
    return info;
}

std::shared_ptr<CInstrumentDetail> readInstrument(const CFields& in) {
    auto detail = std::make_shared<CInstrumentDetail>();
    detail->m_strMarket = textOf(in, "market");
    detail->m_strCode = textOf(in, "code");
    detail->m_strName = textOf(in, "name");
    detail->m_strProductID = textOf(in, "product");
    detail->m_dPriceTick = in.real("tick");
    detail->m_dReferencePrice = in.real("reference");
    detail->m_dLimitUp = in.real("limitUp");
    detail->m_dLimitDown = in.real("limitDown");
    return detail;
}

boost::shared_ptr<CStkExchangeRateLimit> readFee(const CFields& in) {
    auto fee = boost::make_shared<CStkExchangeRateLimit>();
    fee->m_dRate = in.real("rate");
    fee->m_dMinimum = in.real("minimum");
    fee->m_dTransfer = in.real("transfer");
    fee->m_dStamp = in.real("stamp");
    return fee;
}

TC::CTradeSetting readSetting(const CFields& in) {
    const auto block = [&](std::string_view name) {
        const CList values = in.need(name).list(2);
        return COrderSetting{static_cast<EPriceType>(values.at(0).whole<int>()),
                             values.at(1).real()};
    };
    TC::CTradeSetting setting;
    setting.m_stock = block("stock");
    setting.m_credit = block("credit");
    return setting;
}

CCodeOrderParam readOrderParam(const CFields& in) {
    CCodeOrderParam order;
    order.m_nVolume = in.whole<std::int64_t>("volume");
    order.m_ePriceType = static_cast<EPriceType>(in.whole<int>("priceType"));
    order.m_dPrice = in.real("price");
    order.m_nValidFrom = in.whole<int>("from");
    order.m_nValidTo = in.whole<int>("to");
    return order;
}

/// A value whose kind is seen from itself.
TC::TapeAnswer readPlain(std::string_view name, const CValue& value) {
    if (value.isNull()) return {};
    if (value.json().is_bool()) return value.flag();
    if (name == "userNumber" || name == "orderPrice") return value.real();
    if (value.json().is_string()) return std::string(value.text());
    return value.whole<std::int64_t>();
}

}  // namespace

// --------------------------------------------------------------------------- records

boost::shared_ptr<CAccountInfo> CRecordedClient::account(const std::string& key) {
    auto& info = m_accounts[key];
    if (!info) {
        info = boost::make_shared<CAccountInfo>();
        info->m_strKey = key;
        info->m_strID = key;
    }
    return info;
}

CRecordedClient::RecordPtr CRecordedClient::addRecord(const Event& event, const CFields& fields) {
    std::string account;
    const auto add = [&](const auto& record) -> RecordPtr {
        remember({account, TC::recordName(*record)}, record);
        return record;
    };
    const auto setOwner = [&](auto& record) {
        const auto owner = fields.find("owner");
        if (owner && owner->isNull()) return;
        record.m_pAccountInfo = this->account(owner ? std::string(owner->text()) : account);
    };
    if (const auto* order = std::get_if<OrderEvent>(&event)) {
        account = order->account;
        setOwner(*order->order);
        order->order->m_eOffsetFlag =
            static_cast<EOffset_Flag_Type>(fields.whole<int>("offset", 0));
        return add(order->order);
    }
    if (const auto* deal = std::get_if<DealEvent>(&event)) {
        account = deal->account;
        setOwner(*deal->deal);
        deal->deal->m_eOffsetFlag = static_cast<EOffset_Flag_Type>(fields.whole<int>("offset", 0));
        return add(deal->deal);
    }
    if (const auto* position = std::get_if<PositionEvent>(&event)) {
        account = position->account;
        setOwner(*position->position);
        return add(position->position);
    }
    if (const auto* task = std::get_if<TaskEvent>(&event)) {
        for (std::size_t i = 0; i < task->accounts.size(); ++i) {
            task->task->m_items[i]->m_pAccountInfo = this->account(task->accounts[i]);
        }
        m_serverTasks[vexservice::CTaskHelper::genServerTaskKey(task->task)] =
            task->task->recordKey();
        return add(task->task);
    }
    return {};
}

std::optional<std::uint64_t> CRecordedClient::taskNumber(const std::string& key,
                                                         bool server) const {
    if (server) {
        const auto known = m_serverTasks.find(key);
        return known == m_serverTasks.end() ? std::nullopt : std::optional(known->second);
    }
    std::uint64_t number = 0;
    const char* const end = key.data() + key.size();
    return std::from_chars(key.data(), end, number).ptr == end ? std::optional(number)
                                                               : std::nullopt;
}

void CRecordedClient::remember(const Name& name, const RecordPtr& record) {
    m_records[++m_nRecords] = record;
    std::deque<std::uint64_t>& newest = m_newest[name];
    newest.push_back(m_nRecords);
    while (newest.size() > KEPT_REPORTS && !m_bKeepAll) {
        m_records.erase(newest.front());
        newest.pop_front();
    }
}

CRecordedClient::RecordPtr CRecordedClient::record(std::uint64_t number) const {
    const auto at = m_records.find(number);
    return at == m_records.end() ? nullptr : at->second;
}

// --------------------------------------------------------------------------- answers

void CRecordedClient::setAnswer(const std::string& question, std::string json) {
    m_answers[question] = std::move(json);
}

std::string CRecordedClient::priceText(const CPriceData& price) {
    TextBuffer text;
    CJsonWriter out(text);
    out.beginObject();
    TC::writePrice(out, price.m_strStockKey, price);
    out.endObject();
    return std::string(viewOf(text));
}

std::optional<TC::TapeAnswer> CRecordedClient::answer(const TC::TapeQuestion& question) {
    const std::string name(question.name);
    const auto known = m_answers.find(name + ' ' + question.about);
    if (known == m_answers.end()) return std::nullopt;
    // An element of its own, so that a text and a number can be read alike.
    const std::string json =
        "{\"is\":" + known->second + "}" + std::string(simdjson::SIMDJSON_PADDING, ' ');
    const CFields fields = parseLine(
        m_parser, std::string_view(json).substr(0, json.size() - simdjson::SIMDJSON_PADDING), true);
    return read(name, fields.need("is"));
}

TC::TapeAnswer CRecordedClient::read(std::string_view name, const CValue& value) {
    if (value.isList()) {
        if (name == "accounts") {
            std::vector<std::string> keys;
            value.list().each([&](const CValue& key) { keys.push_back(std::string(key.text())); });
            return keys;
        }
        std::vector<boost::shared_ptr<const IData>> records;
        value.list().each([&](const CValue& number) {
            records.push_back(record(number.whole<std::uint64_t>()));
        });
        return records;
    }
    if (!value.json().is_object()) return readPlain(name, value);
    const CFields in = value.fields();
    if (const auto thrown = in.find("throws")) return TC::TapeThrown{std::string(thrown->text())};
    if (name == "info") {
        const auto info = readInfo(in);
        auto& known = m_accounts[info->m_strKey];
        // The same one as long as it stays, as a data center gives it.
        const bool same = known && known->m_strID == info->m_strID &&
                          known->m_strName == info->m_strName && known->m_nType == info->m_nType &&
                          known->m_strBroker == info->m_strBroker;
        if (!same) known = info;
        return known;
    }
    if (name == "instrument") return readInstrument(in);
    if (name == "fee") return readFee(in);
    if (name == "tradeSetting") return readSetting(in);
    if (name == "orderSetting" || name == "timeRange") return readOrderParam(in);
    if (name == "price") return CEventParser::readPrice(in);
    value.fail("is no answer to \"" + std::string(name) + "\"");
}

}  // namespace replay
