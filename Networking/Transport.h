#pragma once

#include <cstdint>
#include <string>

#include "Networking/Layer.h"

constexpr uint32_t RETRY_DELAY = 800;  // milliseconds before a transport that answers at once is asked again

// What the layers above do differently over different transports.
struct TransportTraits {
    bool mPacesItself = false;    // the time-out of Receive is a pause before the read, not a wait for a packet
    bool mHasAddressing = false;  // PFT fragments carry source and destination
    bool mFileMode = false;       // received sequence numbers are not followed (AFLayer)
};

constexpr uint64_t FILE_MAX_SIZE =
    524288;  // bytes of a recording that is played unless the endpoint's user allows more

// Wishes of the endpoint's user to its transport.  The defaults are the fixed behaviour.
struct TransportSettings {
    // Of recordings.
    bool mOnePass = false;                    // it is read once, without pauses; then the transport is at its end
    uint64_t mFileSizeLimit = FILE_MAX_SIZE;  // bytes of a recording that is played

    // Of networks.
    bool mLive = false;        // datagrams of any length are taken, and silence and foreign datagrams leave no line
    std::string mInterface;    // name or IPv4 address: where a group is joined, or multicast sent; empty: as Open says
    std::string mSource;       // IPv4 address of the only sender whose datagrams to the group are taken; empty: any
    bool mSharePort = false;   // other receivers of the same group on this host may share the port
    uint32_t mTimeToLive = 0;  // of datagrams sent, 1 to 255; 0: as the system has it
    uint32_t mDSCP = 0;        // of datagrams sent, 0 to 63 (RFC 2474)
    bool mReopen = false;      // a sender's socket that cannot be opened, or fails, is opened anew once a second
};

// The lowest layer of a stack.  It keeps the stack from spinning: where it answers at once and for ever without
// anything useful it waits.  Useful is what the endpoint files as a unit.
class Transport : public Layer {
public:
    explicit Transport(const TransportTraits& aTraits) : cTraits(aTraits) {}

    const TransportTraits& GetTraits() const { return cTraits; }

    TransportSettings ciSettings;  // to be set before the transport is opened

protected:
    // To be called before each packet that is there without a wait: waits when many of them led to no unit.  Outside of
    // an endpoint's stack nobody says what is useful, and it never waits.
    void BrakeInput();
    // To be called after a failure that took no time.
    static void BrakeFailure();

    // The place of the input in hand, which the transport keeps for the stack's reports.
    InputPlace& Input() { return ciReporter != nullptr ? ciReporter->cInput : cOwnInput; }

private:
    const TransportTraits cTraits;
    int32_t cLoad = 0;     // grows with each packet and complaint, shrinks with each unit
    InputPlace cOwnInput;  // outside of a stack
};
