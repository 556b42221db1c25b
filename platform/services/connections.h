#pragma once

#include "platform/utils/singleton.h"

#include <QMetaType>
#include <QObject>
#include <QString>

#include <string>

/// @file
/// The signals of the client's connections.
///
/// Threads: each signal is emitted on the connection's own thread or any other. The linkage
/// library's slots run on the thread that made its manager and are queued from other threads, so
/// that thread must run an event loop. Slots may be connected from any thread.
/// Ownership: the client installs the objects before a manager's init() and takes them
/// away after the manager has gone.
/// Failure: a connection that is down emits nothing; asking for one that nobody has
/// installed throws utils::ServiceMissing.
namespace TC {

/// Status of the connection to the proxy server.
enum EProxyConnectionStatus : int {
    PROXY_DISCONNECTED = 0,   ///< not connected
    PROXY_CONNECTED = 1,      ///< connected, not logged in
    PROXY_LOGIN_FAILED = 2,   ///< connected, the login was refused
    PROXY_LOGIN_SUCCESS = 3,  ///< logged in
};

/// Whether the status says that a login has succeeded.
LINKAGE_PLATFORM_EXPORT bool isProxyLoginSuccess(EProxyConnectionStatus status);

/// The connection to the proxy server.
class LINKAGE_PLATFORM_EXPORT CProxyClient : public QObject {
    Q_OBJECT

public:
    CProxyClient();
    ~CProxyClient() override;

Q_SIGNALS:
    /// After each change, a repeated login included.
    void sig_loginStatus(TC::EProxyConnectionStatus status, QString text);
};

/// The installed connection to the proxy server. Throws utils::ServiceMissing when there is none.
LINKAGE_PLATFORM_EXPORT CProxyClient* getProxyClient();

/// The connection to the exchanges.
class LINKAGE_PLATFORM_EXPORT CExchangeClient : public QObject {
    Q_OBJECT

public:
    CExchangeClient();
    ~CExchangeClient() override;

Q_SIGNALS:
    /// A new trade date ("yyyyMMdd") has begun; the data center knows it already.
    void sigNewTradingDate(std::string date);
};

}  // namespace TC

Q_DECLARE_METATYPE(TC::EProxyConnectionStatus)

extern template class LINKAGE_PLATFORM_EXPORT utils::CManualSingletonT<TC::CExchangeClient>;
extern template class LINKAGE_PLATFORM_EXPORT utils::CSingletonT<TC::CProxyClient>;
