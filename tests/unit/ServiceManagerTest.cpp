#include "platform/ServiceManager.h"

#include <gtest/gtest.h>

#include "tests/unit/NotifySocket.h"
#include "tests/unit/TestSupport.h"

namespace {

TEST(ServiceManagerTest, SendsToPathsAndAbstractNames) {
    const TestDirectory lDirectory;
    const std::string lLong = "@" + std::string(sizeof(sockaddr_un::sun_path) - 1, 'x');
    for (const std::string& lName :
         {(lDirectory.GetPath() / "notify").string(), "@tessavox-" + std::to_string(getpid()), lLong}) {
        NotifySocket lSocket(lName);
        EXPECT_TRUE(platform::HasServiceManager() && platform::NotifyReady() && platform::NotifyStatus("7 units") &&
                    platform::NotifyAlive() && platform::NotifyStopping());
        for (const char* const lExpected : {"READY=1", "STATUS=7 units", "WATCHDOG=1", "STOPPING=1"})
            EXPECT_EQ(lExpected, lSocket.Next()) << lName;
    }
    for (const std::string& lName : {std::string("notify"), lLong + "x", std::string("/nobody")}) {
        setenv("NOTIFY_SOCKET", lName.c_str(), 1);
        EXPECT_FALSE(platform::NotifyReady()) << lName;
    }
    unsetenv("NOTIFY_SOCKET");
    EXPECT_FALSE(platform::HasServiceManager() || platform::NotifyReady());
}

}  // namespace
