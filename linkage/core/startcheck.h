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

/// Whether the services are there without which no manager is made. Asks them nothing.
bool canBeMade();

/// Whether init() can begin although this is missing.
bool canBegin(const std::vector<MissingService>& missing);

}  // namespace TC
