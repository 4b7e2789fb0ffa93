#include "Networking/Receiver/Player.h"

int main() {
    RunPlayer();
    return 0;
}
