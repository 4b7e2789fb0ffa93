#include "runtime/TaskTable.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <new>

#include "platform/Lock.h"

namespace {

struct TaskControlBlock {
    rtems_name mName;
    std::shared_ptr<platform::Thread> mThread;  // from the start on
    rtems_task_entry mEntry;
    rtems_task_argument mArgument;
};

struct TaskTable {
    std::mutex mLock;  // over the slots and the records' fields
    std::array<std::unique_ptr<TaskControlBlock>, MAX_TASKS> mSlots;
};

// Never destroyed: tasks use it until the process is gone.
TaskTable& Table() {
    const platform::StopGuard lGuard;  // a thread that is stopped while it makes the table would stop all other users
    static TaskTable* const slpTable = new TaskTable;
    return *slpTable;
}

// The slot of a task, or null; with the table's lock held.
std::unique_ptr<TaskControlBlock>* FindSlot(rtems_id aId) {
    auto& lSlots = Table().mSlots;
    if (aId < MAX_TASKS)
        return lSlots[aId] != nullptr ? &lSlots[aId] : nullptr;
    if (aId != TASK_ID_SELF)
        return nullptr;
    const auto lFound = std::find_if(lSlots.begin(), lSlots.end(), [](const auto& aSlot) {
        return aSlot != nullptr && aSlot->mThread != nullptr && aSlot->mThread->IsCurrent();
    });
    return lFound != lSlots.end() ? &*lFound : nullptr;
}

// Whether the id names a task; its thread, null before the start, goes to *apThread.
bool FindThread(rtems_id aId, std::shared_ptr<platform::Thread>* apThread) {
    const platform::Lock lLock(Table().mLock);
    const auto* const lpSlot = FindSlot(aId);
    if (lpSlot == nullptr)
        return false;
    *apThread = (*lpSlot)->mThread;
    return true;
}

bool IsTask(rtems_id aId) {
    const platform::Lock lLock(Table().mLock);
    return FindSlot(aId) != nullptr;
}

struct EntryCall {
    rtems_task_entry mEntry;
    rtems_task_argument mArgument;
};

void RunEntry(void* apCall) {
    const EntryCall lCall = *std::unique_ptr<EntryCall>(static_cast<EntryCall*>(apCall));
    lCall.mEntry(lCall.mArgument);
}

platform::ThreadPriority LevelOfPriority(rtems_task_priority aPriority) {
    struct Row {
        rtems_task_priority mFirst;
        platform::ThreadPriority mLevel;
    };
    static constexpr Row ROWS[] = {{218, platform::PRIORITY_IDLE},         {182, platform::PRIORITY_LOWEST},
                                   {145, platform::PRIORITY_BELOW_NORMAL}, {109, platform::PRIORITY_NORMAL},
                                   {72, platform::PRIORITY_ABOVE_NORMAL},  {36, platform::PRIORITY_HIGHEST}};
    for (const Row& lRow : ROWS) {
        if (aPriority >= lRow.mFirst)
            return lRow.mLevel;
    }
    return platform::PRIORITY_TIME_CRITICAL;
}

}  // namespace

