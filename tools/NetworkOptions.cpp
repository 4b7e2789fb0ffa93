#include "tools/NetworkOptions.h"

#include "Networking/PFTLayer.h"
#include "platform/Socket.h"
#include "tools/Text.h"

namespace {

bool IsAddress(const std::string& aText) {
    return platform::ParseAddress(aText.c_str()) != platform::NO_ADDRESS;
}

bool IsInterface(const std::string& aText) {
    if (!IsAddress(aText))
        return platform::FindInterface(aText.c_str()).has_value();
    for (const uint32_t lAddress : platform::InterfaceAddresses().value_or(platform::AddressList()))
        if (lAddress == platform::ParseAddress(aText.c_str()))
            return true;
    return false;
}

int RefuseInterface(const std::string& aText, std::string* apError) {
    *apError = "there is no local interface " + aText;
    return STATUS_USAGE;
}

bool IsToGroup(const std::string& aAddress) {
    DCPAddress lParts;
    return lParts.Parse(aAddress.c_str()) == 0 && lParts.mTransport == TRANSPORT_UDP && IsAddress(lParts.mName) &&
           platform::IsMulticast(platform::ParseAddress(lParts.mName.c_str()));
}

}  // namespace

void AddReceivingOptions(CommandLine* apLine, ReceivingOptions* apOptions) {
    apLine->AddText("-i,--interface", "NAME|ADDRESS|NUMBER",
                    "local interface on which a multicast group is\njoined (0)", [apOptions](const std::string& aText) {
                        apOptions->mInterface = aText;
                        return !aText.empty();
                    });
    apLine->AddText("--source", "ADDRESS", "take the group's datagrams of this sender only",
                    [apOptions](const std::string& aText) {
                        apOptions->mSource = aText;
                        return IsAddress(aText);
                    });
    apLine->AddFlag("--share-port", &apOptions->mSharePort, "let other programs of this host receive the group too");
}

void AddSendingOptions(CommandLine* apLine, SendingOptions* apOptions) {
    apLine->AddText("--out-interface", "NAME|ADDRESS", "local interface on which multicast goes out",
                    [apOptions](const std::string& aText) {
                        apOptions->mInterface = aText;
                        return !aText.empty();
                    });
    apLine->AddNumber("--ttl", &apOptions->mTimeToLive, 1, 255, "time to live of datagrams");
    apLine->AddNumber("--dscp", &apOptions->mDSCP, 0, 63, "differentiated services code point of datagrams");
    apLine->AddNumber("--protection", &apOptions->mProtection, 0, PFT_MAX_SUPPORTED_ERRORS,
                      "parity for so many lost fragments of a packet");
}

int ApplyOptions(const ReceivingOptions& aOptions, const std::string& aAddress, ToolEndpoint& aEndpoint,
                 uint32_t* apLocalInterface, std::string* apError) {
    *apLocalInterface = 0;
    if ((!aOptions.mSource.empty() || aOptions.mSharePort) && !IsToGroup(aAddress)) {
        *apError = "--source and --share-port are for multicast groups";
        return STATUS_USAGE;
    }
    aEndpoint.ciSettings.mSource = aOptions.mSource;
    aEndpoint.ciSettings.mSharePort = aOptions.mSharePort;
    if (aOptions.mInterface.empty() || ReadNumber(aOptions.mInterface, apLocalInterface))
        return STATUS_DONE;
    if (!IsInterface(aOptions.mInterface))
        return RefuseInterface(aOptions.mInterface, apError);
    aEndpoint.ciSettings.mInterface = aOptions.mInterface;
    return STATUS_DONE;
}

int ApplyOptions(const SendingOptions& aOptions, ToolEndpoint& aEndpoint, std::string* apError) {
    if (!aOptions.mInterface.empty() && !IsInterface(aOptions.mInterface))
        return RefuseInterface(aOptions.mInterface, apError);
    aEndpoint.ciSettings.mInterface = aOptions.mInterface;
    aEndpoint.ciSettings.mTimeToLive = aOptions.mTimeToLive;
    aEndpoint.ciSettings.mDSCP = aOptions.mDSCP;
    aEndpoint.ciSupportedErrors = aOptions.mProtection;
    return STATUS_DONE;
}

std::string WithProtection(const std::string& aAddress, uint32_t aProtection) {
    const size_t lOptions = aAddress.find('?');
    if (aProtection == 0 || aAddress.find("fec=", lOptions == std::string::npos ? 0 : lOptions) != std::string::npos)
        return aAddress;
    return aAddress.substr(0, lOptions) + "?fec=1" +
           (lOptions == std::string::npos ? "" : "&" + aAddress.substr(lOptions + 1));
}
