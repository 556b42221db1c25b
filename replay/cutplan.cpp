#include "replay/cutplan.h"

#include "replay/copydraft.h"
#include "replay/recordedlines.h"
#include "replay/times.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace replay {

namespace {

constexpr std::size_t SECONDS = sizeof("yyyy-MM-dd hh:mm:ss") - 1;
constexpr std::size_t DIGITS = 6;

/// A moment as lines write it, so that texts compare as moments do.
std::string momentOf(const char* option, const std::string& text) {
    const std::string micros = text.substr(std::min(text.size(), SECONDS));
    const bool hasMicros = micros.size() == DIGITS + 1 && micros.front() == '.' &&
                           micros.find_first_not_of("0123456789", 1) == std::string::npos;
    if (parseMoment(text.substr(0, SECONDS)) < 0 || (!micros.empty() && !hasMicros)) {
        throw CopyFault(std::string(option) + ": \"" + text + "\" is no date and time");
    }
    return hasMicros ? text : text + "." + std::string(DIGITS, '0');
}

class CPlanner {
public:
    CPlanner(const std::string& recording, const CutOptions& options) : m_recording(recording) {
        if (!options.from.empty()) m_from = momentOf("--from", options.from);
        if (!options.to.empty()) m_to = momentOf("--to", options.to);
        if (!m_from.empty() && !m_to.empty() && m_to < m_from) {
            throw CopyFault("--to: " + options.to + " is before --from");
        }
    }

    CutPlan plan() {
        CLineReader reader(m_recording);
        simdjson::dom::parser parser;
        std::string_view text;
        while (!m_end && nextLine(reader, text)) {
            try {
                read(parseLine(parser, text, true), text);
            } catch (const LineError& fault) {
                throw CopyFault(m_recording + ':' + std::to_string(reader.number()) + ": " +
                                fault.what());
            }
        }
        m_plan.last = m_end.value_or(m_rest);
        if (!m_begin) throw CopyFault(nothing(" at or behind --from"));
        m_plan.before = *m_begin;
        if (m_plan.before >= m_plan.last) throw CopyFault(nothing(" from --from to --to"));
        return std::move(m_plan);
    }

private:
    std::string nothing(const char* where) const {
        return m_recording + ": it has no whole step" +
               (m_from.empty() && m_to.empty() ? std::string() : where) +
               (m_at.empty() ? std::string() : "; the last one read is of " + m_at);
    }

    void read(const CFields& line, std::string_view text) {
        if (line.find("out")) return;
        const std::string kind(line.text("do"));
        if (kind == "config" && !line.find("recorded")) {
            throw LineError("is no recording: \"recorded\" is missing");
        }
        if (m_steps == 0 && (kind == "config" || kind == "writeFile")) {
            (m_plan.head += text) += '\n';
        } else if (kind == "leave") {
            m_open.insert(m_inHand);
        } else if (kind == "resume") {
            m_inHand = line.whole<std::uint64_t>("step");
            m_open.erase(m_inHand);
        } else if (kind == "end") {
            rest();
        } else if (takesStep(line, kind)) {
            if (kind == "work") m_plan.works.insert(workOf(line));
            takeStep(std::string(line.text("at")));
        }
    }

    void takeStep(const std::string& at) {
        if (rest()) {
            if (!m_begin && at >= m_from) m_begin = m_steps;
            if (m_begin && !m_to.empty() && at > m_to) m_end = m_steps;
        }
        m_at = at;
        m_inHand = ++m_steps;
    }

    /// The step in hand is over.
    bool rest() {
        if (!m_open.empty()) return false;
        m_rest = m_steps;
        return true;
    }

    const std::string& m_recording;
    std::string m_from;
    std::string m_to;
    CutPlan m_plan;
    std::uint64_t m_steps = 0;
    std::uint64_t m_inHand = 0;
    std::set<std::uint64_t> m_open;  ///< steps that go on later
    std::uint64_t m_rest = 0;        ///< steps before the newest rest
    std::optional<std::uint64_t> m_begin;
    std::optional<std::uint64_t> m_end;
    std::string m_at;  ///< of the newest step
};

}  // namespace

CutPlan planCut(const std::string& recording, const CutOptions& options) {
    return CPlanner(recording, options).plan();
}

}  // namespace replay
