#pragma once

#include "platform/utils/singleton.h"

#include <boost/thread/locks.hpp>
#include <boost/thread/shared_mutex.hpp>

#include <type_traits>
#include <utility>

/// @file
/// The rest of the singletons, for the one source that instantiates them for a T.
namespace utils {

/// The lock under which the object of T is made and installed.
template <class T>
struct SingletonMutex {
    static boost::shared_mutex s_mutex;  ///< one for each T
};
template <class T>
boost::shared_mutex SingletonMutex<T>::s_mutex;

/// Whether T has a member retire(), which CSingletonT::release() calls.
template <class T, class = void>
struct CanRetire : std::false_type {};
template <class T>
struct CanRetire<T, std::void_t<decltype(std::declval<T&>().retire())>> : std::true_type {};

template <class T>
boost::shared_ptr<T> CSingletonT<T>::s_pInstance;
template <class T>
std::atomic<T*> CSingletonT<T>::s_pPublished{nullptr};

template <class T>
T* CSingletonT<T>::make() {
    const boost::unique_lock<boost::shared_mutex> lock(SingletonMutex<T>::s_mutex);
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

template <class T>
void CSingletonT<T>::install(boost::shared_ptr<T> object) {
    const boost::unique_lock<boost::shared_mutex> lock(SingletonMutex<T>::s_mutex);
    s_pPublished.store(object.get(), std::memory_order_release);
    s_pInstance = std::move(object);
}

template <class T>
void CSingletonT<T>::release() {
    boost::shared_ptr<T> victim;
    victim.swap(s_pInstance);
    s_pPublished.store(nullptr, std::memory_order_release);
    if (!victim) return;
    if constexpr (CanRetire<T>::value) victim->retire();
}

template <class T>
boost::shared_ptr<T> CManualSingletonT<T>::s_pInstance;
template <class T>
std::atomic<T*> CManualSingletonT<T>::s_pPublished{nullptr};

}  // namespace utils
