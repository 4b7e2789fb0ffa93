#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "platform/Clock.h"
#include "tests/unit/TestSupport.h"

// A program that runs in the current directory.  It gets keys through a pipe and writes its standard output and errors
// to the files "console" and "errors", both with aName appended.  It is killed at the end of the object or of the test
// when it still runs.
class Process {
public:
    explicit Process(
        std::vector<std::string> aWords, const std::string& aName = "", const std::function<void()>& aBefore = [] {}) {
        int lKeys[2];
        EXPECT_EQ(0, pipe2(lKeys, O_CLOEXEC));
        cKeys = lKeys[1];
        cProcess = fork();
        if (cProcess == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(lKeys[0], 0);
            dup2(open(("console" + aName).c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), 1);
            dup2(open(("errors" + aName).c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), 2);
            aBefore();
            std::vector<char*> lArguments;
            for (std::string& lWord : aWords)
                lArguments.push_back(lWord.data());
            lArguments.push_back(nullptr);
            execv(lArguments[0], lArguments.data());
            _exit(99);
        }
        close(lKeys[0]);
    }
    ~Process() {
        if (cProcess > 0)
            kill(cProcess, SIGKILL);
        Ended();
        close(cKeys);
    }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    void Press(const char* aKeys) { EXPECT_EQ(1, write(cKeys, aKeys, 1)); }
    void Signal(int aSignal) { EXPECT_EQ(0, kill(cProcess, aSignal)); }

    // Waits for the program's end.  Returns its exit code, or -1 after ten seconds or when a signal ended it.
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
