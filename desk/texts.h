#pragma once

#include <QString>

#include <memory>
#include <string>

class QApplication;
class QLocale;
class QTranslator;

/// Languages of the desk. The source texts are English; the library's own texts are
/// Chinese.
namespace desk {

/// Installs the translation of the desk until this object is destroyed.
class CTranslation {
public:
    /// The language of `locale`: Chinese, or English for any other.
    explicit CTranslation(const QLocale& locale);
    ~CTranslation();

private:
    std::unique_ptr<QTranslator> m_pDesk;
    std::unique_ptr<QTranslator> m_pQt;
};

/// A text of the library or the client, which is UTF-8.
inline QString text(const std::string& utf8) { return QString::fromStdString(utf8); }

/// A date "yyyyMMdd" as yyyy-MM-dd.
QString dashedDate(const std::string& date);

/// A text of the library, in the language of the desk.
QString libraryText(const QString& text);

}  // namespace desk
