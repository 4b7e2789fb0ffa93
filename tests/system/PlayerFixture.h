#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "Networking/ByteOrder.h"
#include "platform/Clock.h"
#include "platform/Socket.h"
#include "tests/unit/TestSupport.h"

inline std::string ReadFile(const std::string& aPath) {
    std::ifstream lFile(aPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(lFile), {}};
}

// A player in the current directory; keys through a pipe, console into a file.
class Player {
public:
    explicit Player(const std::function<void()>& aBefore = [] {}) {
        int lKeys[2];
        EXPECT_EQ(0, pipe2(lKeys, O_CLOEXEC));
        cKeys = lKeys[1];
        cProcess = fork();
        if (cProcess == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(lKeys[0], 0);
            dup2(open("console", O_CREAT | O_TRUNC | O_WRONLY, 0600), 1);
            aBefore();
            execl(TESSAVOX, "tessavox", nullptr);
            _exit(99);
        }
        close(lKeys[0]);
    }
    ~Player() {
        if (cProcess > 0)
            kill(cProcess, SIGKILL);
        Ended();
        close(cKeys);
    }

    void Press(const char* aKeys) { EXPECT_EQ(1, write(cKeys, aKeys, 1)); }

    // Waits for its end: the exit code, or -1 after ten seconds or another end.
    int ExitCode() {
        return Eventually([this] { return Ended(); }) && WIFEXITED(cStatus) ? WEXITSTATUS(cStatus) : -1;
    }
    bool StillRuns() {
        platform::Sleep(150);
        return !Ended();
    }
    double ProcessorSeconds() {
        kill(cProcess, SIGKILL);
        EXPECT_TRUE(Eventually([this] { return Ended(); }));
        return static_cast<double>(cUsage.ru_utime.tv_sec + cUsage.ru_stime.tv_sec) +
               static_cast<double>(cUsage.ru_utime.tv_usec + cUsage.ru_stime.tv_usec) / 1e6;
    }

private:
    bool Ended() {
        if (cProcess > 0 && wait4(cProcess, &cStatus, WNOHANG, &cUsage) == cProcess)
            cProcess = 0;
        return cProcess == 0;
    }

    int cKeys = -1;
    pid_t cProcess = 0;
    int cStatus = 0;
    rusage cUsage{};
};

// A test in a directory of its own, with what a player there needs, and a listener for what it sends.
class PlayerFixture : public testing::Test {
protected:
    static void Configure(const std::string& aSettings) {
        std::ofstream("VESTRAL Tessavox.ini") << "[Settings]\n" << aSettings;
    }
    void ConfigureToPlay(const std::string& aFile, const std::string& aAddress = "127.0.0.1") {
        Configure("InputFileName=" + aFile + "\nDrmOutputAddress=" + aAddress +
                  "\nDrmOutputPort=" + std::to_string(cPort));
    }
    static void MakeRecording(const std::string& aOptions) {
        ASSERT_EQ(0, std::system((std::string(MDI_MAKE) + " " + aOptions + " rec.mdi >/dev/null").c_str()));
    }
    // The "dlfc" of the next unit that arrives in one fragment; -1 when none does.
    int64_t NextCounter() {
        unsigned char lBytes[1472];
        size_t lSize = 0;
        if (cListener.Receive(lBytes, sizeof lBytes, &lSize) != platform::UdpSocket::ReceiveResult::DATAGRAM)
            return -1;
        const std::string lDatagram(reinterpret_cast<char*>(lBytes), lSize);
        const size_t lItem = lDatagram.find(std::string("dlfc\0\0\0\x20", 8));
        EXPECT_EQ("PF", lDatagram.substr(0, 2));
        EXPECT_EQ("AF", lDatagram.substr(14, 2));
        return lItem == std::string::npos ? -1 : ReadU32(lBytes + lItem + 8);
    }
    void Listen(uint32_t aAddress = 0x7F000001) {
        ASSERT_TRUE(cListener.Create() && cListener.Bind(aAddress, static_cast<uint16_t>(cPort)) &&
                    cListener.SetReceiveTimeout(8000));
    }

    const TestDirectory cDirectory;
    const uint32_t cPort = TestPort();
    platform::UdpSocket cListener;
};
