#pragma once

#include "lab/reports.h"
#include "lab/schedule.h"
#include "linkage/core/linkageoptions.h"
#include "linkage/store/diskfaults.h"
#include "paper/faults.h"
#include "replay/output.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

/// A day as a scenario (docs/SCENARIOS.md): all that reaches the library and its client, in
/// order, with the manual exchange. What the broker, the market and the command center decided
/// is in it as reports and results; so it needs nothing of the laboratory to be played again.
///
/// In the laboratory a crash may come in the middle of a call; a scenario has it behind the
/// line that made the call. Of a write that took half of its bytes a scenario has only the failure
/// that follows.
class CScenario {
public:
    /// A scenario that is not `wanted` stays empty, and costs nothing.
    CScenario(const Plan& plan, bool wanted) : m_plan(plan), m_bWanted(wanted) {}

    void begin(std::int64_t moment, const std::string& date, const TC::LinkageOptions& options);
    /// Lets pass what time has passed.
    void finish();
    void file(const std::string& name, const std::string& text);
    /// A line without fields: "init", "release", "crash".
    void plain(const char* name);
    void order(const OrderReport& report, bool announced);
    void deal(const DealReport& report, bool announced);
    void task(std::uint64_t key, const Origin& of, int status);
    void call(const char* op, std::initializer_list<std::string_view> arguments);
    void accountReady(const std::string& account);
    void login(bool ok);
    void newTradingDate(const std::string& date);
    void result(int number, const std::string& error);
    void fault(paper::EService service, paper::EFault kind, int times);
    void disk(const TC::disk::Fault& fault);
    /// The same, at a place before the lines that were written since: what a fault was is known
    /// only afterwards where it is taken away again.
    std::size_t place();
    void diskAt(std::size_t place, const TC::disk::Fault& fault);
    void note(const std::string& text);

    std::string text() const { return std::string(replay::viewOf(m_text)); }

private:
    /// Begins a line, and before it lets pass what time has passed.
    replay::CJsonWriter& line(const char* name);
    void end();
    void pass();
    void addStocks(replay::CJsonWriter& out);
    void addRecord(replay::CJsonWriter& out, std::uint64_t key, const Origin& of);

    const Plan& m_plan;
    const bool m_bWanted;
    std::int64_t m_nMoment = 0;
    replay::TextBuffer m_text;
    replay::CJsonWriter m_writer{m_text};
};

/// An order as a command has it: when, which account and stock, which side, how many.
using SentLine = std::string;

/// What `linkage-replay` prints of commands when it plays a scenario, in the same words as
/// sentLine(). Throws std::runtime_error when the scenario cannot be played.
std::vector<SentLine> sentByReplay(const std::string& path);
SentLine sentLine(const std::string& at, const std::string& account, const std::string& stock,
                  bool buys, std::int64_t volume);

}  // namespace lab
