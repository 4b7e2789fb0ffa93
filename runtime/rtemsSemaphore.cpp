#include "runtime/rtemsSemaphore.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <mutex>

#include "platform/Lock.h"
#include "platform/Semaphore.h"
#include "runtime/rtemsClock.h"

namespace {

struct SemaphoreRecord {
    std::atomic<bool> mUsed = false;  // a semaphore has this record
    rtems_name mName = 0;
    platform::Semaphore mSemaphore{0, SEMAPHORE_MAX_COUNT};  // abandoned once its semaphore is deleted
};

// The records are used again and again and never destroyed.  So a semaphore may be deleted while threads wait for it,
// a thread may be ended while it waits, and tasks may use the table until the process is gone.
struct SemaphoreTable {
    std::mutex mLock;  // held to create, to find by name and to delete
    std::array<SemaphoreRecord, MAX_SEMAPHORES> mRecords;
};

SemaphoreTable& Table() {
    const platform::StopGuard lGuard;  // a thread that is stopped while it makes the table would stop all other users
    static SemaphoreTable* const slpTable = new SemaphoreTable;
    return *slpTable;
}

constexpr rtems_attribute ANY_BINARY = RTEMS_BINARY_SEMAPHORE | RTEMS_SIMPLE_BINARY_SEMAPHORE;

}  // namespace

