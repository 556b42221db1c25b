#pragma once

#include "platform/utils/singleton.h"

#include <QString>

#include <boost/signals2/signal.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <cstdint>
#include <optional>
#include <string>

/// @file
/// What the client knows about itself and its user.
///
/// Threads: any, also under locks of the caller: no operation waits for a callback.
/// Lock: the library holds its own while it asks for members of the user configuration and for the
/// time. What is asked while a manager is made is asked without it.
/// Ownership: the client installs each service before it makes a manager and takes it
/// away after the manager has gone.
/// Failure: asking for a service that nobody has installed throws utils::ServiceMissing. Nothing
/// else throws.
namespace TC {

/// Kinds of clients, by number; the linkage library tells kind 3 from the others.
enum EClientType : int {
    CLIENT_TYPE_STANDARD = 1,  ///< an ordinary client
    /// The figures of its strategies are those of orders (TC::EffectiveFigures).
    CLIENT_TYPE_3 = 3,
};

/// Members of the user configuration, by number.
enum EUserMember : int {
    USER_NAME = 1,               ///< text: the user's name
    USER_LIMIT_PERCENT = 86,     ///< number: daily price limit in percent
    USER_LIMIT_PERCENT_ST = 87,  ///< number: the same for stocks under special treatment
    USER_TRADE_SETTING = 163,    ///< address of the user's CTradeSetting
};

/// The application's configuration. Constant for the process's life.
class LINKAGE_PLATFORM_EXPORT CAppConfig {
public:
    virtual ~CAppConfig() = default;
    /// Whether this client is of a kind. The library asks for kind 3 alone.
    virtual bool isClientType(EClientType type) const = 0;
    /// Text encoding of the files in the data directory: "UTF-8", or "GBK" when installations that
    /// use the system's code page share these files.
    virtual std::string fileEncoding() const { return "UTF-8"; }
};

/// The user's configuration. A member that the user has not set gives "", 0 or null.
class LINKAGE_PLATFORM_EXPORT CUserConfig {
public:
    virtual ~CUserConfig() = default;
    /// A text member; "" when the user has not set it, or when the member is no text.
    virtual QString getUserDataString(EUserMember member) const = 0;
    /// A number member; 0 when the user has not set it, or when the member is no number.
    virtual double getUserDataDouble(EUserMember member) const = 0;
    /// The block of a structured member, or null when the user has none. It belongs to the
    /// configuration, which neither changes nor moves it.
    virtual const void* getUserDataAddress(EUserMember member) const = 0;

    /// Raised after any change; connect and disconnect under m_mutex.
    boost::signals2::signal<void()> m_sigUserDataChanged;
    boost::recursive_mutex m_mutex;  ///< guards the slots of the signal
};

/// The installed configuration of the user. Throws utils::ServiceMissing when there is none.
LINKAGE_PLATFORM_EXPORT CUserConfig* getUserConfig();

/// The time service: gives the time that an operation is stamped with. The library asks it for each
/// operation.
class LINKAGE_PLATFORM_EXPORT CTimeService {
public:
    virtual ~CTimeService() = default;
    /// Milliseconds since the epoch.
    virtual std::int64_t currentTime() const = 0;
};

/// The installed time service. Throws utils::ServiceMissing when there is none.
LINKAGE_PLATFORM_EXPORT CTimeService* getTimeService();

/// Where the client keeps its data; no trailing separator. Asked while a manager is
/// made, and gives the same each time; a directory that is not there yet is made when the first
/// file is saved.
class LINKAGE_PLATFORM_EXPORT IDataDirectory {
public:
    virtual ~IDataDirectory() = default;
    /// The directory, in the form that Qt opens ("/" between folders).
    virtual QString path() const = 0;
};

/// IDataDirectory::path() of the installed one. Throws utils::ServiceMissing when there is none.
LINKAGE_PLATFORM_EXPORT QString getDataDir();

}  // namespace TC

namespace marlo {

/// The markets' calendar; threads, ownership and failure as above. The library asks for the last
/// trade date once, in init() and under its lock, and for single days when their history is
/// requested, without it.
class LINKAGE_PLATFORM_EXPORT IMarketCalendar {
public:
    virtual ~IMarketCalendar() = default;
    /// Last trade date of a market ("SH"): its local midnight in milliseconds since the
    /// epoch.
    virtual std::int64_t lastTradeDate(const std::string& market) const = 0;

    /// Whether a market ("SH") has traded on a past day ("yyyyMMdd"). Empty where the calendar
    /// does not know the day; say false only when it is certain, because the trading server is
    /// then not asked for the day.
    virtual std::optional<bool> isTradingDay(const std::string& /*market*/,
                                             const std::string& /*day*/) const {
        return std::nullopt;
    }
};

/// As IMarketCalendar::lastTradeDate of the installed calendar. Throws utils::ServiceMissing when
/// there is none.
LINKAGE_PLATFORM_EXPORT std::int64_t getMarketLastTradeDate(const std::string& market);

/// As IMarketCalendar::isTradingDay; empty also when the client has installed no calendar.
LINKAGE_PLATFORM_EXPORT std::optional<bool> isMarketTradingDay(const std::string& market,
                                                               const std::string& day);

}  // namespace marlo

extern template class LINKAGE_PLATFORM_EXPORT utils::CSingletonT<TC::CAppConfig>;
extern template class LINKAGE_PLATFORM_EXPORT utils::CSingletonT<TC::CUserConfig>;
extern template class LINKAGE_PLATFORM_EXPORT utils::CSingletonT<TC::CTimeService>;
extern template class LINKAGE_PLATFORM_EXPORT utils::CSingletonT<TC::IDataDirectory>;
extern template class LINKAGE_PLATFORM_EXPORT utils::CSingletonT<marlo::IMarketCalendar>;
