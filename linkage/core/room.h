#pragma once

#include <memory>
#include <utility>

namespace TC {

/// Owns what a room above the core keeps for the manager. The core does not know the type: the
/// room makes the object (makeRoom) and also gives the function that destroys it.
template <class State>
using RoomPtr = std::unique_ptr<State, void (*)(State*)>;

/// Makes the object, with the function that destroys it.
template <class State, class... Arguments>
RoomPtr<State> makeRoom(Arguments&&... arguments) {
    return {new State(std::forward<Arguments>(arguments)...), [](State* state) { delete state; }};
}

}  // namespace TC
