#pragma once

#include <string>

#include "Networking/Receiver/PlayerSettings.h"
#include "platform/Settings.h"

// The key that counts before all others are read, and its value for a quiet console.
constexpr char CONSOLE[] = "Console";
constexpr char QUIET[] = "quiet";

// Reads the optional keys.  An empty value counts as an absent key.  False after the first value that is not
// acceptable, with a line on the console.
bool ReadOptionalSettings(const platform::IniSection& aSection, PlayerSettings* apSettings);

// One line that lists all settings in force, the three mandatory keys first, and names the keys of the section that the
// player does not know.  Empty when no optional key is set.
std::string SettingsLine(const platform::IniSection& aSection, const PlayerSettings& aSettings);
