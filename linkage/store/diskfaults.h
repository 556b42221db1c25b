#pragma once

#include <functional>
#include <string>

/// Faults of the disk, for tests and replays. They act beneath CDiskFiles, for the whole
/// process and for every directory. As long as nobody calls begin(), a file operation
/// pays one relaxed load for this.
///
/// How to play a fault:
///
///     disk::begin();
///     disk::fail({.step = disk::EStep::Flush, .after = 2, .times = 1, .error = EIO});
///     ...                                  // the third further flush fails
///     disk::end();
///
/// How to play a crash:
///
///     disk::begin();                       // what is on disk now counts as flushed
///     ...
///     disk::crash();                       // what was not flushed is lost
///     Manager::release();                  // whatever it still writes or removes fails
///     disk::restart();                     // the disk works again
///     ...                                  // a new manager reads what is left
///
/// Saves run on threads of their own. For the same steps in every run, call finishSaves()
/// before setting a fault and again before looking at its effect.
///
/// Threads: any; while begin() holds, file operations take their turns. Errors: none.
namespace TC::disk {

/// The kinds of steps. Open is the opening of a file, to read, to write or to lock. Write is
/// one call of write(2). Flush is the flush of a file or of a directory. MakeDirectory is the
/// making of one directory, not the check whether it exists.
enum class EStep { Open, Write, Flush, Rename, Remove, MakeDirectory, Any };

/// After `after` further steps of the kind, the next `times` fail.
struct Fault {
    static constexpr int FOREVER = -1;

    EStep step = EStep::Any;
    int after = 0;
    int times = 1;
    int error = 0;  ///< errno; 0: a write takes half of its bytes, other steps work

    /// Instead of an error: the process is gone at this step, which is not done; see crash().
    static constexpr int CRASH = -1;
    /// Of such a crash: which changes of names reached the disk although no flush followed, as
    /// KeepsName says: a bit for each name, by the sum of its characters.
    unsigned keeps = 0;
};

/// The kind of a name ("open", "write", "flush", "rename", "remove", "makeDirectory").
/// False when there is no such kind.
bool stepNamed(const std::string& name, EStep& step);

/// Starts to count steps and to remember what is not flushed. A further call starts again from
/// 0.
void begin();

/// Forgets faults and what was remembered; the files stay as they are.
void end();

/// Adds a fault to those that are set. Calls begin() when nobody has.
void fail(const Fault& fault);

/// Takes all faults away.
void clearFaults();

/// Steps of any kind since begin(), with those that failed.
int steps();

/// Whether the change of a name (made, renamed, removed) reached the disk although its
/// directory was not flushed since. The data of a file reach the disk only by a flush.
using KeepsName = std::function<bool(const std::string& path)>;

/// Puts the files back to what is flushed. From here to restart() every step that would
/// change something fails with EIO.
void crash(const KeepsName& keepsName = {});

/// Whether the process is gone: from crash(), or a step that crashed, to restart().
bool crashed();

/// Ends the time after a crash and takes all faults away; counting goes on.
void restart();

}  // namespace TC::disk
