#pragma once

#include "runtime/rtemsClock.h"
#include "runtime/rtemsStatusCode.h"

// Tasks after the RTEMS Classic API: each started task is a thread.  Every directive may be called from any thread.

using rtems_task_priority = uint32_t;  // 1 highest to 255 lowest
using rtems_mode = uint32_t;
using rtems_task_argument = uintptr_t;
using rtems_task_entry = void (*)(rtems_task_argument);

enum : rtems_mode {
    RTEMS_INTERRUPT_MASK = 0x7,
    RTEMS_NO_PREEMPT = 0x100,
    RTEMS_TIMESLICE = 0x200,
    RTEMS_NO_ASR = 0x400
};
constexpr rtems_attribute RTEMS_FLOATING_POINT = 0x01;
constexpr rtems_task_priority RTEMS_CURRENT_PRIORITY = 0;

constexpr uint32_t MAX_TASKS = 50;     // ids are 0 to 49
constexpr rtems_id TASK_ID_SELF = 50;  // the task of the calling thread
constexpr uint32_t RTEMS_NOTEPAD_LAST = 15;

// 0 with the lowest free id in *apId; 13 when the table is full.  The task has no thread before its
// start, so priority, stack size, mode and attributes are accepted and not applied.
rtems_status_code rtems_task_create(rtems_name aName, rtems_task_priority aInitialPriority, uint32_t aStackSize,
                                    rtems_mode aMode, rtems_attribute aAttributes, rtems_id* apId);

// 0 with the lowest id of that name in *apId (name 0: TASK_ID_SELF), or 3.  The node is not used.
rtems_status_code rtems_task_ident(rtems_name aName, uint32_t aNode, rtems_id* apId);

// Starts the task's thread at once, at normal priority.  0; 9 without an entry routine; 4 for an id that names no task
// (TASK_ID_SELF included); 14 when it was started before or the system gives no thread.
rtems_status_code rtems_task_start(rtems_id aId, rtems_task_entry aEntry, rtems_task_argument aArgument);

// Changes nothing; 0.
rtems_status_code rtems_task_restart(rtems_id aId, rtems_task_argument aArgument);

// Removes the task and ends its thread where it stands (platform/Thread.h says how).  0 or 4.  Does not return when the
// thread is the caller's.
rtems_status_code rtems_task_delete(rtems_id aId);

// Counted: the thread runs only while every suspend has its resume.  When suspend returns the thread does no further
// work.  0; 15 when it was suspended already; 25 for an id that names no task, a task without a running thread and one
// that cannot be stopped.
rtems_status_code rtems_task_suspend(rtems_id aId);

// 0; 14 when the task was not suspended or has no running thread; 4 for an id that names no task.
rtems_status_code rtems_task_resume(rtems_id aId);

// Maps aNewPriority to one of the platform's seven levels and applies it if the platform grants it; 0 changes nothing.
// The platform level as it was goes to *apOldPriority (a level of platform/Thread.h, not an RTEMS priority).
// 0, or 4 for an id that names no task.
rtems_status_code rtems_task_set_priority(rtems_id aId, rtems_task_priority aNewPriority,
                                          rtems_task_priority* apOldPriority);

// There are no notepads: reading gives 0 with note 0, writing 25.  10 for a notepad above 15, 4 for no task.
rtems_status_code rtems_task_get_note(rtems_id aId, uint32_t aNotepad, uint32_t* apNote);
rtems_status_code rtems_task_set_note(rtems_id aId, uint32_t aNotepad, uint32_t aNote);

// An object that owns a task (create), refers to another's (ident, copy) or to none (then operations act on the calling
// thread's task).  A subclass gives the task its work in body.  Used by the thread that holds it; body runs on the
// task's.  Nothing waits for a task's end: an owner that wants its task to finish must bring it there first.  A
// subclass's destructor begins with destroy (or suspend): the task must not run while the object is becoming one of its
// base class.
class rtemsTask : public rtemsStatusCode {
public:
    rtemsTask() = default;
    rtemsTask(const char* apName, rtems_task_priority aInitialPriority, uint32_t aStackSize, rtems_mode aPreemptionMode,
              rtems_mode aTimeSlicingMode, rtems_mode aASRMode, rtems_mode aInterruptLevel,
              rtems_attribute aFloatingPoint, rtems_attribute aScope);
    rtemsTask(const char* apName, uint32_t aNode);
    rtemsTask(const rtemsTask& aOther);
    rtemsTask& operator=(const rtemsTask& aOther);
    virtual ~rtemsTask();  // destroy

    // Codes of rtems_task_create, or 16 when the object names a task already.
    virtual rtems_status_code create(const char* apName, rtems_task_priority aInitialPriority, uint32_t aStackSize,
                                     rtems_mode aPreemptionMode, rtems_mode aTimeSlicingMode, rtems_mode aASRMode,
                                     rtems_mode aInterruptLevel, rtems_attribute aFloatingPoint,
                                     rtems_attribute aScope);
    // Codes of rtems_task_delete, or 23 when the object is no owner.  On the task's own thread it does not return.
    virtual rtems_status_code destroy();
    virtual rtems_status_code ident(const char* apName, uint32_t aNode);  // 0, 3, or 13 for an owner
    virtual rtems_status_code start(uint32_t aArgument);                  // of rtems_task_start, or 23
    virtual rtems_status_code restart(uint32_t aArgument);                // 0 or 23
    virtual rtems_status_code suspend();
    virtual rtems_status_code resume();
    virtual rtems_status_code wake_after(uint32_t aMicroseconds);              // of the calling thread
    virtual rtems_status_code wake_when(const rtems_time_of_day& aTimeOfDay);  // of the calling thread
    virtual void body(uint32_t aArgument);

    rtems_status_code get_priority(rtems_task_priority& aPriority);
    rtems_status_code set_priority(rtems_task_priority aPriority);
    rtems_status_code set_priority(rtems_task_priority aPriority, rtems_task_priority& aOldPriority);
    rtems_status_code get_note(uint32_t aNotepad, uint32_t& aNote);
    rtems_status_code set_note(uint32_t aNotepad, uint32_t aNote);

    rtems_name name = 0x53454C46;
    char name_text[5] = "SELF";
    bool owner = false;
    rtems_id id = TASK_ID_SELF;
    std::atomic<uint32_t> argument = 0;

    // The entry routine of a started task; the argument is the object.
    static void TaskEntry(rtems_task_argument aTask);

private:
    void Reset();
};
