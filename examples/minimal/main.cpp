// The least that a client does: its services (../host/services.h), the manager, a deal, figures,
// and what a balance would send.

#include "linkage/balance/balanceplan.h"
#include "linkage/core/clinkagemanager.h"
#include "linkage/core/startup.h"
#include "services.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    host::CServices services("20240102", {"10001"});
    for (const TC::MissingService& each : TC::missingServices()) {
        std::fprintf(stderr, "missing: %s\n", each.name.c_str());
    }

    using Linkage = utils::CSingletonT<TC::CLinkageManager>;
    TC::CLinkageManager& linkage = *Linkage::instance();
    // The signal comes on the library's strand; this thread wakes up and asks.
    linkage.sigStatDataChanged.connect([&] {
        QMetaObject::invokeMethod(&application, [&] {
            if (!linkage.getTradeStatDatas("10001", "S").empty()) application.quit();
        });
    });
    linkage.init();
    if (!linkage.isInited()) return 1;
    services.center().report("10001", host::makeDeal(1, "SH600000", true, 300, 10.0, "S"));
    application.exec();

    for (const TC::StockBalance& stock : linkage.previewBalance("10001", "S").stocks) {
        std::printf("%s: a balance would %s %lld\n", stock.stockKey.c_str(),
                    stock.side == vexservice::OPT_SELL ? "sell" : "buy",
                    static_cast<long long>(stock.volume));
    }
    Linkage::release();
    return 0;
}
