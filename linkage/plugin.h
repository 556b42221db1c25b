#pragma once

/// @file
/// What a client that loads the library at run time calls.

#include "linkage/core/clinkagemanager.h"
#include "linkage/core/startup.h"
#include "linkage/draw/cenhancedrawmanager.h"

#include <QtPlugin>

#include <vector>

namespace TC {

/// The library for a client that does not link it but loads it at run time:
///
///     QPluginLoader loader("liblinkage.so");
///     auto* const linkage = qobject_cast<TC::ILinkagePlugin*>(loader.instance());
///
/// The client links linkage::platform alone, installs its services there, and reaches everything
/// from here: the operations of both managers are virtual and the signals of CLinkageManager are
/// members, so none of them needs a symbol of the library. Its Qt signals are connected with the
/// SIGNAL() macro, because the other form names a symbol. Do not unload the library.
///
/// The interface is the library's own object and lives as long as the library.
class ILinkagePlugin {
public:
    virtual ~ILinkagePlugin() = default;

    /// The version of the library, as TC::loadedVersion(); the loader's metadata has it too,
    /// before anything of the library has run.
    virtual const char* version() const = 0;

    /// What the library needs and does not find; see linkage/core/startup.h. Ask it on the thread
    /// that will call init().
    virtual std::vector<MissingService> missingServices() const = 0;

    /// Makes the manager where there is none, on the calling thread, and begins its work. False,
    /// with a line in the log, when something is missing; then it can be called again.
    virtual bool init(const LinkageOptions& options) = 0;
    /// Whether init() has begun the work. It makes no manager.
    virtual bool isInited() const = 0;
    /// Takes the manager down; returns when none of its handlers runs and every save is on disk.
    virtual void release() = 0;

    /// The manager, made when there is none; throws utils::ServiceMissing when it cannot be made.
    virtual CLinkageManager& linkage() = 0;
    /// The chart graphics. Makes no CLinkageManager.
    virtual CEnhanceDrawManager& draw() = 0;
};

}  // namespace TC

/// The number changes when a client must be compiled anew: when a function of this interface, or a
/// public operation of a manager, goes, changes, or comes before another.
#define LINKAGE_PLUGIN_IID "linkage.plugin/1"
Q_DECLARE_INTERFACE(TC::ILinkagePlugin, LINKAGE_PLUGIN_IID)
