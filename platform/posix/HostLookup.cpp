#include "platform/HostLookup.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <memory>

namespace platform {

static_assert(FAMILY_ANY == AF_UNSPEC && FAMILY_IPV4 == AF_INET);
static_assert(sizeof(SocketAddress::mBytes) >= sizeof(sockaddr_storage));

bool LocalHostName(char* aName, size_t aSize) {
    // The system may cut a name that is too long without a NUL at its end.
    return gethostname(aName, aSize) == 0 && std::memchr(aName, '\0', aSize) != nullptr;
}

bool LookUpHost(const char* aName, uint32_t* apAddress) {
    std::vector<SocketAddress> lAddresses;
    if (TranslateText(aName, nullptr, FAMILY_IPV4, 0, 0, &lAddresses) != 0 || lAddresses.empty())
        return false;
    *apAddress = ntohl(reinterpret_cast<const sockaddr_in*>(lAddresses[0].mBytes)->sin_addr.s_addr);
    return true;
}

bool LookUpHostName(uint32_t aAddress, std::string* apName) {
    sockaddr_in lAddress = {};
    lAddress.sin_family = AF_INET;
    lAddress.sin_addr.s_addr = htonl(aAddress);
    char lName[NI_MAXHOST];
    if (getnameinfo(reinterpret_cast<const sockaddr*>(&lAddress), sizeof lAddress, lName, sizeof lName, nullptr, 0,
                    NI_NAMEREQD) != 0)
        return false;
    *apName = lName;
    return true;
}

int TranslateText(const char* aHost, const char* aPort, int aFamily, int aSocketType, int aProtocol,
                  std::vector<SocketAddress>* apAddresses) {
    addrinfo lHints = {};
    lHints.ai_flags = aHost == nullptr ? AI_PASSIVE : 0;
    lHints.ai_family = aFamily;
    lHints.ai_socktype = aSocketType;
    lHints.ai_protocol = aProtocol;
    addrinfo* lFirst = nullptr;
    if (const int lError = getaddrinfo(aHost, aPort, &lHints, &lFirst); lError != 0)
        return lError;
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> lOwner(lFirst, freeaddrinfo);
    for (const addrinfo* lEntry = lFirst; lEntry != nullptr; lEntry = lEntry->ai_next) {
        SocketAddress& lAddress = apAddresses->emplace_back();
        lAddress.mFamily = lEntry->ai_family;
        lAddress.mLength = lEntry->ai_addrlen;
        std::memcpy(lAddress.mBytes, lEntry->ai_addr, lEntry->ai_addrlen);
    }
    return 0;
}

int TranslateAddress(const void* aAddress, size_t aLength, char* aText, size_t aSize) {
    return getnameinfo(static_cast<const sockaddr*>(aAddress), static_cast<socklen_t>(aLength), aText,
                       static_cast<socklen_t>(aSize), nullptr, 0, NI_NUMERICHOST);
}

}  // namespace platform
