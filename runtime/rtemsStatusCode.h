#pragma once

#include <atomic>
#include <cstdint>

using rtems_status_code = uint32_t;
using rtems_name = uint32_t;  // four characters, the first in the most significant byte
using rtems_id = uint32_t;
using rtems_attribute = uint32_t;
using rtems_option = uint32_t;
using rtems_interval = uint32_t;  // ticks, which are milliseconds

constexpr rtems_attribute RTEMS_GLOBAL = 0x02;  // a scope of tasks and semaphores, without effect

// The codes of RTEMS that this runtime uses, and what they mean here.
enum : rtems_status_code {
    RTEMS_SUCCESSFUL = 0,
    RTEMS_INVALID_NAME = 3,            // a semaphore is created with name 0, or ident finds nothing of that name
    RTEMS_INVALID_ID = 4,              // there is no task of that id, or the semaphore's id is above 49
    RTEMS_TOO_MANY = 5,                // the semaphore table is full
    RTEMS_TIMEOUT = 6,                 // obtain has waited for the whole time
    RTEMS_OBJECT_WAS_DELETED = 7,      // the semaphore was deleted while obtain waited
    RTEMS_INVALID_ADDRESS = 9,         // a task is started without an entry routine
    RTEMS_INVALID_NUMBER = 10,         // a notepad above 15, or a binary semaphore with a count above 1
    RTEMS_NOT_DEFINED = 11,            // an inconsistent set of semaphore attributes
    RTEMS_UNSATISFIED = 13,            // the task table is full, or ident is called on an owner
    RTEMS_INCORRECT_STATE = 14,        // start: there is a thread already or none to be had; resume: not suspended
    RTEMS_ALREADY_SUSPENDED = 15,      // the task was suspended before; the suspension counts all the same
    RTEMS_ILLEGAL_ON_SELF = 16,        // create is called on an object that names a task or semaphore already
    RTEMS_NOT_CONFIGURED = 22,         // no operation has run yet
    RTEMS_NOT_OWNER_OF_RESOURCE = 23,  // start, restart or destroy is called on an object that is no owner
    RTEMS_INTERNAL_ERROR = 25,         // the platform refused, or a notepad is written
    SUCCESSFUL = RTEMS_SUCCESSFUL
};

// The base of the runtime's classes, with the status of the last operation.  If several threads use an object at once,
// it is the status of whichever operation ended last.
class rtemsStatusCode {
public:
    rtemsStatusCode() = default;
    rtemsStatusCode(const rtemsStatusCode&) {}
    rtemsStatusCode& operator=(const rtemsStatusCode&) { return *this; }

    bool successful() const { return last_status == RTEMS_SUCCESSFUL; }

    std::atomic<rtems_status_code> last_status = RTEMS_NOT_CONFIGURED;

protected:
    rtems_status_code Record(rtems_status_code aStatus) {
        last_status = aStatus;
        return aStatus;
    }
};

// Writes the first four characters of apText, filled up with blanks, and a NUL to apNameText, and returns the four
// characters as a name.
rtems_name BuildName(const char* apText, char (&apNameText)[5]);
