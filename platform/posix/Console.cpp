#include "platform/Console.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>

#include "platform/Interrupt.h"
#include "platform/Lock.h"
#include "platform/RepeatedTexts.h"
#include "platform/posix/QuietOutput.h"
#include "platform/posix/StoppableWait.h"

namespace platform {

namespace {

std::mutex& OutputMutex() {
    const StopGuard lGuard;  // a thread that is stopped while it makes the mutex would stop all others that print
    static std::mutex* const slpMutex = new std::mutex;  // never destroyed: tasks print while the process exits
    return *slpMutex;
}

// Without this a reader that went away would end the process; now it is an error of write.
void IgnoreBrokenPipe() {
    [[maybe_unused]] static const auto sFormerAction = signal(SIGPIPE, SIG_IGN);
}

void WriteOut(int aHandle, const char* aText, size_t aSize) {
    const Lock lLock(OutputMutex());
    IgnoreBrokenPipe();
    while (aSize > 0) {
        const ssize_t lCount = write(aHandle, aText, aSize);
        if (lCount >= 0) {
            aText += lCount;
            aSize -= static_cast<size_t>(lCount);
        } else if (errno == EAGAIN) {
            pollfd lOutput = {aHandle, POLLOUT, 0};
            poll(&lOutput, 1, -1);
        } else if (errno != EINTR) {
            return;
        }
    }
}

// The two streams of a quiet console and what was printed there.  Never destroyed.
struct Quiet {
    posix::QuietOutput mOutput{STDOUT_FILENO};
    posix::QuietOutput mError{STDERR_FILENO};
    RepeatedTexts mTexts;  // under the output's mutex
};

std::atomic<bool> sSilenced = false;
std::atomic<Quiet*> sQuiet = nullptr;  // null: the console is not quiet

void WriteQuietly(Quiet& aQuiet, int aHandle, const char* aFormat, const std::string& aText) {
    const Lock lLock(OutputMutex());
    IgnoreBrokenPipe();
    posix::QuietOutput& lOutput = aHandle == STDOUT_FILENO ? aQuiet.mOutput : aQuiet.mError;
    aQuiet.mTexts.WriteOnce(aFormat, aText, [&lOutput](const std::string& aNew) { return lOutput.Write(aNew); });
}

void WriteFormatted(int aHandle, const char* aFormat, va_list aArguments) {
    if (sSilenced)
        return;
    // The wait comes before the lock, so that a reader that stalls does not make a task unstoppable, and before the
    // text is made, since a thread that is ended while it waits gives no memory back.
    Quiet* const lpQuiet = sQuiet;
    if (lpQuiet == nullptr)
        posix::WaitWritable(aHandle, posix::NO_WAIT_LIMIT);
    char lBuffer[512];
    va_list lAgain;
    va_copy(lAgain, aArguments);
    const int lResult = std::vsnprintf(lBuffer, sizeof(lBuffer), aFormat, aArguments);
    const size_t lSize = lResult < 0 ? 0 : static_cast<size_t>(lResult);
    std::string lLong;
    if (lSize >= sizeof(lBuffer)) {
        lLong.resize(lSize);
        std::vsnprintf(lLong.data(), lSize + 1, aFormat, lAgain);
    }
    va_end(lAgain);
    const char* const lpText = lLong.empty() ? lBuffer : lLong.data();
    if (lpQuiet != nullptr)
        WriteQuietly(*lpQuiet, aHandle, aFormat, std::string(lpText, lSize));
    else
        WriteOut(aHandle, lpText, lSize);
}

// The thread that asks for keys and signal handlers on any thread share the terminal's state.  Whoever holds this lock
// has all signals blocked: otherwise a handler could wait for the very thread that it interrupted.
class TerminalLock {
public:
    TerminalLock() {
        sigset_t lAll;
        sigfillset(&lAll);
        pthread_sigmask(SIG_SETMASK, &lAll, &cFormerMask);
        while (sHeld.test_and_set(std::memory_order_acquire))
            poll(nullptr, 0, 1);
    }
    ~TerminalLock() {
        sHeld.clear(std::memory_order_release);
        pthread_sigmask(SIG_SETMASK, &cFormerMask, nullptr);
    }
    TerminalLock(const TerminalLock&) = delete;
    TerminalLock& operator=(const TerminalLock&) = delete;

private:
    static std::atomic_flag sHeld;
    sigset_t cFormerMask;
};
std::atomic_flag TerminalLock::sHeld;

// These four are used under TerminalLock only.
termios sOriginal;       // the terminal's state before we switched it; meaningful while sSwitched
bool sSwitched = false;  // the terminal is in the state that we gave it
bool sGuarded = false;   // GuardWaysOut was called
bool sLeaving = false;   // the process exits, so the terminal must not be switched again

// Job control concerns only a process's controlling terminal; any other terminal may be used at any time.
bool InForeground() {
    const pid_t lGroup = tcgetpgrp(STDIN_FILENO);
    return lGroup == getpgrp() || (lGroup == -1 && errno == ENOTTY);
}

// Under TerminalLock; async-signal-safe.
void PutBack() {
    if (sSwitched && InForeground())
        tcsetattr(STDIN_FILENO, TCSANOW, &sOriginal);
    sSwitched = false;
}

void PutBackAtExit() {
    const TerminalLock lLock;
    PutBack();
    sLeaving = true;
}

// Signal handler: puts the terminal back and lets the signal do what it does by default.  It keeps the lock until then,
// so that nobody switches the terminal again meanwhile.  Only after a stop from the keyboard does it return.
void PutBackAndObey(int aSignal) {
    const int lError = errno;
    {
        const TerminalLock lLock;
        PutBack();
        struct sigaction lDefault = {};
        struct sigaction lOurs;
        lDefault.sa_handler = SIG_DFL;
        sigaction(aSignal, &lDefault, &lOurs);
        raise(aSignal);
        sigset_t lSignal;
        sigemptyset(&lSignal);
        sigaddset(&lSignal, aSignal);
        pthread_sigmask(SIG_UNBLOCK, &lSignal, nullptr);  // here the raised signal ends or stops the process
        sigaction(aSignal, &lOurs, nullptr);
    }
    errno = lError;
}

void GuardWaysOut() {
    std::atexit(PutBackAtExit);
    struct sigaction lAction = {};
    lAction.sa_handler = PutBackAndObey;
    lAction.sa_flags = SA_RESTART;
    sigfillset(&lAction.sa_mask);
    for (const int lSignal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP}) {
        struct sigaction lFormer;
        if (sigaction(lSignal, nullptr, &lFormer) == 0 && lFormer.sa_handler == SIG_DFL)
            sigaction(lSignal, &lAction, nullptr);
    }
}

// Whether standard input may be read.  It may not when it is a terminal in whose background the process runs.  Any
// other terminal is switched to single keys, if need be again: the shell may have changed it while the process was
// stopped.
bool PrepareInput() {
    static const bool sIsTerminal = isatty(STDIN_FILENO) != 0;
    if (!sIsTerminal)
        return true;
    const TerminalLock lLock;
    termios lState;
    if (tcgetattr(STDIN_FILENO, &lState) != 0)
        return true;  // the terminal hung up, which the read will report
    if (sLeaving || !InForeground())
        return false;
    if ((lState.c_lflag & (ICANON | ECHO)) == 0)
        return true;
    if (!std::exchange(sGuarded, true))
        GuardWaysOut();
    sOriginal = lState;
    sSwitched = true;
    lState.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    lState.c_cc[VMIN] = 1;
    lState.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &lState);
    return true;
}

