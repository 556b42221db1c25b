#include "tests/support/playing.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <vector>

/// Lines that cannot be used: what is said of each, and that everything before it counts.
namespace {

constexpr const char* START = R"({"do":"config","now":"2024-01-02 09:30:00"}
# a comment, and a blank line

{"do":"account","key":"A"}
{"do":"create"}
{"do":"call","op":"getTradeDate"}
)";
constexpr const char* START_OUTPUT =
    R"({"at":"09:30:00.000","op":"getTradeDate","out":"result","value":""})"
    "\n";
constexpr int BAD_LINE = 7;

/// Both with single quotes for double ones.
struct Row {
    std::string line, fault;
};

std::string json(std::string text) {
    std::replace(text.begin(), text.end(), '\'', '"');
    return text;
}

/// Lines of which only the end varies.
std::string order(const std::string& rest) {
    return "{'do':'order','account':'A','key':1,'market':'SH','code':'1','side':" + rest;
}
std::string stock(const std::string& action, const std::string& rest) {
    return "{'do':'" + action + "','market':'SH','code':'1'," + rest;
}
std::string send(const std::string& action, const std::string& rest) {
    return stock(action, "'account':'A','side':'buy','volume':100," + rest);
}

const std::vector<Row> ROWS = {
    {"{'do':", "not JSON: "},
    {"not JSON", "not JSON: "},
    {"{'do':'login','ok':01}", "not JSON: "},
    {"[1]", "a line must be a JSON object"},
    {"{'op':1}", "missing field 'do'"},
    {"{'do':1}", "field 'do': wrong type: a text is needed, not a number"},
    {"{'do':'jump'}", "unknown 'do': 'jump'"},
    {"{'do':'config','now':'2024-01-02 09:30:00'}", "a second 'config'"},
    {"{'do':'call','op':'sing'}", "unknown 'op': 'sing'"},
    {"{'do':'call','op':'getRunningOrders','args':['A']}",
     "field 'args': getRunningOrders takes 2 arguments, not 1"},
    {"{'do':'call','op':'getRunningOrders','args':['A',5]}",
     "field 'args[1]': wrong type: a text is needed, not a number"},
    {"{'do':'call','op':'getBuySellVolumes','args':['20240230','X',[]]}",
     "field 'args[0]': '20240230' is no date 'yyyyMMdd'"},
    {"{'do':'call','op':'getAccountIds','args':[3000000000]}",
     "field 'args[0]': number out of range: 3000000000 is not within -2147483648 to 2147483647"},
    {"{'do':'order','account':'A'}", "missing field 'key'"},
    {"{'do':'order','account':'A','key':-1}",
     "field 'key': number out of range: -1 is not within 0 to 18446744073709551615"},
    {"{'do':'order','account':'A','key':18446744073709551616}",
     "number out of range: 18446744073709551616"},
    {"{'do':'order','account':'A','key':1.5}",
     "field 'key': wrong type: a whole number is needed, not a number"},
    {order("'hold'}"), "field 'side': 'hold' is neither 'buy' nor 'sell'"},
    {order("'buy','price':null}"), "field 'price': wrong type: a number is needed, not null"},
    {order("'buy','price':1,'volume':2147483648}"),
     "field 'volume': number out of range: 2147483648 is not within -2147483648 to 2147483647"},
    {order("'buy','price':1,'volume':1,'status':'50'}"),
     "field 'status': wrong type: a whole number is needed, not a text"},
    {stock("position", "'account':'Z','key':1,'volume':1}"), "account 'Z' has no 'account' line"},
    {"{'do':'task','key':1,'status':3,'items':[{'account':'Z','market':'SH','code':'1'}]}",
     "account 'Z' has no 'account' line"},
    {"{'do':'task','key':1,'status':3,'items':[{'account':'A','market':'SH'}]}",
     "items[0]: missing field 'code'"},
    {stock("price", "'last':1,'asks':[[1,2],[3]]}"),
     "field 'asks[1]': value 2 of the list is missing"},
    {stock("bars", "'date':'20240102','closes':[['0960',1]]}"),
     "field 'closes[0][0]': '0960' is no time 'hhmm'"},
    {stock("bars", "'date':'20240102','closes':[['0930',1,1]]}"),
     "field 'closes[0]': the list has more than 2 values"},
    {"{'do':'advance'}", "missing field 'seconds' or 'to'"},
    {"{'do':'advance','seconds':-1}", "field 'seconds': number out of range: -1 is less than 0"},
    {"{'do':'advance','seconds':1e300}",
     "field 'seconds': number out of range: 1e+300 is more than 1000000000"},
    {"{'do':'advance','seconds':0,'to':'2024-01-02 09:30:00'}", "'seconds' and 'to' in one line"},
    {"{'do':'advance','to':''}", "field 'to': '' is no date and time"},
    {"{'do':'advance','to':'2106-02-07 14:28:16'}",
     "field 'to': number out of range: time ends in 2106"},
    {"{'do':'newTradingDate','date':'21060207'}",
     "field 'date': number out of range: 21060207 is not within 19700102 to 21060206"},
    {"{'do':'advance','to':'2024-01-02 09:29:59'}", "field 'to': '2024-01-02 09:29:59' has passed"},
    {"{'do':'tradeSetting','block':3}",
     "field 'block': number out of range: 3 is not within 1 to 2"},
    {send("send", "'price':1}"), "'send' needs the paper exchange"},
    {send("startTask", "'slices':0,'seconds':1}"),
     "field 'slices': number out of range: 0 is not within 1 to 2147483647"},
    {send("startTask", "'slices':1,'seconds':1000000001}"),
     "field 'seconds': number out of range: 1000000001 is more than 1000000000"},
    {send("reject", "'times':1}"), "'reject' needs the paper exchange"},
    {"{'do':'reject','account':'A','times':0}",
     "field 'times': number out of range: 0 is not within 1 to 2147483647"},
    {"{'do':'silent','seconds':1}", "'silent' needs the paper exchange"},
    {"{'do':'commandResult','number':1}", "field 'number': there is no command 1"},
    {"{'do':'fault','service':'sun','kind':'throw','times':1}",
     "field 'service': 'sun' is no service"},
    {"{'do':'fault','service':'quote','kind':'','times':1}",
     "field 'kind': '' is no kind of fault"},
    {"{'do':'fault','service':'quote','kind':'lost'}", "missing field 'times'"},
    {"{'do':'disk','step':'seek','after':0,'error':'EIO','times':1}",
     "field 'step': 'seek' is no step of the disk"},
    {"{'do':'disk','step':'open','after':0,'error':'EPERM','times':1}",
     "field 'error': 'EPERM' is no error of the disk"},
    {"{'do':'call','op':'previewStockBalance','args':['A']}",
     "field 'args': previewStockBalance takes 2 to 3 arguments, not 1"},
    {order("'buy','price':1,'volume':1,'status':50,'command':-1}"),
     "field 'command': number out of range: -1 is not within 0 to 2147483647"},
    {"{'do':'file','name':'../x'}", "field 'name': '../x' is no plain file name"},
    {"{'do':'writeFile','name':'..','text':''}", "field 'name': '..' is no plain file name"},
};

