#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Names and addresses of hosts.  All but LocalHostName may wait for the network, for many seconds.
namespace platform {

// Writes this host's name and a NUL to aName, which has room for aSize characters.  False when it does not fit or
// cannot be had.  Any thread; never waits.
bool LocalHostName(char* aName, size_t aSize);

// The first IPv4 address of a host, in host byte order (Socket.h).  False when none is found.
bool LookUpHost(const char* aName, uint32_t* apAddress);

// The name of the host at an IPv4 address.  False, with *apName unchanged, when it has none.
bool LookUpHostName(uint32_t aAddress, std::string* apName);

constexpr int FAMILY_ANY = 0;
constexpr int FAMILY_IPV4 = 2;

// A socket address of any family, in the system's own form.
struct SocketAddress {
    int mFamily = FAMILY_ANY;
    uint32_t mLength = 0;  // of the bytes in use
    alignas(8) unsigned char mBytes[128] = {};
};

// Both translations give 0 or the system's error (getaddrinfo's codes).

// The socket addresses that a host (name or address; null: the local wildcard address, to bind to) and a port stand
// for.  Family, socket type and protocol are the system's numbers, 0 for any.  Nothing is added after an error.
int TranslateText(const char* aHost, const char* aPort, int aFamily, int aSocketType, int aProtocol,
                  std::vector<SocketAddress>* apAddresses);

// Writes the numeric text of the host, and a NUL, to aText, which has room for aSize characters.  aAddress is a socket
// address in the system's form, aLength bytes long.
int TranslateAddress(const void* aAddress, size_t aLength, char* aText, size_t aSize);

}  // namespace platform
