#pragma once

#include <string>

namespace utils {

/// The outcome of a request to a server. Number 0 is success.
struct VexError {
    int m_nError = 0;       ///< the server's number of the error
    std::string m_strText;  ///< what went wrong, for people; may be empty

    /// Whether the request succeeded.
    bool isOk() const { return m_nError == 0; }
};

}  // namespace utils
