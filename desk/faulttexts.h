#pragma once

#include <QString>
#include <QStringList>

#include <string>

namespace desk {

/// A fault of a scenario, a file or the client, in the language of the screen; a text that is not
/// known stays as it is. Any thread.
QString faultText(const QString& text);
std::string faultText(const char* text);

/// The texts that are known, with %1 and so on for what is filled in.
QStringList faultTextSources();

}  // namespace desk
