#include "tools/StatusText.h"

#include <system_error>

#include "Networking/StatusCodes.h"
#include "Networking/Transport.h"

std::string StatusText(uint32_t aCode) {
    switch (static_cast<DCPStatusCode>(aCode)) {
        case LAYER_TOO_MANY_TAGS:
            return "more than two protocols";
        case LAYER_TAG_NOT_REGISTERED:
            return "a unit of another protocol";
        case PACKET_WRITE_OVERFLOW:
        case PACKET_READ_OVERFLOW:
            return "a unit that does not fit into its packet";
        case DCP_INVALID_ADDRESS:
            return "no DCP address";
        case DCP_TRANSPORT_NOT_SUPPORTED:
            return "this transport or protection is not available";
        case UDP_INVALID_PORT:
            return "a UDP port is a number from 1024 to 65535";
        case UDP_INVALID_ADDRESS:
            return "a host is a dotted IPv4 address, or any";
        case UDP_SOCKET_FAILED:
            return "the network gives no such socket";
        case FILE_OPEN_FAILED:
            return "the file cannot be opened";
        case UDP_RECEIVE_FAILED:
            return "the network failed to deliver";
        case UDP_SEND_FAILED:
            return "the network did not take the unit";
        case FILE_END:
            return "the end of the recording";
        case FILE_WRITE_FAILED:
            return "the file cannot be written";
        case MDI_WRONG_LENGTH:
            return "an item of wrong length";
        case DCP_NOT_OPEN:
            return "not open";
        case LAYER_PACKET_TOO_BIG:
            return "a unit too long for this address; with pft it is cut";
        case QUEUE_FULL:
        case QUEUE_EMPTY:
            return "a queue at its limit";
        case MDI_ITEM_MISSING:
            return "an item is missing";
        case MDI_DLFC_PRESENT:
        case MDI_FAC_PRESENT:
        case MDI_SDC_PRESENT:
        case MDI_SDCI_PRESENT:
        case MDI_ROBM_PRESENT:
        case MDI_STREAM_PRESENT:
        case MDI_TIST_PRESENT:
            return "an item is there twice";
    }
    return aCode == 0 ? "no reason given" : "code " + std::to_string(aCode);
}

std::string LongerThanDefault() {
    return "longer than the " + std::to_string(FILE_MAX_SIZE) +
           " bytes that the player takes without InputFileSizeLimit";
}

std::string SystemText(int aError) {
    return std::generic_category().message(aError);
}
