#pragma once

#include <cstdint>
#include <utility>

// The layers of a stack report what happens in them to one observer, which the endpoint's user may set.  Layers do not
// judge: statistics, findings and metrics are observers.

enum class StackEvent : uint32_t {
    // Datagrams of a network and records of a recording.
    INPUT_TAKEN,        // it has a registered protocol and is handed up
    INPUT_FOREIGN,      // it has another protocol
    INPUT_OVERSIZE,     // the datagram is longer than the transport takes
    SOURCE_FOREIGN,     // the datagram does not come from the sender that is followed
    SOURCE_FOLLOWED,    // the datagram's sender is followed from now on
    RECORD_SKIPPED,     // the record has another form or protocol, or is too long
    RECORDING_CUT_OFF,  // the recording ends in the middle of a record
    RECORDING_FAILED,   // it cannot be read on, or has become too long: the pass ends without PASS_ENDED
    PASS_ENDED,         // a pass over the recording has come to its end

    // PFT fragments; mNumber is their PSeq.
    FRAGMENT_DAMAGED,  // its header does not parse, so there is no number
    FRAGMENT_DOUBLE,   // it has come before
    FRAGMENT_LATE,     // its packet is over
    FRAGMENTS_LOST,    // they had not come when their packet was over

    // AF packets; mNumber is the PSeq, or the SEQ of a packet that was sent without PFT.
    PACKET_COMPLETED,  // all of it came, or enough to rebuild the rest
    PACKET_REBUILT,    // parity put back what was lost; PACKET_COMPLETED is reported too
    PACKETS_LOST,      // they cannot be completed, or their numbers are missing
    PACKET_DAMAGED,    // it fails the checks of the AF layer
    PACKET_FOREIGN,    // the protocol of its payload is not registered
    PACKET_DOUBLE,     // it has come before
    PACKET_LATE,       // its turn is over
    NUMBERING_ANEW,    // the numbering does not go on from where it was; mNumber is the new start

    // Units, as the endpoint judges and files or sends them.
    UNIT_FILED,       // it is in the fifo of its tag, or handed to the caller of PullUnit
    UNIT_DAMAGED,     // its TAG items do not parse
    UNIT_FOREIGN,     // nobody enabled its tag, whose four characters are mNumber, the first one in the highest byte
    UNIT_OVERFLOWED,  // it is lost because the fifo is full
    UNIT_SENT,        // all of it went down the stack
    UNIT_REFUSED,     // it did not go down the stack; mNumber is the status code

    COUNT
};

// Where the datagram or record that a transport took last comes from.
struct InputPlace {
    uint64_t mTime = 0;     // microseconds on the transport's own clock when the input came; 0 for a file
    uint64_t mRecord = 0;   // number of the record in this pass, from 1 on; 0 for a network
    uint64_t mOffset = 0;   // place of the record in the file, in bytes
    uint32_t mAddress = 0;  // IPv4 address of the sender in host byte order; 0 for a file
    uint16_t mPort = 0;     // UDP port of the sender
};

constexpr uint32_t NO_EVENT_NUMBER = 0xFFFFFFFF;

struct StackReport {
    StackEvent mEvent;
    uint64_t mCount;           // how many times it happened, at least 1
    uint32_t mNumber;          // see StackEvent; NO_EVENT_NUMBER when there is none
    const InputPlace& mInput;  // what the transport had taken last when the event was noticed
};

// Observe is called on the endpoint's task, or on the thread that works the stack in its place.  It must not block,
// because it is called under a StopGuard.  The observer must outlive the endpoint.
class StackObserver {
public:
    virtual ~StackObserver() = default;
    virtual void Observe(const StackReport& aReport) = 0;
};

// What the layers of one stack share: the way to the observer, and the place of the input that was taken last.
class StackReporter {
public:
    void SetObserver(StackObserver* apObserver) { cpObserver = apObserver; }  // may be null

    void Report(StackEvent aEvent, uint64_t aCount = 1, uint32_t aNumber = NO_EVENT_NUMBER);

    // For the transport, which waits when nothing useful comes of its packets.  Both count from their last call: the
    // units that came up, and the events that may leave a line on the console or in the trace file.
    uint32_t TakeUsefulUnits() { return std::exchange(cUsefulUnits, 0); }
    uint32_t TakeComplaints() { return std::exchange(cComplaints, 0); }

    InputPlace cInput;  // written by the transport for each datagram or record; mTime also after a wait without one

private:
    StackObserver* cpObserver = nullptr;
    uint32_t cUsefulUnits = 0;
    uint32_t cComplaints = 0;
};
