#include "desk/daywitness.h"
#include "desk/pricetape.h"
#include "desk/recorder.h"
#include "desk/stage.h"
#include "desk/wanderingmarket.h"
#include "linkage/core/clinkagemanager.h"
#include "paper/loop.h"
#include "paper/paperclient.h"

#include <QDate>

namespace desk {

namespace {

using Manager = utils::CSingletonT<TC::CLinkageManager>;

paper::ClientConfig liveConfig(const QString& dataDir) {
    paper::ClientConfig config;
    config.tradeDate = QDate::currentDate().toString("yyyyMMdd").toStdString();
    config.executes = true;
    config.scheduler = true;
    config.dataDir = dataDir;
    return config;
}

/// The desk uses the guard, and keeps the balance times that the user has set.
TC::LinkageOptions liveOptions() {
    return {.guard = true, .rounds = 3, .roundSeconds = 20, .keepBalanceTimes = true};
}

class CLiveStage final : public IStage {
public:
    CLiveStage(const QString& dataDir, CPriceTape& tape, CDayWitness& witness, CRecorder& recorder)
        : m_tape(tape),
          m_witness(witness),
          m_client(m_loop.service(), liveConfig(dataDir), &witness.balances),
          m_market(m_loop.service(), m_client) {
        witness.clientIsThere();
        Manager::instance()->setOptions(liveOptions());
        recorder.sessionBegins(*Manager::instance());
        witness.balances.follow(*Manager::instance());
        Manager::instance()->init();
        for (const std::string& stock : m_market.stockKeys()) m_tape.follow(stock);
        m_market.open();
    }

    /// Stops in this order: the scheduler, which calls the manager; the manager, while the loop
    /// can still finish its work; the loop's threads; the objects that they worked on.
    ~CLiveStage() override {
        m_client.stopScheduler();
        Manager::release();
        m_loop.stop();
        m_tape.letGo();
        m_witness.arrivals.letGo();
    }

    void step(std::int64_t) override { m_tape.giveBars(m_client); }
    bool canBePaced() const override { return false; }

private:
    CPriceTape& m_tape;
    CDayWitness& m_witness;
    paper::CRealLoop m_loop;
    paper::CPaperClient m_client;
    CWanderingMarket m_market;
};

}  // namespace

std::unique_ptr<IStage> makeLiveStage(const QString& dataDir, CPriceTape& tape,
                                      CDayWitness& witness, CRecorder& recorder) {
    return std::make_unique<CLiveStage>(dataDir, tape, witness, recorder);
}

}  // namespace desk
