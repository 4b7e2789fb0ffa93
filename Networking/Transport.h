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

// Wishes of the endpoint's user to its transport.  The defaults are the fixed behaviour.
struct TransportSettings {
    bool mOnePass = false;  // a recording is read once, without pauses; then the transport is at its end
    bool mLive = false;     // datagrams of any length are taken, and silence and foreign datagrams leave no line
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
