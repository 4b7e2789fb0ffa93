#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <tuple>
#include <vector>

#include "DrmUtil/CNameResolutionDaemon.h"
#include "DrmUtil/resolve.h"
#include "platform/Socket.h"
#include "tests/unit/TestSupport.h"

namespace {

using Daemon = CNameResolutionDaemon;
using Bytes = std::vector<unsigned char>;

// "address/name" of each listed entry.
std::vector<std::string> Listed() {
    Daemon::GetInstance()->cListLockSemaphore->Wait(platform::Semaphore::NO_TIME_LIMIT);
    std::vector<std::string> lTexts;
    for (const CAddressEntry& lEntry : *Daemon::cAddressList)
        lTexts.push_back(std::string(lEntry.miAddress) + "/" + lEntry.miName);
    Daemon::cListLockSemaphore->Release();
    return lTexts;
}

TEST(NameResolutionTest, KnowsWhatATextIs) {
    char lHost[65] = "";
    ASSERT_EQ(0, gethostname(lHost, sizeof lHost));
    const std::string lLocal = std::string(lHost).substr(0, std::string(lHost).find('.'));
    char lInterface[16];
    const auto lAddresses = platform::InterfaceAddresses().value();
    ASSERT_GT(lAddresses.mCount, 0u);
    platform::FormatAddress(lAddresses.mAddresses[lAddresses.mCount - 1], lInterface);
    // A text, and whether it is dotted, of a group, and local.
    const std::tuple<std::string, bool, bool, bool> CASES[] = {
        {"127.0.0.1", true, false, true},
        {"127.0.0.2", true, false, false},
        {lInterface, true, false, true},
        {"", false, false, false},
        {"255.255.255.255", false, false, false},
        {"223.255.255.255", true, false, false},
        {"224.0.0.0", true, true, false},
        {"239.255.255.255", true, true, false},
        {"240.0.0.0", true, false, false},
        {lLocal, false, false, true},
        {lLocal + "2.example", false, false, true},
        {"!" + lLocal, false, false, false},
        {lLocal.substr(0, lLocal.size() - 1), false, false, false}};
    for (const auto& [lText, lDotted, lMulticast, lIsLocal] : CASES) {
        EXPECT_EQ(lDotted, Daemon::IsDottedAddress(lText.c_str())) << lText;
        EXPECT_EQ(lMulticast, Daemon::IsMulticastAddress(lText.c_str())) << lText;
        EXPECT_EQ(lIsLocal, Daemon::IsLocalDestination(lText.c_str())) << lText;
    }
}

TEST(NameResolutionTest, ListsWhatItIsToWatch) {
    const std::string l31(31, '!');
    // A destination, its first state, and its entry as it is listed, empty when it is not.
    const std::tuple<std::string, uint32_t, std::string> CASES[] = {
        {"127.0.0.1", ADDRESS_USABLE, ""},
        {"224.0.0.1", ADDRESS_USABLE, ""},
        {"127.0.0.2", ADDRESS_PENDING, "127.0.0.2/"},
        {"0177.000.00.04", ADDRESS_PENDING, "0177.000.00.04/"},
        {"00177.000.00.003", ADDRESS_UNREACHABLE, ""},
        {"!two.parts", ADDRESS_PENDING, "/!two"},
        {l31 + ".example", ADDRESS_PENDING, "/" + l31},
        {l31 + "!.example", ADDRESS_UNREACHABLE, ""},
    };
    std::vector<std::string> lExpected;
    for (const auto& [lText, lState, lEntry] : CASES) {
        EXPECT_EQ(lState, Daemon::GetAddressState(lText.c_str())) << lText;
        if (!lEntry.empty())
            lExpected.push_back(lEntry);
    }
    Daemon::GetAddressState("!two.other");
    Daemon::GetAddressState("127.0.0.2");
    std::vector<std::string> lListed = Listed();
    lListed[0].resize(lExpected[0].size());  // its name may be known already
    EXPECT_EQ(lExpected, lListed);
    Daemon::AddAddress((l31 + "!").c_str());
    EXPECT_EQ(lExpected.size(), Listed().size());
}

TEST(ProbeTest, BuildsTheRequest) {
    const std::pair<Bytes, uint16_t> CHECKSUMS[] = {{{}, 0xFFFF},
                                                    {{0x00, 0x01, 0xF2, 0x03, 0xF4, 0xF5, 0xF6, 0xF7}, 0x0D22},
                                                    {{0xFF, 0xFF, 0x01, 0x00, 0xFF, 0xFF}, 0xFFFE},
                                                    {{0x12, 0x34, 0x56}, 0xCB97}};
    for (const auto& [lBytes, lChecksum] : CHECKSUMS)
        EXPECT_EQ(lChecksum, InternetChecksum(lBytes.data(), lBytes.size())) << lBytes.size();

    Bytes lRequest(ECHO_REQUEST_SIZE);
    FillEchoRequest(lRequest.data(), 0x1234);
    CompleteEchoRequest(lRequest.data(), 0x0101);
    CompleteEchoRequest(lRequest.data(), 0x5678);  // the former checksum does not count
    Bytes lExpected = {8, 0, 0xF7, 0x42, 0x34, 0x12, 0x78, 0x56};
    lExpected.resize(40, 0x45);
    EXPECT_EQ(lExpected, lRequest);
}

TEST(ProbeTest, TranslatesAddresses) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const auto lAddress = ResolveAddress("192.168.1.10", "0", platform::FAMILY_ANY, 0, 0);
    const auto lWildcard = ResolveAddress(nullptr, "0", platform::FAMILY_IPV4, 0, 0);
    const auto lNone = ResolveAddress("192.168.1.10.", "0", platform::FAMILY_IPV4, 0, 0);
    ASSERT_FALSE(lAddress.empty() || lWildcard.empty());
    EXPECT_TRUE(lNone.empty());
    for (const auto& lOne : {lAddress[0], lWildcard[0]})
        EXPECT_EQ(0, PrintAddress(lOne.mBytes, lOne.mLength));
    EXPECT_TRUE(IsSameAddress(lAddress[0].mBytes, lAddress[0].mLength, "192.168.1.10"));
    EXPECT_FALSE(IsSameAddress(lAddress[0].mBytes, lAddress[0].mLength, "192.168.1.1"));
    EXPECT_NE(0, PrintAddress(lAddress[0].mBytes, 3));
    EXPECT_TRUE(IsSameAddress(lAddress[0].mBytes, 3, "192.168.1.1"));
    EXPECT_EQ("192.168.1.100.0.0.0", testing::internal::GetCapturedStdout());
    const std::string lErrors = testing::internal::GetCapturedStderr();
    EXPECT_EQ(0u, lErrors.find("Invalid address 192.168.1.10., getaddrinfo failed: -")) << lErrors;
    const std::string lLine = "DrmUtil/resolve.cpp: getnameinfo failed: -6\n";
    EXPECT_EQ(lLine + lLine, lErrors.substr(lErrors.find('\n') + 1));
}

}  // namespace
