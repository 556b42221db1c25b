#pragma once

#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <span>
#include <vector>

namespace desk {

/// Texts of others, known as patterns, in the language of the screen. %1 and so on stand for what
/// is filled in, in this order; what is filled in may be such a text itself.
class CPatternTexts {
public:
    /// `context` is that of the translations; both must outlive this object.
    CPatternTexts(const char* context, std::span<const char* const> sources);

    /// A text that is not known stays as it is.
    QString translated(const QString& text) const;

private:
    struct Pattern {
        QString source;
        QRegularExpression expression;
    };
    static Pattern patternOf(const char* source);

    const char* m_context;
    std::vector<Pattern> m_patterns;
};

/// The texts as a list.
QStringList textsOf(std::span<const char* const> sources);

}  // namespace desk
