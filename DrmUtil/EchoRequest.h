#pragma once

#include <cstddef>
#include <cstdint>

// The ICMP echo request (RFC 792) of the reachability probe.

constexpr size_t PROBE_DATA_SIZE = 32;  // bytes of payload, each 0x45
constexpr size_t ECHO_HEADER_SIZE = 8;
constexpr size_t ECHO_REQUEST_SIZE = ECHO_HEADER_SIZE + PROBE_DATA_SIZE;

// The Internet checksum (RFC 1071) of aSize bytes.  It is computed in the machine's byte order and is to be stored in
// the machine's byte order too.
uint16_t InternetChecksum(const unsigned char* aData, size_t aSize);

// Fills in everything but sequence and checksum.  aRequest has ECHO_REQUEST_SIZE bytes, which are all 0.  Identifier
// and sequence are stored in the machine's byte order.
void FillEchoRequest(unsigned char* aRequest, uint16_t aIdentifier);

// Sets the sequence and, over the whole request, the checksum.
void CompleteEchoRequest(unsigned char* aRequest, uint16_t aSequence);
