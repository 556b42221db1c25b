#pragma once

/// The words that a book has for the values of enumerations, in their order.
namespace TC::book {

inline constexpr const char* STATES[] = {"asked", "cancelling", "sent", "ended", "refused"};
inline constexpr const char* FORMS[] = {"perStock", "grouped", "groupedHistory"};
inline constexpr const char* ASKERS[] = {"demand", "schedule"};

}  // namespace TC::book
