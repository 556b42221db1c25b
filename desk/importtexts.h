#pragma once

#include <QString>
#include <QStringList>

namespace desk {

/// A reason or note of the library about a statement file, or a past day, in the language of the
/// screen; a text that is not known stays as it is.
QString importText(const QString& text);

/// The texts that are known, with %1 and so on for what is filled in.
QStringList importTextSources();

}  // namespace desk
