#include "platform/Thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>

#include "platform/Clock.h"
#include "platform/Lock.h"
#include "platform/Semaphore.h"
#include "platform/Socket.h"
#include "tests/unit/TestSupport.h"

namespace platform {
namespace {

// Work on a thread of its own, and what became of the thread's stack and of the code behind the work.
struct Worker {
    explicit Worker(std::function<void(Worker&)> aWork) : cWork(std::move(aWork)) {
        cSocket.Create();
        cThread.Start([](void* aWorker) { static_cast<Worker*>(aWorker)->Run(); }, this);
    }
    ~Worker() { cThread.End(); }

    void Run() {
        struct OnStack {
            std::atomic<bool>& cFlag;
            ~OnStack() { cFlag = true; }
        } lOnStack{cUnwound};
        cWork(*this);
        cReturned = true;
    }
    void Receive(uint32_t aTimeOut) {
        unsigned char lBuffer[10];
        size_t lSize = 0;
        cSocket.SetReceiveTimeout(aTimeOut);
        cSocket.Receive(lBuffer, sizeof lBuffer, &lSize);
    }

    // The suspensions before, or -1 when the thread refuses.
    int Suspend() { return Change(&Thread::Suspend); }
    int Resume() { return Change(&Thread::Resume); }
    int Change(bool (Thread::*aChange)(uint32_t*)) {
        uint32_t lOldCount = 99;
        return (cThread.*aChange)(&lOldCount) ? static_cast<int>(lOldCount) : -1;
    }

    bool IsStill() {
        const int lRounds = cRounds;
        Sleep(30);
        return cRounds == lRounds;
    }
    bool Moves() {
        return Eventually([this, lRounds = cRounds.load()] { return cRounds != lRounds; });
    }

    std::function<void(Worker&)> cWork;
    std::atomic<int> cRounds = 0;
    std::atomic<bool> cUnwound = false;
    std::atomic<bool> cReturned = false;
    std::mutex cMutex;
    std::unique_ptr<int> cNumber;
    Semaphore cFull{1, 1};
    Semaphore cEmpty{0, 1000};
    UdpSocket cSocket;
    Thread cThread;
};

struct Kind {
    const char* mName;
    std::function<void(Worker&)> mRound;

