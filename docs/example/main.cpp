// Prints the size of the first units of a recording: example rec.mdi
#include <Networking/DRMNetworkInterface.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    DRMNetworkInterface lReceiver(0, 2000);
    const std::string lAddress = std::string("dcp.file.pft:") + (argc > 1 ? argv[1] : "rec.mdi") + ":0:0";
    if (lReceiver.Open(lAddress.c_str(), 0) != 1 || lReceiver.EnableMDI() != 1 || lReceiver.Start() != 1)
        return 1;
    for (int lCount = 0; lCount < 5; ++lCount) {
        Packet lUnit(0);
        if (lReceiver.ReceiveMDI(&lUnit) != 1)
            return 1;
        std::printf("%u bytes\n", lUnit.GetSize());
    }
}
