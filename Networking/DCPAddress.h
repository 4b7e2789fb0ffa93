#pragma once

#include <cstdint>
#include <string>

// Transport words of a DCP address.
enum DCPTransport : uint32_t { TRANSPORT_UDP = 0, TRANSPORT_FILE = 1, TRANSPORT_TCP = 2, TRANSPORT_SER = 3 };

// The text that configures an endpoint:
//
//   dcp.udp[.pft]://HOST:PORT[?OPTIONS]        dcp.file[.pft]:NAME:NUMBER:NUMBER[?OPTIONS]
//
// with tcp and ser as further transport words.  OPTIONS is one word: "fec=N" at its start asks for Reed-Solomon
// protection unless N is 0, "crc=0" anywhere in it switches the AF CRC off, "live=1" anywhere in it asks for live
// reception.  The text is split at the first ":", the first "?" and then at the separators of each part: so neither
// host nor name can hold ":", "?" or a blank, further words of the scheme are ignored, and so is what follows behind a
// blank.  Lower case counts.  The scheme has at most 67 characters, the location 499, host and name 103, the
// options 51.
struct DCPAddress {
    uint32_t mTransport = TRANSPORT_UDP;
    bool mPFT = false;
    bool mFEC = false;
    bool mCRC = true;
    bool mLive = false;
    std::string mName;     // host or file
    uint32_t mNumber = 0;  // port or record limit

    // 0 with all fields set, or DCP_INVALID_ADDRESS.  Of TCP and serial addresses only the length of the location
    // counts.
    uint32_t Parse(const char* apText);

private:
    bool ParseScheme(std::string aScheme);
    bool ParseOptions(const std::string& aOptions);
    bool ParseLocation(std::string aLocation);
};
