#pragma once

#include <cstdint>
#include <memory>

#include "Networking/DCPAddress.h"
#include "Networking/FileLayer.h"
#include "Networking/UDPIPLayer.h"

// The open transport that an address asks for, its view by type (the other one is null), or null with the status code
// of the refusal.
struct MadeTransport {
    std::unique_ptr<Transport> mTransport;
    UDPIPLayer* mUDPIPLayer = nullptr;
    FileLayer* mFileLayer = nullptr;
    uint32_t mError = 0;
};

// aDirection and aLocalInterface as in DCPInterface.  The codes are DCP_TRANSPORT_NOT_SUPPORTED and those of
// UDPIPLayer::OpenSocket and FileLayer::Open.
MadeTransport MakeTransport(const DCPAddress& aAddress, uint32_t aDirection, uint32_t aLocalInterface,
                            const TransportSettings& aSettings);
