#pragma once

#include <string>

#include "Networking/Packet.h"

// A copy of a packet's valid bytes that also owns copies of the protocol names, which are freed with it.
class NamedPacket : public Packet {
public:
    // A null name becomes the empty name.
    NamedPacket(const Packet& aSource, const char* apProtocol, const char* apPayloadProtocol)
        : Packet(aSource.ValidBytes()),
          cProtocolName(apProtocol != nullptr ? apProtocol : ""),
          cPayloadProtocolName(apPayloadProtocol != nullptr ? apPayloadProtocol : "") {
        Write(aSource.ValidBytes(), aSource.cData);
        cProtocol = cProtocolName.c_str();
        cPayloadProtocol = cPayloadProtocolName.data();
        cPayloadSize = aSource.cPayloadSize;
    }
    NamedPacket(const NamedPacket&) = delete;

private:
    const std::string cProtocolName;
    std::string cPayloadProtocolName;
};
