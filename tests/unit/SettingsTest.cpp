#include "platform/Settings.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <fstream>

#include "tests/unit/TestSupport.h"

namespace {

using namespace std::string_literals;
using platform::IniSection;

class SettingsTest : public testing::Test {
protected:
    static const char* Write(const std::string& aText) {
        std::ofstream("file", std::ios::binary) << aText;
        return "file";
    }

    const TestDirectory cDirectory;
};

TEST_F(SettingsTest, ReadsIniText) {
    const std::string lLong(1 << 20, 'x');
    const std::pair<std::string, std::string> CASES[] = {
        // a file, and what the key is then; "-" when absent
        {"[Settings]\r\nKey=value\r\n", "value"},
        {"\xEF\xBB\xBF[Settings]\nKey=no line end", "no line end"},
        {"  [ sETTINGS\t]\n\t kEY \t=  a b \t\n", "a b"},
        {"[Settings]\nKey=\" a b \"\n", " a b "},
        {"[Settings]\nKey='\"x\"'\n", "\"x\""},
        {"[Settings]\nKey=\"x'\n", "\"x'"},
        {"[Settings]\nKey=\"\n", "\""},
        {"[Settings]\nKey=a=b;c\n", "a=b;c"},
        {"[Settings]\nKey=\n", ""},
        {"[Settings]\nKey\n;Key=x\nKey=first\nKey=second\n", "first"},
        {"Key=x\n[Other]\nKey=x\n[Settings]\n[Other]\nKey=x\n[Settings]\nKey=too late\n", "-"},
        {"[Settings\nKey=x\n", "-"},
        {"[Settings]\n" + lLong + "\n" + lLong + "=x\nKey=after\n", "after"},
        {"\0\0\n[Settings]\n\0=\0\nKey=after\n"s, "after"},
    };
    for (const auto& [lFile, lExpected] : CASES)
        EXPECT_EQ(lExpected, IniSection(Write(lFile), "Settings").GetText("key", "-")) << lFile.substr(0, 100);
    for (const char* const lUnreadable : {".", "none"})
        EXPECT_EQ("-", IniSection(lUnreadable, "Settings").GetText("key", "-"));
}

TEST_F(SettingsTest, ReadsIniNumbers) {
    const IniSection lSection(Write("[S]\nA=5000abc\nB=+7\nC=-1\nD=abc\nE=- 5\nF=0x10\nG=010\nH=\"12\"\nI=\nJ=\"\"\n"
                                    "K=2147483648\nL=-2147483649\nM=99999999999999999999999\n"),
                              "S");
    const int EXPECTED[] = {5000, 7, -1, 0, 0, 0, 10, 12, 42, 42, INT_MAX, INT_MIN, INT_MAX, 42};
    for (char lKey[] = "A"; lKey[0] <= 'N'; ++lKey[0])
        EXPECT_EQ(EXPECTED[lKey[0] - 'A'], lSection.GetNumber(lKey, 42)) << lKey;
}

TEST_F(SettingsTest, ReadsRegistryNumbers) {
    const std::string lKey = "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Maker\\Settings]\r\n";
    const std::pair<std::string, int64_t> CASES[] = {
        // a file, and the number; -1 when it cannot be read
        {"\xEF\xBB\xBFWindows Registry Editor Version 5.00\r\n\r\n" + lKey + "\"Count\"=dword:0000000a\r\n", 10},
        {"[hkey_local_machine\\software\\maker\\SETTINGS]\n;\"Count\"=dword:1\n\"cOUNT\" = DWORD:FfFfFfFf", 0xFFFFFFFF},
        {lKey + "\"Count\"=dword:1\n[Other]\n\"Count\"=dword:2\n" + lKey + "\"Count\"=dword:3 ; last\n", 3},
        {lKey + "\"Count\"=dword:\n", -1},
        {lKey + "\"Count\"=dword:000000001\n", -1},
        {lKey + "\"Count\"=dword:0x1\n", -1},
        {lKey + "\"Count\"=\"1\"\n", -1},
        {lKey + "Count=dword:1\n\"Counter\"=dword:1\n", -1},
        {"[HKEY_LOCAL_MACHINE\\SOFTWARE\\Maker\\Settings\\Sub]\n\"Count\"=dword:1\n", -1},
    };
    setenv("VESTRAL_REGISTRY", "file", 1);
    const auto Read = [] { return platform::ReadRegistryNumber("SOFTWARE\\Maker\\Settings", "Count"); };
    EXPECT_FALSE(Read().has_value());  // no file
    for (const auto& [lFile, lExpected] : CASES) {
        Write(lFile);
        EXPECT_EQ(lExpected, Read().has_value() ? int64_t{*Read()} : -1) << lFile;
    }
    unsetenv("VESTRAL_REGISTRY");
}

}  // namespace