TEST(ReplayErrors, EachBadLineIsNamedAndEndsThePlay) {
    const tests::ScenarioFolder folder;
    const std::string where = folder.path("in.jsonl") + ":" + std::to_string(BAD_LINE) + ": ";
    for (const Row& row : ROWS) {
        SCOPED_TRACE(row.line);
        const tests::Played played = folder.play(START + json(row.line) + "\n" + START);
        const std::string fault = where + json(row.fault);
        // What a parser finds wrong is said in its own words.
        const bool whole = !fault.ends_with(": ");
        EXPECT_EQ(whole ? played.fault : played.fault.substr(0, fault.size()), fault);
        EXPECT_EQ(played.output, START_OUTPUT);
    }
}

TEST(ReplayErrors, NothingHappensBeforeTheConfigOrWithoutAManager) {
    const tests::ScenarioFolder folder;
    const std::string config = "{'do':'config','now':'2024-01-02 09:30:00'}";
    const auto inZone = [&](const std::string& zone) {
        return config.substr(0, config.size() - 1) + ",'timeZone':'" + zone + "'}";
    };
    const Row rows[] = {
        {"{'do':'init'}", ":1: 'init' before 'config'"},
        {config + "\n" + "{'do':'dump'}", ":2: 'dump' without a manager"},
        {config + "\n{'do':'create'}\n{'do':'release'}\n{'do':'dump'}",
         ":4: 'dump' without a manager"},
        {"{'do':'config','now':'2024-01-02'}", ":1: field 'now': '2024-01-02' is no date and time"},
        // The C library would read an offset with the other sign, and nothing as UTC.
        {config.substr(0, config.size() - 1) + ",'options':{'rounds':0}}",
         ":1: field 'options.rounds': number out of range: 0 is not within 1 to 100"},
        {inZone("Mars/Olympus"), ":1: field 'timeZone': 'Mars/Olympus' is unknown"},
        {inZone("UTC+08:00"), ":1: field 'timeZone': 'UTC+08:00' is unknown"},
        {inZone("UTC-05:00"), ":1: field 'timeZone': 'UTC-05:00' is unknown"},
        {inZone(""), ":1: field 'timeZone': '' is unknown"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(folder.play(json(row.line)).fault, folder.path("in.jsonl") + json(row.fault));
    }
    EXPECT_EQ(folder.play("").fault, "");
}

/// A recording that broke off, or was damaged, is played up to there.
TEST(ReplayErrors, WhatStandsBeforeTheFaultOfACompressedFileIsPlayed) {
    const tests::ScenarioFolder folder;
    std::string text = START;
    for (int i = 0; i < 20'000; ++i) {
        text += R"({"do":"call","op":"isAlreadyAdd","args":[")" + std::to_string(i * i) + "\"]}\n";
    }
    const std::string path = folder.path("day.gz");
    const std::string packed = tests::packed(text);
    // Behind the ten bytes of a gzip header, no block begins like this.
    const std::string damaged =
        tests::packed(text.substr(0, text.size() / 2)) + packed.substr(0, 10) + "\xFF\xFF";
    struct File {
        const char* name;
        std::string bytes;
        bool complete;
        const char* fault;  // after the line's number; "" for none
    };
    const File rows[] = {
        {"whole", packed, true, ""},
        {"two in a row", tests::packed(text.substr(0, 5000)) + tests::packed(text.substr(5000)),
         true, ""},
        {"cut in the middle", packed.substr(0, packed.size() / 2), false, "unexpected end of file"},
        {"cut in the check sum", packed.substr(0, packed.size() - 3), true,
         "unexpected end of file"},
        {"damaged", damaged, false, "invalid block type"},
    };
    const std::string whole = folder.play(text).output;
    for (const File& row : rows) {
        SCOPED_TRACE(row.name);
        tests::writeText(path, row.bytes);
        const tests::Played played = tests::playFile(path);
        const auto lines = std::count(played.output.begin(), played.output.end(), '\n');
        EXPECT_TRUE(whole.starts_with(played.output));
        EXPECT_EQ(played.output == whole, row.complete);
        EXPECT_GT(lines, 5000);
        const std::string where = path + ":" + std::to_string(lines + BAD_LINE - 1);
        const std::string fault = *row.fault ? where + ": compressed data: " + row.fault : "";
        EXPECT_EQ(played.fault.substr(0, fault.size()), fault);
        EXPECT_EQ(played.fault.empty(), fault.empty());
    }
}

