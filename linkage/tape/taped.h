#pragma once

#include "linkage/tape/tapedservices.h"

#include <memory>

namespace TC {

/// The services as a step asks them while there is a tape: each question goes to the tape, which
/// asks the installed service or knows the answer. Outside steps the installed one is asked.
///
/// Threads: any. What it gives out may outlive it.
class CTapedClient {
public:
    CTapedClient();
    ~CTapedClient();
    CTapedClient(const CTapedClient&) = delete;
    CTapedClient& operator=(const CTapedClient&) = delete;

    TapedServices services() const;

private:
    struct Services;
    const std::unique_ptr<Services> m_pServices;
};

/// A subscription of a recording that is played: nobody tells it anything.
boost::shared_ptr<CQuoteRequest> silentSubscription();

}  // namespace TC
