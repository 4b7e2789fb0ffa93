#pragma once

#include "runtime/rtemsClock.h"
#include "runtime/rtemsStatusCode.h"

// Tasks after the RTEMS Classic API.  Each started task is a thread.  Every directive may be called from any thread.

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

// The directives return RTEMS_SUCCESSFUL, RTEMS_INVALID_ID for an id that names no task, and what each comment names.

// Makes a task and puts its id, the lowest that is free, into *apId.  The task has no thread before its start, so
// priority, stack size, mode and attributes have no effect.  RTEMS_UNSATISFIED when there are MAX_TASKS.
rtems_status_code rtems_task_create(rtems_name aName, rtems_task_priority aInitialPriority, uint32_t aStackSize,
                                    rtems_mode aMode, rtems_attribute aAttributes, rtems_id* apId);

// Puts the lowest id of that name into *apId, TASK_ID_SELF for name 0.  The node has no effect.  RTEMS_INVALID_NAME
// when there is none.
rtems_status_code rtems_task_ident(rtems_name aName, uint32_t aNode, rtems_id* apId);

// Starts the task's thread at once, at normal priority.  TASK_ID_SELF names no task here.  RTEMS_INVALID_ADDRESS
// without an entry routine; RTEMS_INCORRECT_STATE when the task was started before or the system gives no thread.
rtems_status_code rtems_task_start(rtems_id aId, rtems_task_entry aEntry, rtems_task_argument aArgument);

// Changes nothing and succeeds.
rtems_status_code rtems_task_restart(rtems_id aId, rtems_task_argument aArgument);

// Removes the task and ends its thread where it stands (platform/Thread.h says how).  Does not return when the thread
// is the caller's.
rtems_status_code rtems_task_delete(rtems_id aId);

// Suspensions are counted: the thread runs only while every suspend has had its resume.  When suspend returns, the
// thread does no further work.  RTEMS_ALREADY_SUSPENDED when it was suspended before; RTEMS_INTERNAL_ERROR when there
// is no task of that id, when its thread does not run and when the thread cannot be stopped.
rtems_status_code rtems_task_suspend(rtems_id aId);

// RTEMS_INCORRECT_STATE when the task was not suspended or its thread does not run.
rtems_status_code rtems_task_resume(rtems_id aId);

// Gives the thread the one of the platform's seven levels that stands for aNewPriority, if the platform grants it;
// RTEMS_CURRENT_PRIORITY changes nothing.  *apOldPriority becomes the level before, in the numbers of
// platform/Thread.h.
rtems_status_code rtems_task_set_priority(rtems_id aId, rtems_task_priority aNewPriority,
                                          rtems_task_priority* apOldPriority);

// This runtime keeps no notepads: every note reads as 0, and writing one gives RTEMS_INTERNAL_ERROR.
// RTEMS_INVALID_NUMBER for a notepad above RTEMS_NOTEPAD_LAST.
rtems_status_code rtems_task_get_note(rtems_id aId, uint32_t aNotepad, uint32_t* apNote);
rtems_status_code rtems_task_set_note(rtems_id aId, uint32_t aNotepad, uint32_t aNote);

// An object that owns a task (after create), refers to another object's (after ident, or as a copy) or names none; then
// its operations act on the calling thread's task.  A subclass overrides body with the task's work, which runs on the
// task's thread; everything else is for the one thread that uses the object.
//
// Nothing waits for a task's work to finish: destroy ends the thread where it stands.  A subclass's destructor begins
// with destroy (or suspend), because the task must not run on while the subclass's members are destroyed.  Its thread's
// stack is not unwound, so what the task owns belongs into the object.
class rtemsTask : public rtemsStatusCode {
public:
    rtemsTask() = default;
    rtemsTask(const char* apName, rtems_task_priority aInitialPriority, uint32_t aStackSize, rtems_mode aPreemptionMode,
              rtems_mode aTimeSlicingMode, rtems_mode aASRMode, rtems_mode aInterruptLevel,
              rtems_attribute aFloatingPoint, rtems_attribute aScope);
    rtemsTask(const char* apName, uint32_t aNode);
    rtemsTask(const rtemsTask& aOther);
    rtemsTask& operator=(const rtemsTask& aOther);
    virtual ~rtemsTask();  // as destroy

    // The codes of rtems_task_create, or RTEMS_ILLEGAL_ON_SELF when the object names a task already.
    virtual rtems_status_code create(const char* apName, rtems_task_priority aInitialPriority, uint32_t aStackSize,
                                     rtems_mode aPreemptionMode, rtems_mode aTimeSlicingMode, rtems_mode aASRMode,
                                     rtems_mode aInterruptLevel, rtems_attribute aFloatingPoint,
                                     rtems_attribute aScope);
    // The codes of rtems_task_delete, or RTEMS_NOT_OWNER_OF_RESOURCE when the object is no owner.  Does not return on
    // the task's own thread.
    virtual rtems_status_code destroy();
    // The codes of rtems_task_ident, or RTEMS_UNSATISFIED for an owner.
    virtual rtems_status_code ident(const char* apName, uint32_t aNode);
    // The codes of the directives, or RTEMS_NOT_OWNER_OF_RESOURCE when the object is no owner.
    virtual rtems_status_code start(uint32_t aArgument);
    virtual rtems_status_code restart(uint32_t aArgument);
    virtual rtems_status_code suspend();
    virtual rtems_status_code resume();
    // Both let the calling thread sleep, whichever task the object names.
    virtual rtems_status_code wake_after(uint32_t aMicroseconds);
    virtual rtems_status_code wake_when(const rtems_time_of_day& aTimeOfDay);
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

    // The entry routine of every started task.  Its argument is the rtemsTask object.
    static void TaskEntry(rtems_task_argument aTask);

private:
    void Reset();
};