    // Rounds without end, counted.
    std::function<void(Worker&)> Work() const {
        return [lRound = mRound](Worker& aWorker) {
            for (;; ++aWorker.cRounds)
                lRound(aWorker);
        };
    }
};

const Kind KINDS[] = {{"computes", [](Worker&) {}},
                      {"allocates under a lock",
                       [](Worker& aWorker) {
                           const Lock lLock(aWorker.cMutex);
                           aWorker.cNumber = std::make_unique<int>(1);
                       }},
                      {"works under a guard most of the time",
                       [](Worker&) {
                           const StopGuard lGuard;  // long enough that hardly a signal comes between two of them
                           for (volatile int lSpin = 0; lSpin < 1000000;)
                               lSpin = lSpin + 1;
                       }},
                      {"sleeps in a destructor and catches everything",
                       [](Worker&) {
                           struct Late {
                               ~Late() { Sleep(1); }
                           };
                           try {
                               const Late lLate;
                           } catch (...) {
                           }
                       }},
                      {"sleeps", [](Worker&) { Sleep(1); }},
                      {"yields", [](Worker&) { Sleep(0); }},
                      {"passes a semaphore",
                       [](Worker& aWorker) {
                           aWorker.cFull.Wait(Semaphore::NO_TIME_LIMIT);
                           aWorker.cFull.Release();
                       }},
                      {"waits for a semaphore again and again", [](Worker& aWorker) { aWorker.cEmpty.Wait(2); }},
                      {"receives with a time-out", [](Worker& aWorker) { aWorker.Receive(2); }}};

TEST(ThreadTest, StandsStillWhileSuspendedAndGoesOn) {
    for (const Kind& lKind : KINDS) {
        SCOPED_TRACE(lKind.mName);
        Worker lWorker(lKind.Work());
        ASSERT_TRUE(lWorker.Moves());
        ASSERT_EQ(0, lWorker.Suspend());
        EXPECT_TRUE(lWorker.IsStill());
        ASSERT_EQ(1, lWorker.Suspend());
        ASSERT_EQ(2, lWorker.Resume());
        EXPECT_TRUE(lWorker.IsStill());
        ASSERT_EQ(1, lWorker.Resume());
        EXPECT_TRUE(lWorker.Moves());
        EXPECT_EQ(0, lWorker.Resume());
    }
}

TEST(ThreadTest, NeverReturnsFromWhereItIsEnded) {
    for (const Kind& lKind : KINDS) {
        for (const bool lSuspended : {false, true}) {
            SCOPED_TRACE(std::string(lKind.mName) + (lSuspended ? ", suspended" : ""));
            Worker lWorker(lKind.Work());
            ASSERT_TRUE(lWorker.Moves());
            ASSERT_TRUE(!lSuspended || lWorker.Suspend() == 0);
            lWorker.cThread.End();
            EXPECT_FALSE(lWorker.cThread.IsRunning());
            EXPECT_TRUE(lWorker.IsStill());
            EXPECT_FALSE(lWorker.cUnwound);
            EXPECT_EQ(-1, lWorker.Suspend());
            EXPECT_EQ(-1, lWorker.Resume());
        }
    }
}

TEST(ThreadTest, ALongWaitEndsAtOnce) {
    const Kind WAITS[] = {
        {"sleeps", [](Worker&) { Sleep(1000000); }},
        {"waits for a semaphore", [](Worker& aWorker) { aWorker.cEmpty.Wait(Semaphore::NO_TIME_LIMIT); }},
        {"receives", [](Worker& aWorker) { aWorker.Receive(0); }},
        {"is suspended by itself", [](Worker& aWorker) { aWorker.Suspend(); }}};
    for (const Kind& lWait : WAITS) {
        SCOPED_TRACE(lWait.mName);
        Worker lWorker([&lWait](Worker& aWorker) {
            ++aWorker.cRounds;
            lWait.mRound(aWorker);
        });
        ASSERT_TRUE(Eventually([&] { return lWorker.cRounds == 1; }));
        Sleep(10);
        lWorker.cThread.End();
        EXPECT_FALSE(lWorker.cThread.IsRunning());
        EXPECT_FALSE(lWorker.cReturned || lWorker.cUnwound);
    }
}

TEST(ThreadTest, ASuspendedWaiterLeavesTheCountToOthers) {
    Worker lWorker([](Worker& aWorker) { aWorker.cEmpty.Wait(Semaphore::NO_TIME_LIMIT); });
    Sleep(10);
    ASSERT_EQ(0, lWorker.Suspend());
    lWorker.cEmpty.Release();
    Sleep(30);
    EXPECT_FALSE(lWorker.cReturned);
    EXPECT_EQ(Semaphore::WaitResult::TAKEN, lWorker.cEmpty.Wait(0));
    ASSERT_EQ(1, lWorker.Resume());
    Sleep(30);
    EXPECT_FALSE(lWorker.cReturned);
    lWorker.cEmpty.Release();
    EXPECT_TRUE(Eventually([&] { return lWorker.cReturned.load(); }));
}

// A thread that allocates most of the time is stopped, and another one gives back what it allocated.
TEST(ThreadTest, AStoppedThreadLeavesTheAllocatorToOthers) {
    using Block = std::unique_ptr<char[]>;
    std::atomic<char*> lShared = nullptr;
    std::atomic<bool> lEnough = false;
    Worker lWorker([&](Worker& aWorker) {
        for (; !lEnough; ++aWorker.cRounds) {
            Block lBlock(new char[3000]);
            const Block lOther(new char[5000]);
            lBlock.reset(lShared.exchange(lBlock.release()));
        }
    });
    for (int lRound = 0; lRound < 10; ++lRound) {
        ASSERT_TRUE(lWorker.Moves());
        ASSERT_EQ(0, lWorker.Suspend());
        InThreads(1, [&lShared](int) { Block(lShared.exchange(nullptr)); });
        ASSERT_EQ(1, lWorker.Resume());
    }
    lEnough = true;
    EXPECT_TRUE(Eventually([&] { return lWorker.cReturned.load(); }));
    delete[] lShared;
}

TEST(ThreadTest, IsNotStoppedUnderAGuard) {
    std::atomic<bool> lInGuard = false;
    std::atomic<bool> lLeaveGuard = false;
    std::atomic<bool> lGuardLeft = false;
    Worker lWorker([&](Worker& aWorker) {
        {
            const StopGuard lGuard;
            lInGuard = true;
            while (!lLeaveGuard)
                Sleep(1);
            lGuardLeft = true;
        }
        for (;; Sleep(1))
            ++aWorker.cRounds;
    });
    ASSERT_TRUE(Eventually([&] { return lInGuard.load(); }));
    Worker lReleaser([&](Worker&) {
        Sleep(3 * GRACE_MILLISECONDS);
        lLeaveGuard = true;
    });
    ASSERT_EQ(0, lWorker.Suspend());
    EXPECT_TRUE(lGuardLeft);
    EXPECT_TRUE(lWorker.IsStill());
}

// Suspending, resuming and ending from several sides at once, of threads that suspend each other too.
TEST(ThreadTest, SurvivesAScramble) {
    for (int lRound = 0; lRound < 5; ++lRound) {
        std::list<Worker> lVictims;
        for (const Kind& lKind : KINDS)
            lVictims.emplace_back(lKind.Work());
        const auto lTorment = [&lVictims](Worker&) {
            for (int lPass = 0; lPass < 3; ++lPass) {
                for (Worker& lVictim : lVictims) {
                    lVictim.Suspend();
                    lVictim.Resume();
                }
            }
        };
        Worker lTormentors[] = {Worker(lTorment), Worker(lTorment)};
        for (const Worker& lTormentor : lTormentors)
            EXPECT_TRUE(Eventually([&] { return lTormentor.cReturned.load(); }));
        for (Worker& lVictim : lVictims)
            EXPECT_TRUE(lVictim.Moves());
    }
}

TEST(ClockTest, SleepsToTheTickAndDoesNotDrift) {
    const uint32_t lStart = TickCount();
    for (uint32_t lRound = 1; lRound <= 20; ++lRound) {
        const auto lLeft = static_cast<int32_t>(lStart + 5 * lRound - TickCount());
        Sleep(static_cast<uint32_t>(std::max(lLeft, 0)));
        EXPECT_GE(TickCount() - lStart, 5 * lRound);
    }
}

TEST(SemaphoreTest, CountsUpToItsMaximumAndTimesOut) {
    Semaphore lSemaphore(1, 2);
    EXPECT_TRUE(lSemaphore.Release());
    EXPECT_FALSE(lSemaphore.Release());
    EXPECT_EQ(Semaphore::WaitResult::TAKEN, lSemaphore.Wait(0));
    EXPECT_EQ(Semaphore::WaitResult::TAKEN, lSemaphore.Wait(Semaphore::NO_TIME_LIMIT));
    const uint32_t lStart = TickCount();
    EXPECT_EQ(Semaphore::WaitResult::TIMED_OUT, lSemaphore.Wait(20));
    EXPECT_GE(TickCount() - lStart, 19u);
    lSemaphore.Abandon();
    EXPECT_EQ(Semaphore::WaitResult::ABANDONED, lSemaphore.Wait(Semaphore::NO_TIME_LIMIT));
}

}  // namespace
}  // namespace platform
