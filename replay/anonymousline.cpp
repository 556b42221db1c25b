#include "replay/anonymousline.h"

#include "linkage/tape/jsonwriter.h"
#include "platform/services/clientconfig.h"
#include "replay/anonymousfiles.h"
#include "replay/anonymouspicture.h"
#include "replay/anonymousstatement.h"
#include "replay/jsonvalues.h"
#include "replay/linetexts.h"
#include "replay/scenarioline.h"

#include <functional>
#include <map>
#include <vector>

namespace replay {

namespace {

using Is = EText;
using simdjson::dom::element;
using simdjson::dom::element_type;
using simdjson::dom::object;

/// Writes JSON values again, with other texts.
class CCopy {
public:
    CCopy(CNames& names, TC::TextBuffer& text, bool mark) : m_names(names), m_out(text) {
        if (!mark) m_out.writesExactly();
    }

    TC::CJsonWriter& out() { return m_out; }

    /// `what` its texts are, but those of objects in it, which `members` knows.
    void value(const element& from, EText what, const Members& members) {
        switch (from.type()) {
            case element_type::ARRAY:
                m_out.beginArray();
                for (const element each : simdjson::dom::array(from)) value(each, what, members);
                m_out.endArray();
                return;
            case element_type::OBJECT:
                return fields(object(from), members);
            case element_type::STRING:
                return m_out.value(m_names(what, std::string_view(from)));
            default:
                return writeTextless(m_out, from);
        }
    }

    void fields(const object& from, const Members& members) {
        m_out.beginObject();
        for (const auto& [name, content] : from) member(name, content, members);
        m_out.endObject();
    }

