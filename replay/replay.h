#pragma once

#include "replay/linereader.h"
#include "replay/session.h"

#include <string>
#include <vector>

namespace replay {

struct ReplayOptions {
    std::string dataDir;         ///< empty: a temporary one per scenario
    std::string journal;         ///< empty: none
    std::string record;          ///< of each manager; empty: none
    std::size_t recordFrom = 0;  ///< events that are played before; see SessionOptions
    bool log = true;
    bool answers = false;  ///< each line is answered before the next is read
};

/// Looks on while a scenario is played.
class IReplayWatcher {
public:
    virtual ~IReplayWatcher() = default;
    virtual void before(const Event& /*event*/, CSession& /*session*/) {}
    virtual void after(const Event& /*event*/, CSession& /*session*/) {}
    virtual void finished(CSession& /*session*/) {}
    /// The share of the file that was read, 0 to 1; negative where it is not known.
    virtual void progress(double /*share*/) {}
    virtual paper::IClientObserver* requests() { return nullptr; }
};

/// Plays a scenario file ("-": standard input) to its end. Returns "" or what was wrong,
/// as "FILE:LINE: …"; the lines before have then been played and nothing after.
///
/// Everything is played on the caller's thread. A regular file, standard input too, is read ahead
/// on a thread that ends before this returns or throws, unless each line is answered; see
/// CReadAhead.
std::string playFile(const std::string& path, const ReplayOptions& options, COutput& output,
                     IReplayWatcher* watcher = nullptr);

}  // namespace replay
