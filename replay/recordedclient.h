#pragma once

#include "linkage/tape/tapeunit.h"
#include "replay/eventparser.h"

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace replay {

/// What the lines of a recording have told of the client so far: its records, and what each
/// question was answered last.
///
/// Threads: one at a time.
class CRecordedClient {
public:
    using RecordPtr = boost::shared_ptr<vexservice::IData>;

    /// Every record stays known while it is set: those of a picture.
    void keepAll(bool all) { m_bKeepAll = all; }

    /// A line of a record. Lists name it by its number, which is its rank among the records.
    RecordPtr addRecord(const Event& event, const CFields& fields);
    /// Null when no record has the number. Of a record key the two newest ones are known.
    RecordPtr record(std::uint64_t number) const;
    /// The record key of a task, from its key at the server, or from its number; nothing when no
    /// task has it.
    std::optional<std::uint64_t> taskNumber(const std::string& key, bool server) const;

    /// The newest answer to a question, as JSON.
    void setAnswer(const std::string& question, std::string json);
    /// A price as the answer to the question for it.
    static std::string priceText(const vexservice::CPriceData& price);
    /// The answer as the library wants it; nothing when the question was never answered. Throws
    /// LineError when the answer is none to this question.
    std::optional<TC::TapeAnswer> answer(const TC::TapeQuestion& question);

    boost::shared_ptr<vexservice::CAccountInfo> account(const std::string& key);

private:
    /// Account, kind and record key.
    using Name = std::pair<std::string, std::pair<int, std::uint64_t>>;

    void remember(const Name& name, const RecordPtr& record);
    TC::TapeAnswer read(std::string_view name, const CValue& value);

    bool m_bKeepAll = false;
    std::uint64_t m_nRecords = 0;
    std::map<std::uint64_t, RecordPtr> m_records;
    std::map<Name, std::deque<std::uint64_t>> m_newest;
    std::map<std::string, std::uint64_t> m_serverTasks;  ///< record keys
    std::map<std::string, std::string> m_answers;
    std::map<std::string, boost::shared_ptr<vexservice::CAccountInfo>> m_accounts;
    simdjson::dom::parser m_parser;
};

}  // namespace replay
