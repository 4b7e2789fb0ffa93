#pragma once

#include <array>
#include <cstdint>

#include "Networking/FECProcessor.h"
#include "Networking/Reassembly.h"
#include "Networking/ReceptionWindow.h"
#include "Networking/SourceFilter.h"

class PFTLayer;

// How many packets show that a numbering has begun anew.  More are wanted when their numbers are just behind the
// current ones, because packets that were overtaken on their way have such numbers too.
constexpr uint32_t LIVE_PACKETS_OF_NEW_NUMBERING = 3;
constexpr uint32_t LIVE_PACKETS_JUST_BEHIND = 8;

// Live reception: loses only what the network lost.  Packets of one sender pass through a window, which puts them into
// their order and waits for what comes late (ReceptionWindow).
//
// A part whose number has no place in the window goes to a second window, the candidate.  When three packets of the
// candidate (eight with numbers just behind) have been heard and meanwhile nothing of the first window, the numbering
// has begun anew: the candidate takes over with all that it holds.  Any part that has a place in the first window
// empties the candidate, so a stray or forged fragment moves nothing.
//
// A datagram that comes again is recognised, by a fingerprint, among the last ones, so that doubles are not taken for a
// new numbering.  Time comes with each datagram (StackReporter::cInput); this class reads no clock.  In a recording
// time stands still, and each pass is a new numbering.
//
// Memory: two windows and the packet that goes up, below 14 MB.
class LiveReassembly : public Reassembly {
public:
    // aPacesItself: the time-out of the transport is a pause before the read (TransportTraits).
    LiveReassembly(PFTLayer& aLayer, bool aPacesItself);  // the layer owns this object

    // Returns 1 with the next packet in its turn; 2 when none has come for *apTimeOut milliseconds (0: when the
    // transport has nothing), or at the transport's end; 0 with the code of the transport when that failed.
    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut) override;

private:
    // What becomes of the current window: it goes on; it is emptied, and then the candidate takes over or nothing does.
    enum class Ending { NONE, TO_CANDIDATE, TO_NOTHING };

    const InputPlace& Place() const;
    uint64_t UpdateTime();
    uint32_t WaitBelow(uint64_t aStart, uint32_t* apTimeOut);
    void TakeInput();
    bool ParseInput();
    bool TakePart();
    bool TakeInCurrent(int32_t aPlace);
    void PutAside();
    bool ContinuesCandidate();
    void DropCandidate();
    bool IsJustBehind() const;
    void EndNumbering();
    void FinishEnding();
    bool TakeReady();
    void ReportPart(StackEvent aOfFragment, StackEvent aOfPacket);
    uint64_t Fingerprint() const;
    bool IsRemembered() const;
    void Remember();

    PFTLayer& cLayer;
    const bool cPacesItself;
    SourceFilter cSources;
    ReceptionWindow cWindows[2];
    ReceptionWindow* cpCurrent = &cWindows[0];
    ReceptionWindow* cpCandidate = &cWindows[1];
    Ending cEnding = Ending::NONE;
    uint32_t cStrays = 0;      // parts in a row that fitted neither window
    uint64_t cTime = 0;        // the latest, in microseconds
    uint64_t cQuietUntil = 0;  // the last time at which no datagram was waiting
    uint64_t cLastRecord = 0;  // number of the last record of a recording

    Packet cInput{0};       // views the datagram in hand
    ReceivedPart cPart;     // what it holds
    bool cHasPart = false;  // and has not been taken yet

    FECProcessor cFEC;
    Packet cJoined{LIVE_MAX_PACKET_SIZE};
    Packet cReassembled{0};  // views cJoined or cInput
    char cTag[3] = "";

    static constexpr size_t REMEMBERED = 128;  // datagrams
    std::array<uint64_t, REMEMBERED> cFingerprints{};
    size_t cNextFingerprint = 0;
};
