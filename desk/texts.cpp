#include "desk/texts.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QStringList>
#include <QTranslator>

/// The resources of a static library must be initialised explicitly, outside of any namespace.
static void initTranslations() { Q_INIT_RESOURCE(desk_translations); }

namespace desk {

CTranslation::CTranslation(const QLocale& locale)
    : m_pDesk(std::make_unique<QTranslator>()), m_pQt(std::make_unique<QTranslator>()) {
    initTranslations();
    const bool chinese = locale.language() == QLocale::Chinese;
    if (m_pDesk->load(chinese ? ":/desk/linkage-desk_zh_CN.qm" : ":/desk/linkage-desk_en.qm"))
        QCoreApplication::installTranslator(m_pDesk.get());
    if (chinese && m_pQt->load("qt_zh_CN", QLibraryInfo::location(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(m_pQt.get());
}

CTranslation::~CTranslation() {
    QCoreApplication::removeTranslator(m_pDesk.get());
    QCoreApplication::removeTranslator(m_pQt.get());
}

QString dashedDate(const std::string& date) {
    const QString text = QString::fromStdString(date);
    return QStringList{text.left(4), text.mid(4, 2), text.mid(6)}.join('-');
}

QString libraryText(const QString& text) {
    return QCoreApplication::translate("LibraryText", text.toUtf8().constData());
}

}  // namespace desk
