#include "platform/services/clientconfig.h"
#include "platform/services/tradercenter.h"

#include <QTemporaryDir>

#include <boost/make_shared.hpp>

#include <dlfcn.h>
#include <gtest/gtest.h>

// This program is a client that does not link the library: it loads it, and two
// modules that use it, each into a scope of its own.

namespace {

class CConfig final : public TC::CAppConfig {
public:
    bool isClientType(TC::EClientType type) const override { return type == TC::CLIENT_TYPE_3; }
};

class CDirectory final : public TC::IDataDirectory {
public:
    QString path() const override { return m_directory.path(); }

private:
    QTemporaryDir m_directory;
};

using Answer = void* (*)();

struct Module {
    explicit Module(const char* path) : handle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        if (!handle) ADD_FAILURE() << dlerror();
    }
    void* ask(const char* name) const {
        auto* question = handle ? reinterpret_cast<Answer>(dlsym(handle, name)) : nullptr;
        if (!question) ADD_FAILURE() << "no " << name;
        return question ? question() : nullptr;
    }
    void* handle;
};

}  // namespace

TEST(Singleton, IsOneInEveryModuleOfTheProcess) {
    utils::CSingletonT<TC::CAppConfig>::install(boost::make_shared<CConfig>());
    utils::CSingletonT<TC::IDataDirectory>::install(boost::make_shared<CDirectory>());
    const Module first(PLUGIN_PROBE_A);
    const Module second(PLUGIN_PROBE_B);
    const Module library(PLUGIN_LIBRARY);
    const char* const instance = "_ZN5utils11CSingletonTIN2TC15CLinkageManagerEE8instanceEv";

    void* const manager = first.ask("probeManager");
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(second.ask("probeManager"), manager);
    EXPECT_EQ(library.ask(instance), manager);

    void* const config = utils::CSingletonT<TC::CAppConfig>::instance();
    EXPECT_EQ(first.ask("probeConfig"), config);
    EXPECT_EQ(second.ask("probeConfig"), config);

    // Dropped by one module, it is gone for the others.
    second.ask("probeRelease");
    void* const again = library.ask(instance);
    EXPECT_EQ(first.ask("probeManager"), again);
    first.ask("probeRelease");
    utils::CSingletonT<TC::IDataDirectory>::install({});
    utils::CSingletonT<TC::CAppConfig>::install({});
}
