#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "Networking/AFLayer.h"
#include "Networking/DCPAddress.h"
#include "Networking/FileLayer.h"
#include "Networking/Layer.h"
#include "Networking/PFTLayer.h"
#include "Networking/PacketFifo.h"
#include "Networking/StackObserver.h"
#include "Networking/TAGPacket.h"
#include "Networking/Transport.h"
#include "Networking/UDPIPLayer.h"
#include "runtime/rtemsSemaphore.h"
#include "runtime/rtemsTask.h"

constexpr uint32_t DCP_FIFO_CAPACITY = 10;
constexpr uint32_t DCP_NETWORK_TIMEOUT = 6000;  // milliseconds

// A DCP endpoint: the top of a stack of layers that it builds from a text address, and the task that runs the stack.  A
// receiving endpoint (direction 0) files each unit that comes up in the fifo of its protocol, the tag in its "*ptr"
// item; a sending one (direction 1) sends what the application put into its send fifo.
//
// Construct, Open, RegisterTag, Start; then Receive, or Send and GetError, on one application thread; Close or the
// destructor at the end.  The task is suspended and its layers are freed wherever it stands.  A subclass's destructor
// begins with CloseIfOpen: the task must not run while an object is becoming one of its base class.
class DCPInterface : public Layer, public rtemsTask {
public:
    enum State : uint32_t { STATE_CLOSED = 0, STATE_OPEN = 1, STATE_STARTED = 2 };

    explicit DCPInterface(uint32_t aDirection);
    ~DCPInterface() override;

    // Builds the stack for an address (DCPAddress.h).  aLocalInterface is the interface on which a receiver joins a
    // multicast group.  1, or 0 with DCP_INVALID_ADDRESS (also when it is open already, or was started before),
    // DCP_TRANSPORT_NOT_SUPPORTED (tcp, ser) or the code of the transport.
    uint32_t Open(const char* apAddress, uint32_t aLocalInterface);
    // The same over an open transport that the caller made; of the address only mPFT, mFEC, mCRC and mLive count.
    uint32_t Open(std::unique_ptr<Transport> aTransport, const DCPAddress& aAddress);

    uint32_t Start();  // 1, or 0 without a code when the endpoint is not open
    void Close();

    // As in Layer, and makes the tag's fifo and the send fifo.
    uint32_t RegisterTag(const char* apTag, uint32_t* apIndex);
    uint32_t GetQueueCount(uint32_t aTagIndex);  // units waiting; 0 for an index without a tag

    // Queues a copy of the packet to be sent: 1.  It is lost, with a line in the trace file, when ten are waiting, and
    // 0 without a registered tag.  What becomes of it shows in GetError: LAYER_TAG_NOT_REGISTERED when its
    // cPayloadProtocol is no tag of the endpoint, LAYER_PACKET_TOO_BIG, or the code of the AF layer.
    uint32_t Send(Packet* apPacket) override;

    // Waits at most *apTimeOut milliseconds (0: without limit) for the oldest unit of a tag.  1 apOut views it until
    // the next Receive; 2 on time-out, with a line on the console; 0 for an index without a tag.
    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) override;

    // Work the stack on the calling thread, of an endpoint that is open and not started.  PullUnit asks the stack once,
    // with *apTimeOut as in Layer, and judges what comes: 1, *appUnit views the next unit until the next PullUnit;
    // 2 nothing came; 0 a packet or unit was lost.  PushUnit sends: 1, or 0 with the code as GetError would give it.
    uint32_t PullUnit(uint32_t* apTimeOut, const TAGPacket** appUnit);
    uint32_t PushUnit(Packet* apPacket);

    // The task's work; returns at once for an argument other than 0.
    void body(uint32_t aArgument) override;

    uint32_t ciDirection;
    uint32_t ciTransport = TRANSPORT_UDP;
    std::unique_ptr<AFLayer> ciAFLayer;
    std::unique_ptr<PFTLayer> ciPFTLayer;
    std::unique_ptr<Transport> ciTransportLayer;
    UDPIPLayer* ciUDPIPLayer = nullptr;  // views of the transport by its type, else null
    FileLayer* ciFileLayer = nullptr;

    // To be set before Open.
    TransportSettings ciSettings;
    uint32_t ciSupportedErrors = 0;  // lost fragments per packet that parity is sized for; 0: the registry's number
    StackObserver* ciObserver = nullptr;  // not owned; outlives the endpoint; told of everything that the stack meets

    uint32_t ciFifoCapacity = DCP_FIFO_CAPACITY;  // units of a tag; to be set before RegisterTag
    std::unique_ptr<PacketFifo> ciTagQueue[LAYER_MAX_TAGS];
    std::unique_ptr<PacketFifo> ciSendQueue;
    std::unique_ptr<Packet> ciHeldPacket;         // what the last Receive handed out
    std::unique_ptr<rtemsSemaphore> ciSemaphore;  // held around each downward Send
    std::atomic<uint32_t> ciTimeOut = DCP_NETWORK_TIMEOUT;
    static std::atomic<uint32_t> sinDCPInterface;  // endpoints constructed so far

protected:
    void CloseIfOpen();

private:
    bool CanOpen() const;
    void BuildStack(const DCPAddress& aAddress);
    PacketFifo* FifoOf(uint32_t aTagIndex) const;
    void ReceivingLoop();
    void FileUnit(bool aPacesItself);
    PacketFifo* JudgeUnit();
    void SendingLoop();
    uint32_t SendDown(Packet* apPacket);

    bool cWasStarted = false;
    StackReporter cReporter;

    // What the task works on belongs to the endpoint, since the task may be ended anywhere.
    char cUnitProtocol[5] = "";
    TAGPacket cUnit{0};   // received, or in PullUnit
    uint32_t cDelay = 0;  // of the next request to the stack, in milliseconds
    std::unique_ptr<Packet> cSendingPacket;
};
