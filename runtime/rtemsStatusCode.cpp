#include "runtime/rtemsStatusCode.h"

#include <cstring>

rtems_name BuildName(const char* apText, char (&apNameText)[5]) {
    std::memcpy(apNameText, "    ", sizeof apNameText);
    for (size_t lIndex = 0; lIndex < 4 && apText[lIndex] != '\0'; ++lIndex)
        apNameText[lIndex] = apText[lIndex];
    rtems_name lName = 0;
    for (size_t lIndex = 0; lIndex < 4; ++lIndex)
        lName = (lName << 8) | static_cast<unsigned char>(apNameText[lIndex]);
    return lName;
}
