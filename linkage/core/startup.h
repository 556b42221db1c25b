#pragma once

#include "linkage/export.h"

#include <string>
#include <vector>

namespace TC {

/// Something that the library needs of its client and does not have.
struct MissingService {
    /// From when on a missing part is felt.
    enum class ENeed {
        Instance,  ///< the manager cannot be made without it
        Init,      ///< init() does nothing without it
        Later,     ///< only what needs it fails, each time that it is asked for
    };

    std::string name;           ///< the service, or which part of it: "net::RPCEngine: a strand"
    std::string consequence;    ///< what does not work without it, in plain English
    ENeed need = ENeed::Later;  ///< the moment from which on it is needed
};

/// What is missing now: services that are not installed, parts of services that are null, and an
/// event loop for the calling thread. Empty when all is there. Those that are needed first come
/// first.
///
/// Threads: the one that makes the manager. It asks the installed services for their parts, the
/// engine for the library's strand among them, and takes no lock of the manager. Nothing throws: a
/// service that throws when it is asked counts as missing.
LINKAGE_EXPORT std::vector<MissingService> missingServices();

/// One line that names all of it, with what does not work without each.
LINKAGE_EXPORT std::string textOf(const std::vector<MissingService>& missing);

}  // namespace TC
