#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string>

// Receives what a program tells its service manager; NOTIFY_SOCKET names it while it lives.
class NotifySocket {
public:
    explicit NotifySocket(const std::string& aName) : cHandle(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un lAddress = {};
        lAddress.sun_family = AF_UNIX;
        std::copy(aName.begin(), aName.end(), lAddress.sun_path);
        if (aName[0] == '@')
            lAddress.sun_path[0] = '\0';
        const auto lSize = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + aName.size());
        EXPECT_EQ(0, bind(cHandle, reinterpret_cast<const sockaddr*>(&lAddress), lSize)) << aName;
        setenv("NOTIFY_SOCKET", aName.c_str(), 1);
    }
    ~NotifySocket() {
        unsetenv("NOTIFY_SOCKET");
        close(cHandle);
    }
    NotifySocket(const NotifySocket&) = delete;
    NotifySocket& operator=(const NotifySocket&) = delete;

    // The next message; empty when there is none.
    std::string Next() {
        char lText[200];
        const ssize_t lSize = recv(cHandle, lText, sizeof lText, MSG_DONTWAIT);
        return lSize < 0 ? "" : std::string(lText, static_cast<size_t>(lSize));
    }

private:
    const int cHandle;
};
