// A client that loads the library at run time and links linkage::platform alone.
//     example-plugin LIBRARY

#include "linkage/plugin.h"
#include "services.h"

#include <QCoreApplication>
#include <QImage>
#include <QJsonObject>
#include <QPainter>
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
    TC::CLinkageManager& manager = linkage->linkage();
    const auto changed = manager.sigStatDataChanged.connect([&] {
        QMetaObject::invokeMethod(&application, [&] {
            if (manager.getTradeStatDatas("10001", "S").size() == 1) application.quit();
        });
    });
    services.report("10001", host::makeDeal(1, "SH600000", true, 300, 10.0, "S"));
    application.exec();

    for (const auto& stock : manager.getTradeStatDatas("10001", "S")) {
        const TC::DealFigures& deals = stock.second->deals();
        std::printf("%s bought %d, sold %d\n", stock.first.c_str(), deals.m_nBuyVolume.get(),
                    deals.m_nSellVolume.get());
    }
    changed.disconnect();

    TC::CEnhanceDrawManager& draw = linkage->draw();
    draw.addDrawRoundData(TC::IEnhanceDataBase::DRAW_FIRST, "SH600000", 2.0, 3.0, 4, 0, 0xff0000,
                          0);
    QImage chart(8, 8, QImage::Format_RGB32);
    chart.fill(Qt::white);
    QPainter painter(&chart);
    draw.drawGraph(TC::IEnhanceDataBase::DRAW_FIRST, "SH600000", &painter, chart.rect(),
                   [](const QPointF& point) { return point; });
    painter.end();
    if (chart.pixelColor(2, 3) == QColor(Qt::white)) return 1;
    linkage->release();
    return 0;
}
