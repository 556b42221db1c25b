#include "linkage/core/clinkagemanager.h"
#include "platform/services/clientconfig.h"

// A module of the client that uses the library: what it sees of the singletons.

extern "C" Q_DECL_EXPORT void* probeManager() {
    return utils::CSingletonT<TC::CLinkageManager>::instance();
}

extern "C" Q_DECL_EXPORT void* probeConfig() {
    return utils::CSingletonT<TC::CAppConfig>::instance();
}

extern "C" Q_DECL_EXPORT void* probeRelease() {
    utils::CSingletonT<TC::CLinkageManager>::release();
    return nullptr;
}
