#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>

#include "DrmUtil/resolve.h"
#include "platform/Semaphore.h"

constexpr size_t ENTRY_ADDRESS_SIZE = 16;  // characters with the NUL
constexpr size_t ENTRY_NAME_SIZE = 32;

enum AddressStatus : uint32_t {
    ADDRESS_PENDING = 0,  // not tested yet
    ADDRESS_USABLE = 1,
    ADDRESS_UNREACHABLE = 2
};

// A destination that the daemon watches.
struct CAddressEntry {
    uint32_t miStatus = ADDRESS_PENDING;
    char miAddress[ENTRY_ADDRESS_SIZE] = "";  // dotted; empty while only the name is known
    char miName[ENTRY_NAME_SIZE] = "";        // up to its first dot; empty while only the address is known
    uint32_t mFailedProbes = 0;               // in a row, until the destination is unreachable
};

// Tells whether a destination may be sent to.  The first question about one lists it for good; from then on a thread of
// the daemon's own resolves and probes (resolve.h) all listed destinations in turn, with a second between two passes.
// A pass during which a destination is listed is given up after the one in hand, whose result is dropped.
//
// Multicast groups and this host, by name or one of its first ten addresses, are always usable and never listed.  Where
// the system grants no socket for the probe, destinations stay as they are, so that a player without privileges plays.
//
// There is one daemon in the process, made by the first question and never destroyed.  Any thread may ask it, and none
// waits for the network; only IsReachable does, which is for the daemon's own thread.
class CNameResolutionDaemon {
public:
    static CNameResolutionDaemon* GetInstance();

    // The AddressStatus of a destination, by dotted address or by host name (which counts up to its first dot).  One
    // that is not listed is added and pending; one whose text does not fit an entry is unreachable and not listed,
    // unless it is always usable.
    static uint32_t GetAddressState(const char* aHost);

    // Lists a destination, which must fit an entry.
    static void AddAddress(const char* aHost);

    static bool IsDottedAddress(const char* aText);  // false for 255.255.255.255
    static bool IsMulticastAddress(const char* aText);
    static bool IsLocalHostName(const char* aText);  // whether it begins with this host's name up to its first dot
    static bool IsLocalInterfaceAddress(const char* aText);  // of the first ten addresses
    static bool IsLocalDestination(const char* aText);

    // Whether a probe is answered, waiting aWait milliseconds (resolve.h).
    static bool IsReachable(const char* aAddress, uint32_t aWait = PROBE_WAIT_MS);

    // The daemon's thread: passes without end.
    virtual void Run();

    // Starts a thread that runs Run, at one of platform::ThreadPriority's levels.  When the system gives none, a line
    // in the trace file says so, and every destination stays as it is listed.
    virtual void StartThread(int aPriority);

    static std::atomic<CNameResolutionDaemon*> cInstance;
    static std::list<CAddressEntry>* cAddressList;  // in the order of their listing; under the lock
    static platform::Semaphore* cListLockSemaphore;
    static bool cListChanged;              // since the pass began; under the lock
    static std::atomic<uint32_t> cPeriod;  // milliseconds between passes

    // So many probes of a destination in a row, one in each pass, must fail before it is unreachable.  0: there is no
    // probe, and every destination is usable and not listed.  To be set before the first question.
    static std::atomic<uint32_t> cProbeTries;

    // How long the probe of a destination that is unreachable waits for an answer, in milliseconds: the less, the
    // sooner its return is noticed, but it must exceed the time of the longest way there and back.
    static std::atomic<uint32_t> cReturnWait;

private:
    CNameResolutionDaemon();
    static CNameResolutionDaemon* Create();
    static void RunPass();
    static void Append(const CAddressEntry& aEntry);  // under the lock
};
