#pragma once

#include "linkage/ledger/ledger.h"
#include "linkage/ledger/slicedcopy.h"
#include "linkage/ledger/tradedvalue.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace TC {

/// The traded figures of a selection; an empty set selects all. When WHOLE_ACCOUNT is selected,
/// those of all strategies are copied too: the caller can subtract them from the account's.
class CLedger::CFiguresCopy final : public ledger::CSlicedCopy<const Figures*> {
public:
    CFiguresCopy(CLedger& ledger, std::set<std::string> accountKeys,
                 std::set<std::string> strategies, std::set<std::string> stockKeys);

    /// Takes what forEachStock() needs beside the figures, in the hold of the last slice.
    void takeNames();

    /// A record of a selection.
    struct Selected {
        TradedValue value;
        bool wide;      ///< of the account as a whole
        bool selected;  ///< its strategy is selected
    };
    /// The price is that of the last revaluation of the day.
    using VisitStock =
        std::function<void(const std::string& stockKey, const std::optional<double>& valuedPrice,
                           std::span<const Selected> records)>;

    /// Visits the records in the order of account, stock and strategy; one call has all
    /// records of one account's stock. Needs no lock; the texts live as long as the ledger.
    void forEachStock(const VisitStock& visit) const;

private:
    struct Copied {
        std::uint32_t account;
        std::uint32_t stock;
        std::uint32_t strategy;
        TradedValue value;
    };
    struct StockName {
        std::uint32_t stock;
        const std::string* key;
        std::optional<double> valuedPrice;
    };
    /// A copied record with the places of its texts in their order.
    struct Place {
        std::uint32_t copied;
        std::uint32_t account;
        std::uint32_t stock;
        std::uint32_t strategy;
    };

    void begin() override;
    bool copySome(std::size_t most) override;
    bool copyPair(const Pair& pair, std::size_t& most);
    void copyAgain(const Figures* figures) override;
    void copy(const Figures& figures, std::uint32_t account, std::uint32_t strategy);
    bool isSelected(std::uint32_t strategy) const;
    std::vector<Place> inOrder() const;

    CLedger& m_ledger;
    const std::set<std::string> m_accountKeys;
    const std::set<std::string> m_strategyNames;
    const std::set<std::string> m_stockKeys;
    const bool m_bWithRest;

    // what is to be copied, and how far it is
    std::vector<std::uint32_t> m_accounts;
    std::vector<std::uint32_t> m_strategies;
    std::vector<std::uint32_t> m_stocks;  ///< when stocks were named
    std::size_t m_nAccount = 0;
    std::size_t m_nStrategy = 0;
    std::size_t m_nRecord = 0;

    ledger::CPile<Copied> m_copied;  ///< of equal places the last one counts
    std::vector<std::uint32_t> m_accountOrder;
    std::vector<std::uint32_t> m_strategyOrder;
    std::vector<bool> m_strategySelected;
    std::vector<StockName> m_stockOrder;
};

}  // namespace TC
