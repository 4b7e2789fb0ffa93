#pragma once

#include <string>

// Messages to the service manager that runs the program: systemd, by its datagram protocol (sd_notify(3)), over the
// socket that the environment variable NOTIFY_SOCKET names.  Any thread.
namespace platform {

// Whether the program was started by a service manager that wants messages.
bool HasServiceManager();

// Each sends one message, waiting at most a second, and answers whether it was sent; false without a service manager.
bool NotifyReady();                           // the start is complete
bool NotifyAlive();                           // resets the service manager's watchdog
bool NotifyStopping();                        // the program is about to end
bool NotifyStatus(const std::string& aLine);  // one line for people, in UTF-8

}  // namespace platform
