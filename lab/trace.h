#pragma once

#include "lab/day.h"

#include <fmt/format.h>

namespace lab {

template <class... Arguments>
void CDay::trace(const char* format, const Arguments&... arguments) {
    if (m_options.trace) addTrace(fmt::format(fmt::runtime(format), arguments...));
}

}  // namespace lab