rtems_status_code rtems_task_create(rtems_name aName, rtems_task_priority /*aInitialPriority*/, uint32_t /*aStackSize*/,
                                    rtems_mode /*aMode*/, rtems_attribute /*aAttributes*/, rtems_id* apId) {
    std::unique_ptr<TaskControlBlock> lTask(new (std::nothrow) TaskControlBlock{aName, nullptr, nullptr, 0});
    if (lTask == nullptr)
        return RTEMS_TOO_MANY;
    const platform::Lock lLock(Table().mLock);
    auto& lSlots = Table().mSlots;
    const auto lFree = std::find(lSlots.begin(), lSlots.end(), nullptr);
    if (lFree == lSlots.end())
        return RTEMS_UNSATISFIED;
    *lFree = std::move(lTask);
    *apId = static_cast<rtems_id>(lFree - lSlots.begin());
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_ident(rtems_name aName, uint32_t /*aNode*/, rtems_id* apId) {
    if (aName == 0) {
        *apId = TASK_ID_SELF;
        return RTEMS_SUCCESSFUL;
    }
    const platform::Lock lLock(Table().mLock);
    const auto& lSlots = Table().mSlots;
    const auto lFound = std::find_if(lSlots.begin(), lSlots.end(),
                                     [aName](const auto& aSlot) { return aSlot != nullptr && aSlot->mName == aName; });
    if (lFound == lSlots.end())
        return RTEMS_INVALID_NAME;
    *apId = static_cast<rtems_id>(lFound - lSlots.begin());
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_start(rtems_id aId, rtems_task_entry aEntry, rtems_task_argument aArgument) {
    if (aEntry == nullptr)
        return RTEMS_INVALID_ADDRESS;
    // Held until the record knows its thread, so that the thread can find its own task from its first instruction on.
    const platform::Lock lLock(Table().mLock);
    if (aId >= MAX_TASKS || Table().mSlots[aId] == nullptr)
        return RTEMS_INVALID_ID;
    TaskControlBlock& lTask = *Table().mSlots[aId];
    if (lTask.mThread != nullptr)
        return RTEMS_INCORRECT_STATE;
    auto lCall = std::make_unique<EntryCall>(EntryCall{aEntry, aArgument});
    lTask.mThread = platform::Thread::Start(RunEntry, lCall.get());
    if (lTask.mThread == nullptr)
        return RTEMS_INCORRECT_STATE;
    static_cast<void>(lCall.release());  // the thread's now
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_restart(rtems_id, rtems_task_argument) {
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_delete(rtems_id aId) {
    return DeleteTask(aId, true);
}

rtems_status_code DeleteTask(rtems_id aId, bool aUnwind) {
    std::unique_ptr<TaskControlBlock> lTask;
    {
        const platform::Lock lLock(Table().mLock);
        auto* const lpSlot = FindSlot(aId);
        if (lpSlot == nullptr)
            return RTEMS_INVALID_ID;
        lTask.swap(*lpSlot);
    }
    if (lTask->mThread == nullptr)
        return RTEMS_SUCCESSFUL;
    if (!lTask->mThread->IsCurrent()) {
        lTask->mThread->End();
        return RTEMS_SUCCESSFUL;
    }
    lTask.reset();
    if (aUnwind)
        platform::Thread::EndCurrent();
    platform::Thread::EndCurrentWithoutUnwinding();
}

rtems_status_code rtems_task_suspend(rtems_id aId) {
    std::shared_ptr<platform::Thread> lThread;
    uint32_t lOldCount = 0;
    if (!FindThread(aId, &lThread) || lThread == nullptr || !lThread->Suspend(&lOldCount))
        return RTEMS_INTERNAL_ERROR;
    return lOldCount > 0 ? RTEMS_ALREADY_SUSPENDED : RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_resume(rtems_id aId) {
    std::shared_ptr<platform::Thread> lThread;
    if (!FindThread(aId, &lThread))
        return RTEMS_INVALID_ID;
    uint32_t lOldCount = 0;
    if (lThread == nullptr || !lThread->Resume(&lOldCount) || lOldCount == 0)
        return RTEMS_INCORRECT_STATE;
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_set_priority(rtems_id aId, rtems_task_priority aNewPriority,
                                          rtems_task_priority* apOldPriority) {
    std::shared_ptr<platform::Thread> lThread;
    if (!FindThread(aId, &lThread))
        return RTEMS_INVALID_ID;
    *apOldPriority =
        static_cast<rtems_task_priority>(lThread != nullptr ? lThread->GetPriority() : platform::PRIORITY_NORMAL);
    if (aNewPriority != RTEMS_CURRENT_PRIORITY && lThread != nullptr)
        lThread->SetPriority(LevelOfPriority(aNewPriority));
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_get_note(rtems_id aId, uint32_t aNotepad, uint32_t* apNote) {
    if (aNotepad > RTEMS_NOTEPAD_LAST)
        return RTEMS_INVALID_NUMBER;
    if (!IsTask(aId))
        return RTEMS_INVALID_ID;
    *apNote = 0;
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_set_note(rtems_id aId, uint32_t aNotepad, uint32_t /*aNote*/) {
    if (aNotepad > RTEMS_NOTEPAD_LAST)
        return RTEMS_INVALID_NUMBER;
    return IsTask(aId) ? RTEMS_INTERNAL_ERROR : RTEMS_INVALID_ID;
}
