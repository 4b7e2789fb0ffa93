#pragma once

#include "runtime/rtemsStatusCode.h"

// Counting semaphores after the RTEMS Classic API.  Every directive and operation may be called from any thread.

enum : rtems_attribute {
    RTEMS_PRIORITY = 0x04,                 // checked for consistency; waiters wake in the platform's order
    RTEMS_BINARY_SEMAPHORE = 0x10,         // starts with 1; otherwise it counts like any other
    RTEMS_SIMPLE_BINARY_SEMAPHORE = 0x20,  // the same
    RTEMS_INHERIT_PRIORITY = 0x40,         // checked for consistency, not applied
    RTEMS_PRIORITY_CEILING = 0x80          // checked for consistency, not applied
};

enum : rtems_option { RTEMS_WAIT = 0, RTEMS_NO_WAIT = 1 };  // accepted, not consulted: every obtain waits

constexpr rtems_interval RTEMS_NO_TIMEOUT = 0;  // a wait without limit

constexpr uint32_t MAX_SEMAPHORES = 50;  // ids are 0 to 49
constexpr uint32_t SEMAPHORE_MAX_COUNT = 1000;

// 0; 3 for name 0; 11 for inheritance or ceiling without binary and priority; 10 for a binary one with a count above 1;
// 5 when the table is full.  A count above SEMAPHORE_MAX_COUNT starts there.  The lowest free id goes to *apId.
rtems_status_code rtems_semaphore_create(rtems_name aName, uint32_t aInitialCount, rtems_attribute aAttributes,
                                         uint32_t aCeilingPriority, rtems_id* apId);

// 0 with the lowest id of that name in *apId, or 3.  The node is not used.
rtems_status_code rtems_semaphore_ident(rtems_name aName, uint32_t aNode, rtems_id* apId);

// 0, or 4 for an id above 49.  Threads that wait for the semaphore get 7.
rtems_status_code rtems_semaphore_delete(rtems_id aId);

// Takes one from the count, waiting at most aTimeOut ticks (0: without limit).
// 0 taken, 6 time-out, 7 deleted meanwhile, 25 no semaphore of that id, 4 for an id above 49.
rtems_status_code rtems_semaphore_obtain(rtems_id aId, rtems_option aOption, rtems_interval aTimeOut);

// Adds one to the count, up to SEMAPHORE_MAX_COUNT.  0, also when nothing could be added; 4 for an id above 49.
rtems_status_code rtems_semaphore_release(rtems_id aId);

// An object that owns a semaphore (create) or refers to another's (ident, copy).  Only the owner deletes it.  obtain
// and release may run on several threads at once; the rest is for the thread that holds the object.
class rtemsSemaphore : public rtemsStatusCode {
public:
    rtemsSemaphore() = default;
    rtemsSemaphore(const char* apName, rtems_attribute aScope, uint32_t aInitialCount, rtems_attribute aWaitMode,
                   rtems_attribute aType, rtems_attribute aPriorityInheritance, rtems_attribute aPriorityCeiling,
                   uint32_t aCeilingPriority);
    rtemsSemaphore(const char* apName, uint32_t aNode);
    rtemsSemaphore(const rtemsSemaphore& aOther);
    rtemsSemaphore& operator=(const rtemsSemaphore& aOther);
    virtual ~rtemsSemaphore();

    // Codes of rtems_semaphore_create, or 16 when the object has a semaphore already.
    virtual rtems_status_code create(const char* apName, rtems_attribute aScope, uint32_t aInitialCount,
                                     rtems_attribute aWaitMode, rtems_attribute aType,
                                     rtems_attribute aPriorityInheritance, rtems_attribute aPriorityCeiling,
                                     uint32_t aCeilingPriority);
    virtual rtems_status_code destroy();                                  // 0, or 23 when the object is no owner
    virtual rtems_status_code ident(const char* apName, uint32_t aNode);  // 0, 3, or 13 for an owner

    // Codes of the directives; 25 when the object holds no semaphore.
    rtems_status_code obtain(rtems_option aOption, uint32_t aMicroseconds = RTEMS_NO_TIMEOUT);
    rtems_status_code release();

    rtems_name name = 0;
    char name_text[5] = "NOID";
    bool owner = false;
    rtems_id id = 0;

private:
    // The id alone does not tell: 0 is that of the first semaphore too.
    bool HasSemaphore() const { return owner || name != 0; }
    void Reset();
};
