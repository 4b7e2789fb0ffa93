#pragma once

#include <cstdint>

// Follows the codes of a sender whose player goes on after errors, and prints one line when a code begins, when it
// changes and when it has ended.
class SenderCodes {
public:
    // To be called once for each unit that was handed over, with the code that the sender then gave; 0 for none.
    void Note(uint32_t aCode);

private:
    uint32_t cCode = 0;          // in force; 0 for none
    uint32_t cUnitsWithout = 0;  // handed over since the last code
};
