#include "replay/shownday.h"

#include "linkage/record/recordlines.h"
#include "platform/utils/clock.h"
#include "replay/manageraccess.h"
#include "replay/operations.h"

#include <algorithm>
#include <string_view>

namespace replay {

namespace {

using simdjson::dom::element;

/// Members of the state whose keys begin with an account's: history keys and balance keys.
bool hasLongKeys(std::string_view member) {
    for (const char* const each :
         {"balanceTimes", "historyLinkageData", "historyStatData", "writtenTradeKeys"}) {
        if (member == each) return true;
    }
    return false;
}

class CShown {
public:
    CShown(const std::set<std::string>& known, const std::set<std::string>& accounts)
        : m_known(known), m_accounts(accounts) {}

    void add(const element& state) {
        for (const auto& [name, content] : simdjson::dom::object(state)) {
            m_hasLongKeys = hasLongKeys(name);
            walk(std::string(name), content, false);
        }
    }
    std::vector<std::string> lines;

private:
    void walk(const std::string& path, const element& value, bool isShown) {
        if (value.is_object() && (!isShown || simdjson::dom::object(value).size() > 0)) {
            for (const auto& [key, content] : simdjson::dom::object(value)) {
                walk(path + " " + std::string(key), content, isShown || isOfAccounts(key));
            }
        } else if (isShown) {
            lines.push_back(path + " " + std::string(simdjson::minify(value)));
        }
    }
    bool isOfAccounts(std::string_view key) const {
        if (!m_hasLongKeys) return m_accounts.contains(std::string(key));
        std::string_view owner;
        for (const std::string& each : m_known) {
            if (key.starts_with(each) && each.size() > owner.size()) owner = each;
        }
        return m_accounts.contains(std::string(owner));
    }

    const std::set<std::string>& m_known;
    const std::set<std::string>& m_accounts;
    bool m_hasLongKeys = false;
};

std::string balancesOf(TC::CLinkageManager& manager, const std::string& account) {
    TextBuffer args;
    CJsonWriter(args).value(account);
    const std::string line = R"({"args":[)" + std::string(viewOf(args)) + ",null]}";
    const simdjson::padded_string padded(line);
    simdjson::dom::parser parser;
    const CFields fields = parseLine(parser, padded);
    CallEvent event;
    event.op = "getBalances";
    event.args = fields.need("args").json();
    const CList values = fields.need("args").list();
    TextBuffer text;
    CJsonWriter result(text);
    Call call{manager, values, result};
    findOperation(event).run(call);
    return std::string(viewOf(text));
}

}  // namespace

std::vector<std::string> shownOf(TC::CLinkageManager& manager,
                                 const std::set<std::string>& accounts) {
    const TC::ManagerState state = manager.state();
    std::set<std::string> known;
    for (const auto& [account, info] : state.accounts) known.insert(account);
    TextBuffer text;
    CJsonWriter out(text);
    out.writesExactly();
    writeState(out, state);
    const simdjson::padded_string padded{viewOf(text)};
    simdjson::dom::parser parser;
    CShown shown(known, accounts);
    shown.add(parser.parse(padded));
    for (const std::string& account : accounts) {
        const std::string balances = balancesOf(manager, account);
        if (balances == "[]") continue;
        shown.lines.push_back(
            std::string("balances ").append(account).append(" ").append(balances));
    }
    return std::move(shown.lines);
}

std::string wholeState(TC::CLinkageManager& manager) {
    TextBuffer text;
    CJsonWriter out(text);
    writeState(out, manager.state());
    return std::string(viewOf(text)) + TC::ManagerAccess::stateText(manager);
}

std::vector<std::string> CShownRequests::behind(std::uint64_t steps) const {
    std::vector<std::string> texts;
    for (const auto& [step, text] : m_all) {
        if (step > steps) texts.push_back(text);
    }
    return texts;
}

void CShownRequests::onCancelOrder(const vexservice::COrderDetail& order) {
    note(order.m_pAccountInfo.get(), "cancels " + std::to_string(order.recordKey()));
}

void CShownRequests::onCommand(const vexservice::COrderComandParam& command, int /*number*/) {
    if (command.m_orders.empty()) return;
    TextBuffer text;
    CJsonWriter out(text);
    out.beginObject();
    TC::writeCommand(out, command);
    out.endObject();
    note(command.m_orders.front()->m_pAccountInfo.get(), "sends " + std::string(viewOf(text)));
}

void CShownRequests::note(const vexservice::CAccountInfo* account, const std::string& text) {
    if (!account || !m_accounts.contains(account->m_strKey)) return;
    const std::string at = TC::momentText(utils::currentClock().nowMicros());
    m_all.emplace_back(m_steps, at + " " + account->m_strKey + " " + text);
}

}  // namespace replay
