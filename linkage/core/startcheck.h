#pragma once

#include "linkage/core/startup.h"

#include <utility>

#include <boost/asio/io_service.hpp>
#include <boost/asio/strand.hpp>
#include <boost/shared_ptr.hpp>

class QThread;

namespace TC {

using Strand = boost::shared_ptr<boost::asio::io_service::strand>;

/// As missingServices(), for a manager of this thread; gives the library's strand where there is
/// one.
std::vector<MissingService> checkStart(const QThread* thread, Strand& strand);

/// Whether something is missing that is needed at this step, or before it.
bool isNeeded(const std::vector<MissingService>& missing, MissingService::ENeed need);

}  // namespace TC
