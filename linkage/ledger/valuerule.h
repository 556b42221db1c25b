#pragma once

#include "linkage/ledger/profitrule.h"

#include <QString>

#include <optional>
#include <string>

namespace TC {

/// How a stock is valued today: what its instrument detail and the user's limit
/// percentage say.
struct ValueRule {
    std::optional<DayLimits> limits;  ///< none without instrument detail
    double rate = 0.0;                ///< daily price limit as a fraction
    double reference = 0.0;           ///< yesterday's close; 0: not known

    ValuePrices at(double price) const {
        return valuePrices(price, limits ? &*limits : nullptr, rate);
    }
};

/// Asks the instrument manager; none without instrument detail.
std::optional<DayLimits> dayLimits(const QString& stockKey);

/// Asks the user configuration for the daily price limit, as a fraction.
double limitRate(bool specialTreatment);

/// Asks both.
ValueRule valueRule(const std::string& stockKey);

}  // namespace TC
