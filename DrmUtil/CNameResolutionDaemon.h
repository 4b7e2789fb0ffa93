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

// How a destination is probed.
struct ProbeRules {
    // So many probes in a row, one in each pass, must fail before the destination is unreachable.  0: there is no
    // probe, and every destination is usable and not listed.
    uint32_t mTries = 1;

    // The limit (Ping) of the probe of a destination that is unreachable, in milliseconds: the less, the sooner its
    // return is noticed, but it must exceed the time of the longest way there and back.
    uint32_t mReturnLimit = PROBE_LIMIT_MS;
};

// A destination that the daemon watches.
struct CAddressEntry {
    uint32_t miStatus = ADDRESS_PENDING;
    char miAddress[ENTRY_ADDRESS_SIZE] = "";  // dotted; empty as long as only the name is known
    char miName[ENTRY_NAME_SIZE] = "";        // up to its first dot; empty as long as only the address is known
    uint32_t mFailedProbes = 0;               // in a row, until the destination is unreachable
    ProbeRules mRules;                        // of the last question
};

// Tells whether a destination may be sent to.  The first question about a destination lists it for good.  From then on
// the daemon's own thread resolves and probes (resolve.h) all listed destinations in turn, with a pause of a second
// between two passes.  If a destination is listed during a pass, the pass ends after the test in hand, and the result
// of that test is dropped.
//
// Multicast groups and this host, by name or by one of its first ten addresses, are always usable and never listed.
// Where the system gives no socket for the probe, the states of destinations do not change, so that a player without
// privileges plays.
//
// There is one daemon in the process.  The first question makes it, and it is never destroyed.  Any thread may ask, and
// no question waits for the network; only IsReachable does, and it is for the daemon's own thread.
class CNameResolutionDaemon {
public:
    static CNameResolutionDaemon* GetInstance();

    // The AddressStatus of a destination: a dotted address, or a host name, which counts up to its first dot.  A new
    // destination is listed and pending.  One whose text does not fit an entry is unreachable and not listed, unless it
    // is always usable.  The rules hold for the destination until the next question about it.
    static uint32_t GetAddressState(const char* aHost, const ProbeRules& aRules = ProbeRules());

    // Lists a destination.  One whose text does not fit an entry is ignored.
    static void AddAddress(const char* aHost);

    static bool IsDottedAddress(const char* aText);  // false for 255.255.255.255
    static bool IsMulticastAddress(const char* aText);
    // Whether the text begins with this host's name up to its first dot.
    static bool IsLocalHostName(const char* aText);
    // Whether the text is 127.0.0.1 or one of this host's first ten addresses.
    static bool IsLocalInterfaceAddress(const char* aText);
    static bool IsLocalDestination(const char* aText);

    // Sends a probe with a limit (Ping), waits for its end and answers whether a reply came.
    static bool IsReachable(const char* aAddress, uint32_t aLimit = PROBE_LIMIT_MS);

    // The work of the daemon's thread: passes without end.
    virtual void Run();

    // Starts a thread that runs Run, at one of platform::ThreadPriority's levels.  If the system gives none, a line in
    // the trace file says so, and every listed destination stays pending.
    virtual void StartThread(int aPriority);

    static std::atomic<CNameResolutionDaemon*> cInstance;
    static std::list<CAddressEntry>* cAddressList;  // oldest first; under the lock
    static platform::Semaphore* cListLockSemaphore;
    static bool cListChanged;              // an entry was added since the pass began; under the lock
    static std::atomic<uint32_t> cPeriod;  // milliseconds between passes

private:
    CNameResolutionDaemon();
    static CNameResolutionDaemon* Create();
    static void RunPass();
    static void Append(const CAddressEntry& aEntry);  // the caller holds the lock
};
