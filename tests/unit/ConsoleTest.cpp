#include "platform/Console.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <string>
#include <thread>

#include "tests/unit/TestSupport.h"

namespace {

// Runs aBody, with its EXPECTs, in a child process: key input keeps its state for the life of a process.
void InChild(void (*aBody)()) {
    const auto Run = [aBody] {
        alarm(60);
        aBody();
        _exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(Run(), testing::ExitedWithCode(0), "");
}

// A terminal whose session the calling process leads, as its shell, and one program on it in a group of its own.  Left
// open for the end of the process: a leader that closes it is hung up.
class Terminal {
public:
    Terminal() {
        EXPECT_EQ(0, openpty(&cMaster, &cSlave, nullptr, nullptr, nullptr));
        EXPECT_TRUE(setsid() != -1 && ioctl(cSlave, TIOCSCTTY, 0) == 0);
        signal(SIGTTOU, SIG_IGN);  // as shells do, to hand the terminal over
    }
    pid_t Start(void (*aProgram)()) {
        const pid_t lProgram = fork();
        if (lProgram == 0) {
            alarm(60);
            setpgid(0, 0);
            GiveTo(getpid());
            signal(SIGTTOU, SIG_DFL);
            dup2(cSlave, STDIN_FILENO);
            dup2(cSlave, STDOUT_FILENO);
            aProgram();
            std::exit(0);
        }
        return lProgram;
    }
    void GiveTo(pid_t aGroup) {
        EXPECT_EQ(0, tcflush(cSlave, TCIFLUSH));
        EXPECT_EQ(0, tcsetpgrp(cSlave, aGroup));
    }
    void Type(char aKey) { EXPECT_EQ(1, write(cMaster, &aKey, 1)); }
    // What the terminal shows, up to the next aEnd.
    std::string ShownUntil(char aEnd) {
        std::string lText;
        for (char lByte = 0; lByte != aEnd && read(cMaster, &lByte, 1) == 1;)
            lText += lByte;
        return lText;
    }
    std::string Attributes() const {
        termios lState = {};
        EXPECT_EQ(0, tcgetattr(cSlave, &lState));
        return std::string(reinterpret_cast<const char*>(&lState), sizeof(lState));
    }

private:
    int cMaster = -1, cSlave = -1;
};

// The exit code, or the signal that ended or stopped the process.
int WaitFor(pid_t aProcess) {
    int lStatus = 0;
    EXPECT_EQ(aProcess, waitpid(aProcess, &lStatus, WUNTRACED));
    return WIFSTOPPED(lStatus) ? WSTOPSIG(lStatus) : WIFSIGNALED(lStatus) ? WTERMSIG(lStatus) : WEXITSTATUS(lStatus);
}

TEST(ConsoleTest, PutsTheTerminalBackOnEveryWayOut) {
    InChild([] {
        const rlimit lNoCore = {0, 0};
        setrlimit(RLIMIT_CORE, &lNoCore);
        Terminal lTerminal;
        const std::string lBefore = lTerminal.Attributes();
        for (int lRound = 0; lRound < 50; ++lRound) {
            const pid_t lProgram = lTerminal.Start([] {
                // Signals are handled on this thread while the other one goes on asking.
                std::thread([] {
                    platform::KeyWaiting();
                    platform::Print("ready>");
                    while (!platform::KeyWaiting()) {
                    }
                }).join();
            });
            EXPECT_EQ("ready>", lTerminal.ShownUntil('>'));
            EXPECT_NE(lBefore, lTerminal.Attributes());
            const int SIGNALS[] = {0, SIGINT, SIGQUIT, SIGTERM, SIGHUP};  // 0: ends by itself
            const int lSignal = SIGNALS[lRound % 5];
            if (lSignal == SIGTERM || lSignal == SIGHUP)
                kill(lProgram, lSignal);
            else
                lTerminal.Type(lSignal == SIGINT ? '\x03' : lSignal == SIGQUIT ? '\x1C' : 'k');
            EXPECT_EQ(lSignal, WaitFor(lProgram));
            EXPECT_EQ(lBefore, lTerminal.Attributes()) << "after signal " << lSignal;
        }
    });
}

TEST(ConsoleTest, LeavesTheTerminalAloneWhileInTheBackground) {
    InChild([] {
        Terminal lTerminal;
        const std::string lBefore = lTerminal.Attributes();
        const pid_t lProgram = lTerminal.Start([] {
            signal(SIGHUP, SIG_IGN);
            for (; !platform::KeyWaiting(); usleep(1000))
                platform::Print(".");
            platform::Print("<%c>\n", platform::ReadKey());
        });
        lTerminal.ShownUntil('.');
        const std::string lSwitched = lTerminal.Attributes();
        EXPECT_NE(lBefore, lSwitched);
        kill(lProgram, SIGHUP);  // stays ignored
        lTerminal.Type('\x1A');
        EXPECT_EQ(SIGTSTP, WaitFor(lProgram));
        EXPECT_EQ(lBefore, lTerminal.Attributes());

        lTerminal.GiveTo(getpgrp());
        lTerminal.Type('#');  // for the shell; its echo shows where the output before the stop ends
        lTerminal.ShownUntil('#');
        kill(lProgram, SIGCONT);
        for (int lCount = 0; lCount < 10; ++lCount)
            EXPECT_EQ(".", lTerminal.ShownUntil('.'));
        EXPECT_EQ(lBefore, lTerminal.Attributes());

        lTerminal.GiveTo(lProgram);
        while (lTerminal.Attributes() != lSwitched)
            lTerminal.ShownUntil('.');
        lTerminal.Type('k');
        const std::string lEnd = lTerminal.ShownUntil('>');
        EXPECT_EQ("<k>", lEnd.substr(lEnd.find_first_not_of('.')));  // no echo
        EXPECT_EQ(0, WaitFor(lProgram));
        EXPECT_EQ(lBefore, lTerminal.Attributes());
    });
}

TEST(ConsoleTest, TakesKeysFromAPipeUntilItsEnd) {
    InChild([] {
        int lPipe[2];
        ASSERT_EQ(0, pipe(lPipe));
        dup2(lPipe[0], STDIN_FILENO);
        EXPECT_FALSE(platform::KeyWaiting());
        EXPECT_EQ(3, write(lPipe[1], "a\0\xFF", 3));
        EXPECT_TRUE(platform::KeyWaiting() && platform::KeyWaiting());
        for (const int lKey : {0x61, 0, 0xFF})
            EXPECT_EQ(lKey, platform::ReadKey());
        EXPECT_FALSE(platform::KeyWaiting());
        close(lPipe[1]);
        EXPECT_FALSE(platform::KeyWaiting());
        EXPECT_EQ(-1, platform::ReadKey());
    });
    InChild([] {
        close(STDIN_FILENO);
        EXPECT_EQ(-1, platform::ReadKey());
    });
}

TEST(ConsoleTest, AQuietOneRepeatsNothingAndNeverWaits) {
    enum Kind { PIPE, TERMINAL, SOCKET, KINDS };
    static int sKind;
    for (sKind = PIPE; sKind < KINDS; ++sKind) {
        SCOPED_TRACE(sKind);
        InChild([] {
            int lEnds[2];
            termios lRaw = {};
            ASSERT_EQ(0, sKind == PIPE       ? pipe(lEnds)
                         : sKind == TERMINAL ? openpty(&lEnds[0], &lEnds[1], nullptr, &lRaw, nullptr)
                                             : socketpair(AF_UNIX, SOCK_STREAM, 0, lEnds));
            dup2(lEnds[1], STDOUT_FILENO);
            fcntl(lEnds[0], F_SETFL, O_NONBLOCK);
            std::string lShown;
            const auto lShows = [&lEnds, &lShown](const char* apText) {
                char lText[4096];
                const ssize_t lCount = read(lEnds[0], lText, sizeof lText);
                lShown.append(lText, static_cast<size_t>(std::max<ssize_t>(lCount, 0)));
                return lShown.find(apText) != std::string::npos;
            };
            platform::QuietConsole();
            for (const int lNumber : {1, 1, 2, 2, 1}) {
                platform::PrintProgress("progress");
                platform::Print("a%d ", lNumber);
                platform::Print("b ");
            }
            EXPECT_TRUE(Eventually([&] { return lShows("a1 b a2 a1 "); })) << lShown;
            EXPECT_EQ("a1 b a2 a1 ", lShown);

            for (int lLine = 0; lLine < 100000; ++lLine)
                platform::Print("line %d\n", lLine);  // more than any buffer holds
            EXPECT_TRUE(Eventually([&] {
                platform::Print("line %d\n", -1);  // is dropped as long as there is no room
                return lShows("line -1\n");
            }));
        });
    }
}

TEST(ConsoleTest, PrintsEveryTextWhole) {
    constexpr int THREADS = 4, LINES = 50;
    // From one character to more than a pipe takes at once.
    const auto Line = [](int aThread, int aLine) {
        return std::string(static_cast<size_t>(1 + aLine * aLine * 40), static_cast<char>('a' + aThread));
    };
    int lPipe[2];
    ASSERT_TRUE(pipe2(lPipe, O_NONBLOCK) == 0 && fcntl(lPipe[0], F_SETFL, 0) == 0);
    std::fflush(stdout);
    const int lOutput = dup(STDOUT_FILENO), lError = dup(STDERR_FILENO);
    dup2(lPipe[1], STDOUT_FILENO);
    dup2(lPipe[1], STDERR_FILENO);
    close(lPipe[1]);
    std::string lText;
    InThreads(1 + THREADS, [&](int aThread) {
        for (int lLine = 0; aThread < THREADS && lLine < LINES; ++lLine)
            (aThread % 2 == 0 ? platform::Print : platform::PrintError)("%s\n", Line(aThread, lLine).c_str());
        char lPart[5000];
        for (std::ptrdiff_t lEnds = 0; aThread == THREADS && lEnds < THREADS * LINES;) {  // the last one reads
            const ssize_t lCount = read(lPipe[0], lPart, sizeof(lPart));
            ASSERT_GT(lCount, 0);
            lText.append(lPart, lPart + lCount);
            lEnds += std::count(lPart, lPart + lCount, '\n');
        }
    });
    close(lPipe[0]);
    platform::Print("to a reader that went away");
    dup2(lOutput, STDOUT_FILENO);
    dup2(lError, STDERR_FILENO);
    close(lOutput);
    close(lError);

    std::istringstream lLines(lText);
    int lNext[THREADS] = {};
    for (std::string lLine; std::getline(lLines, lLine);) {
        const int lThread = lLine[0] - 'a';
        ASSERT_TRUE(lThread >= 0 && lThread < THREADS);
        ASSERT_EQ(Line(lThread, lNext[lThread]++), lLine);
    }
    for (const int lCount : lNext)
        EXPECT_EQ(LINES, lCount);
}

}  // namespace