constexpr int NO_KEY = -1;

// Both belong to the one thread that asks for keys.
int sKey = NO_KEY;  // the key that was read ahead
bool sInputEnded = false;

// Reads the next key ahead, waiting at most aMilliseconds for it.  Only such a read shows that a pipe has ended.
void LookAhead(int aMilliseconds) {
    if (sKey != NO_KEY || sInputEnded)
        return;
    if (!PrepareInput()) {
        poll(nullptr, 0, aMilliseconds);
        return;
    }
    pollfd lInput = {STDIN_FILENO, POLLIN, 0};
    if (poll(&lInput, 1, aMilliseconds) <= 0 || !PrepareInput())
        return;
    unsigned char lByte = 0;
    const ssize_t lCount = read(STDIN_FILENO, &lByte, 1);
    if (lCount == 1)
        sKey = lByte;
    else
        sInputEnded = lCount == 0 || (errno != EINTR && errno != EAGAIN);
}

}  // namespace

void SecureStandardHandles() {
    int lHandle = 0;
    while (lHandle >= 0 && lHandle <= STDERR_FILENO)
        lHandle = open("/dev/null", O_RDWR);
    if (lHandle > STDERR_FILENO)
        close(lHandle);
}

void Print(const char* aFormat, ...) {
    va_list lArguments;
    va_start(lArguments, aFormat);
    WriteFormatted(STDOUT_FILENO, aFormat, lArguments);
    va_end(lArguments);
}

void PrintError(const char* aFormat, ...) {
    va_list lArguments;
    va_start(lArguments, aFormat);
    WriteFormatted(STDERR_FILENO, aFormat, lArguments);
    va_end(lArguments);
}

void PrintProgress(const char* aFormat, ...) {
    if (sQuiet != nullptr)
        return;
    va_list lArguments;
    va_start(lArguments, aFormat);
    WriteFormatted(STDOUT_FILENO, aFormat, lArguments);
    va_end(lArguments);
}

void QuietConsole() {
    if (sQuiet == nullptr)
        sQuiet = new Quiet;
}

void SilencePrint() {
    sSilenced = true;
}

bool IsTerminal(std::FILE* aStream) {
    return isatty(fileno(aStream)) != 0;
}

bool KeyWaiting() {
    LookAhead(0);
    return sKey != NO_KEY;
}

int ReadKey() {
    // Waits in slices, so that a process that is moved to the background stops reading the terminal.
    while (sKey == NO_KEY && !sInputEnded && !Interrupted())
        LookAhead(100);
    return std::exchange(sKey, NO_KEY);
}

}  // namespace platform
