// A client that ends badly: nothing that is gone may be used, which valgrind sees.
//     lifetime                 nobody releases the manager
//     lifetime services-first  the client's services and its engine go before the manager

#include "linkage/core/clinkagemanager.h"
#include "services.h"

#include <QCoreApplication>

#include <cstdio>
#include <memory>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    auto services =
        std::make_unique<host::CServices>("20240102", std::vector<std::string>{"10001"});
    using Linkage = utils::CSingletonT<TC::CLinkageManager>;
    TC::CLinkageManager& linkage = *Linkage::instance();
    linkage.sigStatDataChanged.connect(
        [&] { QMetaObject::invokeMethod(&application, &QCoreApplication::quit); });
    linkage.init();
    linkage.startProfitCalculator();  // its timer waits
    services->report("10001", host::makeDeal(1, "SH600000", true, 300, 10.0, "S"));
    application.exec();
    linkage.addBalanceTime("10001:S", "150000");  // a save that may be under way
    if (argc > 1) {
        services.reset();
        Linkage::release();
    }
    std::puts("ended");
    return 0;
}
