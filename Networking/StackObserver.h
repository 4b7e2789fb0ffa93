#pragma once

#include <cstdint>
#include <utility>

// What happens inside a stack of layers, told to one observer that the endpoint's user may set.  Layers report and do
// not judge: statistics, findings and metrics are observers.

enum class StackEvent : uint32_t {
    // Datagrams of a network, records of a recording.
    INPUT_TAKEN,        // of a registered protocol, handed up
    INPUT_FOREIGN,      // of another protocol
    INPUT_OVERSIZE,     // a datagram longer than the transport takes
    SOURCE_FOREIGN,     // a datagram of a sender other than the one that is followed
    SOURCE_FOLLOWED,    // from this datagram on its sender is followed
    RECORD_SKIPPED,     // of another form or protocol, or too long
    RECORDING_CUT_OFF,  // the recording ends in the middle of a record
    RECORDING_FAILED,   // the rest of this pass cannot be read
    PASS_ENDED,         // a pass over the recording has ended

    // PFT fragments; mNumber is their PSeq.
    FRAGMENT_DAMAGED,  // its header does not parse; without a number
    FRAGMENT_DOUBLE,   // has come before
    FRAGMENT_LATE,     // of a packet that is over
    FRAGMENTS_LOST,    // have not come when their packet was over

    // AF packets; mNumber is the PSeq, of a packet without PFT the SEQ.
    PACKET_COMPLETED,  // all of it came, or enough to rebuild the rest
    PACKET_REBUILT,    // parity put back what was lost; PACKET_COMPLETED is told too
    PACKETS_LOST,      // cannot be completed, or are missing in the numbering
    PACKET_DAMAGED,    // fails the checks of the AF layer
    PACKET_FOREIGN,    // its payload is of a protocol that is not registered
    PACKET_DOUBLE,     // has come before
    PACKET_LATE,       // its turn is over
    NUMBERING_ANEW,    // the numbering does not go on from where it was; mNumber is the new start

    // Units, as the endpoint judges and files or sends them.
    UNIT_FILED,       // into the fifo of its tag, or handed to the caller of PullUnit
    UNIT_DAMAGED,     // its TAG items do not parse
    UNIT_FOREIGN,     // of a tag that nobody enabled; mNumber is its four characters, the first one highest
    UNIT_OVERFLOWED,  // lost, since the fifo was full
    UNIT_SENT,        // all of it went down the stack
    UNIT_REFUSED,     // did not go down; mNumber is the status code

    COUNT
};

// The datagram or record that a transport took last.
struct InputPlace {
    uint64_t mTime = 0;     // microseconds on the transport's own scale: of arrival, or a capture's stamp; 0 for a file
    uint64_t mRecord = 0;   // number in the pass, from 1 on; 0 for a network
    uint64_t mOffset = 0;   // of the record in the file, in bytes
    uint32_t mAddress = 0;  // IPv4 address of the sender in host byte order; 0 for a file
    uint16_t mPort = 0;     // UDP port of the sender
};

constexpr uint32_t NO_EVENT_NUMBER = 0xFFFFFFFF;

struct StackReport {
    StackEvent mEvent;
    uint64_t mCount;           // how many of the kind, at least 1
    uint32_t mNumber;          // see StackEvent; NO_EVENT_NUMBER when there is none
    const InputPlace& mInput;  // what was in hand when it was noticed
};

// Observe is called on the endpoint's task (or on the thread that works the stack in its place), under a StopGuard: it
// must not block.  The observer outlives the endpoint.
class StackObserver {
public:
    virtual ~StackObserver() = default;
    virtual void Observe(const StackReport& aReport) = 0;
};

// What the layers of one stack share: the way to the observer, and the place of the input in hand.
class StackReporter {
public:
    void SetObserver(StackObserver* apObserver) { cpObserver = apObserver; }  // null: nobody observes

    void Report(StackEvent aEvent, uint64_t aCount = 1, uint32_t aNumber = NO_EVENT_NUMBER);

    // How often a unit came up since the last question, and how often something left a line on the console or in the
    // trace file.  For the transport, which brakes itself.
    uint32_t TakeUsefulUnits() { return std::exchange(cUsefulUnits, 0); }
    uint32_t TakeComplaints() { return std::exchange(cComplaints, 0); }

    InputPlace cInput;  // the transport writes it for each datagram or record, and its time for each wait that ended

private:
    StackObserver* cpObserver = nullptr;
    uint32_t cUsefulUnits = 0;
    uint32_t cComplaints = 0;
};
