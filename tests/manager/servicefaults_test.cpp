#include "tests/support/playing.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <string>

/// A service of the client that throws once, before each line of a day in turn: after a while
/// the manager knows what it knows without the fault.
namespace {

/// A repurchase, which is never followed, is among the stocks.
const char* const DAY[] = {
    R"({"do":"config","now":"2024-01-02 09:30:00"})",
    R"({"do":"instrument","market":"SH","code":"600000","reference":10,"limitUp":11,"limitDown":9})",
    R"({"do":"instrument","market":"SH","code":"204001","types":[126]})",
    R"({"do":"account","key":"A","fee":{"rate":0.001,"minimum":5}})",
    R"({"do":"price","market":"SH","code":"600000","last":10})",
    R"({"do":"order","account":"A","key":1,"market":"SH","code":"600000","side":"buy","price":10,"volume":500,"status":56,"traded":500,"amount":5000,"strategy":"S"})",
    R"({"do":"init"})",
    R"({"do":"call","op":"startProfitCalculator"})",
    R"({"do":"deal","account":"A","key":1,"market":"SH","code":"600000","side":"buy","price":10,"volume":500,"time":"093001","strategy":"S"})",
    R"({"do":"deal","account":"A","key":2,"market":"SH","code":"204001","side":"sell","price":2,"volume":10,"time":"093002","strategy":"S"})",
    R"({"do":"order","account":"A","key":3,"market":"SZ","code":"000001","side":"sell","price":8,"volume":300,"status":55,"traded":100,"amount":800,"strategy":"T"})",
    R"({"do":"deal","account":"A","key":3,"market":"SZ","code":"000001","side":"sell","price":8,"volume":100,"time":"093003","strategy":"T"})",
    R"({"do":"position","account":"A","key":1,"market":"SZ","code":"000001","volume":200,"available":200})",
    R"({"do":"task","key":1,"status":1,"items":[{"account":"A","market":"SH","code":"600000","volume":100}],"command":{"strategy":"T"}})",
    R"({"do":"call","op":"requestAccount","args":["A"]})",
    R"({"do":"price","market":"SH","code":"600000","last":10.5})",
    R"({"do":"call","op":"requestAccounts"})",
    // behind these no request makes good what was missed
    R"({"do":"order","account":"A","key":5,"market":"SZ","code":"000002","side":"buy","price":7,"volume":200,"status":55,"traded":100,"amount":700,"strategy":"S"})",
    R"({"do":"deal","account":"A","key":5,"market":"SZ","code":"000002","side":"buy","price":7,"volume":100,"time":"093004","strategy":"S"})",
    R"({"do":"advance","seconds":400})",
    R"({"do":"dump"})",
};

class ServiceFaults : public testing::Test {
protected:
    /// What the last line printed, with `fault` in front of a line.
    std::string stateAfter(std::size_t before, const std::string& fault) const {
        std::string day;
        for (std::size_t at = 0; at < std::size(DAY); ++at) {
            if (at == before) day += fault + "\n";
            day += std::string(DAY[at]) + "\n";
        }
        const tests::Played played = m_folder.play(day);
        EXPECT_EQ(played.fault, "");
        return played.output.substr(played.output.rfind('\n', played.output.size() - 2) + 1);
    }

    tests::ScenarioFolder m_folder;
};

TEST_F(ServiceFaults, ThrowsAnywhereAreMadeGood) {
    const std::string clean = stateAfter(0, "");
    ASSERT_NE(clean.find("\"out\":\"dump\""), std::string::npos);
    for (const char* const service :
         {"feeLimits", "quote", "instrument", "accountData", "history"}) {
        for (const int times : {1, 2, 5}) {
            const std::string fault = R"({"do":"fault","service":")" + std::string(service) +
                                      R"(","kind":"throw","times":)" + std::to_string(times) + "}";
            for (std::size_t before = 5; before + 1 < std::size(DAY); ++before) {
                SCOPED_TRACE(fault + " before " + DAY[before]);
                EXPECT_EQ(stateAfter(before, fault), clean);
            }
        }
    }
}

/// Whoever asks for a balance hears nothing of a command center that throws.
TEST_F(ServiceFaults, NoFormOfABalanceThrows) {
    std::string lines = std::string(DAY[0]) + "\n" + DAY[1] + "\n" + DAY[3] + "\n";
    lines +=
        R"({"do":"writeFile","name":"balancedata.csv","text":"key,股票代码,卖量,买量,买额,卖额,添加日期\nAS,SH600000,100,0,0,0,20240101000000\n"})"
        "\n{\"do\":\"init\"}\n" +
        std::string(DAY[8]) + "\n";
    for (const char* const form : {"doStockBalance", "doHistoryBalance",
                                   "doStockBalanceBySignalTask", "doHistoryBalanceBySignalTask"}) {
        lines += R"({"do":"fault","service":"commandCenter","kind":"throw","times":1})"
                 "\n{\"do\":\"call\",\"op\":\"" +
                 std::string(form) + "\",\"args\":[\"A\",\"S\"]}\n";
    }
    tests::Played played;
    ASSERT_NO_THROW(played = m_folder.play(lines));
    EXPECT_EQ(played.fault, "");
    std::size_t failed = 0;
    for (std::size_t at = 0;
         (at = played.output.find("commandCenter failed", at)) != std::string::npos; ++at) {
        ++failed;
    }
    EXPECT_EQ(failed, 4u);
}

/// One stock's price is not told: the other stocks are balanced all the same.
TEST_F(ServiceFaults, EachStockIsBalancedForItself) {
    std::string lines = fmt::format("{}\n{}\n", DAY[0], DAY[3]);
    for (const char* const code : {"600000", "600001", "600002"}) {
        lines += fmt::format(
            R"({{"do":"instrument","market":"SH","code":"{0}"}}
{{"do":"deal","account":"A","key":{0},"market":"SH","code":"{0}","side":"buy","price":10,"volume":100,"strategy":"S"}}
)",
            code);
    }
    const tests::Played played = m_folder.play(
        lines +
        "{\"do\":\"init\"}\n"
        "{\"do\":\"fault\",\"service\":\"quote\",\"kind\":\"throw\",\"times\":1}\n"
        "{\"do\":\"call\",\"op\":\"doStockBalanceBySignalTask\",\"args\":[\"A\",\"S\"]}\n");
    EXPECT_EQ(played.fault, "");
    std::size_t commands = 0;
    for (std::size_t at = 0;
         (at = played.output.find("\"out\":\"command\"", at)) != std::string::npos; ++at) {
        ++commands;
    }
    EXPECT_EQ(commands, 2u);
    EXPECT_EQ(played.output.find("\"code\":\"600000\"", played.output.find("\"out\":\"command\"")),
              std::string::npos);
}

}  // namespace
