// Deals of the day from a CSV file: record key, stock key, B or S, volume, price, strategy.
//     example-csv FILE

#include "linkage/core/clinkagemanager.h"
#include "services.h"

#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

#include <cstdio>

namespace {

/// Empty when the row is not understood; such a row is told and left out.
boost::shared_ptr<vexservice::CDealDetail> readDeal(const QString& row) {
    const QStringList cells = row.split(',');
    if (cells.size() != 6) return {};
    bool hasKey = false, hasVolume = false, hasPrice = false;
    const auto key = cells[0].toULongLong(&hasKey);
    const int volume = cells[3].toInt(&hasVolume);
    const double price = cells[4].toDouble(&hasPrice);
    const bool hasSide = cells[2] == "B" || cells[2] == "S";
    if (!hasKey || !hasVolume || !hasPrice || !hasSide || cells[1].size() != 8) return {};
    return host::makeDeal(key, cells[1].toStdString(), cells[2] == "B", volume, price,
                          cells[5].toStdString());
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QFile file(argc > 1 ? argv[1] : "deals.csv");
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "%s\n", qPrintable(file.errorString()));
        return 1;
    }
    host::CServices services("20240102", {"10001"});
    QTextStream text(&file);
    for (int row = 1; !text.atEnd(); ++row) {
        const auto deal = readDeal(text.readLine());
        if (deal)
            services.report("10001", deal);
        else
            std::fprintf(stderr, "row %d is left out\n", row);
    }

    // What the data center has already is taken in when the account is loaded, so here the deals
    // come before init().
    using Linkage = utils::CSingletonT<TC::CLinkageManager>;
    TC::CLinkageManager& linkage = *Linkage::instance();
    linkage.sigStatDataChanged.connect(
        [&] { QMetaObject::invokeMethod(&application, &QCoreApplication::quit); });
    linkage.init();
    if (!linkage.isInited()) return 1;
    application.exec();

    for (const std::string& strategy : linkage.getStrategys()) {
        for (const auto& stock : linkage.getTradeStatDatas("10001", strategy)) {
            const TC::DealFigures& deals = stock.second->deals();
            std::printf("%s %s: bought %d, sold %d\n", strategy.c_str(), stock.first.c_str(),
                        deals.m_nBuyVolume.get(), deals.m_nSellVolume.get());
        }
    }
    Linkage::release();
    return 0;
}
