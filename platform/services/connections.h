#pragma once

#include "platform/utils/singleton.h"

#include <QMetaType>
#include <QObject>
#include <QString>

#include <string>

namespace TC {

enum EProxyConnectionStatus : int {
    PROXY_DISCONNECTED = 0,
    PROXY_CONNECTED = 1,
    PROXY_LOGIN_FAILED = 2,
    PROXY_LOGIN_SUCCESS = 3,
};

PLATFORM_EXPORT bool isProxyLoginSuccess(EProxyConnectionStatus status);

/// The connection to the proxy server. The signal is emitted on its own thread.
class PLATFORM_EXPORT CProxyClient : public QObject {
    Q_OBJECT

public:
    CProxyClient();
    ~CProxyClient() override;

Q_SIGNALS:
    void sig_loginStatus(TC::EProxyConnectionStatus status, QString text);
};

/// Throws utils::ServiceMissing before a client has installed one.
PLATFORM_EXPORT CProxyClient* getProxyClient();

/// The connection to the exchanges: announces that a new trade date has begun,
/// after the data center knows it.
class PLATFORM_EXPORT CExchangeClient : public QObject {
    Q_OBJECT

public:
    CExchangeClient();
    ~CExchangeClient() override;

Q_SIGNALS:
    void sigNewTradingDate(std::string date);
};

}  // namespace TC

Q_DECLARE_METATYPE(TC::EProxyConnectionStatus)
Q_DECLARE_METATYPE(std::string)

extern template class PLATFORM_EXPORT utils::CManualSingletonT<TC::CExchangeClient>;
extern template class PLATFORM_EXPORT utils::CSingletonT<TC::CProxyClient>;