rtems_status_code rtems_semaphore_create(rtems_name aName, uint32_t aInitialCount, rtems_attribute aAttributes,
                                         uint32_t /*aCeilingPriority*/, rtems_id* apId) {
    if (aName == 0)
        return RTEMS_INVALID_NAME;
    const bool lBinary = (aAttributes & ANY_BINARY) != 0;
    if ((aAttributes & (RTEMS_INHERIT_PRIORITY | RTEMS_PRIORITY_CEILING)) != 0 &&
        !(lBinary && (aAttributes & RTEMS_PRIORITY) != 0))
        return RTEMS_NOT_DEFINED;
    if (lBinary && aInitialCount > 1)
        return RTEMS_INVALID_NUMBER;

    const platform::Lock lLock(Table().mLock);
    auto& lRecords = Table().mRecords;
    const auto lFree =
        std::find_if(lRecords.begin(), lRecords.end(), [](const auto& aRecord) { return !aRecord.mUsed; });
    if (lFree == lRecords.end())
        return RTEMS_TOO_MANY;
    lFree->mName = aName;
    lFree->mSemaphore.Restart(lBinary ? 1 : std::min(aInitialCount, SEMAPHORE_MAX_COUNT));
    lFree->mUsed = true;
    *apId = static_cast<rtems_id>(lFree - lRecords.begin());
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_semaphore_ident(rtems_name aName, uint32_t /*aNode*/, rtems_id* apId) {
    const platform::Lock lLock(Table().mLock);
    const auto& lRecords = Table().mRecords;
    const auto lFound = std::find_if(lRecords.begin(), lRecords.end(),
                                     [aName](const auto& aRecord) { return aRecord.mUsed && aRecord.mName == aName; });
    if (lFound == lRecords.end())
        return RTEMS_INVALID_NAME;
    *apId = static_cast<rtems_id>(lFound - lRecords.begin());
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_semaphore_delete(rtems_id aId) {
    if (aId >= MAX_SEMAPHORES)
        return RTEMS_INVALID_ID;
    const platform::Lock lLock(Table().mLock);
    SemaphoreRecord& lRecord = Table().mRecords[aId];
    if (lRecord.mUsed.exchange(false))
        lRecord.mSemaphore.Abandon();
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_semaphore_obtain(rtems_id aId, rtems_option /*aOption*/, rtems_interval aTimeOut) {
    if (aId >= MAX_SEMAPHORES)
        return RTEMS_INVALID_ID;
    SemaphoreRecord& lRecord = Table().mRecords[aId];
    if (!lRecord.mUsed)
        return RTEMS_INTERNAL_ERROR;
    switch (lRecord.mSemaphore.Wait(aTimeOut == RTEMS_NO_TIMEOUT ? platform::Semaphore::NO_TIME_LIMIT : aTimeOut)) {
        case platform::Semaphore::WaitResult::TAKEN:
            return RTEMS_SUCCESSFUL;
        case platform::Semaphore::WaitResult::TIMED_OUT:
            return RTEMS_TIMEOUT;
        case platform::Semaphore::WaitResult::ABANDONED:
            return RTEMS_OBJECT_WAS_DELETED;
    }
    return RTEMS_INTERNAL_ERROR;
}

rtems_status_code rtems_semaphore_release(rtems_id aId) {
    if (aId >= MAX_SEMAPHORES)
        return RTEMS_INVALID_ID;
    SemaphoreRecord& lRecord = Table().mRecords[aId];
    if (lRecord.mUsed)
        lRecord.mSemaphore.Release();
    return RTEMS_SUCCESSFUL;
}

rtemsSemaphore::rtemsSemaphore(const char* apName, rtems_attribute aScope, uint32_t aInitialCount,
                               rtems_attribute aWaitMode, rtems_attribute aType, rtems_attribute aPriorityInheritance,
                               rtems_attribute aPriorityCeiling, uint32_t aCeilingPriority) {
    rtemsSemaphore::create(apName, aScope, aInitialCount, aWaitMode, aType, aPriorityInheritance, aPriorityCeiling,
                           aCeilingPriority);
}

rtemsSemaphore::rtemsSemaphore(const char* apName, uint32_t aNode) {
    rtemsSemaphore::ident(apName, aNode);
}

rtemsSemaphore::rtemsSemaphore(const rtemsSemaphore& aOther)
    : rtemsStatusCode(aOther), name(aOther.name), id(aOther.id) {
    std::memcpy(name_text, aOther.name_text, sizeof name_text);
}

rtemsSemaphore& rtemsSemaphore::operator=(const rtemsSemaphore& aOther) {
    if (!owner) {
        name = aOther.name;
        id = aOther.id;
    }
    return *this;
}

rtemsSemaphore::~rtemsSemaphore() {
    rtemsSemaphore::destroy();
}

rtems_status_code rtemsSemaphore::create(const char* apName, rtems_attribute aScope, uint32_t aInitialCount,
                                         rtems_attribute aWaitMode, rtems_attribute aType,
                                         rtems_attribute aPriorityInheritance, rtems_attribute aPriorityCeiling,
                                         uint32_t aCeilingPriority) {
    if (owner || id != 0)
        return Record(RTEMS_ILLEGAL_ON_SELF);
    owner = true;
    name = BuildName(apName, name_text);
    const rtems_attribute lAttributes = aScope | aWaitMode | aType | aPriorityInheritance | aPriorityCeiling;
    const rtems_status_code lStatus = rtems_semaphore_create(name, aInitialCount, lAttributes, aCeilingPriority, &id);
    if (lStatus != RTEMS_SUCCESSFUL)
        Reset();
    return Record(lStatus);
}

rtems_status_code rtemsSemaphore::destroy() {
    if (!owner)
        return Record(RTEMS_NOT_OWNER_OF_RESOURCE);
    const rtems_status_code lStatus = rtems_semaphore_delete(id);
    Reset();
    return Record(lStatus);
}

rtems_status_code rtemsSemaphore::ident(const char* apName, uint32_t aNode) {
    if (owner)
        return Record(RTEMS_UNSATISFIED);
    name = BuildName(apName, name_text);
    const rtems_status_code lStatus = rtems_semaphore_ident(name, aNode, &id);
    if (lStatus != RTEMS_SUCCESSFUL)
        Reset();
    return Record(lStatus);
}

rtems_status_code rtemsSemaphore::obtain(rtems_option aOption, uint32_t aMicroseconds) {
    if (!HasSemaphore())
        return Record(RTEMS_INTERNAL_ERROR);
    return Record(rtems_semaphore_obtain(id, aOption, MicrosecondsToTicks(aMicroseconds)));
}

rtems_status_code rtemsSemaphore::release() {
    return Record(HasSemaphore() ? rtems_semaphore_release(id) : RTEMS_INTERNAL_ERROR);
}

void rtemsSemaphore::Reset() {
    std::memcpy(name_text, "NOID", sizeof name_text);
    name = 0;
    id = 0;
    owner = false;
}
