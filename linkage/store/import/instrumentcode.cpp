#include "linkage/store/import/cellvalues.h"

#include <QRegularExpression>

#include <string_view>

namespace TC::statement {

namespace {

enum class EUse {
    Sole,   ///< no other exchange has such codes
    Usual,  ///< both have, this one more of them
};

struct CodeRange {
    std::string_view prefix;
    const char* market;
    EUse use;
};

// The longest prefix that fits decides. Shares, funds and warrants have ranges of their
// own on each exchange; bonds (1xxxxx) and repurchases share theirs, so for those the
// holder code is asked first.
constexpr CodeRange kRanges[] = {
    {"000", "SZ", EUse::Sole},  {"001", "SZ", EUse::Sole},  {"002", "SZ", EUse::Sole},
    {"003", "SZ", EUse::Sole},  {"009", "SH", EUse::Sole},  {"010", "SH", EUse::Sole},
    {"018", "SH", EUse::Sole},  {"019", "SH", EUse::Sole},  {"020", "SH", EUse::Sole},
    {"03", "SZ", EUse::Sole},   {"07", "SZ", EUse::Sole},   {"08", "SZ", EUse::Sole},
    {"10", "SZ", EUse::Usual},  {"11", "SZ", EUse::Usual},  {"110", "SH", EUse::Usual},
    {"111", "SH", EUse::Usual}, {"113", "SH", EUse::Usual}, {"118", "SH", EUse::Usual},
    {"12", "SH", EUse::Usual},  {"123", "SZ", EUse::Usual}, {"125", "SZ", EUse::Usual},
    {"127", "SZ", EUse::Usual}, {"128", "SZ", EUse::Usual}, {"13", "SH", EUse::Usual},
    {"131", "SZ", EUse::Usual}, {"133", "SZ", EUse::Usual}, {"14", "SH", EUse::Usual},
    {"148", "SZ", EUse::Usual}, {"149", "SZ", EUse::Usual}, {"15", "SH", EUse::Usual},
    {"150", "SZ", EUse::Usual}, {"158", "SZ", EUse::Usual}, {"159", "SZ", EUse::Sole},
    {"16", "SZ", EUse::Usual},  {"17", "SH", EUse::Usual},  {"18", "SH", EUse::Usual},
    {"180", "SZ", EUse::Usual}, {"184", "SZ", EUse::Usual}, {"19", "SH", EUse::Usual},
    {"2", "SH", EUse::Usual},   {"200", "SZ", EUse::Sole},  {"204", "SH", EUse::Sole},
    {"3", "SZ", EUse::Sole},    {"4", "BJ", EUse::Sole},    {"5", "SH", EUse::Sole},
    {"6", "SH", EUse::Sole},    {"7", "SH", EUse::Sole},    {"8", "BJ", EUse::Sole},
    {"9", "SH", EUse::Sole},    {"92", "BJ", EUse::Sole},
};

const CodeRange* rangeOf(std::string_view code) {
    const CodeRange* best = nullptr;
    for (const CodeRange& range : kRanges) {
        if (code.starts_with(range.prefix) &&
            (!best || range.prefix.size() > best->prefix.size())) {
            best = &range;
        }
    }
    return best;
}

constexpr char OTHER_MARKET[] = "--";

/// "SH", "SZ", "BJ"; OTHER_MARKET for a market that is none of these; empty when the text
/// says nothing: many lists number their markets, each in its own way, and some name all.
std::string marketOf(const QString& name) {
    const QString text = plainText(name);
    const std::pair<const char*, const char*> words[] = {
        {"港", OTHER_MARKET}, {"HK", OTHER_MARKET}, {"期货", OTHER_MARKET}, {"期权", OTHER_MARKET},
        {"沪", "SH"},         {"上", "SH"},         {"SH", "SH"},           {"SS", "SH"},
        {"深", "SZ"},         {"SZ", "SZ"},         {"京", "BJ"},           {"北", "BJ"},
        {"BJ", "BJ"},         {"BSE", "BJ"},        {"股转", "BJ"},         {"三板", "BJ"},
        {"特转", "BJ"},
    };
    if (text == QLatin1String("XSHE")) return "SZ";  // has "SH" in it
    std::string found;
    for (const auto& [word, market] : words) {
        if (!text.contains(QString::fromUtf8(word))) continue;
        if (market == std::string_view(OTHER_MARKET)) return market;
        if (!found.empty() && found != market) return {};
        found = market;
    }
    return found;
}

std::string marketOfHolder(const QString& holder) {
    const QString text = plainText(holder);
    if (text.isEmpty()) return {};
    if (text[0] >= 'A' && text[0] <= 'F') return "SH";
    return text[0].isDigit() ? "SZ" : std::string();
}

}  // namespace

std::optional<Instrument> instrumentOf(const Value& code, const QString& marketName,
                                       const QString& holderCode, bool isOfOtherList) {
    static const QRegularExpression form(
        QStringLiteral("^(SH|SZ|BJ)?\\.?(\\d{1,6})(?:\\.(SH|SZ|BJ|SS|XSHG|XSHE))?$"));
    const auto match = form.match(plainText(code.display()).remove('\''));
    const QString digits = match.captured(2);
    if (digits.isEmpty()) return {};
    // Zeros are lost all together: one that is still there shows a shorter code. In Hong
    // Kong the five digits of the counters in yuan begin with an eight.
    if (digits.size() < 6 && digits.startsWith('0')) return {};
    if (digits.size() == 5 && digits.startsWith('8')) return {};
    const std::string padded = digits.rightJustified(6, '0').toStdString();
    if (padded == "000000") return {};
    const std::string own = marketOf(match.captured(1) + match.captured(3));
    std::string market = marketOf(marketName);
    if (!own.empty() && !market.empty() && own != market) return {};
    if (market.empty()) market = own;
    if (market == OTHER_MARKET || (market.empty() && isOfOtherList)) return {};
    const CodeRange* range = rangeOf(padded);
    if (!market.empty()) {
        const bool cannotBe = range && range->use == EUse::Sole && range->market != market;
        return cannotBe ? std::nullopt : std::optional(Instrument{market, padded});
    }
    if (!range) return {};
    if (range->use == EUse::Usual) market = marketOfHolder(holderCode);
    return Instrument{market.empty() ? range->market : market, padded};
}

EInstrument classOf(const Instrument& instrument) {
    // The longest prefix that fits decides.
    struct Range {
        std::string_view start;  ///< market and first digits
        EInstrument is;
    };
    static constexpr Range RANGES[] = {
        {"SH6", EInstrument::Share},   {"SH900", EInstrument::Share}, {"SH5", EInstrument::Fund},
        {"SH0", EInstrument::Bond},    {"SH1", EInstrument::Bond},    {"SZ00", EInstrument::Share},
        {"SZ30", EInstrument::Share},  {"SZ200", EInstrument::Share}, {"SZ1", EInstrument::Bond},
        {"SZ131", EInstrument::Other}, {"SZ15", EInstrument::Fund},   {"SZ16", EInstrument::Fund},
        {"SZ18", EInstrument::Fund},   {"BJ", EInstrument::Share},
    };
    const std::string key = instrument.market + instrument.code;
    const Range* best = nullptr;
    for (const Range& range : RANGES) {
        if (key.starts_with(range.start) && (!best || range.start.size() > best->start.size())) {
            best = &range;
        }
    }
    return best ? best->is : EInstrument::Other;
}

std::optional<int> lotOf(const Instrument& instrument) {
    switch (classOf(instrument)) {
        case EInstrument::Share:
        case EInstrument::Fund:
            return 100;
        case EInstrument::Bond:
            return 10;
        default:
            return std::nullopt;
    }
}

}  // namespace TC::statement
