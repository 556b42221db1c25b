#include "replay/anonymouspicture.h"

#include "linkage/tape/jsonwriter.h"
#include "replay/anonymousfiles.h"
#include "replay/jsonvalues.h"
#include "replay/picturetexts.h"
#include "replay/scenarioline.h"

#include <string_view>
#include <vector>

namespace replay {

namespace {

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::element_type;
using simdjson::dom::object;

class CPictureCopy {
public:
    CPictureCopy(CNames& names, TC::TextBuffer& text) : m_names(names), m_out(text) {
        m_out.writesExactly();
    }

    /// `place`: null where nothing is known of texts.
    void members(const object& from, const PicturePlace* place) {
        m_out.beginObject();
        for (const auto& [name, content] : from) {
            m_out.textKey(name);
            value(content, place ? place->member(name) : nullptr, name);
        }
        m_out.endObject();
    }

private:
    /// `name` is that of the member.
    void value(const element& from, const PicturePlace* place, std::string_view name) {
        if (place && place->part != EPicturePart::Values) return part(from, place->part, name);
        switch (from.type()) {
            case element_type::ARRAY:
                return elements(array(from), place, name);
            case element_type::OBJECT:
                return members(object(from), place);
            case element_type::STRING:
                return text(std::string_view(from), place, name);
            default:
                writeTextless(m_out, from);
        }
    }

    void elements(const array& from, const PicturePlace* place, std::string_view name) {
        m_out.beginArray();
        std::size_t at = 0;
        for (const element each : from) value(each, place ? place->element(at++) : nullptr, name);
        m_out.endArray();
    }

    void text(std::string_view from, const PicturePlace* place, std::string_view name) {
        if (place && place->text) return m_out.value(m_names(*place->text, from));
        if (!notFinite(from)) refuseText(name);
        m_out.value(from);
    }

    void part(const element& from, EPicturePart part, std::string_view name) {
        if (part == EPicturePart::Refused) {
            m_out.beginArray();
            return m_out.endArray();
        }
        if (part == EPicturePart::Work) return work(from, name);
        std::string_view text;
        if (from.get(text)) refuseText(name);
        if (part == EPicturePart::Book) return m_out.value(anonymousBook(text, m_names));
        if (part == EPicturePart::RetryName) return m_out.value(retryName(text));
        if (part == EPicturePart::ImportPath) return m_out.value("statement");
        m_out.value(anonymousBalanceTimes(text, m_names));
    }

    std::string retryName(std::string_view text) {
        constexpr std::string_view OF_ACCOUNT = "account ";
        if (text == "all accounts" || text == "tasks") return std::string(text);
        if (!text.starts_with(OF_ACCOUNT)) refuseText(text);
        text.remove_prefix(OF_ACCOUNT.size());
        return std::string(OF_ACCOUNT) + m_names(EText::Account, text);
    }

    /// Its arguments are what its name says.
    void work(const element& from, std::string_view place) {
        object work;
        std::string_view name;
        if (from.get(work) || work["name"].get(name)) refuseText(place);
        const std::vector<EText>* const texts = workTexts(name);
        if (!texts) refuseText(name);
        m_out.beginObject();
        for (const auto& [member, content] : work) {
            m_out.textKey(member);
            if (member == "name") {
                m_out.value(name);
            } else if (member == "with") {
                arguments(content, *texts, name);
            } else {
                value(content, nullptr, member);
            }
        }
        m_out.endObject();
    }

    void arguments(const element& from, const std::vector<EText>& texts, std::string_view name) {
        array all;
        if (from.get(all) || all.size() > texts.size()) refuseText(name);
        m_out.beginArray();
        auto what = texts.begin();
        for (const element each : all) {
            std::string_view text;
            if (each.get(text)) refuseText(name);
            m_out.value(m_names(*what++, text));
        }
        m_out.endArray();
    }

    CNames& m_names;
    TC::CJsonWriter m_out;
};

}  // namespace

std::string anonymousPicture(const object& line, CNames& names) {
    TC::TextBuffer text;
    CPictureCopy(names, text).members(line, &pictureTexts());
    return std::string(TC::viewOf(text));
}

}  // namespace replay
