#pragma once

#include <string>

namespace utils {

/// The outcome of a request to a server. Number 0 is success.
struct VexError {
    int m_nError = 0;
    std::string m_strText;

    bool isOk() const { return m_nError == 0; }
};

}  // namespace utils
