#include "Networking/Receiver/PlayerSettings.h"

#include <filesystem>
#include <system_error>

#include "Networking/Receiver/OptionalSettings.h"
#include "platform/Console.h"
#include "platform/Settings.h"

namespace {

constexpr char INI_FILE_NAME[] = "VESTRAL Tessavox.ini";
constexpr char SECTION[] = "Settings";
constexpr int FIRST_PORT = 1025;
constexpr int LAST_PORT = 65535;
constexpr int ABSENT_NUMBER = -1;

bool ReportMissing(const char* aKey) {
    platform::Print("ERROR: Missing \"%s\" setting\n", aKey);
    return false;
}

bool FindIniFile(std::string* apPath) {
    std::error_code lError;
    const std::filesystem::path lDirectory = std::filesystem::current_path(lError);
    if (lError) {
        platform::Print("Unable to find currentDirectory\n");
        return false;
    }
    *apPath = (lDirectory / INI_FILE_NAME).string();
    if (!std::filesystem::exists(*apPath, lError)) {
        platform::Print("Missing \"%s\" file\n", apPath->c_str());
        return false;
    }
    return true;
}

bool ReadAndCheck(PlayerSettings* apSettings) {
    std::string lPath;
    if (!FindIniFile(&lPath))
        return false;
    const platform::IniSection lSection(lPath, SECTION);
    apSettings->mInputFileName = lSection.GetText(INPUT_FILE_NAME, "");
    if (apSettings->mInputFileName.empty())
        return ReportMissing(INPUT_FILE_NAME);
    apSettings->mDrmOutputAddress = lSection.GetText(OUTPUT_ADDRESS, "");
    if (apSettings->mDrmOutputAddress.empty())
        return ReportMissing(OUTPUT_ADDRESS);
    apSettings->mDrmOutputPort = lSection.GetNumber(OUTPUT_PORT, ABSENT_NUMBER);
    if (apSettings->mDrmOutputPort == ABSENT_NUMBER)
        return ReportMissing(OUTPUT_PORT);
    if (apSettings->mDrmOutputPort > LAST_PORT || apSettings->mDrmOutputPort < FIRST_PORT) {
        platform::Print("ERROR: DRM IP PORT must be 1025<=%s<=65535, current value = %d\n", OUTPUT_PORT,
                        apSettings->mDrmOutputPort);
        return false;
    }
    if (!ReadOptionalSettings(lSection, apSettings))
        return false;
    platform::Print("%s", SettingsLine(lSection, *apSettings).c_str());
    return true;
}

}  // namespace

bool WantsQuietConsole() {
    return platform::IniSection(INI_FILE_NAME, SECTION).GetText(CONSOLE, "") == QUIET;
}

bool ReadPlayerSettings(PlayerSettings* apSettings) {
    const bool lAccepted = ReadAndCheck(apSettings);
    if (!lAccepted)
        platform::ReadKey();
    return lAccepted;
}
