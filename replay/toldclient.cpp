#include "replay/toldclient.h"

#include "replay/eventparser.h"

#include <boost/pointer_cast.hpp>

#include <charconv>

namespace replay {

namespace {

using namespace vexservice;

/// The first two letters of a stock key are its market.
constexpr std::size_t MARKET_LETTERS = 2;

/// Cuts the first word off.
std::string_view takeWord(std::string_view& text) {
    const std::size_t end = text.find(' ');
    const std::string_view word = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    return word;
}

void describe(paper::Instrument& instrument, const CFields& detail) {
    instrument.market = detail.text("market");
    instrument.code = detail.text("code");
    instrument.name = detail.text("name");
    instrument.tick = detail.real("tick");
    instrument.reference = detail.real("reference");
    instrument.limitUp = detail.real("limitUp");
    instrument.limitDown = detail.real("limitDown");
    instrument.detail = true;
}

}  // namespace

paper::Instrument& CToldClient::instrument(const std::string& stockKey) {
    const auto [at, isNew] = m_instruments.try_emplace(stockKey);
    if (isNew) {
        at->second.market = stockKey.substr(0, MARKET_LETTERS);
        at->second.code = stockKey.size() > MARKET_LETTERS ? stockKey.substr(MARKET_LETTERS) : "";
        at->second.detail = false;
        m_watcher.stockIsThere(stockKey);
    }
    return at->second;
}

void CToldClient::answer(std::string_view question, const CValue& is) {
    const std::string_view name = takeWord(question);
    const bool isObject = is.json().is_object();
    if (isObject && is.fields().find("throws")) return;
    if (name == "price" && isObject) return price(CEventParser::readPrice(is.fields()));
    if (name == "info" && isObject) return setAccount(is);
    if (name == "instrument" && isObject) {
        paper::Instrument& told = instrument(std::string(question));
        describe(told, is.fields());
        m_client.setInstrument(told);
    } else if (name == "lot" && is.json().is_int64()) {
        paper::Instrument& told = instrument(std::string(question));
        told.unit = is.whole<int>();
        m_client.setInstrument(told);
    } else if (name == "typed" && is.json().is_bool() && is.flag()) {
        const std::string_view type = takeWord(question);
        paper::Instrument& told = instrument(std::string(question));
        int number = 0;
        std::from_chars(type.data(), type.data() + type.size(), number);
        told.types.push_back(number);
        m_client.setInstrument(told);
    }
}

void CToldClient::price(const boost::shared_ptr<CPriceData>& price) {
    instrument(price->m_strStockKey);
    m_client.setPrice(price->m_strStockKey, price);
}

void CToldClient::setAccount(const CValue& info) {
    const CFields in = info.fields();
    paper::Account& account = m_accounts[std::string(in.text("key", ""))];
    account.key = in.text("key", "");
    account.id = in.text("id", "");
    account.name = in.text("name", "");
    account.type = in.whole<int>("type");
    account.broker = in.text("broker", "");
    account.info = true;
    m_client.setAccount(account);
}

void CToldClient::record(const std::string& account, const CRecordedClient::RecordPtr& record,
                         bool isReport) {
    if (const auto task = boost::dynamic_pointer_cast<CTaskDetail>(record)) {
        return m_client.report(task, isReport);
    }
    if (!m_accounts.contains(account)) {
        const paper::Account& added =
            m_accounts
                .emplace(account, paper::Account{.key = account, .id = account, .info = false})
                .first->second;
        m_client.setAccount(added);
    }
    if (const auto order = boost::dynamic_pointer_cast<COrderDetail>(record)) {
        m_client.report(account, order, isReport);
    } else if (const auto deal = boost::dynamic_pointer_cast<CDealDetail>(record)) {
        m_client.report(account, deal, isReport);
    } else if (const auto held = boost::dynamic_pointer_cast<CPositionStatics>(record)) {
        // Nobody sees a position that no report told, unless it is told here.
        m_client.report(account, held);
    }
}

}  // namespace replay
