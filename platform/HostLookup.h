#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Names and addresses of hosts.  Every function but LocalHostName may wait for the network for many seconds.
namespace platform {

// Writes this host's name and a NUL to aName, which has room for aSize characters.  False when the name does not fit or
// the system does not tell it.  Any thread; never waits.
bool LocalHostName(char* aName, size_t aSize);

// The first IPv4 address of a host, in host byte order (Socket.h).  False when none is found.
bool LookUpHost(const char* aName, uint32_t* apAddress);

// The name of the host at an IPv4 address.  False, with *apName unchanged, when it has none.
bool LookUpHostName(uint32_t aAddress, std::string* apName);

constexpr int FAMILY_ANY = 0;
constexpr int FAMILY_IPV4 = 2;

// A socket address of any family in the system's own form (sockaddr), to be passed on as it is.
struct SocketAddress {
    int mFamily = FAMILY_ANY;
    uint32_t mLength = 0;  // how many of mBytes are in use
    alignas(8) unsigned char mBytes[128] = {};
};

// Appends to *apAddresses the socket addresses that a host and a port stand for.  The host is a name or an address, or
// null for the local wildcard address, which a socket can bind to.  Family, socket type and protocol are the system's
// numbers; 0 stands for any.  0, or the system's error (getaddrinfo's codes) with nothing appended.
int TranslateText(const char* aHost, const char* aPort, int aFamily, int aSocketType, int aProtocol,
                  std::vector<SocketAddress>* apAddresses);

// Writes the numeric text of a socket address's host, and a NUL, to aText, which has room for aSize characters.  The
// socket address is in the system's form and aLength bytes long.  0, or the system's error (getaddrinfo's codes).
int TranslateAddress(const void* aAddress, size_t aLength, char* aText, size_t aSize);

}  // namespace platform
