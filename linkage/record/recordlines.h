#pragma once

#include "linkage/tape/jsonwriter.h"
#include "linkage/tape/tapeunit.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

/// How records of the client are written in a scenario: members of a line that is open.
namespace TC {

/// "order", "deal", "position" or "task".
std::string_view recordKind(const vexservice::IData& record);
/// Tells records of an account apart: kind and record key.
std::pair<int, std::uint64_t> recordName(const vexservice::IData& record);
void writeRecord(CJsonWriter& out, const std::string& account, const vexservice::IData& record);
void writePrice(CJsonWriter& out, const std::string& stockKey, const vexservice::CPriceData& price);
void writeBars(CJsonWriter& out, const BarsInput& bars);
/// `number`: the command's, where it is told.
void writeCommand(CJsonWriter& out, const vexservice::COrderComandParam& command,
                  std::optional<int> number = {});

/// An answer, as a value. Not of records.
void writeAnswer(CJsonWriter& out, const TapeAnswer& answer);

/// "yyyy-MM-dd hh:mm:ss.zzzzzz", local time.
std::string momentText(std::int64_t micros);

}  // namespace TC
