#pragma once

#include "platform/log.h"

#include <exception>

namespace adapters {

/// Calls every slot of a signal. One that throws is logged and does not keep the news from the
/// others.
struct DeliverToAll {
    using result_type = void;

    template <class Slots>
    void operator()(Slots first, Slots last) const {
        for (; first != last; ++first) {
            try {
                *first;
            } catch (const std::exception& fault) {
                g_VexStdLogger.error("adapters::DeliverToAll", fault.what());
            } catch (...) {
                g_VexStdLogger.error("adapters::DeliverToAll",
                                     "something that is no std::exception was thrown");
            }
        }
    }
};

}  // namespace adapters
