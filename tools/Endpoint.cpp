#include "tools/Endpoint.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "platform/Socket.h"
#include "tools/AddressCheck.h"
#include "tools/CommandLine.h"
#include "tools/StatusText.h"

namespace {

std::string NoAddress(const std::string& aAddress, bool aRecords) {
    const std::string lText = "'" + aAddress + "' is no DCP address; ";
    if (aAddress.find_first_of(": ?") == std::string::npos)
        return lText + "the recording of that name is dcp.file.pft:" + aAddress + (aRecords ? ":9999:0" : ":0:0");
    return lText + "it is of the form dcp.udp.pft://HOST:PORT or dcp.file.pft:FILE:LIMIT:0";
}

// Why the UDP layer would take the host or port for another one; empty when it takes both as they are meant.
std::string WhyNoDestination(const DCPAddress& aParts, uint32_t aDirection) {
    char lCanonical[UDP_MAX_ADDRESS_LENGTH + 1];
    platform::FormatAddress(platform::ParseAddress(aParts.mName.c_str()), lCanonical);
    const bool lAny = aParts.mName == "any" || aParts.mName == "0.0.0.0";
    if (aParts.mNumber < UDP_FIRST_PORT || aParts.mNumber > UINT16_MAX)
        return "a UDP port is a number from 1024 to 65535";
    if (aDirection == SENDING && (lAny || aParts.mName == "255.255.255.255"))
        return "units go to one host or multicast group";
    return lAny || aParts.mName == lCanonical ? "" : "a host is a dotted IPv4 address, or any to receive";
}

std::string WhyNotRead(const std::string& aPath, const std::string& aSystemError) {
    std::error_code lError;
    static_cast<void>(std::filesystem::file_size(aPath, lError));
    return aPath + " cannot be read" + (lError ? ": " + lError.message() : aSystemError);
}

// Refuses what the layers would open and then use in another way than it was meant, or read without end.
int Check(const DCPAddress& aParts, const std::string& aAddress, uint32_t aDirection, uint32_t aLocalInterface,
          std::string* apError) {
    char lInterface[UDP_MAX_ADDRESS_LENGTH + 1];
    std::error_code lIgnored;
    if (aLocalInterface > 0 && UDPIPLayer::GetInterfaceAddress(aLocalInterface, lInterface) != 0) {
        *apError = "there is no local interface number " + std::to_string(aLocalInterface);
        return STATUS_USAGE;
    }
    if (aParts.mTransport == TRANSPORT_UDP) {
        if (const std::string lWhyNot = WhyNoDestination(aParts, aDirection); !lWhyNot.empty()) {
            *apError = aAddress + ": " + lWhyNot;
            return STATUS_USAGE;
        }
        int lError = 0;
        if (!platform::StartSockets(&lError)) {
            *apError = "the system gives no sockets: " + SystemText(lError);
            return STATUS_FAILED;
        }
    } else if (aParts.mTransport == TRANSPORT_FILE && aDirection == RECEIVING &&
               std::filesystem::exists(aParts.mName, lIgnored) &&
               !std::filesystem::is_regular_file(aParts.mName, lIgnored)) {
        *apError = aParts.mName + " is no file";
        return STATUS_FAILED;
    }
    return STATUS_DONE;
}

}  // namespace

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

int OpenEndpoint(ToolEndpoint& aEndpoint, const std::string& aAddress, Protocol aProtocol, uint32_t aLocalInterface,
                 std::string* apError) {
    DCPAddress lParts;
    if (lParts.Parse(aAddress.c_str()) != 0 || HasMoreWords(aAddress, lParts)) {
        *apError = NoAddress(aAddress, aEndpoint.ciDirection == SENDING);
        return STATUS_USAGE;
    }
    if (const std::string lWhyNot = WhyNoOptions(aAddress, lParts); !lWhyNot.empty()) {
        *apError = aAddress + ": " + lWhyNot;
        return STATUS_USAGE;
    }
    if (const int lStatus = Check(lParts, aAddress, aEndpoint.ciDirection, aLocalInterface, apError);
        lStatus != STATUS_DONE)
        return lStatus;
    errno = 0;
    if (aEndpoint.Open(aAddress.c_str(), aLocalInterface) == 1 && Enable(aEndpoint, aProtocol) == 1)
        return STATUS_DONE;
    const std::string lSystemError = errno != 0 ? ": " + SystemText(errno) : "";
    const uint32_t lCode = aEndpoint.GetError();
    const bool lDenied = lCode == UDP_SOCKET_FAILED || lCode == FILE_OPEN_FAILED;
    if (lCode == FILE_OPEN_FAILED && aEndpoint.ciDirection == RECEIVING)
        *apError = WhyNotRead(lParts.mName, lSystemError);
    else
        *apError = aAddress + ": " + StatusText(lCode) + (lDenied ? lSystemError : "");
    return lDenied ? STATUS_FAILED : STATUS_USAGE;
}
