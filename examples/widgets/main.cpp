// A window with a table that follows the library: its signals come on the library's strand and are
// queued to the screen's thread.

#include "linkage/core/clinkagemanager.h"
#include "services.h"

#include <QApplication>
#include <QTableWidget>
#include <QTimer>

#include <atomic>
#include <cstdio>

namespace {

class CTable final : public QTableWidget {
public:
    explicit CTable(TC::CLinkageManager& linkage) : QTableWidget(0, 3), m_linkage(linkage) {
        setHorizontalHeaderLabels({"stock", "bought", "sold"});
        // Many signals of a storm become one look: the next is queued only when this one is over.
        m_connection = linkage.sigStatDataChanged.connect([this] {
            if (m_bAsked.exchange(true)) return;
            QMetaObject::invokeMethod(
                this, [this] { show(); }, Qt::QueuedConnection);
        });
    }

private:
    void show() {
        m_bAsked = false;
        const auto figures = m_linkage.getTradeStatDatas("10001", "S");
        setRowCount(static_cast<int>(figures.size()));
        int row = 0;
        for (const auto& stock : figures) {
            const TC::DealFigures& deals = stock.second->deals();
            setItem(row, 0, new QTableWidgetItem(QString::fromStdString(stock.first)));
            setItem(row, 1, new QTableWidgetItem(QString::number(deals.m_nBuyVolume.get())));
            setItem(row, 2, new QTableWidgetItem(QString::number(deals.m_nSellVolume.get())));
            ++row;
        }
    }

    TC::CLinkageManager& m_linkage;
    std::atomic<bool> m_bAsked{false};
    boost::signals2::scoped_connection m_connection;
};

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    host::CServices services("20240102", {"10001"});
    using Linkage = utils::CSingletonT<TC::CLinkageManager>;
    TC::CLinkageManager& linkage = *Linkage::instance();
    {
        CTable table(linkage);
        table.QWidget::show();
        linkage.init();
        if (!linkage.isInited()) return 1;
        // A report each quarter of a second, as a market would tell them; after four the window
        // closes.
        int reported = 0;
        QTimer market;
        QObject::connect(&market, &QTimer::timeout, &application, [&] {
            if (table.rowCount() == 4) return application.quit();
            if (reported == 4) return;
            const std::string stock = "SH60000" + std::to_string(reported++);
            services.report("10001", host::makeDeal(reported, stock, true, 100, 10.0, "S"));
        });
        market.start(250);
        application.exec();
        std::printf("%d stocks, the last is %s\n", table.rowCount(),
                    qPrintable(table.item(3, 0)->text()));
        // Who may still be in a slot of the table has left when release() returns.
        Linkage::release();
    }
    return 0;
}
