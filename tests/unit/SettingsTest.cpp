#include "platform/Settings.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using namespace std::string_literals;
using platform::IniSection;

// A directory for one file, removed at the end.
class SettingsTest : public testing::Test {
protected:
    SettingsTest() { std::filesystem::create_directory(cDirectory); }
    ~SettingsTest() override { std::filesystem::remove_all(cDirectory); }

    std::string Write(const std::string& aText) {
        std::ofstream(cDirectory + "/file", std::ios::binary) << aText;
        return cDirectory + "/file";
    }

    const std::string cDirectory = std::filesystem::temp_directory_path() / ("settings" + std::to_string(getpid()));
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
    for (const std::string& lUnreadable : {cDirectory, cDirectory + "/none"})
        EXPECT_EQ("-", IniSection(lUnreadable, "Settings").GetText("key", "-"));
}

TEST_F(SettingsTest, ReadsIniNumbers) {
    const char* const VALUES[] = {"5000abc", "+7", "-1", "abc", "- 5", "0x10", "010", "\"12\"", "", "\"\""};
    const int EXPECTED[] = {5000, 7, -1, 0, 0, 0, 10, 12, 42, 42};
    for (size_t lCase = 0; lCase < std::size(VALUES); ++lCase)
        EXPECT_EQ(EXPECTED[lCase], IniSection(Write("[S]\nN="s + VALUES[lCase]), "S").GetNumber("N", 42)) << lCase;
    const IniSection lLimits(Write("[S]\nA=2147483648\nB=-2147483649\nC=99999999999999999999999\n"), "S");
    EXPECT_EQ(INT_MAX, lLimits.GetNumber("A", 0));
    EXPECT_EQ(INT_MIN, lLimits.GetNumber("B", 0));
    EXPECT_EQ(INT_MAX, lLimits.GetNumber("C", 0));
    EXPECT_EQ(42, lLimits.GetNumber("D", 42));
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
    setenv("VESTRAL_REGISTRY", (cDirectory + "/file").c_str(), 1);
    const auto Read = [] { return platform::ReadRegistryNumber("SOFTWARE\\Maker\\Settings", "Count"); };
    EXPECT_FALSE(Read().has_value());  // no file
    for (const auto& [lFile, lExpected] : CASES) {
        Write(lFile);
        EXPECT_EQ(lExpected, Read().has_value() ? int64_t{*Read()} : -1) << lFile;
    }
    unsetenv("VESTRAL_REGISTRY");
}

}  // namespace