    void member(std::string_view name, const element& from, const Members& members) {
        m_out.textKey(name);
        const auto known = members.find(name);
        std::string_view text;
        if (known == members.end() && !from.get(text) && !notFinite(text)) refuseText(name);
        value(from, known == members.end() ? Is::Plain : known->second, members);
    }

private:
    CNames& m_names;
    TC::CJsonWriter m_out;
};

std::string_view textIn(const object& line, std::string_view name) {
    std::string_view text;
    if (line[name].get(text)) throw LineError("field \"" + std::string(name) + "\" is no text");
    return text;
}

QByteArray bytesOf(std::string_view base64) {
    return QByteArray::fromBase64(
        QByteArray::fromRawData(base64.data(), static_cast<int>(base64.size())));
}

/// Writes a line, all of it but one member as ever.
std::string copied(const object& line, CNames& names, bool mark, std::string_view other,
                   const std::function<void(CCopy&, const element&)>& copyOther) {
    TC::TextBuffer text;
    CCopy copy(names, text, mark);
    copy.out().beginObject();
    for (const auto& [name, content] : line) {
        if (!other.empty() && name == other) {
            copy.out().textKey(name);
            copyOther(copy, content);
        } else {
            copy.member(name, content, lineTexts());
        }
    }
    copy.out().endObject();
    return std::string(TC::viewOf(text));
}

}  // namespace

std::string CAnonymousLines::copy(std::string_view text) {
    Element whole;
    Object line;
    if (m_parser.parse(text.data(), text.size(), false).get(whole) || whole.get(line)) {
        throw LineError("the line is not a JSON object");
    }
    std::string_view out;
    if (!line["out"].get(out)) {
        // The state of the copy has another sum.
        if (out == "state") return R"({"out":"state","sum":0})";
        if (!isKnownMark(out)) refuseText(out);
        // Of the signals only those of a day have a text.
        const bool dated = out == "signal" && textIn(line, "name") == "newTradingDay";
        return copied(
            line, m_names, true, dated ? "args" : "",
            [](CCopy& copy, const element& args) { copy.value(args, Is::Plain, lineTexts()); });
    }
    const std::string_view kind = textIn(line, "do");
    if (kind == "writeFile") return copyFile(line);
    if (kind == "call") return copyCall(line);
    if (kind == "answer") return copyAnswer(line);
    if (kind == "picture") return copyPicture(line);
    if (!isKnownLine(kind)) refuseText(kind);
    return copied(line, m_names, false, {}, {});
}

std::string CAnonymousLines::copyFile(const Object& line) {
    const std::string name(textIn(line, "name"));
    const auto file = anonymousFile(name, bytesOf(textIn(line, "base64")), m_names);
    if (!file) return {};
    return copied(line, m_names, false, "base64", [&](CCopy& copy, const element&) {
        copy.out().value(file->toBase64().toStdString());
    });
}

std::string CAnonymousLines::copyCall(const Object& line) {
    const std::string_view operation = textIn(line, "op");
    const bool imports = operation == "importData" || operation == "importPreview";
    const std::vector<EText>& texts = callTexts(operation);
    return copied(line, m_names, false, "args", [&](CCopy& copy, const element& from) {
        simdjson::dom::array args;
        if (from.get(args)) throw LineError("field \"args\" is no list");
        copy.out().beginArray();
        if (operation == "noteState") copy.out().value(false);
        std::size_t at = 0;
        for (const element each : args) {
            const std::size_t index = at++;
            std::string_view text;
            if (each.get(text)) {
                copy.value(each, Is::Plain, accountTexts());
            } else if (imports && index == 0) {
                copy.out().value("statement");
            } else if (imports && index == 1) {
                const QByteArray rows = anonymousStatement(bytesOf(text), m_strTradeDate, m_names);
                copy.out().value(rows.toBase64().toStdString());
            } else if (imports) {
                copy.out().value(m_names(Is::Account, text));
            } else if (index >= texts.size()) {
                refuseText(operation);
            } else {
                copy.out().value(m_names(texts[index], text));
            }
        }
        copy.out().endArray();
    });
}

std::string CAnonymousLines::copyAnswer(const Object& line) {
    const std::string_view text = textIn(line, "to");
    const std::size_t blank = std::min(text.find(' '), text.size());
    const std::string_view name = text.substr(0, blank);
    const Question* const known = questionTexts(name);
    if (!known) refuseText(name);
    const Question& question = *known;
    std::string_view about = text.substr(std::min(blank + 1, text.size()));
    std::string to(text.substr(0, std::min(blank + 1, text.size())));
    if (question.words == 2) {
        const std::size_t word = std::min(about.find(' '), about.size());
        const std::size_t rest = std::min(word + 1, about.size());
        to += about.substr(0, rest);
        about.remove_prefix(rest);
    }
    EText answer = question.answer;
    if (name == "userText" && about == std::to_string(TC::USER_NAME)) answer = Is::Name;
    std::string_view date;
    if (name == "tradingDate" && !line["is"].get(date)) m_strTradeDate = date;
    to += m_names(question.about, about);
    TC::TextBuffer result;
    CCopy copy(m_names, result, false);
    copy.out().beginObject();
    for (const auto& [member, content] : line) {
        if (member == "to") {
            copy.out().member("to", to);
        } else if (member == "is") {
            copy.out().key("is");
            copy.value(content, answer, *question.members);
        } else {
            copy.member(member, content, lineTexts());
        }
    }
    copy.out().endObject();
    return std::string(TC::viewOf(result));
}

std::string CAnonymousLines::copyPicture(const Object& line) {
    std::string_view date;
    if (!line.at_pointer("/state/tradeDate").get(date)) m_strTradeDate = date;
    return anonymousPicture(line, m_names);
}

std::optional<std::string> anonymousBookLine(std::string_view line, CNames& names) {
    simdjson::dom::parser parser;
    const simdjson::padded_string padded(line);
    element whole;
    object fields;
    if (parser.parse(padded).get(whole) || whole.get(fields)) return std::nullopt;
    TC::TextBuffer text;
    CCopy(names, text, false).fields(fields, bookTexts());
    return std::string(TC::viewOf(text));
}

}  // namespace replay
