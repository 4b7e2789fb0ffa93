#include "DrmUtil/EchoRequest.h"

#include <cstring>

namespace {

constexpr unsigned char ECHO_REQUEST = 8;  // the type; the code is 0
constexpr size_t CHECKSUM_OFFSET = 2;
constexpr size_t IDENTIFIER_OFFSET = 4;
constexpr size_t SEQUENCE_OFFSET = 6;

void Store(unsigned char* aTo, uint16_t aValue) {
    std::memcpy(aTo, &aValue, sizeof aValue);
}

}  // namespace

uint16_t InternetChecksum(const unsigned char* aData, size_t aSize) {
    uint32_t lSum = 0;
    for (; aSize >= 2; aData += 2, aSize -= 2) {
        uint16_t lWord;
        std::memcpy(&lWord, aData, sizeof lWord);
        lSum += lWord;
    }
    if (aSize > 0)
        lSum += *aData;
    lSum = (lSum >> 16) + (lSum & 0xFFFF);
    lSum += lSum >> 16;
    return static_cast<uint16_t>(~lSum);
}

void FillEchoRequest(unsigned char* aRequest, uint16_t aIdentifier) {
    aRequest[0] = ECHO_REQUEST;
    Store(aRequest + IDENTIFIER_OFFSET, aIdentifier);
    std::memset(aRequest + ECHO_HEADER_SIZE, 0x45, PROBE_DATA_SIZE);
}

void CompleteEchoRequest(unsigned char* aRequest, uint16_t aSequence) {
    Store(aRequest + SEQUENCE_OFFSET, aSequence);
    Store(aRequest + CHECKSUM_OFFSET, 0);
    Store(aRequest + CHECKSUM_OFFSET, InternetChecksum(aRequest, ECHO_REQUEST_SIZE));
}
