#pragma once

#include <cstdint>
#include <string>

// The transports that a DCP address can name.
enum DCPTransport : uint32_t { TRANSPORT_UDP = 0, TRANSPORT_FILE = 1, TRANSPORT_TCP = 2, TRANSPORT_SER = 3 };

// The text that configures an endpoint:
//
//   dcp.udp[.pft]://HOST:PORT[?OPTIONS]        dcp.file[.pft]:NAME:NUMBER:NUMBER[?OPTIONS]
//
// The transport words tcp and ser are understood too.  OPTIONS is one word: "fec=N" at its start asks for Reed-Solomon
// protection unless N is 0; "crc=0" anywhere in it switches the AF CRC off; "live=1" anywhere in it asks for live
// reception.
//
// The text is split at the first ":", at the first "?" and then at the separators of each part.  So neither host nor
// name can contain ":", "?" or a blank, and further words of the scheme and everything behind a blank are ignored.  All
// words must be in lower case.  The scheme has at most 67 characters, the location 499, the host or name 103 and the
// options 51.
struct DCPAddress {
    uint32_t mTransport = TRANSPORT_UDP;
    bool mPFT = false;
    bool mFEC = false;
    bool mCRC = true;
    bool mLive = false;
    std::string mName;     // host, or name of the file
    uint32_t mNumber = 0;  // port or record limit

    // Returns 0 with all fields set, or DCP_INVALID_ADDRESS.  In tcp and ser addresses only the length of the location
    // is checked.
    uint32_t Parse(const char* apText);

private:
    bool ParseScheme(std::string aScheme);
    bool ParseOptions(const std::string& aOptions);
    bool ParseLocation(std::string aLocation);
};
