#pragma once

#include "linkage/tape/step.h"

#include <tuple>
#include <type_traits>

/// The client's services as the step in hand asks them: those installed, or, while a recording
/// runs, what notes their answers. The library asks for a service nowhere else.
namespace TC {

/// What stands before a service in the step in hand; null: nothing does.
template <class Service>
Service* tapedService() {
    const CStep* const step = CStep::current();
    return step ? std::get<Service*>(step->tape().services()) : nullptr;
}

/// The service; throws utils::ServiceMissing while there is none. Those of TraderCenter have
/// functions of their own (linkage/core/datacenter.h).
template <class Service>
Service& service() {
    if (Service* const taped = tapedService<Service>()) return *taped;
    if constexpr (std::is_same_v<Service, CQuoteClient> || std::is_same_v<Service, CTradeClient>) {
        return *utils::CManualSingletonT<Service>::instance();
    } else {
        return *utils::CSingletonT<Service>::instance();
    }
}

}  // namespace TC
