#pragma once

#include <string>

#include "Networking/DCPAddress.h"

// An endpoint passes over words of an address that it does not know, and takes some for something else: "?fec=7" for
// "?fec=1", and "fec=1" behind another option for nothing.  The tools refuse such addresses.

// Whether the text has blanks, or more words before its options than the form of DCPAddress.
bool HasMoreWords(const std::string& aAddress, const DCPAddress& aParts);

// Why the options are refused, in one line that names the word; empty when all of them are taken as they are meant.
std::string WhyNoOptions(const std::string& aAddress, const DCPAddress& aParts);
