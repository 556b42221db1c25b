// A client that loads the library at run time and links linkage::platform alone.
//     example-plugin LIBRARY

#include "linkage/core/linkageoptions.h"
#include "linkage/core/startup.h"
#include "linkage/ledger/types.h"
#include "linkage/plugin.h"
#include "services.h"

#include <QCoreApplication>
#include <QJsonObject>
#include <QPluginLoader>

#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QPluginLoader loader(argc > 1 ? argv[1] : "liblinkage.so");
    // Before anything of the library runs.
    const QJsonObject about = loader.metaData().value("MetaData").toObject();
    auto* const linkage = qobject_cast<TC::ILinkagePlugin*>(loader.instance());
    if (!linkage) {
        std::fprintf(stderr, "%s\n", qPrintable(loader.errorString()));
        return 1;
    }
    std::printf("%s %s\n", qPrintable(about.value("name").toString()),
                qPrintable(about.value("version").toString()));
    if (about.value("version").toString() != linkage->version()) return 1;

    // Without services nothing starts, and everything that is missing is named.
    const std::size_t missing = linkage->missingServices().size();
    if (missing < 10 || linkage->init({}) || linkage->isInited()) return 1;

    host::CServices services("20240102", {"10001"});
    for (const TC::MissingService& each : linkage->missingServices()) {
        std::fprintf(stderr, "missing: %s\n", each.name.c_str());
    }
    if (!linkage->init({})) return 1;

    // The signal comes on the library's strand; the screen's thread wakes up and asks.
    const auto changed = linkage->onStatDataChanged([&] {
        QMetaObject::invokeMethod(&application, [&] {
            if (linkage->getTradeStatDatas("10001", "S").size() == 1) application.quit();
        });
    });
    services.center().report("10001", host::makeDeal(1, "SH600000", true, 300, 10.0, "S"));
    application.exec();

    for (const auto& stock : linkage->getTradeStatDatas("10001", "S")) {
        const TC::DealFigures& deals = stock.second->deals();
        std::printf("%s bought %d, sold %d\n", stock.first.c_str(), deals.m_nBuyVolume.get(),
                    deals.m_nSellVolume.get());
    }
    changed.disconnect();
    linkage->release();
    return 0;
}
