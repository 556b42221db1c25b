#pragma once

#include "lab/day.h"

#include <functional>
#include <string>

namespace lab {

/// A day that was cut down as far as it still fails.
struct Shrunk {
    Plan plan;
    Outcome outcome;
    int tries = 0;
    std::size_t stepsBefore = 0;
    std::size_t stepsAfter = 0;
    std::size_t dialsAfter = 0;  ///< dials that are not off
};

using PlayDay = std::function<Outcome(const Plan& plan)>;

/// Leaves out steps, turns dials off and takes simpler options, one after another, as long as
/// the day still has a violation; one without any, as long as a balance still trades too much.
/// The plan must have the one or the other.
Shrunk shrink(Plan plan, const PlayDay& play);

/// Writes the scenario of an outcome to `path` and plays it: "" when the library sends the same
/// orders at the same moments, otherwise what is different.
std::string writeScenario(const Outcome& outcome, const std::string& path);

}  // namespace lab
