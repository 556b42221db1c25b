#include "linkage/plugin/linkageplugin.h"

#include "linkage/core/raise.h"
#include "linkage/version.h"

namespace TC {

namespace {

using Manager = utils::CSingletonT<CLinkageManager>;

CLinkageManager& manager() { return *Manager::instance(); }

}  // namespace

const char* CLinkagePlugin::version() const { return loadedVersion(); }

std::vector<MissingService> CLinkagePlugin::missingServices() const {
    return TC::missingServices();
}

bool CLinkagePlugin::init(const LinkageOptions& options) {
    CLinkageManager* made = nullptr;
    try {
        made = Manager::instance();
    } catch (...) {
        logThrown("CLinkagePlugin::init");
        return false;
    }
    made->setOptions(options);
    made->init();
    return made->isInited();
}

bool CLinkagePlugin::isInited() const { return Manager::exists() && manager().isInited(); }

void CLinkagePlugin::release() { Manager::release(); }

CLinkageManager& CLinkagePlugin::linkage() { return manager(); }

CEnhanceDrawManager& CLinkagePlugin::draw() {
    return *utils::CSingletonT<CEnhanceDrawManager>::instance();
}

}  // namespace TC
