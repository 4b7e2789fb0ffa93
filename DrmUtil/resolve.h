#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "DrmUtil/EchoRequest.h"
#include "platform/HostLookup.h"
#include "platform/ProbeSocket.h"

// The reachability probe and helpers around socket addresses.  What goes wrong is told on the console or the error
// stream, with the system's error number (errno; getaddrinfo's code for translations).

constexpr int PROBE_TTL = 128;  // hops
constexpr size_t PROBE_RECEIVE_BUFFER = 65535;
constexpr uint32_t PROBE_WAIT_MS = 3000;  // for each reception
constexpr int PROBE_MAX_RECEIVES = 4;

// Asks the host at a dotted IPv4 address for an echo, in the manner of a command-line ping, and waits for any ICMP
// message from it, through at most four receptions of aWait milliseconds each.
// 1 when one came; 0 when aWait passed without any message, or four came from other hosts, which a raw socket receives
// too; -1 when the probe could not be made.  One thread only.
int Ping(const char* aDestination, uint32_t aWait = PROBE_WAIT_MS);

// Whether the last Ping gave -1 because no socket for it could be had.
bool ProbeSocketRefused();

// The socket addresses of a host (null: the local wildcard address) and a port; family, socket type and protocol are
// the system's numbers, 0 for any.  Empty, with a line on the error stream, when there are none.
std::vector<platform::SocketAddress> ResolveAddress(const char* aHost, const char* aPort, int aFamily, int aSocketType,
                                                    int aProtocol);

// Prints the numeric text of a socket address in the system's form, without its port.
// 0, or the translation's error, with a line on the error stream.
int PrintAddress(const void* aAddress, size_t aLength);

// Whether the numeric text of a socket address is aText.  One that cannot be translated counts as the same, with a
// line on the error stream.
bool IsSameAddress(const void* aAddress, size_t aLength, const char* aText);

// A failure leaves a line on the error stream.
void SetTtl(platform::ProbeSocket& aSocket, int aTimeToLive);

// Posts a receive on the socket (ProbeSocket.h).  A failure leaves a line on the error stream.
void PostRecvFrom(platform::ProbeSocket& aSocket, unsigned char* aBuffer, size_t aSize,
                  platform::SocketAddress* apSource);
