#include "tools/Endpoint.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "platform/Socket.h"
#include "tools/CommandLine.h"
#include "tools/StatusText.h"

namespace {

std::string NoAddress(const std::string& aAddress, bool aRecords) {
    const std::string lText = "'" + aAddress + "' is no DCP address; ";
    if (aAddress.find_first_of(": ?") == std::string::npos) {
        return lText + "the recording of that name is dcp.file.pft:" + aAddress + (aRecords ? ":9999:0" : ":0:0");
    }
    return lText + "it is of the form dcp.udp.pft://HOST:PORT or dcp.file.pft:FILE:LIMIT:0";
}

std::string WhyNotRead(const std::string& aPath) {
    std::error_code lError;
    const auto lSize = std::filesystem::file_size(aPath, lError);
    if (lError) {
        return aPath + " cannot be read: " + lError.message();
    }
    if (lSize > FILE_MAX_SIZE) {
        return aPath + " has " + std::to_string(lSize) + " bytes; a recording has " + std::to_string(FILE_MAX_SIZE) +
               " at most, and the player refuses this one";
    }
    return aPath + " cannot be read";
}

uint32_t Enable(ToolEndpoint& aEndpoint, Protocol aProtocol) {
    switch (aProtocol) {
        case Protocol::MCI:
            return aEndpoint.EnableMCI();
        case Protocol::SDI:
            return aEndpoint.EnableSDI();
        case Protocol::MDI:
            break;
    }
    return aEndpoint.EnableMDI();
}

}  // namespace

int OpenEndpoint(ToolEndpoint& aEndpoint, const std::string& aAddress, Protocol aProtocol, uint32_t aLocalInterface,
                 std::string* apError) {
    DCPAddress lParts;
    if (lParts.Parse(aAddress.c_str()) != 0) {
        *apError = NoAddress(aAddress, aEndpoint.ciDirection == SENDING);
        return STATUS_USAGE;
    }
    const bool lNetwork = lParts.mTransport != TRANSPORT_FILE;
    if (lNetwork && !platform::StartSockets()) {
        *apError = "the system gives no sockets";
        return STATUS_FAILED;
    }
    errno = 0;
    if (aEndpoint.Open(aAddress.c_str(), aLocalInterface) == 1 && Enable(aEndpoint, aProtocol) == 1) {
        return STATUS_DONE;
    }
    const int lSystemError = errno;
    const uint32_t lCode = aEndpoint.GetError();
    const bool lDenied = lCode == UDP_SOCKET_FAILED || lCode == FILE_OPEN_FAILED;
    if (lCode == FILE_OPEN_FAILED && aEndpoint.ciDirection == RECEIVING) {
        *apError = WhyNotRead(lParts.mName);
    } else {
        *apError = aAddress + ": " + StatusText(lCode) +
                   (lDenied && lSystemError != 0 ? ": " + std::string(std::strerror(lSystemError)) : "");
    }
    return lDenied ? STATUS_FAILED : STATUS_USAGE;
}
