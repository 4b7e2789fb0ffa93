#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "Networking/AFPacket.h"
#include "Networking/ByteOrder.h"
#include "Networking/RecordFormat.h"
#include "Networking/TAGPacket.h"
#include "tests/system/Process.h"
#include "tests/unit/TestSupport.h"
#include "tools/MakeRecording.h"

using namespace std::string_literals;
using Units = std::vector<std::string>;

inline bool Contains(const std::string& aText, const std::string& aPart) {
    return aText.find(aPart) != std::string::npos;
}

// The exit code of a tool that ends by itself; its output is in "console" and "errors".
inline int RunTool(const std::string& aCommand) {
    std::istringstream lStream(aCommand);
    return Process(std::vector<std::string>(std::istream_iterator<std::string>(lStream), {})).ExitCode();
}

inline int Dump(const std::string& aArguments) {
    return RunTool(MDI_DUMP " " + aArguments);
}

inline int Relay(const std::string& aArguments) {
    return RunTool(DCP_RELAY " " + aArguments);
}

inline void WriteFile(const std::string& aPath, const std::string& aBytes) {
    std::ofstream(aPath, std::ios::binary) << aBytes;
}

// The units of a recording with an AF packet in each record.
inline Units UnitsOf(const std::string& aRecording) {
    Units lUnits;
    for (const std::string& lRecord : Records(aRecording))
        lUnits.push_back(
            lRecord.substr(RECORD_HEADER_SIZE + AF_HEADER_SIZE, lRecord.size() - RECORD_HEADER_SIZE - AF_OVERHEAD));
    return lUnits;
}

inline Units MakeUnits(uint32_t aFrames, const std::vector<uint32_t>& aStreams = {}) {
    MdiMakeOptions lOptions;
    lOptions.mFrames = aFrames;
    lOptions.mStreams = aStreams;
    std::string lBytes;
    std::string lError;
    const auto lAppend = [&lBytes](const std::vector<unsigned char>& aFrame) {
        lBytes.append(aFrame.begin(), aFrame.end());
        return true;
    };
    EXPECT_TRUE(MakeRecording(lOptions, lAppend, &lError)) << lError;
    return UnitsOf(lBytes);
}

inline std::string RecordingOf(const Units& aUnits, bool aPft) {
    RecordingWriter::Format lFormat;
    lFormat.mPft = aPft;
    lFormat.mFragmentSize = 300;
    RecordingWriter lWriter(lFormat);
    std::string lBytes;
    std::string lError;
    for (const std::string& lUnit : aUnits) {
        TAGPacket lPacket(static_cast<uint32_t>(lUnit.size()));
        lPacket.Write(lPacket.cCapacity, reinterpret_cast<const unsigned char*>(lUnit.data()));
        EXPECT_TRUE(lWriter.AddFrame(lPacket, &lError)) << lError;
        lBytes.append(lWriter.GetBytes().begin(), lWriter.GetBytes().end());
    }
    return lBytes;
}

// The place of an item's value in a unit.
inline size_t ValueOf(const std::string& aUnit, const std::string& aItem) {
    return aUnit.find(aItem) + TAG_ITEM_HEADER_SIZE;
}

inline std::string WithDlfc(std::string aUnit, uint32_t aDlfc) {
    WriteU32(reinterpret_cast<unsigned char*>(aUnit.data()) + ValueOf(aUnit, "dlfc"), aDlfc);
    return aUnit;
}

// There is nothing but objects, one a line: the layers' own texts are not data.
inline void ExpectObjects(const std::string& aPath) {
    std::ifstream lFile(aPath);
    for (std::string lLine; std::getline(lFile, lLine);)
        EXPECT_TRUE(lLine.starts_with("{\"type\":") && lLine.ends_with('}')) << lLine;
}

// Whether some program has bound this UDP port.
inline bool PortIsBound(uint32_t aPort) {
    char lText[8];
    std::snprintf(lText, sizeof lText, ":%04X ", aPort);
    return Contains(ReadFile("/proc/net/udp"), lText);
}

// A test of the built tools in a directory of its own.
class ToolsFixture : public testing::Test {
protected:
    const TestDirectory cDirectory;
    const std::string cPort = std::to_string(TestPort());
};
