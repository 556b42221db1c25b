#pragma once

#include "paper/paperclient.h"
#include "replay/recordedclient.h"
#include "replay/recordingplayer.h"

#include <map>
#include <string>
#include <string_view>

namespace replay {

/// Tells a paper client what the lines of a recording tell of the client: what a program sees that
/// asks for the name or the price of a stock while a recording is played. Of what no line tells
/// the paper client knows nothing. The played manager has its answers from the recording alone.
///
/// Threads: one.
class CToldClient {
public:
    /// `watcher` hears of each stock.
    CToldClient(paper::CPaperClient& client, IRecordingWatcher& watcher)
        : m_client(client), m_watcher(watcher) {}

    /// An answer to a question. What nobody but the library asks is passed over.
    void answer(std::string_view question, const CValue& is);
    void price(const boost::shared_ptr<vexservice::CPriceData>& price);
    /// A record; `isReport`: otherwise it was only found among the account's records.
    void record(const std::string& account, const CRecordedClient::RecordPtr& record,
                bool isReport);

private:
    void setAccount(const CValue& info);
    paper::Instrument& instrument(const std::string& stockKey);

    paper::CPaperClient& m_client;
    IRecordingWatcher& m_watcher;
    std::map<std::string, paper::Instrument> m_instruments;  ///< by stock key
    std::map<std::string, paper::Account> m_accounts;        ///< by account key
};

}  // namespace replay
