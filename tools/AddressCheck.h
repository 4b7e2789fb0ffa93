#pragma once

#include <string>

#include "Networking/DCPAddress.h"

// An endpoint ignores words of an address that it does not know, and reads some in another way than they are meant:
// "?fec=7" as "?fec=1".  The tools refuse such addresses.

// Whether the text has blanks, or more words before its options than the form of DCPAddress.
bool HasMoreWords(const std::string& aAddress, const DCPAddress& aParts);

// Why the options are refused, in one line that names the word; empty when all of them are taken as they are meant.
std::string WhyNoOptions(const std::string& aAddress, const DCPAddress& aParts);
