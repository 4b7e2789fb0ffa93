#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "platform/Clock.h"
#include "runtime/Trace.h"
#include "runtime/rtemsSemaphore.h"
#include "runtime/rtemsTask.h"
#include "tests/unit/TestSupport.h"

namespace {

class TestTask : public rtemsTask {
public:
    explicit TestTask(std::function<void(TestTask&, uint32_t)> aWork = {}, const char* apName = "TEST")
        : cWork(std::move(aWork)) {
        create(apName, 100, 0, 0, 0, 0, 0, 0, 0);
    }
    ~TestTask() override { destroy(); }  // before cWork is gone
    void body(uint32_t aArgument) override { cWork(*this, aArgument); }

    std::function<void(TestTask&, uint32_t)> cWork;
    std::atomic<uint32_t> cRounds = 0;
};

void CountForEver(TestTask& aTask, uint32_t) {
    for (;; platform::Sleep(1))
        ++aTask.cRounds;
}

TEST(TaskTest, NamesAreFourCharactersPacked) {
    const std::tuple<const char*, rtems_name, const char*> CASES[] = {
        {"DCT0", 0x44435430, "DCT0"}, {"AB", 0x41422020, "AB  "}, {"ABCDE", 0x41424344, "ABCD"}};
    for (const auto& [lText, lName, lNameText] : CASES) {
        const TestTask lTask({}, lText);
        EXPECT_EQ(lName, lTask.name) << lText;
        EXPECT_STREQ(lNameText, lTask.name_text);
    }
}

TEST(TaskTest, TheTableHoldsFiftyAndGivesTheLowestFreeSlot) {
    std::vector<std::unique_ptr<TestTask>> lTasks;
    for (uint32_t lIndex = 0; lIndex < MAX_TASKS; ++lIndex) {
        lTasks.push_back(std::make_unique<TestTask>());
        EXPECT_EQ(lIndex, lTasks.back()->id);
    }
    EXPECT_EQ(RTEMS_UNSATISFIED, TestTask().last_status);
    lTasks[7] = nullptr;
    EXPECT_EQ(7u, TestTask().id);
}

TEST(TaskTest, OwnersAndOthersMayDoWhatTheyMay) {
    TestTask lOwner({}, "OWNR");
    EXPECT_EQ(RTEMS_ILLEGAL_ON_SELF, lOwner.create("MORE", 1, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(RTEMS_UNSATISFIED, lOwner.ident("OWNR", 0));
    EXPECT_STREQ("OWNR", lOwner.name_text);

    rtemsTask lFound("OWNR", 0);
    rtemsTask lCopy(lOwner);
    EXPECT_EQ(RTEMS_NOT_CONFIGURED, lCopy.last_status);
    for (rtemsTask* const lpOther : {&lFound, &lCopy}) {
        EXPECT_EQ(lOwner.id, lpOther->id);
        EXPECT_EQ(RTEMS_NOT_OWNER_OF_RESOURCE, lpOther->start(0));
        EXPECT_EQ(RTEMS_NOT_OWNER_OF_RESOURCE, lpOther->restart(0));
        EXPECT_EQ(RTEMS_NOT_OWNER_OF_RESOURCE, lpOther->destroy());
        EXPECT_EQ(RTEMS_ILLEGAL_ON_SELF, lpOther->create("MORE", 1, 0, 0, 0, 0, 0, 0, 0));
    }
    EXPECT_EQ(RTEMS_INVALID_NAME, lFound.ident("NONE", 0));
    EXPECT_STREQ("SELF", lFound.name_text);
    EXPECT_EQ(TASK_ID_SELF, lFound.id);
    static_cast<rtemsTask&>(lOwner) = lFound;  // an owner takes nothing
    EXPECT_STREQ("OWNR", lOwner.name_text);
    lFound = lOwner;
    EXPECT_EQ(lOwner.id, lFound.id);
    EXPECT_FALSE(lFound.owner);
}

TEST(TaskTest, DirectivesCheckTheirIds) {
    rtems_task_priority lPriority = 0;
    uint32_t lNote = 1;
    const auto lEntry = [](rtems_task_argument) {};
    for (const rtems_id lNoTask : {rtems_id{0}, rtems_id{49}, TASK_ID_SELF, rtems_id{51}, rtems_id{0xFFFFFFFF}}) {
        EXPECT_EQ(RTEMS_INVALID_ID, rtems_task_delete(lNoTask));
        EXPECT_EQ(RTEMS_INVALID_ID, rtems_task_start(lNoTask, lEntry, 0));
        EXPECT_EQ(RTEMS_INVALID_ADDRESS, rtems_task_start(lNoTask, nullptr, 0));
        EXPECT_EQ(RTEMS_INTERNAL_ERROR, rtems_task_suspend(lNoTask));
        EXPECT_EQ(RTEMS_INVALID_ID, rtems_task_resume(lNoTask));
        EXPECT_EQ(RTEMS_INVALID_ID, rtems_task_set_priority(lNoTask, 0, &lPriority));
        EXPECT_EQ(RTEMS_INVALID_ID, rtems_task_get_note(lNoTask, 3, &lNote));
        EXPECT_EQ(RTEMS_INVALID_ID, rtems_task_set_note(lNoTask, 3, 0));
        EXPECT_EQ(RTEMS_INVALID_NUMBER, rtems_task_get_note(lNoTask, 16, &lNote));
    }
    rtems_id lId = 0;
    EXPECT_EQ(RTEMS_SUCCESSFUL, rtems_task_ident(0, 0, &lId));
    EXPECT_EQ(TASK_ID_SELF, lId);
    TestTask lTask;
    EXPECT_EQ(RTEMS_SUCCESSFUL, lTask.get_note(15, lNote));
    EXPECT_EQ(0u, lNote);
    EXPECT_EQ(RTEMS_INTERNAL_ERROR, lTask.set_note(15, 0));
    EXPECT_EQ(RTEMS_INTERNAL_ERROR, lTask.suspend());  // not started
    EXPECT_EQ(RTEMS_INCORRECT_STATE, lTask.resume());
}

TEST(TaskTest, RunsSuspendsAndResumes) {
    TestTask lTask(CountForEver);
    ASSERT_EQ(RTEMS_SUCCESSFUL, lTask.start(0));
    EXPECT_EQ(RTEMS_INCORRECT_STATE, lTask.start(0));
    EXPECT_EQ(RTEMS_SUCCESSFUL, lTask.restart(0));
    ASSERT_TRUE(Eventually([&] { return lTask.cRounds > 0; }));
    EXPECT_EQ(RTEMS_INCORRECT_STATE, lTask.resume());
    EXPECT_EQ(RTEMS_SUCCESSFUL, lTask.suspend());
    EXPECT_EQ(RTEMS_ALREADY_SUSPENDED, lTask.suspend());
    EXPECT_EQ(RTEMS_SUCCESSFUL, lTask.resume());
    const uint32_t lRounds = lTask.cRounds;
    platform::Sleep(30);
    EXPECT_EQ(lRounds, lTask.cRounds);
    EXPECT_EQ(RTEMS_SUCCESSFUL, lTask.resume());
    EXPECT_TRUE(Eventually([&] { return lTask.cRounds > lRounds; }));
}

// A task may act on itself through any object that names none, from its first instruction on.
TEST(TaskTest, FindsAndDeletesItself) {
    for (const bool lByDestroy : {true, false}) {
        TestTask lTask([&](TestTask& aTask, uint32_t aArgument) {
            rtemsTask lSelf;
            aTask.cRounds = aArgument;
            lSelf.suspend();
            if (lByDestroy)
                aTask.destroy();
            rtems_task_delete(TASK_ID_SELF);
            aTask.cRounds = 99;
        });
        const rtems_id lId = lTask.id;
        ASSERT_EQ(RTEMS_SUCCESSFUL, lTask.start(7));
        ASSERT_TRUE(Eventually([&] { return rtems_task_resume(lId) == RTEMS_SUCCESSFUL; }));
        ASSERT_TRUE(Eventually([&] { return rtems_task_resume(lId) == RTEMS_INVALID_ID; }));
        platform::Sleep(10);
        EXPECT_EQ(7u, lTask.cRounds);
    }
}

TEST(TaskTest, PrioritiesMapToLevels) {
    const std::pair<rtems_task_priority, int> CASES[] = {{1000, -15}, {218, -15}, {217, -2}, {182, -2}, {181, -1},
                                                         {145, -1},   {144, 0},   {109, 0},  {108, 1},  {72, 1},
                                                         {71, 2},     {36, 2},    {35, 15},  {1, 15}};
    TestTask lTask(CountForEver);
    ASSERT_EQ(RTEMS_SUCCESSFUL, lTask.start(0));
    rtems_task_priority lOld = 99;
    ASSERT_EQ(RTEMS_SUCCESSFUL, lTask.get_priority(lOld));
    EXPECT_EQ(0u, lOld);
    const bool lMayRaise = lTask.set_priority(35) == RTEMS_SUCCESSFUL && lTask.get_priority(lOld) == 0 && lOld == 15;
    for (const auto& [lPriority, lLevel] : CASES) {
        ASSERT_EQ(RTEMS_SUCCESSFUL, lTask.set_priority(lPriority));
        ASSERT_EQ(RTEMS_SUCCESSFUL, lTask.get_priority(lOld));
        // Only a privileged process may go up again after it went down.
        EXPECT_EQ(lMayRaise ? lLevel : -15, static_cast<int>(lOld)) << lPriority;
    }
}

TEST(SemaphoreTest, CreationIsChecked) {
    rtems_id lId = 0;
    const std::tuple<rtems_name, uint32_t, rtems_attribute, rtems_status_code> CASES[] = {
        {0, 0, 0, RTEMS_INVALID_NAME},
        {1, 0, RTEMS_BINARY_SEMAPHORE | RTEMS_INHERIT_PRIORITY, RTEMS_NOT_DEFINED},
        {1, 0, RTEMS_PRIORITY | RTEMS_PRIORITY_CEILING, RTEMS_NOT_DEFINED},
        {1, 2, RTEMS_SIMPLE_BINARY_SEMAPHORE, RTEMS_INVALID_NUMBER},
        {1, 0, RTEMS_BINARY_SEMAPHORE | RTEMS_PRIORITY | RTEMS_INHERIT_PRIORITY, RTEMS_SUCCESSFUL}};
    for (const auto& [lName, lCount, lAttributes, lStatus] : CASES)
        EXPECT_EQ(lStatus, rtems_semaphore_create(lName, lCount, lAttributes, 0, &lId)) << lAttributes;
    EXPECT_EQ(RTEMS_SUCCESSFUL, rtems_semaphore_obtain(lId, RTEMS_WAIT, 1));  // binary: 1 whatever was given
    EXPECT_EQ(RTEMS_TIMEOUT, rtems_semaphore_obtain(lId, RTEMS_WAIT, 1));
    EXPECT_EQ(RTEMS_SUCCESSFUL, rtems_semaphore_delete(lId));
    EXPECT_EQ(RTEMS_INTERNAL_ERROR, rtems_semaphore_obtain(lId, RTEMS_WAIT, 1));
    for (const auto& lDirective : {rtems_semaphore_delete, rtems_semaphore_release})
        EXPECT_EQ(RTEMS_INVALID_ID, lDirective(MAX_SEMAPHORES));
    EXPECT_EQ(RTEMS_INVALID_ID, rtems_semaphore_obtain(MAX_SEMAPHORES, RTEMS_WAIT, 1));
}

// The first object's semaphore has the id 0, which must not look like none.
TEST(SemaphoreTest, OwnersOfAnyIdReleaseWhatTheyOwn) {
    for (int lRound = 0; lRound < 2; ++lRound) {
        std::vector<std::unique_ptr<rtemsSemaphore>> lAll;
        for (uint32_t lIndex = 0; lIndex < MAX_SEMAPHORES; ++lIndex) {
            lAll.push_back(std::make_unique<rtemsSemaphore>("TEST", 0, 0, 0, 0, 0, 0, 0));
            EXPECT_EQ(lIndex, lAll.back()->id);
            EXPECT_EQ(RTEMS_ILLEGAL_ON_SELF, lAll.back()->create("MORE", 0, 0, 0, 0, 0, 0, 0));
        }
        rtemsSemaphore lRefused("TEST", 0, 0, 0, 0, 0, 0, 0);
        EXPECT_EQ(RTEMS_TOO_MANY, lRefused.last_status);
        EXPECT_STREQ("NOID", lRefused.name_text);
        // It must not stand in for the owner of id 0.
        EXPECT_EQ(RTEMS_INTERNAL_ERROR, lRefused.release());
        EXPECT_EQ(RTEMS_INTERNAL_ERROR, lRefused.obtain(RTEMS_WAIT, 1000));
        EXPECT_EQ(RTEMS_TIMEOUT, lAll[0]->obtain(RTEMS_WAIT, 1000));
        rtemsSemaphore lFound("TEST", 0);
        EXPECT_EQ(0u, lFound.id);
        EXPECT_EQ(RTEMS_SUCCESSFUL, lFound.release());
        EXPECT_EQ(RTEMS_SUCCESSFUL, lAll[0]->obtain(RTEMS_WAIT, 0));
        EXPECT_EQ(RTEMS_NOT_OWNER_OF_RESOURCE, lFound.destroy());
    }
}

TEST(SemaphoreTest, WaitersWakeByReleaseAndByDeletion) {
    rtemsSemaphore lSemaphore("TEST", 0, 0, 0, 0, 0, 0, 0);
    for (const rtems_status_code lExpected : {RTEMS_SUCCESSFUL, RTEMS_OBJECT_WAS_DELETED}) {
        std::atomic<rtems_status_code> lStatus = RTEMS_NOT_CONFIGURED;
        std::atomic<bool> lRuns = false;
        std::thread lWaiter([&lStatus, &lRuns, lId = lSemaphore.id] {
            lRuns = true;
            lStatus = rtems_semaphore_obtain(lId, RTEMS_NO_WAIT, 0);
        });
        EXPECT_TRUE(Eventually([&lRuns] { return lRuns.load(); }));
        platform::Sleep(20);
        EXPECT_EQ(RTEMS_NOT_CONFIGURED, lStatus);
        if (lExpected == RTEMS_SUCCESSFUL)
            lSemaphore.release();
        else
            lSemaphore.destroy();
        lWaiter.join();
        EXPECT_EQ(lExpected, lStatus);
    }
}

TEST(RuntimeClockTest, MicrosecondsBecomeTicks) {
    const std::pair<uint32_t, rtems_interval> CASES[] = {
        {0, 0}, {1, 1}, {999, 1}, {1000, 1}, {1999, 1}, {2000, 2}, {0xFFFFFFFF, 4294967}};
    for (const auto& [lMicroseconds, lTicks] : CASES)
        EXPECT_EQ(lTicks, MicrosecondsToTicks(lMicroseconds)) << lMicroseconds;
}

TEST(RuntimeClockTest, WakesAtTheTimeOfDay) {
    const platform::CalendarTime lNow = platform::CalendarNow();
    for (const int lMilliseconds : {-5000, 150}) {
        const int64_t lTarget = lNow.mSeconds * 1000 + lNow.mMilliseconds + lMilliseconds;
        const auto [lYear, lMonth, lDay, lHour, lMinute, lSecond] = platform::ToLocalTime(lTarget / 1000);
        const auto lField = [](int64_t aValue) { return static_cast<uint32_t>(aValue); };
        const rtems_time_of_day lTime = {lField(lYear),
                                         lField(lMonth),
                                         lField(lDay),
                                         lField(lHour),
                                         lField(lMinute),
                                         lField(lSecond),
                                         lField(lTarget % 1000 * 1000)};
        EXPECT_EQ(RTEMS_SUCCESSFUL, rtemsTask().wake_when(lTime));
        const platform::CalendarTime lWoken = platform::CalendarNow();
        EXPECT_GE(lWoken.mSeconds * 1000 + lWoken.mMilliseconds + 2, lTarget);
        EXPECT_LT(lWoken.mSeconds - lNow.mSeconds, 4);
    }
}

TEST(TraceTest, LinesAreWholeWhoeverWritesThem) {
    const TestDirectory lDirectory;
    const std::string lLong(400, 'x');
    WriteTrace(lLong.c_str());
    InThreads(4, [](int) {
        for (int lLine = 0; lLine < 50; ++lLine)
            CHECK_INVARIANT(1 + 1 == 3);
    });
    const std::vector<std::string> lLines = TraceLines();
    ASSERT_EQ(201u, lLines.size());
    EXPECT_EQ(std::string(272, 'x'), lLines[0].substr(26));
    EXPECT_EQ(26u, lLines[1].find("Assertion (1 + 1 == 3) in file \"tests/unit/RuntimeTest.cpp\" at line "));
    for (size_t lIndex = 1; lIndex < lLines.size(); ++lIndex)
        EXPECT_EQ(lLines[1].substr(26), lLines[lIndex].substr(26));
    int lDay = 0, lMonth = 0, lYear = 0, lHour = 0, lMinute = 0, lSecond = 0;
    ASSERT_EQ(6, std::sscanf(lLines[0].c_str(), "(at %2d/%2d/%4d, %2d:%2d:%2d) x", &lDay, &lMonth, &lYear, &lHour,
                             &lMinute, &lSecond));
    const int64_t lStamp = platform::ToCalendarSeconds({lYear, lMonth, lDay, lHour, lMinute, lSecond});
    EXPECT_LE(std::abs(lStamp - platform::CalendarNow().mSeconds), 60);
}

}  // namespace
