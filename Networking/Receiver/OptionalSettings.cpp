#include "Networking/Receiver/OptionalSettings.h"

#include <charconv>
#include <cstdint>
#include <system_error>
#include <vector>

#include "Networking/Receiver/MetricsWriter.h"
#include "platform/Console.h"
#include "platform/Socket.h"

namespace {

using Take = bool (*)(const std::string& aValue, PlayerSettings* apSettings);  // stores an acceptable value: true

template <auto SETTING, const char* OFF, const char* ON>
bool TakeWord(const std::string& aValue, PlayerSettings* apSettings) {
    apSettings->*SETTING = aValue == ON;
    return aValue == ON || aValue == OFF;
}

template <auto SETTING, uint64_t LEAST, uint64_t MOST>
bool TakeNumber(const std::string& aValue, PlayerSettings* apSettings) {
    const char* const lpEnd = aValue.data() + aValue.size();
    auto& lSetting = apSettings->*SETTING;
    const auto [lpRead, lError] = std::from_chars(aValue.data(), lpEnd, lSetting);
    return lError == std::errc() && lpRead == lpEnd && lSetting >= LEAST && lSetting <= MOST;
}

// Digits and dots must be an address of four decimal numbers; any other text may be the name of an interface.
bool TakeInterface(const std::string& aValue, PlayerSettings* apSettings) {
    apSettings->mInterface = aValue;
    if (aValue.find_first_not_of("0123456789.") != std::string::npos)
        return true;
    const uint32_t lAddress = platform::ParseAddress(aValue.c_str());
    char lDotted[16];
    platform::FormatAddress(lAddress, lDotted);
    return lAddress != platform::NO_ADDRESS && aValue == lDotted;
}

constexpr char FULL[] = "full";

// Takes nothing: the console was made quiet before.
bool TakeConsole(const std::string& aValue, PlayerSettings* /*apSettings*/) {
    return aValue == FULL || aValue == QUIET;
}

bool TakeMetricsFile(const std::string& aValue, PlayerSettings* apSettings) {
    apSettings->mMetricsFile = aValue;
    return MetricsWriter::CanWrite(aValue);
}

constexpr char RELATIVE[] = "relative";
constexpr char ABSOLUTE[] = "absolute";
constexpr char END[] = "end";
constexpr char CONTINUE[] = "continue";
constexpr char SYSTEM_DEFAULT[] = "(the system's)";

struct Rule {
    const char* mKey;
    const char* mDefault;
    const char* mAccepted;
    Take mTake;
};

constexpr Rule RULES[] = {
    {"Pacing", RELATIVE, "relative or absolute", TakeWord<&PlayerSettings::mAbsolutePacing, RELATIVE, ABSOLUTE>},
    {"SendErrors", END, "end or continue", TakeWord<&PlayerSettings::mContinueAfterErrors, END, CONTINUE>},
    {"ProbeTries", "1", "0 to 100", TakeNumber<&PlayerSettings::mProbeTries, 0, 100>},
    {CONSOLE, FULL, "full or quiet", TakeConsole},
    {"DrmOutputProtection", "0", "0 to 7", TakeNumber<&PlayerSettings::mProtection, 0, 7>},
    {"DrmOutputInterface", SYSTEM_DEFAULT, "the name or the IPv4 address of an interface", TakeInterface},
    {"DrmOutputTTL", SYSTEM_DEFAULT, "1 to 255", TakeNumber<&PlayerSettings::mTimeToLive, 1, 255>},
    {"DrmOutputDSCP", "0", "0 to 63", TakeNumber<&PlayerSettings::mDSCP, 0, 63>},
    {"MetricsFile", "(none)", "the path of a file that can be written", TakeMetricsFile},
    {"InputFileSizeLimit", "524288", "524288 to 1099511627776",
     TakeNumber<&PlayerSettings::mFileSizeLimit, FILE_MAX_SIZE, uint64_t{1} << 40>},
};

std::string UnknownKeys(const platform::IniSection& aSection) {
    std::vector<std::string> lKnown = {INPUT_FILE_NAME, OUTPUT_ADDRESS, OUTPUT_PORT};
    for (const Rule& lRule : RULES)
        lKnown.push_back(lRule.mKey);
    std::string lText;
    for (const std::string& lKey : aSection.GetKeysBeside(lKnown))
        lText += (lText.empty() ? "; unknown keys: " : ", ") + lKey;
    return lText;
}

}  // namespace

bool ReadOptionalSettings(const platform::IniSection& aSection, PlayerSettings* apSettings) {
    for (const Rule& lRule : RULES) {
        const std::string lValue = aSection.GetText(lRule.mKey, "");
        if (!lValue.empty() && !lRule.mTake(lValue, apSettings)) {
            platform::Print("ERROR: %s must be %s, current value = %s\n", lRule.mKey, lRule.mAccepted, lValue.c_str());
            return false;
        }
    }
    return true;
}

std::string SettingsLine(const platform::IniSection& aSection, const PlayerSettings& aSettings) {
    std::string lLine = std::string("Settings: ") + INPUT_FILE_NAME + "=" + aSettings.mInputFileName + ", " +
                        OUTPUT_ADDRESS + "=" + aSettings.mDrmOutputAddress + ", " + OUTPUT_PORT + "=" +
                        std::to_string(aSettings.mDrmOutputPort);
    bool lAnySet = false;
    for (const Rule& lRule : RULES) {
        const std::string lValue = aSection.GetText(lRule.mKey, "");
        lAnySet = lAnySet || !lValue.empty();
        lLine += std::string(", ") + lRule.mKey + "=" + (lValue.empty() ? lRule.mDefault : lValue);
    }
    return lAnySet ? lLine + UnknownKeys(aSection) + "\n" : "";
}
