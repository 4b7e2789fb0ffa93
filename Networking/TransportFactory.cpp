#include "Networking/TransportFactory.h"

#include "Networking/StatusCodes.h"

MadeTransport MakeTransport(const DCPAddress& aAddress, uint32_t aDirection, uint32_t aLocalInterface,
                            const TransportSettings& aSettings) {
    MadeTransport lMade;
    uint32_t lOpened = 0;
    if (aAddress.mTransport == TRANSPORT_UDP) {
        auto lLayer = std::make_unique<UDPIPLayer>();
        lLayer->ciSettings = aSettings;
        lOpened = lLayer->OpenSocket(aDirection, aAddress.mNumber, aAddress.mName.c_str(), aLocalInterface);
        lMade.mUDPIPLayer = lLayer.get();
        lMade.mTransport = std::move(lLayer);
    } else if (aAddress.mTransport == TRANSPORT_FILE) {
        auto lLayer = std::make_unique<FileLayer>();
        lLayer->ciSettings = aSettings;
        lOpened = lLayer->Open(aAddress.mName.c_str(), aDirection == 1, aAddress.mNumber);
        lMade.mFileLayer = lLayer.get();
        lMade.mTransport = std::move(lLayer);
    } else {
        return {nullptr, nullptr, nullptr, DCP_TRANSPORT_NOT_SUPPORTED};
    }
    if (lOpened != 1)
        return {nullptr, nullptr, nullptr, lMade.mTransport->GetError()};
    return lMade;
}
