#include "replay/recordedlines.h"

#include "replay/times.h"

#include <charconv>

namespace replay {

std::int64_t readMicros(const std::string& text) {
    constexpr std::size_t SECONDS = sizeof("yyyy-MM-dd hh:mm:ss") - 1;
    constexpr std::size_t DIGITS = sizeof(".zzzzzz") - 1;
    const std::int64_t seconds = readMoment("at", text.substr(0, SECONDS));
    std::int64_t micros = 0;
    const char* const end = text.data() + text.size();
    const bool whole = text.size() == SECONDS + DIGITS &&
                       std::from_chars(text.data() + SECONDS + 1, end, micros).ptr == end;
    if (!whole) throw LineError("field \"at\": \"" + text + "\" has no microseconds");
    return seconds + micros;
}

bool isRecord(std::string_view kind) {
    return kind == "order" || kind == "deal" || kind == "position" || kind == "task";
}

bool takesStep(const CFields& fields, std::string_view kind) {
    for (const char* const other :
         {"config", "writeFile", "picture", "end", "answer", "referenceData", "leave", "resume"}) {
        if (kind == other) return false;
    }
    return !fields.find("within") && (!isRecord(kind) || fields.flag("push", true));
}

RecordedStep stepOf(const std::string& kind, const CFields& fields) {
    RecordedStep step;
    step.kind = kind;
    step.ok = kind == "login" && fields.need("ok").flag();
    if (kind == "commandAnswer") {
        step.balance = fields.whole<int>("balance");
        step.index = fields.whole<std::size_t>("index");
        step.command = fields.whole<int>("number");
    }
    if (kind != "call") return step;
    step.op = fields.text("op");
    const CList args = fields.need("args").list();
    const auto text = [&](std::size_t at) {
        if (args.size() <= at || !args.at(at).json().is_string()) return std::string();
        return std::string(args.at(at).text());
    };
    step.account = text(0);
    step.strategy = text(1);
    if (step.op == "runAutoBalance") step.asker = args.at(2).whole<int>();
    return step;
}

bool nextLine(CLineReader& reader, std::string_view& line) {
    try {
        return reader.next(line);
    } catch (const LineError&) {
        return false;
    }
}

}  // namespace replay
