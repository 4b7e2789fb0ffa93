#pragma once

#include <atomic>
#include <cstdint>

using rtems_status_code = uint32_t;
using rtems_name = uint32_t;  // four characters, the first in the most significant byte
using rtems_id = uint32_t;
using rtems_attribute = uint32_t;
using rtems_option = uint32_t;
using rtems_interval = uint32_t;  // ticks, which are milliseconds

constexpr rtems_attribute RTEMS_GLOBAL = 0x02;  // the scope of tasks and semaphores: recorded, not used

// The codes of RTEMS that this runtime uses, and what they mean here.
enum : rtems_status_code {
    RTEMS_SUCCESSFUL = 0,
    RTEMS_INVALID_NAME = 3,            // a semaphore with name 0; ident finds nothing of that name
    RTEMS_INVALID_ID = 4,              // the id names no task or no semaphore record
    RTEMS_TOO_MANY = 5,                // the semaphore table is full
    RTEMS_TIMEOUT = 6,                 // obtain timed out
    RTEMS_OBJECT_WAS_DELETED = 7,      // the semaphore was deleted while waited for
    RTEMS_INVALID_ADDRESS = 9,         // start without an entry routine
    RTEMS_INVALID_NUMBER = 10,         // a notepad above 15; a binary semaphore with a count above 1
    RTEMS_NOT_DEFINED = 11,            // an inconsistent set of semaphore attributes
    RTEMS_UNSATISFIED = 13,            // the task table is full; ident on an object that owns
    RTEMS_INCORRECT_STATE = 14,        // the thread could not be made or is there already; resume of a running task
    RTEMS_ALREADY_SUSPENDED = 15,      // suspend of a suspended task (it counts all the same)
    RTEMS_ILLEGAL_ON_SELF = 16,        // create on an object that names a task or semaphore already
    RTEMS_NOT_CONFIGURED = 22,         // no operation has run yet
    RTEMS_NOT_OWNER_OF_RESOURCE = 23,  // start, restart or destroy by an object that did not create
    RTEMS_INTERNAL_ERROR = 25,         // the platform refused; writing a notepad
    SUCCESSFUL = RTEMS_SUCCESSFUL
};

// The base of the runtime's classes: the status of the last operation.  Objects may be used by several threads at once
// as far as their class says; then the status is the latest of any of them.
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

// Writes the first four characters of apText, filled up with blanks, and a NUL to apNameText, and returns them packed.
rtems_name BuildName(const char* apText, char (&apNameText)[5]);
