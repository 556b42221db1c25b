#pragma once

#include "linkage/plugin.h"

#include <QObject>

namespace TC {

/// What QPluginLoader makes.
class CLinkagePlugin final : public QObject, public ILinkagePlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID LINKAGE_PLUGIN_IID FILE "linkage.json")
    Q_INTERFACES(TC::ILinkagePlugin)

public:
    const char* version() const override;
    std::vector<MissingService> missingServices() const override;
    bool init(const LinkageOptions& options) override;
    bool isInited() const override;
    void release() override;
    CLinkageManager& linkage() override;
    CEnhanceDrawManager& draw() override;
};

}  // namespace TC
