#include "desk/patterntexts.h"

#include <QCoreApplication>

#include <algorithm>

namespace desk {

namespace {

/// Fills all places of a text in one pass, because a value may itself contain "%1".
QString filled(const QString& text, const QStringList& values) {
    QString result;
    for (int i = 0; i < text.size(); ++i) {
        const int place = text[i] == '%' && i + 1 < text.size() ? text[i + 1].digitValue() : -1;
        if (place < 1 || place > values.size()) {
            result += text[i];
            continue;
        }
        result += values[place - 1];
        ++i;
    }
    return result;
}

}  // namespace

/// Patterns with more text of their own come first, so that no text is taken for a more general
/// one.
CPatternTexts::CPatternTexts(const char* context, std::span<const char* const> sources)
    : m_context(context) {
    m_patterns.reserve(sources.size());
    for (const char* source : sources) m_patterns.push_back(patternOf(source));
    const auto plain = [](const Pattern& pattern) {
        return pattern.source.size() - 2 * pattern.source.count('%');
    };
    std::stable_sort(
        m_patterns.begin(), m_patterns.end(),
        [&](const auto& left, const auto& right) { return plain(left) > plain(right); });
}

CPatternTexts::Pattern CPatternTexts::patternOf(const char* source) {
    static const QRegularExpression PLACE("%\\d");
    const QString text = QString::fromUtf8(source);
    QString expression = "^";
    int done = 0;
    for (auto places = PLACE.globalMatch(text); places.hasNext();) {
        const QRegularExpressionMatch place = places.next();
        expression += QRegularExpression::escape(text.mid(done, place.capturedStart() - done));
        expression += "(.*)";
        done = place.capturedEnd();
    }
    expression += QRegularExpression::escape(text.mid(done)) + "$";
    return {text, QRegularExpression(expression, QRegularExpression::DotMatchesEverythingOption)};
}

QString CPatternTexts::translated(const QString& text) const {
    for (const Pattern& pattern : m_patterns) {
        const QRegularExpressionMatch match = pattern.expression.match(text);
        if (!match.hasMatch()) continue;
        QStringList values;
        for (const QString& value : match.capturedTexts().mid(1)) values << translated(value);
        return filled(QCoreApplication::translate(m_context, pattern.source.toUtf8().constData()),
                      values);
    }
    return text;
}

QStringList textsOf(std::span<const char* const> sources) {
    QStringList texts;
    for (const char* source : sources) texts << QString::fromUtf8(source);
    return texts;
}

}  // namespace desk
