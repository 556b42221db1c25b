#include "paper/instruments.h"

#include "platform/utils/keys.h"
#include "platform/utils/referencedata.h"

#include <algorithm>

namespace paper {

namespace {

constexpr int DEFAULT_UNIT = 100;

std::shared_ptr<vexservice::CInstrumentDetail> makeDetail(const Instrument& instrument) {
    auto detail = std::make_shared<vexservice::CInstrumentDetail>();
    detail->m_strMarket = instrument.market;
    detail->m_strCode = instrument.code;
    detail->m_strName = instrument.name;
    detail->m_strProductID = instrument.code;
    detail->m_dPriceTick = instrument.tick;
    detail->m_dReferencePrice = instrument.reference;
    detail->m_dLimitUp = instrument.limitUp;
    detail->m_dLimitDown = instrument.limitDown;
    return detail;
}

}  // namespace

void CInstruments::set(const Instrument& instrument) {
    Entry entry{instrument, instrument.detail ? makeDetail(instrument) : nullptr};
    {
        const std::lock_guard lock(m_mutex);
        m_entries[utils::zorStockKey(instrument.market, instrument.code)] = std::move(entry);
    }
    utils::referenceDataChanged();
}

std::optional<Instrument> CInstruments::find(const std::string& stockKey) const {
    const std::lock_guard lock(m_mutex);
    const auto at = m_entries.find(stockKey);
    if (at == m_entries.end()) return std::nullopt;
    return at->second.instrument;
}

std::shared_ptr<vexservice::CInstrumentDetail> CInstruments::detail(
    const std::string& stockKey) const {
    const std::lock_guard lock(m_mutex);
    const auto at = m_entries.find(stockKey);
    return at == m_entries.end() ? nullptr : at->second.detail;
}

bool CInstruments::isTyped(int type, const std::string& stockKey) const {
    const std::lock_guard lock(m_mutex);
    const auto at = m_entries.find(stockKey);
    if (at == m_entries.end()) return false;
    const std::vector<int>& types = at->second.instrument.types;
    return std::find(types.begin(), types.end(), type) != types.end();
}

int CInstruments::unit(const std::string& stockKey) const {
    const std::lock_guard lock(m_mutex);
    const auto at = m_entries.find(stockKey);
    return at == m_entries.end() ? DEFAULT_UNIT : std::max(at->second.instrument.unit, 1);
}

bool CPaperStockTypes::isTypedStock(int type, const std::string& market, const std::string& code) {
    return m_pInstruments->isTyped(type, utils::zorStockKey(market, code));
}

int CPaperStockTypes::tradeMinUnit(const std::string& market, const std::string& code) {
    return m_pInstruments->unit(utils::zorStockKey(market, code));
}

}  // namespace paper
