#include "DrmUtil/CNameResolutionDaemon.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/Clock.h"
#include "platform/HostLookup.h"
#include "platform/Socket.h"
#include "platform/Thread.h"
#include "runtime/Trace.h"

namespace {

constexpr size_t HOST_NAME_SIZE = 201;

void TakeList() {
    CNameResolutionDaemon::cListLockSemaphore->Wait(platform::Semaphore::NO_TIME_LIMIT);
}

void GiveBackList() {
    CNameResolutionDaemon::cListLockSemaphore->Release();
}

// Holds the list for a scope.  A sender is a task, which others may stop, but not while it holds the list.
class ListLock {
public:
    ListLock() { TakeList(); }
    ~ListLock() { GiveBackList(); }
    ListLock(const ListLock&) = delete;
    ListLock& operator=(const ListLock&) = delete;

private:
    platform::StopGuard cGuard;
};

std::string_view UpToDot(std::string_view aName) {
    return aName.substr(0, aName.find('.'));
}

// Copies a text into a field of an entry.  False, with the field unchanged, when the text does not fit.
template <size_t SIZE>
bool Store(std::string_view aText, char (&aField)[SIZE]) {
    if (aText.size() >= SIZE)
        return false;
    std::fill(std::copy(aText.begin(), aText.end(), aField), aField + SIZE, '\0');
    return true;
}

// Makes the entry under which a destination is listed.  False when its text does not fit.
bool MakeEntry(const char* aHost, CAddressEntry* apEntry) {
    if (CNameResolutionDaemon::IsDottedAddress(aHost))
        return Store(aHost, apEntry->miAddress);
    return Store(UpToDot(aHost), apEntry->miName);
}

// Resolve and Probe test an entry, by its name and by its address.  Both wait for the network.

void Resolve(CAddressEntry* apEntry) {
    CHECK_INVARIANT_AS(apEntry->miName[0] != '\0', "liAddressToTest.miName[0]!='\\0'");
    uint32_t lAddress = 0;
    const bool lFound = platform::LookUpHost(apEntry->miName, &lAddress);
    if (lFound)
        platform::FormatAddress(lAddress, apEntry->miAddress);
    apEntry->miStatus = lFound ? ADDRESS_USABLE : ADDRESS_UNREACHABLE;
}

void Probe(CAddressEntry* apEntry) {
    const bool lIsGone = apEntry->miStatus == ADDRESS_UNREACHABLE;
    const uint32_t lLimit = lIsGone ? apEntry->mRules.mReturnLimit : PROBE_LIMIT_MS;
    if (!CNameResolutionDaemon::IsReachable(apEntry->miAddress, lLimit)) {
        if (!ProbeSocketRefused() && ++apEntry->mFailedProbes >= apEntry->mRules.mTries)
            apEntry->miStatus = ADDRESS_UNREACHABLE;
        return;
    }
    apEntry->mFailedProbes = 0;
    apEntry->miStatus = ADDRESS_USABLE;
    // Where a return is to be noticed soon, the name waits for the next pass, because the name server may take many
    // seconds.  An entry that was listed by name keeps that name, because the next question by it must find the entry.
    const bool lIsUrgent = lIsGone && lLimit < PROBE_LIMIT_MS;
    std::string lName;
    if (!lIsUrgent && apEntry->miName[0] == '\0' &&
        platform::LookUpHostName(platform::ParseAddress(apEntry->miAddress), &lName))
        Store(UpToDot(lName), apEntry->miName);
}

void Test(CAddressEntry* apEntry) {
    if (CNameResolutionDaemon::IsDottedAddress(apEntry->miAddress))
        Probe(apEntry);
    else
        Resolve(apEntry);
}

}  // namespace

std::atomic<CNameResolutionDaemon*> CNameResolutionDaemon::cInstance = nullptr;
std::list<CAddressEntry>* CNameResolutionDaemon::cAddressList = nullptr;
platform::Semaphore* CNameResolutionDaemon::cListLockSemaphore = nullptr;
bool CNameResolutionDaemon::cListChanged = false;
std::atomic<uint32_t> CNameResolutionDaemon::cPeriod = 0;

CNameResolutionDaemon* CNameResolutionDaemon::GetInstance() {
    if (cInstance != nullptr)
        return cInstance;
    const platform::StopGuard lGuard;
    static CNameResolutionDaemon* const slpDaemon = Create();  // one thread does this, and others wait for it
    return slpDaemon;
}

CNameResolutionDaemon* CNameResolutionDaemon::Create() {
    const bool lStarted = platform::StartSockets();
    CHECK_INVARIANT(lStarted);
    return new CNameResolutionDaemon;
}

