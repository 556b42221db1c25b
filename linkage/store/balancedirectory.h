#pragma once

#include "platform/services/clientconfig.h"

#include <QFile>

#include <string>

namespace TC {

/// The directory of the data files, as the file system names it.
inline std::string balanceDirectory() {
    return QFile::encodeName(getDataDir() + "/" + "Balance").toStdString();
}

/// A file in it. Everybody who reads, writes or removes one joins its path here.
inline std::string fileIn(const std::string& directory, const std::string& name) {
    return directory + "/" + name;
}

}  // namespace TC
