#include "Networking/TagItems.h"

unsigned char* WriteTagItemHeader(unsigned char* apWhere, const char* apName, uint32_t aBits) {
    std::memcpy(apWhere, apName, TAG_NAME_SIZE);
    WriteU32(apWhere + TAG_NAME_SIZE, aBits);
    return apWhere + TAG_ITEM_HEADER_SIZE;
}
