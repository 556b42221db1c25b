#include "replay/recordedinputs.h"

#include "linkage/core/raise.h"
#include "linkage/store/importreport.h"
#include "replay/manageraccess.h"
#include "replay/operations.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>

#include <memory>
#include <mutex>
#include <set>

namespace replay {

namespace {

using TC::ManagerAccess;
using Manager = TC::CLinkageManager;

/// Account keys of reports, which the inbox wants to stand for good.
const std::string& standing(const std::string& key) {
    static std::mutex mutex;
    static std::set<std::string> keys;
    const std::lock_guard lock(mutex);
    return *keys.insert(key).first;
}

utils::VexError readError(const CFields& fields) {
    return {fields.whole<int>("error", 0), std::string(fields.text("text", ""))};
}

RecordedInput readReport(const CFields& fields, CRecordedClient& client, CEventParser& events,
                         Manager& manager, bool known) {
    const auto record = known ? client.record(fields.whole<std::uint64_t>("record"))
                              : client.addRecord(events.parse(fields), fields);
    if (!record) throw LineError("field \"record\": there is no such record");
    const std::string account(fields.text("account", ""));
    if (const auto order = boost::dynamic_pointer_cast<vexservice::COrderDetail>(record)) {
        TC::InboxItem item{&standing(account), order};
        return {[&manager, item]() mutable { ManagerAccess::takeReport(manager, item, true); },
                false, record};
    }
    if (const auto deal = boost::dynamic_pointer_cast<vexservice::CDealDetail>(record)) {
        TC::InboxItem item{&standing(account), deal};
        const bool held = fields.flag("held", false);
        return {
            [&manager, item, held]() mutable { ManagerAccess::takeReport(manager, item, held); },
            !held, record};
    }
    if (const auto task = boost::dynamic_pointer_cast<vexservice::CTaskDetail>(record)) {
        return {[&manager, task] {
                    TC::attempt("task", [&] { ManagerAccess::doTaskDetail(manager, task); });
                },
                true, record};
    }
    const auto position = boost::dynamic_pointer_cast<vexservice::CPositionStatics>(record);
    return {
        [&manager, account, position] { ManagerAccess::takePosition(manager, account, position); },
        true, record};
}

RecordedInput readBars(const CFields& fields, Manager& manager) {
    TC::BarsInput bars{std::string(fields.text("stock")),
                       std::string(fields.text("date")),
                       fields.whole<int>("finished"),
                       {}};
    fields.need("closes").list().each([&](const CValue& entry) {
        const CList bar = entry.list(2);
        bars.bars.push_back({bar.at(0).whole<int>(), bar.at(1).real()});
    });
    return {[&manager, bars] { ManagerAccess::onRequestQuote(manager, bars); }, false};
}

template <class Record>
RecordedInput readHistory(const CFields& fields, const CRecordedClient& client, Manager& manager) {
    TC::HistoryInput<Record> answer;
    answer.question = fields.whole<std::uint64_t>("question");
    answer.error = readError(fields);
    fields.need("records").list().each([&](const CValue& number) {
        answer.records.push_back(
            boost::dynamic_pointer_cast<Record>(client.record(number.whole<std::uint64_t>())));
    });
    return {[&manager, answer] { ManagerAccess::onQueryHistory(manager, answer); }};
}

RecordedInput readWork(const CFields& fields, RecordedWorks& works) {
    auto node = works.extract(workOf(fields));
    if (!node) throw LineError("no step has left this work");
    return {[work = std::move(node.mapped())] { TC::attempt("work", work); }};
}

/// A statement that was imported lies in the line.
RecordedInput readImport(const CList& args, Manager& manager, bool files) {
    const auto directory = std::make_shared<QTemporaryDir>();
    // Of a name that comes from others only the last part, which tells the kind of file.
    const QFileInfo given(QString::fromStdString(std::string(args.at(0).text())));
    const QString path = directory->path() + QLatin1Char('/') + given.fileName();
    QFile file(path);
    const std::string_view text = args.at(1).text();
    const QByteArray bytes =
        QByteArray::fromBase64(QByteArray::fromRawData(text.data(), static_cast<int>(text.size())));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        throw LineError("the statement cannot be written: " + file.errorString().toStdString());
    }
    TC::ImportTerms terms;
    terms.account = args.at(2).text();
    if (args.at(3).flag()) terms.shown.emplace();
    return {[&manager, path, terms, files, directory] {
        if (files) {
            manager.importData(path, terms);
        } else {
            manager.importPreview(path, terms);
        }
    }};
}

TC::LinkageOptions readOptions(const CList& args) {
    TC::LinkageOptions options;
    options.guard = args.at(0).flag();
    options.rounds = args.at(1).whole<int>();
    options.roundSeconds = args.at(2).whole<int>();
    options.keepBalanceTimes = args.at(3).flag();
    options.filedTotals = args.at(4).flag();
    options.keepDays = args.at(5).whole<int>();
    return options;
}

RecordedInput readCall(const CFields& fields, Manager& manager) {
    const std::string op(fields.text("op"));
    const CList args = fields.need("args").list();
    const auto text = [&](std::size_t at) { return std::string(args.at(at).text()); };
    if (op == "importData" || op == "importPreview") {
        return readImport(args, manager, op == "importData");
    }
    if (op == "setOptions") {
        return {[&manager, options = readOptions(args)] { manager.setOptions(options); }};
    }
    if (op == "noteState") {
        return {[&manager, sums = args.size() == 0] { ManagerAccess::noteState(manager, sums); }};
    }
    if (op == "settleBalances") {
        return {[&manager, account = text(0)] { ManagerAccess::settleBalances(manager, account); }};
    }
    if (op == "giveHistoryDayUp") {
        return {[&manager, question = args.at(0).whole<std::uint64_t>(), fault = text(1)] {
            ManagerAccess::giveHistoryDayUp(manager, question, fault);
        }};
    }
    if (op == "runAutoBalance") {
        const auto asker = static_cast<TC::EBalanceAsker>(args.at(2).whole<int>());
        return {[&manager, account = text(0), strategy = text(1), asker] {
            manager.runAutoBalance(account, strategy, asker);
        }};
    }
    // Its arguments are read again when it runs, from a line of its own.
    const auto line = std::make_shared<std::string>(
        "{\"args\":" + simdjson::minify(fields.need("args").json()) + "}");
    return {[&manager, op, line] {
        simdjson::dom::parser parser;
        const simdjson::padded_string padded(*line);
        const CFields own = parseLine(parser, padded, true);
        CallEvent event;
        event.op = op;
        event.args = own.need("args").json();
        const Operation& operation = findOperation(event);
        const CList values = own.need("args").list();
        TextBuffer ignored;
        CJsonWriter result(ignored);
        Call call{manager, values, result};
        operation.run(call);
    }};
}

}  // namespace

