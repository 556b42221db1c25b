#pragma once

#include "platform/utils/singleton.h"

#include <utility>

#include <boost/asio/io_service.hpp>
#include <boost/asio/strand.hpp>
#include <boost/shared_ptr.hpp>

#include <string>

namespace net {

/// The client's network engine: named strands on its io_service.
///
/// Threads: any. Handlers and timers run on the engine's own threads.
/// Lock: the library holds its own while it asks for its strand, in init().
/// Ownership: the same name gives the same strand, shared by all who ask; the io_service
/// behind it outlives every module.
/// Failure: there is always a strand. An exception of a handler leaves the engine's run().
class LINKAGE_PLATFORM_EXPORT RPCEngine {
public:
    virtual ~RPCEngine() = default;
    /// The strand of a name, made when nobody has asked for it before. The library asks for one,
    /// "linkage".
    virtual boost::shared_ptr<boost::asio::io_service::strand> getStrand(
        const std::string& name) = 0;
};

}  // namespace net

extern template class LINKAGE_PLATFORM_EXPORT utils::CSingletonT<net::RPCEngine>;
