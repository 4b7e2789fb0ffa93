#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/if_ether.h>
#include <netinet/ip.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "tests/unit/TestSupport.h"

// Two hosts on a cable: two network namespaces without names, joined by a veth pair.  Make moves the calling thread,
// and what it starts from then on, to the first host (10.77.0.1) and gives them an /etc/hosts of their own.  The second
// host answers at 10.77.0.2 and 10.77.0.5.  Nobody answers at 10.77.0.8 and 10.77.0.9.  The process's end removes
// everything.
class TwoHosts {
public:
    // Makes the hosts.  Returns the reason why they cannot be made, or an empty text.
    std::string Make() {
        if (!Shell("ip -V >/dev/null 2>&1"))
            return "there is no ip command";
        if (unshare(CLONE_NEWNET | CLONE_NEWNS) != 0)
            return std::string("no network namespace: ") + std::strerror(errno);
        cThere = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
        bool lMade = unshare(CLONE_NEWNET) == 0;
        cHere = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
        std::ofstream("hosts") << "127.0.0.1 localhost\n10.77.0.9 silent.example silent\n";
        lMade = lMade && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                mount("hosts", "/etc/hosts", nullptr, MS_BIND, nullptr) == 0 &&
                Shell("ip link add here type veth peer name there && ip link set there netns /proc/" +
                      std::to_string(getpid()) + "/fd/" + std::to_string(cThere) +
                      " && ip link set lo up && ip addr add 10.77.0.1/24 dev here && ip link set here up"
                      " && ip neigh replace 10.77.0.8 lladdr 02:00:00:00:00:08 dev here"
                      " && ip neigh replace 10.77.0.9 lladdr 02:00:00:00:00:09 dev here");
        AtThere([&lMade] {
            lMade = lMade && Shell(
                                 "ip addr add 10.77.0.2/24 dev there && ip addr add 10.77.0.5/24 dev there"
                                 " && ip link set there up");
        });
        return lMade ? "" : "no cable or hosts file";
    }

    // Runs aWork on the second host.
    void AtThere(const std::function<void()>& aWork) {
        setns(cThere, CLONE_NEWNET);
        aWork();
        setns(cHere, CLONE_NEWNET);
    }

    // Has the "ip" command change something on the first host.
    static void ChangeHere(const std::string& aWords) { EXPECT_TRUE(Shell("ip " + aWords)); }

    void SetCable(const char* aState) {
        AtThere([aState] { EXPECT_TRUE(Shell(std::string("ip link set there ") + aState)); });
    }

private:
    static bool Shell(const std::string& aCommand) { return std::system(aCommand.c_str()) == 0; }

    int cHere = -1, cThere = -1;
};

// Sees the ICMP echo requests that leave the first host while the object lives.
class Capture {
public:
    Capture() : cHandle(socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, htons(ETH_P_ALL))) {}
    ~Capture() { close(cHandle); }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    // Returns the IP packet of the next request; an empty one when there is none.
    std::vector<unsigned char> Next() {
        unsigned char lBytes[2000];
        for (ssize_t lSize = 0; (lSize = recv(cHandle, lBytes, sizeof lBytes, 0)) >= 0;)
            if (lSize > IP_HEADER && lBytes[0] == 0x45 && lBytes[9] == IPPROTO_ICMP && lBytes[IP_HEADER] == 8)
                return {lBytes, lBytes + lSize};
        return {};
    }

    // Returns whether a request to that address comes within ten seconds.
    bool Sees(const std::string& aAddress) {
        return Eventually([&] {
            const auto lPacket = Next();
            return !lPacket.empty() && Destination(lPacket) == aAddress;
        });
    }

    static std::string Destination(const std::vector<unsigned char>& aPacket) {
        char lText[INET_ADDRSTRLEN] = "";
        return inet_ntop(AF_INET, &aPacket[16], lText, sizeof lText);
    }

    static constexpr int IP_HEADER = 20;

private:
    int cHandle;
};
