#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "DrmUtil/EchoRequest.h"
#include "platform/HostLookup.h"
#include "platform/ProbeSocket.h"

// The reachability probe and helpers around socket addresses.  Failures are printed to the console or the error stream,
// with the system's error number (for translations, getaddrinfo's code).

constexpr int PROBE_TTL = 128;  // hops
constexpr size_t PROBE_RECEIVE_BUFFER = 65535;
constexpr uint32_t PROBE_WAIT_MS = 3000;  // for each reception
constexpr uint32_t PROBE_MAX_RECEIVES = 4;
constexpr uint32_t PROBE_LIMIT_MS = PROBE_MAX_RECEIVES * PROBE_WAIT_MS;  // for all of them

// Asks the host at a dotted IPv4 address for an echo, in the manner of a command-line ping, and waits for any ICMP
// message from it, through at most four receptions of 3 seconds each, and aLimit milliseconds in all.
// 1 when one came.  0 when a wait passed without any message, or when four came from other hosts, which a raw socket
// receives too.  -1 when the probe could not be made.  One thread only.
int Ping(const char* aDestination, uint32_t aLimit = PROBE_LIMIT_MS);

// Whether the last Ping returned -1 because the system gave it no socket.
bool ProbeSocketRefused();

// The socket addresses of a host and a port (TranslateText in platform/HostLookup.h).  Empty when there are none, with
// a line on the error stream.
std::vector<platform::SocketAddress> ResolveAddress(const char* aHost, const char* aPort, int aFamily, int aSocketType,
                                                    int aProtocol);

// Prints the numeric text of a socket address in the system's form, without its port.
// 0, or the translation's error, which leaves a line on the error stream.
int PrintAddress(const void* aAddress, size_t aLength);

// Whether the numeric text of a socket address is aText.  An address that cannot be translated counts as the same and
// leaves a line on the error stream.
bool IsSameAddress(const void* aAddress, size_t aLength, const char* aText);

// Sets the time-to-live of what the socket sends.  A failure leaves a line on the error stream.
void SetTtl(platform::ProbeSocket& aSocket, int aTimeToLive);

// Posts a receive on the socket (ProbeSocket.h).  A failure leaves a line on the error stream.
void PostRecvFrom(platform::ProbeSocket& aSocket, unsigned char* aBuffer, size_t aSize,
                  platform::SocketAddress* apSource);
