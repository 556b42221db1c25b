#pragma once

#include "platform/export.h"

#include <string>

namespace utils {

/// How a number is written. Flags may be combined.
enum EFormatNumberFlag {
    FORMAT_NUMBER_NONE = 0,      ///< plain digits, a minus sign before negative numbers
    FORMAT_NUMBER_GROUPED = 1,   ///< thousands separated by commas
    FORMAT_NUMBER_SIGNED = 2,    ///< a plus sign before positive numbers
    FORMAT_NUMBER_SHORTEST = 4,  ///< the fewest digits that read back to the same value
};

/// A double as text: two decimals, or as FORMAT_NUMBER_SHORTEST says. A value that
/// is not finite gives "--".
LINKAGE_PLATFORM_EXPORT std::string formatDoubleNumber(double value,
                                                       int flags = FORMAT_NUMBER_NONE);

/// An integer as text, filled with leading zeros up to `width` digits.
LINKAGE_PLATFORM_EXPORT std::string formatIntNumber(long long value, int width = 0,
                                                    int flags = FORMAT_NUMBER_NONE);

}  // namespace utils
