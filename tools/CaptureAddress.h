#pragma once

#include <string>
#include <string_view>

#include "tools/CaptureDecoder.h"

// The text that names a capture as a source:
//
//   pcap:FILE[?port=N][&host=ADDRESS]
//
// with the options in any order, each at most once.  FILE ends at the first "?", so its name may hold colons and blanks
// but no "?"; "-" is standard input.  Port and host, a dotted IPv4 address, are those that datagrams go to.
struct CaptureAddress {
    static bool Is(std::string_view aText);  // whether it begins as one

    // False with a reason of one line in *apError.
    bool Parse(std::string_view aText, std::string* apError);

    std::string mFile;
    CaptureFilter mFilter;

private:
    bool ParseOption(const std::string& aOption);
};

// "127.0.0.1"
std::string HostText(uint32_t aAddress);
