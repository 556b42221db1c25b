#pragma once

#include "adaptercheck/adaptercheck.h"
#include "paper/loop.h"
#include "paper/paperclient.h"

#include <QTemporaryDir>

namespace adaptercheck {

/// The paper client with its exchange, on time that stands still between settle() and settle().
class CPaperAdapter : public IAdapter {
public:
    CPaperAdapter();
    ~CPaperAdapter() override;

    void install() override;
    void remove() override;
    Facts facts() const override;
    bool settle() override;

    bool place(const OutsideOrder& order) override;
    bool fill(int volume) override;
    bool rejectNext() override;
    bool quote(double last) override;
    bool hold(int volume) override;
    bool startTask(bool server) override;
    bool change(EReferenceData what) override;
    bool changeSettings() override;
    bool beginTradingDate(const std::string& date) override;
    bool login() override;
    bool disconnect() override;
    bool initAccount() override;
    bool refuseNext() override;

protected:
    paper::CPaperClient& client() { return *m_pClient; }
    paper::CVirtualLoop& loop() { return m_loop; }

private:
    void quote(double last, double ask, long long volume);
    void setStock();

    const QTemporaryDir m_files;
    paper::CVirtualLoop m_loop;
    std::unique_ptr<paper::CPaperClient> m_pClient;
    int m_nChanges = 0;  ///< so that each change brings something new
};

}  // namespace adaptercheck
