#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Networking/CRC16.h"
#include "tools/CaptureDecoder.h"

constexpr size_t MAX_CAPTURE_STREAMS = 256;  // that are told apart

// The DCP that went to one address and port.
struct CaptureStream {
    uint32_t mAddress = 0;  // in host byte order
    uint16_t mPort = 0;
    uint64_t mAF = 0;  // datagrams of whole AF packets
    uint64_t mPF = 0;  // datagrams of PFT fragments
};

// Finds the DCP streams among datagrams.  A datagram counts when it is a valid AF packet or PFT fragment: by
// its first two bytes alone other traffic would pass for DCP now and then.
class CaptureStreams {
public:
    void Add(const CaptureDatagram& aDatagram);

    // In order of their first datagrams; those beyond MAX_CAPTURE_STREAMS are left out.
    const std::vector<CaptureStream>& Get() const { return cStreams; }

    // A line for each: address, port, protocol, datagrams.
    std::string GetText() const;

private:
    CaptureStream* Find(const CaptureDatagram& aDatagram);

    const CRC16 cCRC{CRC16_POLYNOMIAL, true};
    std::vector<CaptureStream> cStreams;
};
