#pragma once

#include "linkage/record/recordnumbers.h"
#include "linkage/tape/jsonwriter.h"
#include "linkage/tape/tapeunit.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace TC {

/// What the manager is where a recording begins in the middle.
struct RecordingPicture {
    std::string at;            ///< moment of the picture
    std::string state;         ///< JSON; it names records by their rank among these, from 1 on
    std::string left;          ///< JSON: the work that waits
    std::uint64_t leftBefore;  ///< it waits under numbers up to this one
    std::vector<boost::shared_ptr<const vexservice::IData>> records;
};

/// Writes parts of steps as lines of a scenario (docs/SCENARIOS.md, "Recordings").
///
/// A record stands in the text once; lists name it by its number, which is its rank among the
/// records of the text. An answer stands there when it is not the one that the same question had
/// last.
///
/// Threads: one.
class CTapeText {
public:
    CTapeText();

    /// What a recording that begins in the middle has before its first step.
    void begin(const RecordingPicture& picture);

    /// Adds the next part, in the order of the parts' places.
    void add(const TapeUnit& unit);

    /// The last line: nothing is missing before it, but of steps that were under way.
    void end();

    /// This report of an account is going to be added.
    void prefetch(const std::string& account, const vexservice::IData& report) {
        m_numbers.prefetch(nameOf(account, report));
    }

    /// Whether this price is the last answer to the question for it.
    bool knowsPrice(const std::string& about, const vexservice::CPriceData* price) const {
        const auto known = m_prices.find(about);
        return known != m_prices.end() && known->second.get() == price;
    }

    std::size_t size() const { return m_buffer.size(); }
    /// The lines so far; they stand until the next part is added.
    std::string_view take();

private:
    using RecordPtr = CRecordNumbers::RecordPtr;

    void leave();
    void addStep(const TapeUnit& unit);
    void addInput(const TapeInput& input);
    void addWork(const WorkInput& work);
    void addCall(const CallInput& call);
    void addAnswer(const TapeUnit& unit, std::uint64_t number, const TapeAsk& ask);
    /// The answer as JSON; lists of records are of this account.
    std::string answerText(const TapeAnswer& answer, const std::string& account = {});
    void defineRecords(const TapeInput& input);

    RecordName nameOf(const std::string& account, const vexservice::IData& record);
    /// The number of an account's record; 0: the text does not have it.
    std::uint64_t numberOf(const std::string& account, const RecordPtr& record);
    /// Writes a record, with the beginning of its line as it is given.
    void define(const std::string& account, const RecordPtr& record);
    /// The same in a line of its own, which only says what the record is. Nothing when the text has
    /// the record.
    void tell(const std::string& account, const RecordPtr& record);

    CJsonWriter& beginLine(std::string_view kind);
    void endLine();

    TextBuffer m_buffer;
    TextBuffer m_taken;
    CJsonWriter m_out{m_buffer};

    std::uint64_t m_nLeftBefore = 0;  ///< of the picture
    std::uint64_t m_nRecords = 0;
    std::unordered_map<std::string, std::uint32_t> m_accounts;  ///< their numbers
    CRecordNumbers m_numbers;

    std::uint64_t m_nSteps = 0;
    std::map<std::uint64_t, std::uint64_t> m_stepNumbers;  ///< of steps that go on, in the text
    std::uint64_t m_nCurrent = 0;                          ///< step of the last part, if it goes on
    std::uint64_t m_nHolds = 0;  ///< how often it had the lock since it was in hand
    std::uint64_t m_nRevision = 0;
    std::unordered_map<std::string, std::string> m_answers;  ///< the last one of each question
    std::unordered_map<std::string, boost::shared_ptr<vexservice::CPriceData>> m_prices;
};

/// What the manager did, as the output of linkage-replay says it, but for the time.
std::string markText(const TapeMark& mark);

}  // namespace TC
