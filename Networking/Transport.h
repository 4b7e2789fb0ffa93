#pragma once

#include <cstdint>
#include <string>

#include "Networking/Layer.h"

constexpr uint32_t RETRY_DELAY = 800;  // milliseconds before a transport that answers at once is asked again

// How transports differ for the layers above.
struct TransportTraits {
    bool mPacesItself = false;    // the time-out of Receive is a pause before the read, not a wait for a packet
    bool mHasAddressing = false;  // PFT fragments carry source and destination
    bool mFileMode = false;       // the AF layer does not follow received sequence numbers
};

// Bytes of the longest recording that is played unless the endpoint's user allows more.
constexpr uint64_t FILE_MAX_SIZE = 524288;

// What the endpoint's user asks of its transport.  The defaults are the fixed behaviour.
struct TransportSettings {
    // For recordings.
    bool mOnePass = false;  // the recording is read once, without pauses; then the transport is at its end
    uint64_t mFileSizeLimit = FILE_MAX_SIZE;  // the most bytes that a recording to be played may have

    // For networks.
    bool mLive = false;        // received live (LiveReassembly): datagrams of any length, refused without a line
    std::string mInterface;    // name or IPv4 address of the interface for multicast; empty: Open chooses it
    std::string mSource;       // IPv4 address of the only sender whose datagrams to the group are taken; empty: any
    bool mSharePort = false;   // other receivers of the same group on this host may share the port
    uint32_t mTimeToLive = 0;  // TTL of datagrams sent, 1 to 255; 0: the system's default
    uint32_t mDSCP = 0;        // DSCP of datagrams sent, 0 to 63 (RFC 2474)
    uint32_t mProbeTries = 1;  // probes in a row that must fail before a destination is unusable; 0: no probe
    bool mReopen = false;      // a sender's socket that cannot be opened, or fails, is opened anew once a second
};

// The lowest layer of a stack.  It keeps the stack from spinning by waiting when it would answer at once, again and
// again, with nothing useful.  Useful is what the endpoint files as a unit.
class Transport : public Layer {
public:
    explicit Transport(const TransportTraits& aTraits) : cTraits(aTraits) {}

    const TransportTraits& GetTraits() const { return cTraits; }

    TransportSettings ciSettings;  // must be set before the transport is opened

protected:
    // Must be called before each packet that is there without a wait.  It waits when many packets led to no unit.
    // Outside an endpoint's stack it never waits, because nobody says there what is useful.
    void BrakeInput();
    // Must be called after a failure that took no time.
    static void BrakeFailure();

    // Returns the place of the last input, which the transport writes for the stack's reports.
    InputPlace& Input() { return ciReporter != nullptr ? ciReporter->cInput : cOwnInput; }

private:
    const TransportTraits cTraits;
    int32_t cLoad = 0;     // grows with each packet and complaint, shrinks with each unit
    InputPlace cOwnInput;  // used outside a stack
};
