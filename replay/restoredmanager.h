#pragma once

#include "linkage/core/clinkagemanager.h"
#include "replay/recordedclient.h"
#include "replay/recordedinputs.h"

#include <boost/asio/io_service.hpp>

namespace replay {

/// Makes a fresh manager what the line "picture" says that it was. `client` has the records, timers
/// are of `service`, and `works` gets the work that waited. Throws LineError.
void restoreManager(const CFields& picture, TC::CLinkageManager& manager, CRecordedClient& client,
                    boost::asio::io_service& service, RecordedWorks& works);

}  // namespace replay
