#pragma once

#include <QString>

#include <string>

namespace Pim {

/// UTF-8 text of the platform as a QString.
inline QString sToQs(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

}  // namespace Pim
