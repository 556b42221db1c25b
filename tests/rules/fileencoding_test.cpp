#include "linkage/store/fileencoding.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

using namespace TC;

TEST(FileEncoding, NamesOfTheConfiguration) {
    for (const char* name : {"GBK", "gbk", " GB18030", "gb2312", "cp936"}) {
        EXPECT_EQ(fileEncodingFrom(name), EFileEncoding::Gbk) << name;
    }
    for (const char* name : {"UTF-8", "", "utf8", "latin1"}) {
        EXPECT_EQ(fileEncodingFrom(name), EFileEncoding::Utf8) << name;
    }
}

TEST(FileEncoding, WritesThePageAndLosesNothing) {
    EXPECT_EQ(encodeText("a配平\n", EFileEncoding::Utf8), "a配平\n");
    EXPECT_EQ(encodeText("a配平\n", EFileEncoding::Gbk), "a\xC5\xE4\xC6\xBD\n");
    for (const char* text :
         {"", "plain\n", "资金账号ID,买额\n", "euro € and 😀 and ä and \xEF\xBB\xBF"}) {
        for (const EFileEncoding encoding : {EFileEncoding::Utf8, EFileEncoding::Gbk}) {
            EXPECT_EQ(decodeText(encodeText(text, encoding)), std::string(text));
        }
    }
    // Broken text of the platform must not make a file that cannot be read again.
    EXPECT_EQ(decodeText(encodeText("x\xC5\xE4y", EFileEncoding::Utf8)).has_value(), true);
}

TEST(FileEncoding, ReadsEitherPageAndNothingElse) {
    const std::tuple<const char*, std::string, std::optional<std::string>> cases[] = {
        {"UTF-8", "资金", "资金"},
        {"UTF-8 with a mark", "\xEF\xBB\xBF资金", "资金"},
        {"GBK", "\xD7\xCA\xBD\xF0", "资金"},
        {"GB18030, four bytes", "\xD7\xCA\x94\x39\xFC\x36", "资😀"},
        {"the system page's euro sign", "\xD7\xCA\x80", "资€"},
        {"zero bytes", std::string("a\0b", 3), std::string("a\0b", 3)},
        {"GBK of even length that is UTF-8 of some sort", "key\n\xE8\xB5", "key\n璧"},
        {"UTF-8, cut within a character", "买额\nab\xE8\xB5", std::nullopt},
        {"UTF-8 with a damaged row", "买额\n资\xE9\x87\x28\n", std::nullopt},
        {"cut within a character of GBK", "\xD7\xCA\xBD", std::nullopt},
        {"UTF-16", std::string("\xFF\xFE\x61\0", 4), std::nullopt},
        {"a trail byte that GBK has not", "\xD7\xCA\xD7 x", std::nullopt},
        {"neither throughout", "资金\xD7\xCA\xFF", std::nullopt},
    };
    for (const auto& [name, bytes, text] : cases) EXPECT_EQ(decodeText(bytes), text) << name;
}
