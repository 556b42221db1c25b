#pragma once

#include "platform/export.h"

#include <boost/core/demangle.hpp>
#include <boost/shared_ptr.hpp>

#include <atomic>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>

/// @file
/// The two singletons of the client.
///
/// Each instantiation has its statics in exactly one shared library: the header
/// of T says `extern template`, one source of that library includes
/// platform/utils/singletonimpl.h and instantiates. So the instance is the same one in
/// every module of the process, however the module was loaded.
namespace utils {

/// A service was asked for before the client installed it: a fault in the
/// client's start-up order, never a state of normal running.
struct LINKAGE_PLATFORM_EXPORT ServiceMissing : std::logic_error {
    /// Of one service, whose type the text names.
    explicit ServiceMissing(const std::type_info& type)
        : std::logic_error("no client has installed the service " +
                           boost::core::demangle(type.name())) {}
    /// Of several services at once, in words.
    explicit ServiceMissing(const std::string& what) : std::logic_error(what) {}
};

/// One object per process, made on first use.
///
/// A T that is abstract (a service of the platform) is not made but installed by
/// the client; asking for it earlier throws ServiceMissing.
///
/// Threads: instance() from any thread. install() and release() belong to start
/// and shutdown, when no other thread uses the object.
template <class T>
class LINKAGE_PLATFORM_EXPORT CSingletonT {
public:
    /// The one object; made when there is none yet, under a boost::shared_mutex.
    static T* instance() {
        if (T* present = s_pPublished.load(std::memory_order_acquire)) return present;
        return make();
    }

    /// Whether there is an object now; never makes one.
    static bool exists() { return s_pPublished.load(std::memory_order_acquire) != nullptr; }

    /// Puts the client's implementation in place, or takes it away (empty).
    static void install(boost::shared_ptr<T> object);

    /// Drops the object; it is destroyed when no other holder remains. If T has a member retire(),
    /// it is called first, while the object is still whole, so that it can stop work of its own on
    /// other threads and wait for it.
    static void release();

private:
    static T* make();

    static boost::shared_ptr<T> s_pInstance;
    static std::atomic<T*> s_pPublished;
};

/// One object per process that the client makes and drops by hand.
///
/// Threads: as CSingletonT. instance() before install() throws ServiceMissing.
template <class T>
class LINKAGE_PLATFORM_EXPORT CManualSingletonT {
public:
    /// The one object; throws ServiceMissing while there is none.
    static T* instance() {
        if (T* present = s_pPublished.load(std::memory_order_acquire)) return present;
        throw ServiceMissing(typeid(T));
    }

    /// Whether there is an object now.
    static bool exists() { return s_pPublished.load(std::memory_order_acquire) != nullptr; }

    /// Puts the client's object in place, or takes it away (empty).
    static void install(boost::shared_ptr<T> object) {
        s_pPublished.store(object.get(), std::memory_order_release);
        s_pInstance = std::move(object);
    }

    /// Drops the object; it is destroyed when no other holder remains.
    static void release() { install({}); }

private:
    static boost::shared_ptr<T> s_pInstance;
    static std::atomic<T*> s_pPublished;
};

}  // namespace utils
