#include "Networking/Receiver/Player.h"
#include "platform/Console.h"

int main() {
    platform::SecureStandardHandles();
    RunPlayer();
    return 0;
}
