#include "runtime/rtemsSemaphore.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <mutex>

#include "platform/Lock.h"
#include "platform/Semaphore.h"
#include "runtime/rtemsClock.h"

namespace {

struct SemaphoreRecord {
    rtems_name mName = 0;
    rtems_attribute mAttributes = 0;
    std::shared_ptr<platform::Semaphore> mSemaphore;  // null: the record is free
};

struct SemaphoreTable {
    std::mutex mLock;
    std::array<SemaphoreRecord, MAX_SEMAPHORES> mRecords;
};

// Never destroyed: tasks use it until the process is gone.
SemaphoreTable& Table() {
    const platform::StopGuard lGuard;  // a thread that is stopped while it makes the table would stop all other users
    static SemaphoreTable* const slpTable = new SemaphoreTable;
    return *slpTable;
}

constexpr rtems_attribute ANY_BINARY = RTEMS_BINARY_SEMAPHORE | RTEMS_SIMPLE_BINARY_SEMAPHORE;

std::shared_ptr<platform::Semaphore> FindSemaphore(rtems_id aId) {
    const platform::Lock lLock(Table().mLock);
    return Table().mRecords[aId].mSemaphore;
}

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

    auto lSemaphore = std::make_shared<platform::Semaphore>(lBinary ? 1 : std::min(aInitialCount, SEMAPHORE_MAX_COUNT),
                                                            SEMAPHORE_MAX_COUNT);
    const platform::Lock lLock(Table().mLock);
    auto& lRecords = Table().mRecords;
    const auto lFree = std::find_if(lRecords.begin(), lRecords.end(),
                                    [](const SemaphoreRecord& aRecord) { return aRecord.mSemaphore == nullptr; });
    if (lFree == lRecords.end())
        return RTEMS_TOO_MANY;
    *lFree = {aName, aAttributes, std::move(lSemaphore)};
    *apId = static_cast<rtems_id>(lFree - lRecords.begin());
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_semaphore_ident(rtems_name aName, uint32_t /*aNode*/, rtems_id* apId) {
    const platform::Lock lLock(Table().mLock);
    const auto& lRecords = Table().mRecords;
    const auto lFound = std::find_if(lRecords.begin(), lRecords.end(), [aName](const SemaphoreRecord& aRecord) {
        return aRecord.mSemaphore != nullptr && aRecord.mName == aName;
    });
    if (lFound == lRecords.end())
        return RTEMS_INVALID_NAME;
    *apId = static_cast<rtems_id>(lFound - lRecords.begin());
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_semaphore_delete(rtems_id aId) {
    if (aId >= MAX_SEMAPHORES)
        return RTEMS_INVALID_ID;
    std::shared_ptr<platform::Semaphore> lSemaphore;
    {
        const platform::Lock lLock(Table().mLock);
        lSemaphore.swap(Table().mRecords[aId].mSemaphore);
    }
    if (lSemaphore != nullptr)
        lSemaphore->Abandon();
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_semaphore_obtain(rtems_id aId, rtems_option /*aOption*/, rtems_interval aTimeOut) {
    if (aId >= MAX_SEMAPHORES)
        return RTEMS_INVALID_ID;
    const auto lSemaphore = FindSemaphore(aId);  // its own share: it may be deleted during the wait
    if (lSemaphore == nullptr)
        return RTEMS_INTERNAL_ERROR;
    switch (lSemaphore->Wait(aTimeOut == RTEMS_NO_TIMEOUT ? platform::Semaphore::NO_TIME_LIMIT : aTimeOut)) {
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
    if (const auto lSemaphore = FindSemaphore(aId); lSemaphore != nullptr)
        lSemaphore->Release();
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
