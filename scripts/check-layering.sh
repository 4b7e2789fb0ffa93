#!/usr/bin/env bash
# Fails when an include runs upwards or sideways between the rooms of this project, and when anything but a backend of
# platform/ or a test includes a header of the operating system or is compiled conditionally.
set -eu
cd "$(dirname "$0")/.."

git ls-files '*.h' '*.cpp' | awk '
# The room of a file; the first pattern that fits counts.
function RoomOf(aFile) {
    for (lIndex = 1; lIndex <= cRooms; ++lIndex)
        if (aFile ~ cPattern[lIndex])
            return cRoom[lIndex]
    return "nowhere"
}
# Files of a room, and the rooms besides itself that it may include.
function Room(aName, aPattern, aAllowed,    lNames, lCount) {
    cPattern[++cRooms] = aPattern
    cRoom[cRooms] = aName
    lCount = split(aAllowed, lNames, " ")
    for (lIndex = 1; lIndex <= lCount; ++lIndex)
        cAllowed[aName, lNames[lIndex]] = 1
    cAllowed[aName, aName] = 1
}
function Complain(aText) {
    print FILENAME ":" FNR ": " aText
    cFailed = 1
}
BEGIN {
    Room("backend", "^platform/(posix|windows)/", "platform")
    Room("platform", "^platform/")
    Room("runtime", "^runtime/", "platform")
    Room("drmutil", "^DrmUtil/", "runtime platform")
    Room("player", "^Networking/Receiver/", "endpoint layer packet format runtime drmutil platform")
    Room("endpoint", "^Networking/(DCPInterface|DRMNetworkInterface)[.]", "layer packet format runtime platform")
    Room("layer", "^Networking/(.*Layer|.*Reassembly|.*Fifo|Transport.*|PFTSender|StackObserver|Outage|Reception.*|Source.*|Recording.*|Live.*)[.]",
         "packet format runtime drmutil platform")
    Room("packet", "^Networking/(.*Packet|PacketQueue|PacketParts|MDIUnit|FEC.*|FacFields)[.]", "format runtime")
    Room("format", "^Networking/", "")
    Room("tool", "^tools/", "endpoint layer packet format platform")
    Room("test", "^(tests|bench|fuzz|docs)/",
         "backend platform runtime drmutil player endpoint layer packet format tool")
    while ((getline lFile < "-") > 0)
        ARGV[ARGC++] = lFile
}
FNR == 1 { lFrom = RoomOf(FILENAME) }
/^#include "/ {
    split($0, lParts, "\"")
    lTo = RoomOf(lParts[2])
    if (!((lFrom, lTo) in cAllowed))
        Complain("a " lFrom " may not include a " lTo ": " lParts[2])
}
# Headers of the C++ library have no suffix.
lFrom !~ /^(backend|test)$/ && /^#include <.*[.]h>/ && !/<pcap\/pcap[.]h>/ { Complain("a header of the system: " $2) }
lFrom !~ /^(backend|test)$/ && /^#[ ]*if/ { Complain("conditional compilation") }
END { exit cFailed }'
