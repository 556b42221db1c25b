#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace replay {

struct SampleOptions {
    int accounts = 4;
    int strategies = 3;
    int stocks = 6;
    int orders = 4000;  ///< about five reports each
    std::uint64_t seed = 1;
};

/// Writes a made-up trading day and the morning after it as a scenario for the paper exchange.
/// Strategies trade and are balanced at their balance times. What could not be balanced is carried
/// into the history store and balanced the next morning.
///
/// The same options give the same text. `sink` takes one line at a time, without its end.
void writeSampleDay(const SampleOptions& options,
                    const std::function<void(std::string_view)>& sink);

}  // namespace replay
