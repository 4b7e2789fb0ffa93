#include "platform/Thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

#include "platform/Clock.h"
#include "platform/Lock.h"
#include "platform/Semaphore.h"
#include "platform/Socket.h"
#include "tests/unit/TestSupport.h"

namespace platform {
namespace {

// Work that counts its rounds, and what became of the thread's stack and of the code behind the work.
struct Worker {
    explicit Worker(std::function<void(Worker&)> aWork) : cWork(std::move(aWork)) {
        cThread = Thread::Start([](void* aWorker) { static_cast<Worker*>(aWorker)->Run(); }, this);
    }
    ~Worker() { cThread->End(); }

    void Run() {
        struct OnStack {
            std::atomic<bool>& cFlag;
            ~OnStack() { cFlag = true; }
        } lOnStack{cUnwound};
        cWork(*this);
        cReturned = true;
    }

    bool IsStill() {
        const int lRounds = cRounds;
        Sleep(30);
        return cRounds == lRounds;
    }
    bool Moves() {
        const int lRounds = cRounds;
        return Eventually([&] { return cRounds != lRounds; });
    }

    std::function<void(Worker&)> cWork;
    std::atomic<int> cRounds = 0;
    std::atomic<bool> cUnwound = false;
    std::atomic<bool> cReturned = false;
    Semaphore cFull{1, 1};
    Semaphore cEmpty{0, 1000};
    UdpSocket cSocket;
    std::unique_ptr<Thread> cThread;
};

struct Kind {
    const char* mName;
    std::function<void(Worker&)> mWork;
    bool mUnwinds;  // when it is ended: it passes platform calls
};

std::vector<Kind> Kinds() {
    return {{"computes",
             [](Worker& aWorker) {
                 for (;;)
                     ++aWorker.cRounds;
             },
             false},
            {"computes and allocates under a lock",
             [](Worker& aWorker) {
                 std::mutex lMutex;
                 for (;;) {
                     const Lock lLock(lMutex);
                     aWorker.cRounds += static_cast<int>(std::make_unique<int>(1) != nullptr);
                 }
             },
             false},
            {"works under a guard most of the time",
             [](Worker& aWorker) {
                 for (;;) {
                     const StopGuard lGuard;
                     for (volatile int lSpin = 0; lSpin < 100000;)
                         lSpin = lSpin + 1;
                     ++aWorker.cRounds;
                 }
             },
             false},
            {"sleeps",
             [](Worker& aWorker) {
                 for (;; Sleep(1))
                     ++aWorker.cRounds;
             },
             true},
            {"yields",
             [](Worker& aWorker) {
                 for (;; Sleep(0))
                     ++aWorker.cRounds;
             },
             true},
            {"passes a semaphore",
             [](Worker& aWorker) {
                 for (;;) {
                     aWorker.cFull.Wait(Semaphore::NO_TIME_LIMIT);
                     ++aWorker.cRounds;
                     aWorker.cFull.Release();
                 }
             },
             true},
            {"waits for a semaphore again and again",
             [](Worker& aWorker) {
                 for (;; ++aWorker.cRounds)
                     aWorker.cEmpty.Wait(2);
             },
             true},
            {"receives with a time-out",
             [](Worker& aWorker) {
                 unsigned char lBuffer[10];
                 size_t lSize = 0;
                 aWorker.cSocket.Create();
                 aWorker.cSocket.SetReceiveTimeout(2);
                 for (;; ++aWorker.cRounds)
                     aWorker.cSocket.Receive(lBuffer, sizeof lBuffer, &lSize);
             },
             true}};
}

TEST(ThreadTest, StandsStillWhileSuspendedAndGoesOn) {
    for (const Kind& lKind : Kinds()) {
        SCOPED_TRACE(lKind.mName);
        Worker lWorker(lKind.mWork);
        ASSERT_TRUE(lWorker.Moves());
        uint32_t lOldCount = 99;
        ASSERT_TRUE(lWorker.cThread->Suspend(&lOldCount));
        EXPECT_EQ(0u, lOldCount);
        EXPECT_TRUE(lWorker.IsStill());
        ASSERT_TRUE(lWorker.cThread->Suspend(&lOldCount));
        EXPECT_EQ(1u, lOldCount);
        ASSERT_TRUE(lWorker.cThread->Resume(&lOldCount));
        EXPECT_EQ(2u, lOldCount);
        EXPECT_TRUE(lWorker.IsStill());
        ASSERT_TRUE(lWorker.cThread->Resume(&lOldCount));
        EXPECT_TRUE(lWorker.Moves());
        ASSERT_TRUE(lWorker.cThread->Resume(&lOldCount));
        EXPECT_EQ(0u, lOldCount);
    }
}

TEST(ThreadTest, NeverReturnsFromWhereItIsEnded) {
    for (const Kind& lKind : Kinds()) {
        for (const bool lSuspended : {false, true}) {
            SCOPED_TRACE(std::string(lKind.mName) + (lSuspended ? ", suspended" : ""));
            Worker lWorker(lKind.mWork);
            ASSERT_TRUE(lWorker.Moves());
            uint32_t lOldCount = 0;
            ASSERT_TRUE(!lSuspended || lWorker.cThread->Suspend(&lOldCount));
            lWorker.cThread->End();
            EXPECT_TRUE(lWorker.IsStill());
            EXPECT_FALSE(lWorker.cReturned);
            EXPECT_TRUE(lWorker.cUnwound || !lKind.mUnwinds);
            EXPECT_FALSE(lWorker.cThread->Suspend(&lOldCount));
            EXPECT_FALSE(lWorker.cThread->Resume(&lOldCount));
        }
    }
}

TEST(ThreadTest, ALongWaitEndsAtOnce) {
    const std::vector<std::function<void(Worker&)>> lWaits = {
        [](Worker&) { Sleep(1000000); }, [](Worker& aWorker) { aWorker.cEmpty.Wait(Semaphore::NO_TIME_LIMIT); },
        [](Worker& aWorker) {
            unsigned char lBuffer[10];
            size_t lSize = 0;
            aWorker.cSocket.Create();
            aWorker.cSocket.Receive(lBuffer, sizeof lBuffer, &lSize);
        },
        [](Worker& aWorker) {
            uint32_t lOldCount = 0;
            aWorker.cThread->Suspend(&lOldCount);
        }};
    for (const auto& lWait : lWaits) {
        Worker lWorker([&lWait](Worker& aWorker) {
            while (aWorker.cRounds == 0)
                Sleep(1);  // until cThread is set
            ++aWorker.cRounds;
            lWait(aWorker);
        });
        lWorker.cRounds = 1;
        ASSERT_TRUE(Eventually([&] { return lWorker.cRounds == 2; }));
        Sleep(10);
        lWorker.cThread->End();
        EXPECT_TRUE(Eventually([&] { return lWorker.cUnwound.load(); }));
        EXPECT_FALSE(lWorker.cReturned);
    }
}

TEST(ThreadTest, ASuspendedWaiterLeavesTheCountToOthers) {
    Worker lWorker([](Worker& aWorker) {
        aWorker.cEmpty.Wait(Semaphore::NO_TIME_LIMIT);
        ++aWorker.cRounds;
    });
    Sleep(10);
    uint32_t lOldCount = 0;
    ASSERT_TRUE(lWorker.cThread->Suspend(&lOldCount));
    lWorker.cEmpty.Release();
    EXPECT_TRUE(lWorker.IsStill());
    EXPECT_EQ(Semaphore::WaitResult::TAKEN, lWorker.cEmpty.Wait(0));
    ASSERT_TRUE(lWorker.cThread->Resume(&lOldCount));
    EXPECT_TRUE(lWorker.IsStill());
    lWorker.cEmpty.Release();
    EXPECT_TRUE(Eventually([&] { return lWorker.cReturned.load(); }));
}

TEST(ThreadTest, SuspendsItselfUntilAnotherResumesIt) {
    Worker lWorker([](Worker& aWorker) {
        uint32_t lOldCount = 0;
        while (aWorker.cRounds == 0)
            Sleep(1);
        for (;; ++aWorker.cRounds)
            aWorker.cThread->Suspend(&lOldCount);
    });
    lWorker.cRounds = 1;
    for (int lRound = 1; lRound < 50; ++lRound) {
        ASSERT_TRUE(Eventually([&] {
            uint32_t lOldCount = 0;
            return lWorker.cThread->Resume(&lOldCount) && lOldCount == 1;
        }));
        ASSERT_TRUE(Eventually([&] { return lWorker.cRounds == lRound + 1; }));
    }
}

// Its own stack is unwound from EndCurrent, and left as it is by the other.
TEST(ThreadTest, EndsItself) {
    for (const bool lUnwind : {true, false}) {
        Worker lWorker([lUnwind](Worker& aWorker) {
            ++aWorker.cRounds;
            if (lUnwind)
                Thread::EndCurrent();
            Thread::EndCurrentWithoutUnwinding();
        });
        uint32_t lOldCount = 0;
        EXPECT_TRUE(Eventually([&] { return !lWorker.cThread->Resume(&lOldCount); }));
        EXPECT_EQ(1, lWorker.cRounds);
        EXPECT_EQ(lUnwind, lWorker.cUnwound);
        EXPECT_FALSE(lWorker.cReturned);
    }
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
    uint32_t lOldCount = 0;
    ASSERT_TRUE(lWorker.cThread->Suspend(&lOldCount));
    EXPECT_TRUE(lGuardLeft);
    EXPECT_TRUE(lWorker.IsStill());
}

// Suspending, resuming and ending from several sides at once, of threads that suspend each other too.
TEST(ThreadTest, SurvivesAScramble) {
    for (int lRound = 0; lRound < 5; ++lRound) {
        std::vector<std::unique_ptr<Worker>> lVictims;
        for (const Kind& lKind : Kinds())
            lVictims.push_back(std::make_unique<Worker>(lKind.mWork));
        std::vector<std::unique_ptr<Worker>> lTormentors;
        for (int lCount = 0; lCount < 2; ++lCount) {
            lTormentors.push_back(std::make_unique<Worker>([&](Worker& aWorker) {
                uint32_t lOldCount = 0;
                for (int lPass = 0; lPass < 3; ++lPass) {
                    for (const auto& lVictim : lVictims) {
                        lVictim->cThread->Suspend(&lOldCount);
                        lVictim->cThread->Resume(&lOldCount);
                        ++aWorker.cRounds;
                    }
                }
            }));
        }
        for (const auto& lTormentor : lTormentors)
            EXPECT_TRUE(Eventually([&] { return lTormentor->cReturned.load(); }));
        for (const auto& lVictim : lVictims)
            EXPECT_TRUE(lVictim->Moves());
    }
}

TEST(ThreadTest, PrioritiesAreAppliedToTheThread) {
    Worker lWorker([](Worker&) { Sleep(1000000); });
    EXPECT_EQ(PRIORITY_NORMAL, lWorker.cThread->GetPriority());
    ASSERT_TRUE(lWorker.cThread->SetPriority(PRIORITY_LOWEST));
    EXPECT_EQ(PRIORITY_LOWEST, lWorker.cThread->GetPriority());
}

TEST(ClockTest, SleepsToTheTickAndDoesNotDrift) {
    const uint32_t lStart = TickCount();
    for (uint32_t lRound = 1; lRound <= 20; ++lRound) {
        const auto lLeft = static_cast<int32_t>(lStart + 5 * lRound - TickCount());
        Sleep(static_cast<uint32_t>(std::max(lLeft, 0)));
        EXPECT_GE(TickCount() - lStart, 5 * lRound);
    }
}

TEST(ClockTest, LocalTimeGoesBothWays) {
    const int64_t lNow = CalendarNow().mSeconds;
    EXPECT_EQ(lNow, ToCalendarSeconds(ToLocalTime(lNow)));
    EXPECT_GE(ToLocalTime(lNow).mYear, 2024);
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
