#pragma once

#include "paper/clientdata.h"
#include "paper/faults.h"
#include "platform/services/stockmanager.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace paper {

/// The instrument table: details, stock types and trading units by stock key. Threads: any.
class CInstruments final {
public:
    void set(const Instrument& instrument);
    std::optional<Instrument> find(const std::string& stockKey) const;
    std::shared_ptr<vexservice::CInstrumentDetail> detail(const std::string& stockKey) const;
    bool isTyped(int type, const std::string& stockKey) const;
    /// 100 for a stock that was never set.
    int unit(const std::string& stockKey) const;

private:
    struct Entry {
        Instrument instrument;
        std::shared_ptr<vexservice::CInstrumentDetail> detail;
    };

    mutable std::mutex m_mutex;
    std::map<std::string, Entry> m_entries;
};

/// The table as the instrument manager.
class CPaperStockManager final : public TC::CStockManager {
public:
    CPaperStockManager(std::shared_ptr<CInstruments> instruments, std::shared_ptr<CFaults> faults)
        : m_pInstruments(std::move(instruments)), m_pFaults(std::move(faults)) {}

    using TC::CStockManager::getInstrumentDetail;
    std::shared_ptr<vexservice::CInstrumentDetail> getInstrumentDetail(
        const QString& stockKey) override {
        if (m_pFaults->nothing(EService::Instrument)) return nullptr;
        return m_pInstruments->detail(stockKey.toStdString());
    }

private:
    std::shared_ptr<CInstruments> m_pInstruments;
    std::shared_ptr<CFaults> m_pFaults;
};

/// The table as the center of stock types.
class CPaperStockTypes final : public vexservice::StockTypeCenter {
public:
    explicit CPaperStockTypes(std::shared_ptr<CInstruments> instruments)
        : m_pInstruments(std::move(instruments)) {}

    bool isTypedStock(int type, const std::string& market, const std::string& code) override;
    int tradeMinUnit(const std::string& market, const std::string& code) override;

private:
    std::shared_ptr<CInstruments> m_pInstruments;
};

}  // namespace paper
