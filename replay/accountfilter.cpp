#include "replay/accountfilter.h"

#include "replay/linetexts.h"
#include "replay/manageraccess.h"

#include <vector>

namespace replay {

namespace {

using IDataPtrs = std::vector<boost::shared_ptr<const vexservice::IData>>;

/// The types of the records that belong to one account.
bool isOfAccount(std::string_view type) {
    for (const auto each :
         {vexservice::DATA_ORDER, vexservice::DATA_DEAL, vexservice::DATA_POSITION}) {
        if (type == std::to_string(each)) return true;
    }
    return false;
}

/// Whether the call draws a number that later ones are counted from.
bool drawsNumber(std::string_view operation, bool guard) {
    if (operation == "requestAccountOrders" || operation == "requestAccountDeals") return true;
    return guard && operation.find("Balance") != std::string_view::npos;
}

}  // namespace

void CAccountFilter::dropOthers() {
    for (const auto& [account, info] : m_manager.state().accounts) {
        if (isOther(account)) TC::ManagerAccess::dropRecords(m_manager, account);
    }
}

bool CAccountFilter::leavesOut(const CFields& line, const std::string& kind) {
    if (kind == "order" || kind == "deal" || kind == "position" || kind == "report") {
        return isReportOfOthers(line);
    }
    if (kind == "task") return isTaskOfOthers(line);
    if (kind == "call") return isCallOfOthers(line);
    if (kind == "accountReady") return isOther(line.text("account"));
    if (kind != "price") return false;
    const std::string stock = std::string(line.text("market")) + std::string(line.text("code"));
    return !TC::ManagerAccess::isPriceRequested(m_manager, stock);
}

bool CAccountFilter::isReportOfOthers(const CFields& line) const {
    if (!isOther(line.text("account", ""))) return false;
    const auto owner = line.find("owner");
    return !owner || owner->isNull() || isOther(owner->text());
}

bool CAccountFilter::isTaskOfOthers(const CFields& line) const {
    bool others = false;
    bool own = false;
    line.need("items").list().each([&](const CValue& item) {
        if (item.isNull()) return;
        const bool other = isOther(item.fields().text("account", ""));
        others = others || other;
        own = own || !other;
    });
    return others && !own;
}

bool CAccountFilter::isCallOfOthers(const CFields& line) const {
    const std::string_view operation = line.text("op");
    if (drawsNumber(operation, TC::ManagerAccess::options(m_manager).guard)) return false;
    const std::vector<EText>& texts = callTexts(operation);
    const CList args = line.need("args").list();
    bool others = false;
    for (std::size_t at = 0; at < texts.size() && at < args.size(); ++at) {
        if (texts[at] != EText::Account || !args.at(at).json().is_string()) continue;
        if (!isOther(args.at(at).text())) return false;
        others = true;
    }
    return others;
}

std::optional<TC::TapeAnswer> CAccountFilter::answer(const TC::TapeQuestion& question) {
    const std::string_view name = question.name;
    const std::string_view about = question.about;
    if (name == "waiting" && isOther(about)) return IDataPtrs();
    const std::size_t blank = about.find(' ');
    if (name != "records" || blank == std::string_view::npos) return std::nullopt;
    const bool isLeftOut = isOfAccount(about.substr(0, blank)) && isOther(about.substr(blank + 1));
    return isLeftOut ? std::optional<TC::TapeAnswer>(IDataPtrs()) : std::nullopt;
}

// Timers that all accounts share were set by a step that is left out. The moment at which they
// fired is right for what another step set instead: a timer may always fire too early.
const RecordedWorks::key_type* CAccountFilter::instead(const RecordedWorks& works,
                                                       const RecordedWorks::key_type& missing) {
    for (const auto& [key, work] : works) {
        if (std::get<1>(key) == std::get<1>(missing) && !m_works.contains(key)) return &key;
    }
    return nullptr;
}

}  // namespace replay
