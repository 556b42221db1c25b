#include "linkage/record/tapetext.h"

#include "linkage/record/recordlines.h"
#include "platform/records/idata.h"

#include <boost/pointer_cast.hpp>

#include <utility>

namespace TC {

namespace {

template <class... Handlers>
struct Overloaded : Handlers... {
    using Handlers::operator()...;
};
template <class... Handlers>
Overloaded(Handlers...) -> Overloaded<Handlers...>;

using IDataPtr = boost::shared_ptr<const vexservice::IData>;
using IDataPtrs = std::vector<IDataPtr>;

/// The account that a question for records is about.
std::string accountOf(const TapeQuestion& question) {
    const std::size_t blank = question.about.find(' ');
    if (std::string_view(question.name) != "records" || blank == std::string::npos) {
        return question.about;
    }
    return question.about.substr(blank + 1);
}

std::string accountOf(const boost::shared_ptr<vexservice::CAccountInfo>& info) {
    return info ? info->m_strKey : std::string();
}

/// The account of a record that nobody reports just now.
std::string accountOf(const vexservice::IData& record) {
    const auto of = [](const auto* known) {
        return known ? accountOf(known->m_pAccountInfo) : std::string();
    };
    if (const auto* order = dynamic_cast<const vexservice::COrderDetail*>(&record))
        return of(order);
    if (const auto* deal = dynamic_cast<const vexservice::CDealDetail*>(&record)) return of(deal);
    return of(dynamic_cast<const vexservice::CPositionStatics*>(&record));
}

void writeValue(CJsonWriter& out, const TapeValue& value) {
    std::visit(Overloaded{[&](std::monostate) { out.null(); },
                          [&](const TapeJson& json) { out.written(json.text); },
                          [&](const auto& plain) { out.value(plain); }},
               value);
}

void writeValues(CJsonWriter& out, std::string_view name, const std::vector<TapeValue>& values) {
    out.key(name);
    out.beginArray();
    for (const TapeValue& value : values) writeValue(out, value);
    out.endArray();
}

void writeError(CJsonWriter& out, const utils::VexError& error) {
    if (error.isOk() && error.m_strText.empty()) return;
    out.member("error", error.m_nError);
    out.member("text", error.m_strText);
}

}  // namespace

CTapeText::CTapeText() { m_out.writesExactly(); }

std::string_view CTapeText::take() {
    m_taken.clear();
    std::swap(m_taken, m_buffer);
    return viewOf(m_taken);
}

CJsonWriter& CTapeText::beginLine(std::string_view kind) {
    m_out.beginObject();
    m_out.member("do", kind);
    return m_out;
}

void CTapeText::endLine() {
    m_out.endObject();
    m_buffer.push_back('\n');
}

// --------------------------------------------------------------------------- records

RecordName CTapeText::nameOf(const std::string& account, const vexservice::IData& record) {
    const auto number = static_cast<std::uint32_t>(m_accounts.size());
    const auto [kind, key] = recordName(record);
    return {m_accounts.try_emplace(account, number).first->second, static_cast<std::uint32_t>(kind),
            key};
}

std::uint64_t CTapeText::numberOf(const std::string& account, const RecordPtr& record) {
    return record ? m_numbers.find(nameOf(account, *record), record) : 0;
}

// The player remembers as many.
void CTapeText::define(const std::string& account, const RecordPtr& record) {
    m_numbers.add(nameOf(account, *record), record, ++m_nRecords);
    writeRecord(m_out, account, *record);
}

void CTapeText::tell(const std::string& account, const RecordPtr& record) {
    if (numberOf(account, record) != 0) return;
    beginLine(recordKind(*record));
    define(account, record);
    m_out.member("push", false);
    endLine();
}

void CTapeText::begin(const RecordingPicture& picture) {
    m_numbers.keepAll(true);
    for (const RecordPtr& record : picture.records) tell(accountOf(*record), record);
    m_numbers.keepAll(false);
    m_nLeftBefore = picture.leftBefore;
    beginLine("picture").member("at", picture.at);
    m_out.key("state");
    m_out.written(picture.state);
    m_out.key("left");
    m_out.written(picture.left);
    endLine();
}

void CTapeText::defineRecords(const TapeInput& input) {
    const auto history = [&](const auto& answer) {
        for (const auto& record : answer.records) {
            if (record) tell(accountOf(record->m_pAccountInfo), record);
        }
    };
    if (const auto* orders = std::get_if<HistoryInput<vexservice::COrderDetail>>(&input)) {
        history(*orders);
    } else if (const auto* deals = std::get_if<HistoryInput<vexservice::CDealDetail>>(&input)) {
        history(*deals);
    }
}

// --------------------------------------------------------------------------- answers

std::string CTapeText::answerText(const TapeAnswer& answer, const std::string& account) {
    TextBuffer text;
    CJsonWriter out(text);
    out.writesExactly();
    if (const auto* const records = std::get_if<IDataPtrs>(&answer)) {
        out.beginArray();
        for (const IDataPtr& record : *records) out.value(numberOf(account, record));
        out.endArray();
    } else {
        writeAnswer(out, answer);
    }
    return std::string(viewOf(text));
}

void CTapeText::addAnswer(const TapeUnit& unit, std::uint64_t number, const TapeAsk& ask) {
    const std::string question = std::string(ask.question.name) + ' ' + ask.question.about;
    // Most answers are the price that was told last: it need not be written to be seen as that.
    if (const auto* const price =
            std::get_if<boost::shared_ptr<vexservice::CPriceData>>(&ask.answer)) {
        const auto [known, isNew] = m_prices.try_emplace(ask.question.about, *price);
        if (!isNew && known->second == *price) return;
        known->second = *price;
    } else if (std::holds_alternative<TapeThrown>(ask.answer)) {
        m_prices.erase(ask.question.about);
    }
    if (const auto* const records = std::get_if<IDataPtrs>(&ask.answer)) {
        for (const IDataPtr& record : *records) {
            if (record) tell(accountOf(ask.question), record);
        }
    }
    std::string text = answerText(ask.answer, accountOf(ask.question));
    const auto [known, isNew] = m_answers.try_emplace(question);
    if (!isNew && known->second == text) return;
    beginLine("answer");
    if (!unit.first) m_out.member("step", number);
    m_out.member("call", ask.call);
    m_out.member("to", question);
    m_out.key("is");
    m_out.written(text);
    endLine();
    known->second = std::move(text);
}

// --------------------------------------------------------------------------- steps

void CTapeText::leave() {
    if (m_nCurrent == 0) return;
    beginLine("leave");
    if (m_nHolds != 1) m_out.member("holds", m_nHolds);
    endLine();
}

void CTapeText::end() {
    leave();
    beginLine("end");
    endLine();
}

void CTapeText::add(const TapeUnit& unit) {
    if (m_nCurrent != unit.step) leave();
    std::uint64_t number = unit.first ? ++m_nSteps : m_stepNumbers.at(unit.step);
    for (const TapeAsk& ask : unit.asks) addAnswer(unit, number, ask);
    for (const TapeCallBack& back : unit.callBacks) {
        defineRecords(back.input);
        addInput(back.input);
        if (!unit.first) m_out.member("step", number);
        m_out.member("within", back.call);
        endLine();
    }
    if (unit.first) {
        addStep(unit);
    } else if (m_nCurrent != unit.step) {
        beginLine("resume").member("step", number);
        endLine();
    }
    for (const TapeMark& mark : unit.marks) {
        m_out.written(markText(mark));
        m_buffer.push_back('\n');
    }
    const bool isNamed = !unit.last || unit.leavesWork;
    if (isNamed) m_stepNumbers[unit.step] = number;
    if (m_nCurrent != unit.step) m_nHolds = 0;
    m_nHolds += unit.held ? 1 : 0;
    m_nCurrent = unit.last ? 0 : unit.step;
}

void CTapeText::addStep(const TapeUnit& unit) {
    if (unit.moment.revision != m_nRevision) {
        m_nRevision = unit.moment.revision;
        beginLine("referenceData").member("revision", m_nRevision);
        endLine();
    }
    defineRecords(unit.input);
    addInput(unit.input);
    m_out.member("at", momentText(unit.moment.micros));
    endLine();
}

// Leaves the line open: its moment comes last.
void CTapeText::addInput(const TapeInput& input) {
    const auto report = [&](const std::string& account, const auto& record) {
        if (const std::uint64_t number = numberOf(account, record)) {
            beginLine("report").member("record", number);
            m_out.member("account", account);
        } else {
            beginLine(recordKind(*record));
            define(account, record);
        }
    };
    const auto history = [&](const auto& answer) {
        beginLine("historyAnswer").member("question", answer.question);
        writeError(m_out, answer.error);
        m_out.key("records");
        m_out.beginArray();
        for (const auto& record : answer.records) {
            m_out.value(record ? numberOf(accountOf(record->m_pAccountInfo), record) : 0);
        }
        m_out.endArray();
    };
    std::visit(Overloaded{[&](std::monostate) { beginLine("nothing"); },
                          [&](const OrderInput& in) { report(*in.accountKey, in.order); },
                          [&](const DealInput& in) {
                              report(*in.accountKey, in.deal);
                              if (in.held) m_out.member("held", true);
                          },
                          [&](const PositionInput& in) { report(in.accountKey, in.position); },
                          [&](const TaskInput& in) { report({}, in.task); },
                          [&](const PriceInput& in) {
                              beginLine("price");
                              writePrice(m_out, in.stockKey, *in.price);
                              m_prices[in.stockKey] = in.price;
                              m_answers["price " + in.stockKey] = answerText(in.price);
                          },
                          [&](const BarsInput& in) {
                              beginLine("barsAnswer");
                              writeBars(m_out, in);
                          },
                          [&](const HistoryInput<vexservice::COrderDetail>& in) {
                              history(in);
                              m_out.member("of", "orders");
                          },
                          [&](const HistoryInput<vexservice::CDealDetail>& in) {
                              history(in);
                              m_out.member("of", "deals");
                          },
                          [&](const ResultInput& in) {
                              beginLine("commandAnswer").member("balance", in.balance);
                              m_out.member("index", in.index);
                              m_out.member("number", in.command);
                              writeError(m_out, in.error);
                          },
                          [&](const WorkInput& in) { addWork(in); },
                          [&](const CallInput& in) { addCall(in); }},
               input);
}

// Whether the picture has the work is known only when it is written: the recording may have begun
// when the work was about to run.
void CTapeText::addWork(const WorkInput& work) {
    const Ticket& ticket = work.ticket;
    const bool before = work.left != 0 && work.left <= m_nLeftBefore;
    const auto step = m_stepNumbers.find(ticket.step);
    const bool known = !before && step != m_stepNumbers.end();
    beginLine("work").member("name", ticket.name);
    m_out.member("step", known ? step->second : 0);
    m_out.member("index", before ? work.left : ticket.index);
}

void CTapeText::addCall(const CallInput& call) {
    // Signals of the client have kinds of their own.
    static const std::map<std::string_view, const char*> SIGNALS = {
        {"init", ""}, {"login", "ok"}, {"accountReady", "account"}, {"newTradingDate", "date"}};
    const auto signal = SIGNALS.find(call.operation);
    if (signal == SIGNALS.end()) {
        beginLine("call").member("op", call.operation);
        writeValues(m_out, "args", call.arguments);
        return;
    }
    beginLine(call.operation);
    if (call.arguments.empty()) return;
    m_out.key(signal->second);
    writeValue(m_out, call.arguments.front());
}

// ----------------------------------------------------------------------------- marks

std::string markText(const TapeMark& mark) {
    TextBuffer text;
    CJsonWriter out(text);
    out.beginObject();
    std::visit(Overloaded{[&](const SignalMark& signal) {
                              if (!signal.values.empty()) writeValues(out, "args", signal.values);
                              out.member("name", signal.name);
                              out.member("out", "signal");
                          },
                          [&](const CommandMark& command) { writeCommand(out, *command.command); },
                          [&](const CancelMark& cancel) {
                              out.member("key", cancel.order->recordKey());
                              out.member("out", "cancelOrder");
                          },
                          [&](const OperateMark& operate) {
                              out.member("key", operate.task);
                              out.member("operation",
                                         static_cast<int>(operate.record->m_eOperation));
                              out.member("operator", operate.record->m_strOperator);
                              out.member("out", "operateTask");
                              out.member("remark", operate.record->m_strRemark);
                              out.member("server", operate.server);
                          },
                          [&](const FiguresMark& figures) {
                              out.member("out", "figures");
                              out.member("sum", figures.sum);
                          },
                          [&](const StateMark& state) {
                              out.member("out", "state");
                              out.member("sum", state.sum);
                          }},
               mark);
    out.endObject();
    return std::string(viewOf(text));
}

}  // namespace TC
