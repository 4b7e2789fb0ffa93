#pragma once

#include "runtime/rtemsStatusCode.h"

// Counting semaphores after the RTEMS Classic API.  Every directive and operation may be called from any thread.

enum : rtems_attribute {
    RTEMS_PRIORITY = 0x04,                 // only checked at creation; waiters wake in the platform's order
    RTEMS_BINARY_SEMAPHORE = 0x10,         // starts with a count of 1 and counts like any other from then on
    RTEMS_SIMPLE_BINARY_SEMAPHORE = 0x20,  // the same as RTEMS_BINARY_SEMAPHORE
    RTEMS_INHERIT_PRIORITY = 0x40,         // only checked at creation
    RTEMS_PRIORITY_CEILING = 0x80          // only checked at creation
};

enum : rtems_option { RTEMS_WAIT = 0, RTEMS_NO_WAIT = 1 };  // without effect: every obtain waits

constexpr rtems_interval RTEMS_NO_TIMEOUT = 0;  // a wait without limit

constexpr uint32_t MAX_SEMAPHORES = 50;  // ids are 0 to 49
constexpr uint32_t SEMAPHORE_MAX_COUNT = 1000;

// The directives return:
// - RTEMS_SUCCESSFUL, also when release finds the count at SEMAPHORE_MAX_COUNT and delete finds no semaphore;
// - RTEMS_INVALID_ID for an id above 49;
// - and what each comment names.

// Makes a semaphore and puts its id, the lowest that is free, into *apId.  A count above SEMAPHORE_MAX_COUNT becomes
// that.  RTEMS_INVALID_NAME for name 0; RTEMS_NOT_DEFINED for inheritance or ceiling without binary and
// RTEMS_PRIORITY; RTEMS_INVALID_NUMBER for a binary semaphore with a count above 1; RTEMS_TOO_MANY when there are
// MAX_SEMAPHORES.
rtems_status_code rtems_semaphore_create(rtems_name aName, uint32_t aInitialCount, rtems_attribute aAttributes,
                                         uint32_t aCeilingPriority, rtems_id* apId);

// Puts the lowest id of that name into *apId.  The node has no effect.  RTEMS_INVALID_NAME when there is none.
rtems_status_code rtems_semaphore_ident(rtems_name aName, uint32_t aNode, rtems_id* apId);

// Threads that wait for the semaphore get RTEMS_OBJECT_WAS_DELETED.
rtems_status_code rtems_semaphore_delete(rtems_id aId);

// Takes one from the count, waiting at most aTimeOut ticks (0: without limit) until it is above 0.  RTEMS_TIMEOUT;
// RTEMS_OBJECT_WAS_DELETED when the semaphore was deleted meanwhile; RTEMS_INTERNAL_ERROR when there is none of that
// id.
rtems_status_code rtems_semaphore_obtain(rtems_id aId, rtems_option aOption, rtems_interval aTimeOut);

// Adds one to the count.
rtems_status_code rtems_semaphore_release(rtems_id aId);

// An object that owns a semaphore (after create) or refers to another object's (after ident, or as a copy).  Only the
// owner deletes the semaphore.  Several threads may call obtain and release at once; everything else is for one thread.
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

    // The codes of rtems_semaphore_create, or RTEMS_ILLEGAL_ON_SELF when the object has a semaphore already.
    virtual rtems_status_code create(const char* apName, rtems_attribute aScope, uint32_t aInitialCount,
                                     rtems_attribute aWaitMode, rtems_attribute aType,
                                     rtems_attribute aPriorityInheritance, rtems_attribute aPriorityCeiling,
                                     uint32_t aCeilingPriority);
    // RTEMS_NOT_OWNER_OF_RESOURCE when the object is no owner.
    virtual rtems_status_code destroy();
    // The codes of rtems_semaphore_ident, or RTEMS_UNSATISFIED for an owner.
    virtual rtems_status_code ident(const char* apName, uint32_t aNode);

    // The codes of the directives, or RTEMS_INTERNAL_ERROR when the object has no semaphore.
    rtems_status_code obtain(rtems_option aOption, uint32_t aMicroseconds = RTEMS_NO_TIMEOUT);
    rtems_status_code release();

    rtems_name name = 0;
    char name_text[5] = "NOID";
    bool owner = false;
    rtems_id id = 0;

private:
    // The id does not tell, because the first semaphore has the id 0 too.
    bool HasSemaphore() const { return owner || name != 0; }
    void Reset();
};
