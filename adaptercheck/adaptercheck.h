#pragma once

#include <functional>
#include <memory>
#include <string>

/// @file
/// Holds an adapter to the contracts of platform/services. A client maker writes an IAdapter over
/// his services, links it with this library, and calls run() from main().
namespace adaptercheck {

/// What the adapter has to be asked for. Leave empty what it does not have: cases that need it are
/// then skipped.
struct Facts {
    std::string account;        ///< key of an account that may trade the stock
    std::string otherAccount;   ///< key of another one
    std::string market;         ///< of a stock that has a detail and is quoted
    std::string code;           ///< the stock's code in that market ("600000")
    double restingPrice = 0.0;  ///< yuan: a buy order at this price rests until fill()
    std::string pastDay;        ///< "yyyyMMdd": the server has records of the account
    std::string emptyDay;       ///< the account has no records of this day
    std::string unknownDay;     ///< the server cannot tell this day
    std::string barsDay;        ///< the stock has minute bars of this day
    /// Whether commands get numbers above 0; see TC::CDovCommandCenter.
    bool numbersCommands = true;
    /// Whether the engine's threads go on after an exception of a handler. Where they do not, the
    /// exception would end the process, and nobody tries it.
    bool survivesHandlers = false;
};

/// A buy order that somebody enters elsewhere: it comes to the client by its reports alone.
struct OutsideOrder {
    std::string account;   ///< account key
    std::string strategy;  ///< strategy name that the reports carry; "" for none
    int volume = 0;        ///< shares, at Facts::restingPrice
};

/// What change() makes different.
enum class EReferenceData { Instrument, Fees };

/// The adapter under test, and the world behind it. Each case has a new one, in which no order
/// rests.
///
/// What the world does is a verb that returns false when it is not offered; the cases that need it
/// are then skipped. A verb may return before its consequences have come.
///
/// Threads: everything is called on the thread that called run(); it needs a QCoreApplication. The
/// services are called from other threads too.
/// Failure: what a verb throws fails the case.
class IAdapter {
public:
    virtual ~IAdapter() = default;

    /// Installs every service of the platform.
    virtual void install() = 0;
    /// Takes all of them away again.
    virtual void remove() = 0;
    /// What the cases are to ask for. Asked once in each case.
    virtual Facts facts() const = 0;

    /// Lets what is pending come: runs an event loop for a moment, moves a clock of the adapter's
    /// own. True says that nothing is pending any more, and that it would be useless to wait;
    /// false, that more may come by itself.
    virtual bool settle() { return false; }

    /// Somebody enters the order elsewhere. It rests at Facts::restingPrice until fill().
    virtual bool place(const OutsideOrder& /*order*/) { return false; }
    /// The market trades so many shares at Facts::restingPrice, the oldest order first.
    virtual bool fill(int /*volume*/) { return false; }
    /// The broker rejects the next order of Facts::account, and says why.
    virtual bool rejectNext() { return false; }
    /// The stock has a new last price, and a book around it.
    virtual bool quote(double /*last*/) { return false; }
    /// Facts::account holds so many shares of the stock.
    virtual bool hold(int /*volume*/) { return false; }
    /// An algorithmic task starts; the server runs it, or the client.
    virtual bool startTask(bool /*server*/) { return false; }
    /// The stock's detail, or the account's fees, become different from what they were.
    virtual bool change(EReferenceData /*what*/) { return false; }
    /// The user's settings change.
    virtual bool changeSettings() { return false; }
    /// A new trade date ("yyyyMMdd") begins: the data center knows it, and then it is announced.
    virtual bool beginTradingDate(const std::string& /*date*/) { return false; }
    /// The proxy server reports a login that succeeded, though there was one before.
    virtual bool login() { return false; }
    /// The connection to the trading server breaks.
    virtual bool disconnect() { return false; }
    /// The data of Facts::account is initialised anew.
    virtual bool initAccount() { return false; }
    /// The next command is refused as a whole: its completion has an error.
    virtual bool refuseNext() { return false; }
};

/// Makes a new adapter for each case. The adapter goes when its case ends.
using Factory = std::function<std::unique_ptr<IAdapter>()>;

/// Runs the cases that the arguments ask for (--help tells them) and prints a table. Returns 0 when
/// none failed, 1 when one did, 2 when the arguments cannot be understood. A case that never comes
/// back ends the process, with the table and status 1.
int run(int argc, char** argv, const Factory& factory);

}  // namespace adaptercheck
