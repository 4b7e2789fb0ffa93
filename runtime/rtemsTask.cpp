#include "runtime/rtemsTask.h"

#include <cstring>

rtemsTask::rtemsTask(const char* apName, rtems_task_priority aInitialPriority, uint32_t aStackSize,
                     rtems_mode aPreemptionMode, rtems_mode aTimeSlicingMode, rtems_mode aASRMode,
                     rtems_mode aInterruptLevel, rtems_attribute aFloatingPoint, rtems_attribute aScope) {
    rtemsTask::create(apName, aInitialPriority, aStackSize, aPreemptionMode, aTimeSlicingMode, aASRMode,
                      aInterruptLevel, aFloatingPoint, aScope);
}

rtemsTask::rtemsTask(const char* apName, uint32_t aNode) {
    rtemsTask::ident(apName, aNode);
}

rtemsTask::rtemsTask(const rtemsTask& aOther)
    : rtemsStatusCode(aOther), name(aOther.name), id(aOther.id), argument(aOther.argument.load()) {
    std::memcpy(name_text, aOther.name_text, sizeof name_text);
}

rtemsTask& rtemsTask::operator=(const rtemsTask& aOther) {
    if (!owner && this != &aOther) {
        name = aOther.name;
        std::memcpy(name_text, aOther.name_text, sizeof name_text);
        id = aOther.id;
        argument = aOther.argument.load();
    }
    return *this;
}

rtemsTask::~rtemsTask() {
    rtemsTask::destroy();
}

rtems_status_code rtemsTask::create(const char* apName, rtems_task_priority aInitialPriority, uint32_t aStackSize,
                                    rtems_mode aPreemptionMode, rtems_mode aTimeSlicingMode, rtems_mode aASRMode,
                                    rtems_mode aInterruptLevel, rtems_attribute aFloatingPoint,
                                    rtems_attribute aScope) {
    if (id != TASK_ID_SELF)
        return Record(RTEMS_ILLEGAL_ON_SELF);
    owner = true;
    name = BuildName(apName, name_text);
    const rtems_mode lMode = (aASRMode & RTEMS_NO_ASR) | (aTimeSlicingMode & RTEMS_TIMESLICE) |
                             (aPreemptionMode & RTEMS_NO_PREEMPT) | (aInterruptLevel & RTEMS_INTERRUPT_MASK);
    const rtems_status_code lStatus =
        rtems_task_create(name, aInitialPriority, aStackSize, lMode, aFloatingPoint | aScope, &id);
    if (lStatus != RTEMS_SUCCESSFUL)
        Reset();
    return Record(lStatus);
}

rtems_status_code rtemsTask::destroy() {
    if (!owner)
        return Record(RTEMS_NOT_OWNER_OF_RESOURCE);
    const rtems_status_code lStatus = rtems_task_delete(id);
    Reset();
    return Record(lStatus);
}

rtems_status_code rtemsTask::ident(const char* apName, uint32_t aNode) {
    if (owner)
        return Record(RTEMS_UNSATISFIED);
    name = BuildName(apName, name_text);
    const rtems_status_code lStatus = rtems_task_ident(name, aNode, &id);
    if (lStatus != RTEMS_SUCCESSFUL)
        Reset();
    return Record(lStatus);
}

rtems_status_code rtemsTask::start(uint32_t aArgument) {
    if (!owner)
        return Record(RTEMS_NOT_OWNER_OF_RESOURCE);
    argument = aArgument;
    return Record(rtems_task_start(id, TaskEntry, reinterpret_cast<rtems_task_argument>(this)));
}

rtems_status_code rtemsTask::restart(uint32_t aArgument) {
    if (!owner)
        return Record(RTEMS_NOT_OWNER_OF_RESOURCE);
    argument = aArgument;
    return Record(rtems_task_restart(id, aArgument));
}

rtems_status_code rtemsTask::suspend() {
    return Record(rtems_task_suspend(id));
}

rtems_status_code rtemsTask::resume() {
    return Record(rtems_task_resume(id));
}

rtems_status_code rtemsTask::wake_after(uint32_t aMicroseconds) {
    return Record(rtems_task_wake_after(MicrosecondsToTicks(aMicroseconds)));
}

rtems_status_code rtemsTask::wake_when(const rtems_time_of_day& aTimeOfDay) {
    return Record(rtems_task_wake_when(&aTimeOfDay));
}

void rtemsTask::body(uint32_t) {}

rtems_status_code rtemsTask::get_priority(rtems_task_priority& aPriority) {
    return set_priority(RTEMS_CURRENT_PRIORITY, aPriority);
}

rtems_status_code rtemsTask::set_priority(rtems_task_priority aPriority) {
    rtems_task_priority lOldPriority = 0;
    return set_priority(aPriority, lOldPriority);
}

rtems_status_code rtemsTask::set_priority(rtems_task_priority aPriority, rtems_task_priority& aOldPriority) {
    return Record(rtems_task_set_priority(id, aPriority, &aOldPriority));
}

rtems_status_code rtemsTask::get_note(uint32_t aNotepad, uint32_t& aNote) {
    return Record(rtems_task_get_note(id, aNotepad, &aNote));
}

rtems_status_code rtemsTask::set_note(uint32_t aNotepad, uint32_t aNote) {
    return Record(rtems_task_set_note(id, aNotepad, aNote));
}

void rtemsTask::TaskEntry(rtems_task_argument aTask) {
    auto* const lpTask = reinterpret_cast<rtemsTask*>(aTask);
    lpTask->body(lpTask->argument);
}

void rtemsTask::Reset() {
    std::memcpy(name_text, "SELF", sizeof name_text);
    name = 0x53454C46;
    id = TASK_ID_SELF;
    owner = false;
}