CNameResolutionDaemon::CNameResolutionDaemon() {
    CHECK_INVARIANT_AS(cListLockSemaphore == nullptr, "cListLockSemaphore==0");
    CHECK_INVARIANT_AS(cAddressList == nullptr, "cAddressList==0");
    cListLockSemaphore = new platform::Semaphore(1, 1000);
    cAddressList = new std::list<CAddressEntry>;
    cPeriod = 1000;
    cListChanged = false;
    cInstance = this;  // last, because others use everything above as soon as they see it
    CNameResolutionDaemon::StartThread(platform::PRIORITY_NORMAL);
}

void CNameResolutionDaemon::StartThread(int aPriority) {
    platform::Thread lThread;
    if (lThread.Start([](void* aDaemon) { static_cast<CNameResolutionDaemon*>(aDaemon)->Run(); }, this))
        lThread.SetPriority(static_cast<platform::ThreadPriority>(aPriority));
    else
        WriteTrace("starting the name resolution thread failed.");
}

uint32_t CNameResolutionDaemon::GetAddressState(const char* aHost, const ProbeRules& aRules) {
    GetInstance();
    if (aRules.mTries == 0 || IsMulticastAddress(aHost) || IsLocalDestination(aHost))
        return ADDRESS_USABLE;
    CAddressEntry lWanted;
    if (!MakeEntry(aHost, &lWanted))
        return ADDRESS_UNREACHABLE;
    lWanted.mRules = aRules;
    const ListLock lLock;
    const auto lFound = std::find_if(cAddressList->begin(), cAddressList->end(), [&lWanted](const auto& aEntry) {
        return lWanted.miAddress[0] != '\0' ? std::strcmp(aEntry.miAddress, lWanted.miAddress) == 0
                                            : std::strcmp(aEntry.miName, lWanted.miName) == 0;
    });
    if (lFound != cAddressList->end()) {
        lFound->mRules = aRules;
        return lFound->miStatus;
    }
    Append(lWanted);
    return ADDRESS_PENDING;
}

void CNameResolutionDaemon::AddAddress(const char* aHost) {
    GetInstance();
    CAddressEntry lEntry;
    if (!MakeEntry(aHost, &lEntry))
        return;
    const ListLock lLock;
    Append(lEntry);
}

void CNameResolutionDaemon::Append(const CAddressEntry& aEntry) {
    cAddressList->push_back(aEntry);
    cListChanged = true;
}

void CNameResolutionDaemon::Run() {
    for (;;) {
        RunPass();
        platform::Sleep(cPeriod);
    }
}

// Holds the list but for the tests.  No guard is needed here, because nobody stops the daemon's own thread.
void CNameResolutionDaemon::RunPass() {
    TakeList();
    cListChanged = false;
    for (CAddressEntry& lEntry : *cAddressList) {
        CAddressEntry liAddressToTest = lEntry;
        GiveBackList();
        Test(&liAddressToTest);
        TakeList();
        if (cListChanged)
            break;
        lEntry = liAddressToTest;
    }
    GiveBackList();
}

bool CNameResolutionDaemon::IsDottedAddress(const char* aText) {
    GetInstance();
    return platform::ParseAddress(aText) != platform::NO_ADDRESS;
}

bool CNameResolutionDaemon::IsMulticastAddress(const char* aText) {
    return IsDottedAddress(aText) && platform::IsMulticast(platform::ParseAddress(aText));
}

bool CNameResolutionDaemon::IsLocalHostName(const char* aText) {
    GetInstance();
    char lText[HOST_NAME_SIZE];
    if (!platform::LocalHostName(lText, sizeof lText))
        return false;
    const std::string_view lName = UpToDot(lText);
    // An empty name would make every text local.
    return !lName.empty() && std::string_view(aText).starts_with(lName);
}

bool CNameResolutionDaemon::IsLocalInterfaceAddress(const char* aText) {
    if (!IsDottedAddress(aText))
        return false;
    if (std::strcmp(aText, "127.0.0.1") == 0)
        return true;
    const auto lAddresses = platform::InterfaceAddresses();
    CHECK_INVARIANT(lAddresses.has_value());
    if (!lAddresses.has_value())
        return false;
    return std::any_of(lAddresses->begin(), lAddresses->end(), [aText](uint32_t aAddress) {
        char lText[ENTRY_ADDRESS_SIZE];
        platform::FormatAddress(aAddress, lText);
        return std::strcmp(aText, lText) == 0;
    });
}

bool CNameResolutionDaemon::IsLocalDestination(const char* aText) {
    return IsLocalHostName(aText) || IsLocalInterfaceAddress(aText);
}

bool CNameResolutionDaemon::IsReachable(const char* aAddress, uint32_t aLimit) {
    GetInstance();
    return Ping(aAddress, aLimit) == 1;
}
