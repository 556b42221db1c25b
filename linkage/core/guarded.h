#pragma once

#include "linkage/core/clinkagemanager.h"
#include "linkage/core/door.h"

#include <utility>

namespace TC {

template <class F>
auto CLinkageManager::guarded(F work) const {
    return [door = m_pDoor, work = std::move(work)](auto&&... arguments) mutable {
        const CDoor::Visit visit(door);
        if (visit) work(std::forward<decltype(arguments)>(arguments)...);
    };
}

}  // namespace TC
