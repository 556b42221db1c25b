// The library with the paper client as its host: a deal is reported, and the library tells of it.

#include "linkage/core/clinkagemanager.h"
#include "linkage/version.h"
#include "paper/loop.h"
#include "paper/paperclient.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <boost/make_shared.hpp>

#include <cstdio>

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QTemporaryDir files;
    paper::CVirtualLoop loop(1'704'159'000'000'000);  // a morning of 2024-01-02
    paper::ClientConfig config;
    config.tradeDate = "20240102";
    config.dataDir = files.path();
    paper::CPaperClient client(loop.service(), config);
    paper::Instrument stock;
    stock.market = "SH";
    stock.code = "600000";
    stock.reference = 10.0;
    client.setInstrument(stock);
    paper::Account account;
    account.key = account.id = "10001";
    client.setAccount(account);

    using Linkage = utils::CSingletonT<TC::CLinkageManager>;
    Linkage::instance()->init();
    loop.runToRest();

    const auto deal = boost::make_shared<vexservice::CDealDetail>();
    deal->m_strMarket = "SH";
    deal->m_strCode = "600000";
    deal->m_strTradeDate = config.tradeDate;
    deal->m_strTradeTime = "100000";
    deal->m_strDealID = "1";
    deal->m_eDirection = vexservice::ENTRUST_BUY;
    deal->m_dPrice = 10.0;
    deal->m_nVolume = 300;
    deal->m_dAmount = 3000.0;
    client.report(account.key, deal);
    loop.runToRest();

    const auto figures = Linkage::instance()->getTradeStatDatas(account.key, "");
    for (const auto& [stockKey, record] : figures) {
        std::printf("linkage %s: %s bought %d\n", TC::loadedVersion(), stockKey.c_str(),
                    static_cast<int>(record->deals().m_nBuyVolume));
    }
    Linkage::release();
    return figures.size() == 1 ? 0 : 1;
}