TEST(ReplayErrors, AByteOrderMarkIsNoFault) {
    const tests::ScenarioFolder folder;
    EXPECT_EQ(folder.play(std::string("\xEF\xBB\xBF") + START).output, START_OUTPUT);
    EXPECT_NE(folder.play(std::string(START) + "\xEF\xBB\xBF{\"do\":\"dump\"}").fault, "");
}

TEST(ReplayErrors, ScenariosAreNotOverwrittenByTheirJournal) {
    const tests::ScenarioFolder folder;
    const std::string path = folder.path("in.jsonl");
    const std::string link = folder.path("link");
    tests::writeText(path, START);
    ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);
    EXPECT_EQ(tests::playFile(path, {.journal = link}).fault,
              path + ": the journal would overwrite it");
    EXPECT_EQ(tests::readText(path), START);
}

TEST(ReplayDays, ReachInto2106) {
    const tests::ScenarioFolder folder;
    for (const std::string day : {"20380120", "21060206"}) {
        const std::string date = day.substr(0, 4) + "-" + day.substr(4, 2) + "-" + day.substr(6);
        const std::string lines =
            "{'do':'config','now':'" + date + " 09:30:00'}\n" +
            "{'do':'account','key':'A'}\n{'do':'init'}\n" +
            order("'buy','price':1,'volume':100,'status':50}") + "\n{'do':'dump'}\n" +
            "{'do':'call','op':'getAccountOrders','args':['A','" + day + "']}\n";
        const auto played = folder.play(json(lines));
        EXPECT_EQ(played.fault, "");
        EXPECT_NE(played.output.find("\"orderDetails\":{\"" + day + "\":{\"SH1\""),
                  std::string::npos);
        EXPECT_NE(played.output.find("\"value\":{\"1\":"), std::string::npos) << "found by day";
    }
}

}  // namespace