RecordedWorks::key_type workOf(const CFields& fields) {
    return {fields.whole<std::uint64_t>("step"), std::string(fields.text("name")),
            fields.whole<std::uint64_t>("index")};
}

RecordedInput readInput(const CFields& fields, CRecordedClient& client, CEventParser& events,
                        Manager& manager, RecordedWorks& works) {
    const std::string kind(fields.text("do"));
    if (kind == "order" || kind == "deal" || kind == "position" || kind == "task") {
        return readReport(fields, client, events, manager, false);
    }
    if (kind == "report") return readReport(fields, client, events, manager, true);
    if (kind == "price") {
        const auto price = CEventParser::readPrice(fields);
        client.setAnswer("price " + price->m_strStockKey, client.priceText(*price));
        return {
            [&manager, price] { ManagerAccess::onPriceData(manager, price->m_strStockKey, price); },
            false};
    }
    if (kind == "barsAnswer") return readBars(fields, manager);
    if (kind == "historyAnswer") {
        return fields.text("of") == "orders"
                   ? readHistory<vexservice::COrderDetail>(fields, client, manager)
                   : readHistory<vexservice::CDealDetail>(fields, client, manager);
    }
    if (kind == "commandAnswer") {
        TC::ResultInput result;
        result.balance = fields.whole<int>("balance");
        result.index = fields.whole<std::size_t>("index");
        result.command = fields.whole<int>("number");
        result.error = readError(fields);
        return {[&manager, result] { ManagerAccess::completed(manager, result); }};
    }
    if (kind == "work") return readWork(fields, works);
    if (kind == "call") return readCall(fields, manager);
    if (kind == "init") return {[&manager] { manager.init(); }};
    if (kind == "login") {
        return {[&manager, ok = fields.need("ok").flag()] { ManagerAccess::login(manager, ok); }};
    }
    if (kind == "accountReady") {
        auto info = client.account(std::string(fields.text("account")));
        return {[&manager, info] { ManagerAccess::accountReady(manager, *info); }};
    }
    if (kind == "newTradingDate") {
        return {[&manager, date = std::string(fields.text("date"))] {
            ManagerAccess::newTradingDate(manager, date);
        }};
    }
    throw LineError("unknown \"do\": \"" + kind + "\"");
}

}  // namespace replay
