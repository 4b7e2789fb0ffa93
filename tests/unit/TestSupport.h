#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "platform/Clock.h"

// Returns whether the condition comes true.  It is asked every millisecond for ten seconds, longer than anything takes
// that works.
template <typename Condition>
bool Eventually(Condition aCondition) {
    for (int lWaited = 0; lWaited < 10000; ++lWaited) {
        if (aCondition())
            return true;
        platform::Sleep(1);
    }
    return false;
}

// Runs aBody(0), aBody(1) and so on, each on a thread of its own, and waits for all.
template <typename Body>
void InThreads(int aCount, Body aBody) {
    std::vector<std::thread> lThreads;
    for (int lThread = 0; lThread < aCount; ++lThread)
        lThreads.emplace_back(aBody, lThread);
    for (std::thread& lThread : lThreads)
        lThread.join();
}

// Returns what aBody prints.
template <typename Body>
std::string Printed(Body aBody) {
    testing::internal::CaptureStdout();
    aBody();
    return testing::internal::GetCapturedStdout();
}

// Returns a UDP port that belongs to this process, as the next one does, so that tests may run side by side.  Both are
// below the ports that the system gives out.
inline uint32_t TestPort() {
    return 10000 + static_cast<uint32_t>(getpid()) % 10000 * 2;
}

// A new empty directory, which is the current directory while the object lives.
class TestDirectory {
public:
    TestDirectory() : cBefore(std::filesystem::current_path()) {
        std::string lName = (std::filesystem::temp_directory_path() / "tessavox-XXXXXX").string();
        cPath = mkdtemp(lName.data());
        std::filesystem::current_path(cPath);
    }
    ~TestDirectory() {
        std::filesystem::current_path(cBefore);
        std::filesystem::remove_all(cPath);
    }
    TestDirectory(const TestDirectory&) = delete;
    TestDirectory& operator=(const TestDirectory&) = delete;

    const std::filesystem::path& GetPath() const { return cPath; }

private:
    std::filesystem::path cBefore;
    std::filesystem::path cPath;
};

inline const unsigned char* Octets(const std::string& aText) {
    return reinterpret_cast<const unsigned char*>(aText.data());
}

inline std::string ReadFile(const std::string& aPath) {
    std::ifstream lFile(aPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(lFile), {}};
}

// Splits a recording into its records.  The packets must not contain the name with which a record begins.
inline std::vector<std::string> Records(const std::string& aRecording) {
    std::vector<std::string> lRecords;
    for (size_t lStart = 0; lStart < aRecording.size(); lStart += lRecords.back().size())
        lRecords.push_back(aRecording.substr(lStart, aRecording.find("fio_", lStart + 4) - lStart));
    return lRecords;
}

// Returns the lines of the trace file in the current directory.
inline std::vector<std::string> TraceLines() {
    std::ifstream lFile("ERR_SYS.tra");
    std::vector<std::string> lLines;
    for (std::string lLine; std::getline(lFile, lLine);)
        lLines.push_back(lLine);
    return lLines;
}
