#pragma once

#include "linkage/tape/moment.h"
#include "linkage/tape/tapedservices.h"
#include "linkage/tape/tapeunit.h"

#include <QString>

#include <boost/function.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace TC {

class CStep;

/// Hears of everything that decides what the manager does: steps, the moments at which they hold
/// the manager's lock, and what the client's services answer. One kind of tape writes it down
/// (linkage/record), another one plays it again (replay).
///
/// Threads: any; of one step one call at a time. Failure: only asks() throws.
class ITape {
public:
    /// Makes the values of a signal when they are wanted: a pass raises thousands that are not.
    class CValuesOf {
    public:
        /// None.
        CValuesOf() = default;
        template <class Make>
        CValuesOf(const Make& make)
            : m_pMake(&make),
              m_call([](const void* made) { return (*static_cast<const Make*>(made))(); }) {}
        bool any() const { return m_pMake != nullptr; }
        std::vector<TapeValue> operator()() const {
            return m_pMake ? m_call(m_pMake) : std::vector<TapeValue>();
        }

    private:
        const void* m_pMake = nullptr;
        std::vector<TapeValue> (*m_call)(const void*) = nullptr;
    };

    /// A signal of the manager.
    struct Signal {
        const void* signal;     ///< its address; of a Qt signal null
        const char* operation;  ///< who raises it
        CValuesOf values;       ///< to be asked for during the call only
    };

    using PricePtr = boost::shared_ptr<vexservice::CPriceData>;

    virtual ~ITape() = default;

    /// A step begins; it may have the lock from its beginning on (TapePart::inHold), and holds() is
    /// not called for that. Gives the moment that it goes by.
    virtual Moment begins(CStep& step) = 0;
    /// The step is over; `step` goes.
    virtual void ends(CStep& step) = 0;

    /// The step is about to take the manager's lock, which its thread does not have.
    virtual void wantsHold(CStep& step) = 0;
    /// It has the lock.
    virtual void holds(CStep& step) = 0;

    /// The client calls the library back inside the step: in a slot, or in a call of a service.
    virtual void callsBack(CStep& step, TapeInput input) = 0;

    /// The step is about to take work that waits (CLeftWorks).
    virtual void changesWork(CStep& step) = 0;
    /// The step is about to leave work for later.
    virtual void leaves(CStep& step) = 0;
    /// Work of the step that runs later, as a step of its own. True when the tape keeps the work,
    /// and nobody else is to run it.
    virtual bool keeps(const Ticket& ticket, const boost::function<void()>& work) = 0;

    /// The step is about to raise a signal, its `call`-th call of anything outside.
    virtual void raises(CStep& step, unsigned call, const Signal& signal) = 0;
    /// There is no memory for what a step would tell.
    virtual void lacksMemory() {}
    /// A figure that belongs to the manager's decisions.
    virtual void figures(CStep& step, std::uint64_t value) = 0;

    /// The step asks a service of the client. The tape asks `work`, or knows the answer. When the
    /// service throws, so does this.
    virtual TapeAnswer asks(CStep& step, unsigned call, const TapeQuestion& question,
                            const std::function<TapeAnswer()>& work) = 0;
    /// The same for the newest price of a stock, which each deal asks for.
    virtual PricePtr asksPrice(CStep& step, unsigned call, const QString& key,
                               const std::function<PricePtr()>& work);
    /// The step is about to send a command, or to cancel.
    virtual void acts(CStep& step, const TapeMark& act) = 0;

    /// The services that steps ask; a null stands for the installed one.
    const TapedServices& services() const { return m_services; }

    /// True when the calling thread has the manager's lock.
    std::function<bool()> hasLock;

protected:
    TapedServices m_services{};
};

}  // namespace TC
