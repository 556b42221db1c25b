#pragma once

#include "platform/export.h"

#include <boost/shared_ptr.hpp>
#include <boost/thread/locks.hpp>
#include <boost/thread/shared_mutex.hpp>

#include <atomic>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

/// The two singletons of the client.
///
/// Each instantiation has its statics in exactly one shared library: the header
/// of T says `extern template`, one source of that library instantiates. So the
/// instance is the same one in every module of the process, however the module
/// was loaded.
namespace utils {

/// A service was asked for before the client installed it: a fault in the
/// client's start-up order, never a state of normal running.
struct ServiceMissing : std::logic_error {
    explicit ServiceMissing(const std::type_info& type)
        : std::logic_error(std::string("no client has installed the service ") + type.name()) {}
};

/// One object per process, made on first use.
///
/// A T that is abstract (a service of the platform) is not made but installed by
/// the client; asking for it earlier throws ServiceMissing.
///
/// Threads: instance() from any thread. install() and release() belong to start
/// and shutdown, when no other thread uses the object.
template <class T>
class PLATFORM_EXPORT CSingletonT {
public:
    /// The one object; made here, under s_mutex, when there is none yet.
    static T* instance() {
        if (T* present = s_pPublished.load(std::memory_order_acquire)) return present;
        boost::unique_lock<boost::shared_mutex> lock(s_mutex);
        if (!s_pInstance) {
            if constexpr (std::is_abstract_v<T>) {
                throw ServiceMissing(typeid(T));
            } else {
                s_pInstance = boost::shared_ptr<T>(new T, [](T* object) { delete object; });
                s_pPublished.store(s_pInstance.get(), std::memory_order_release);
            }
        }
        return s_pInstance.get();
    }

    /// Whether there is an object now; never makes one.
    static bool exists() { return s_pPublished.load(std::memory_order_acquire) != nullptr; }

    /// Puts the client's implementation in place, or takes it away (empty).
    static void install(boost::shared_ptr<T> object) {
        boost::unique_lock<boost::shared_mutex> lock(s_mutex);
        s_pPublished.store(object.get(), std::memory_order_release);
        s_pInstance = std::move(object);
    }

    /// Drops the object; it is destroyed when no other holder remains. A T with
    /// a member retire() is told first, while it is still whole, so that it can
    /// stop and wait for work of its own on other threads.
    static void release() {
        boost::shared_ptr<T> victim;
        victim.swap(s_pInstance);
        s_pPublished.store(nullptr, std::memory_order_release);
        if (!victim) return;
        if constexpr (requires(T & object) { object.retire(); }) victim->retire();
    }

private:
    static boost::shared_mutex s_mutex;
    static boost::shared_ptr<T> s_pInstance;
    static std::atomic<T*> s_pPublished;
};

template <class T>
boost::shared_mutex CSingletonT<T>::s_mutex;
template <class T>
boost::shared_ptr<T> CSingletonT<T>::s_pInstance;
template <class T>
std::atomic<T*> CSingletonT<T>::s_pPublished{nullptr};

/// One object per process that the client makes and drops by hand.
///
/// Threads: as CSingletonT. instance() before install() throws ServiceMissing.
template <class T>
class PLATFORM_EXPORT CManualSingletonT {
public:
    static T* instance() {
        if (T* present = s_pPublished.load(std::memory_order_acquire)) return present;
        throw ServiceMissing(typeid(T));
    }

    static bool exists() { return s_pPublished.load(std::memory_order_acquire) != nullptr; }

    static void install(boost::shared_ptr<T> object) {
        s_pPublished.store(object.get(), std::memory_order_release);
        s_pInstance = std::move(object);
    }

    static void release() { install({}); }

private:
    static boost::shared_ptr<T> s_pInstance;
    static std::atomic<T*> s_pPublished;
};

template <class T>
boost::shared_ptr<T> CManualSingletonT<T>::s_pInstance;
template <class T>
std::atomic<T*> CManualSingletonT<T>::s_pPublished{nullptr};

}  // namespace utils
