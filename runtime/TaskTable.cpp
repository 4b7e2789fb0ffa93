#include <algorithm>
#include <array>
#include <mutex>
#include <utility>

#include "platform/Lock.h"
#include "platform/Thread.h"
#include "runtime/rtemsTask.h"

namespace {

struct TaskControlBlock {
    bool mUsed = false;  // a task has this record
    rtems_name mName = 0;
    rtems_task_entry mEntry = nullptr;  // null before the start
    rtems_task_argument mArgument = 0;
    platform::Thread mThread;

    // A record without a task is not free yet while the deleted task's thread has not ended.
    bool IsFree() const { return !mUsed && !mThread.IsRunning(); }
};

// The records are used again and again and never destroyed.  So a thread may be ended while it deals with one of them
// (while it suspends the task, for example), and tasks may use the table until the process is gone.
struct TaskTable {
    std::mutex mLock;  // over all fields of the records but mThread, which has a lock of its own
    std::array<TaskControlBlock, MAX_TASKS> mTasks;
};

TaskTable& Table() {
    const platform::StopGuard lGuard;  // a thread that is stopped while it makes the table would stop all other users
    static TaskTable* const slpTable = new TaskTable;
    return *slpTable;
}

// The record of a task, or null.
TaskControlBlock* FindTask(rtems_id aId) {
    const platform::Lock lLock(Table().mLock);
    auto& lTasks = Table().mTasks;
    if (aId < MAX_TASKS)
        return lTasks[aId].mUsed ? &lTasks[aId] : nullptr;
    if (aId != TASK_ID_SELF)
        return nullptr;
    const auto lFound = std::find_if(lTasks.begin(), lTasks.end(),
                                     [](const auto& aTask) { return aTask.mUsed && aTask.mThread.IsCurrent(); });
    return lFound != lTasks.end() ? &*lFound : nullptr;
}

void RunEntry(void* apTask) {
    const auto* const lpTask = static_cast<const TaskControlBlock*>(apTask);
    lpTask->mEntry(lpTask->mArgument);
}

platform::ThreadPriority LevelOfPriority(rtems_task_priority aPriority) {
    struct Row {
        rtems_task_priority mFirst;
        platform::ThreadPriority mLevel;
    };
    static constexpr Row ROWS[] = {{218, platform::PRIORITY_IDLE},         {182, platform::PRIORITY_LOWEST},
                                   {145, platform::PRIORITY_BELOW_NORMAL}, {109, platform::PRIORITY_NORMAL},
                                   {72, platform::PRIORITY_ABOVE_NORMAL},  {36, platform::PRIORITY_HIGHEST}};
    for (const Row& lRow : ROWS)
        if (aPriority >= lRow.mFirst)
            return lRow.mLevel;
    return platform::PRIORITY_TIME_CRITICAL;
}

}  // namespace

rtems_status_code rtems_task_create(rtems_name aName, rtems_task_priority /*aInitialPriority*/, uint32_t /*aStackSize*/,
                                    rtems_mode /*aMode*/, rtems_attribute /*aAttributes*/, rtems_id* apId) {
    const platform::Lock lLock(Table().mLock);
    auto& lTasks = Table().mTasks;
    const auto lFree = std::find_if(lTasks.begin(), lTasks.end(), [](const auto& aTask) { return aTask.IsFree(); });
    if (lFree == lTasks.end())
        return RTEMS_UNSATISFIED;
    lFree->mUsed = true;
    lFree->mName = aName;
    lFree->mEntry = nullptr;
    *apId = static_cast<rtems_id>(lFree - lTasks.begin());
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_ident(rtems_name aName, uint32_t /*aNode*/, rtems_id* apId) {
    if (aName == 0) {
        *apId = TASK_ID_SELF;
        return RTEMS_SUCCESSFUL;
    }
    const platform::Lock lLock(Table().mLock);
    const auto& lTasks = Table().mTasks;
    const auto lFound = std::find_if(lTasks.begin(), lTasks.end(),
                                     [aName](const auto& aTask) { return aTask.mUsed && aTask.mName == aName; });
    if (lFound == lTasks.end())
        return RTEMS_INVALID_NAME;
    *apId = static_cast<rtems_id>(lFound - lTasks.begin());
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_start(rtems_id aId, rtems_task_entry aEntry, rtems_task_argument aArgument) {
    if (aEntry == nullptr)
        return RTEMS_INVALID_ADDRESS;
    const platform::Lock lLock(Table().mLock);
    if (aId >= MAX_TASKS || !Table().mTasks[aId].mUsed)
        return RTEMS_INVALID_ID;
    TaskControlBlock& lTask = Table().mTasks[aId];
    if (lTask.mEntry != nullptr)
        return RTEMS_INCORRECT_STATE;
    lTask.mEntry = aEntry;
    lTask.mArgument = aArgument;
    if (lTask.mThread.Start(RunEntry, &lTask))
        return RTEMS_SUCCESSFUL;
    lTask.mEntry = nullptr;
    return RTEMS_INCORRECT_STATE;
}

rtems_status_code rtems_task_restart(rtems_id, rtems_task_argument) {
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_delete(rtems_id aId) {
    auto* const lpTask = FindTask(aId);
    if (lpTask == nullptr)
        return RTEMS_INVALID_ID;
    {
        const platform::Lock lLock(Table().mLock);
        if (!std::exchange(lpTask->mUsed, false))
            return RTEMS_INVALID_ID;  // another thread has deleted the task meanwhile
    }
    lpTask->mThread.End();
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_suspend(rtems_id aId) {
    auto* const lpTask = FindTask(aId);
    uint32_t lOldCount = 0;
    if (lpTask == nullptr || !lpTask->mThread.Suspend(&lOldCount))
        return RTEMS_INTERNAL_ERROR;
    return lOldCount > 0 ? RTEMS_ALREADY_SUSPENDED : RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_resume(rtems_id aId) {
    auto* const lpTask = FindTask(aId);
    if (lpTask == nullptr)
        return RTEMS_INVALID_ID;
    uint32_t lOldCount = 0;
    return lpTask->mThread.Resume(&lOldCount) && lOldCount > 0 ? RTEMS_SUCCESSFUL : RTEMS_INCORRECT_STATE;
}

rtems_status_code rtems_task_set_priority(rtems_id aId, rtems_task_priority aNewPriority,
                                          rtems_task_priority* apOldPriority) {
    auto* const lpTask = FindTask(aId);
    if (lpTask == nullptr)
        return RTEMS_INVALID_ID;
    *apOldPriority = static_cast<rtems_task_priority>(lpTask->mThread.GetPriority());
    if (aNewPriority != RTEMS_CURRENT_PRIORITY)
        lpTask->mThread.SetPriority(LevelOfPriority(aNewPriority));
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_get_note(rtems_id aId, uint32_t aNotepad, uint32_t* apNote) {
    if (aNotepad > RTEMS_NOTEPAD_LAST)
        return RTEMS_INVALID_NUMBER;
    if (FindTask(aId) == nullptr)
        return RTEMS_INVALID_ID;
    *apNote = 0;
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_set_note(rtems_id aId, uint32_t aNotepad, uint32_t /*aNote*/) {
    if (aNotepad > RTEMS_NOTEPAD_LAST)
        return RTEMS_INVALID_NUMBER;
    return FindTask(aId) != nullptr ? RTEMS_INTERNAL_ERROR : RTEMS_INVALID_ID;
}
