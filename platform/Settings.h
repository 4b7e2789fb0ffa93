#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Where settings come from: a section of an INI file and single numbers of the registry.
namespace platform {

// One section of an INI file, read whole at construction, by the rules of Windows' private profiles:
// - Section and key names match without regard to case.
// - Blanks around names and values are dropped, and after that one pair of quotes (" or ') around a value.
// - Lines that begin with ";" are comments; lines end in LF or CR LF.
// - A byte-order mark at the start of the file is skipped; that of UTF-16 says that the file is in UTF-16.
// - The first section of the name counts, and in it the first line of each key.
// A file that cannot be read is an empty section.
class IniSection {
public:
    IniSection(const std::string& aPath, const char* aSection);

    // The value of aKey; aDefault when the key is absent.
    std::string GetText(const char* aKey, const char* aDefault) const;

    // The whole number that the value begins with, an optional sign and digits; 0 when it begins otherwise.  A number
    // beyond the limits of int becomes that limit.  aDefault when the key is absent or its value empty.
    int GetNumber(const char* aKey, int aDefault) const;

    // The keys that are none of aKnown, each once, as they are written and in the order of the file.
    std::vector<std::string> GetKeysBeside(const std::vector<std::string>& aKnown) const;

private:
    struct Entry {
        std::string mWritten;
        std::string mName;  // in lower case
        std::string mValue;
    };
    const Entry* Find(const std::string& aKey) const;  // null when the key is absent

    std::vector<Entry> cEntries;  // one of each name
};

// A number of the registry below HKEY_LOCAL_MACHINE, for example ("SOFTWARE\\VESTRAL\\Drm\\Settings",
// "PftSupportedErrors").  On systems without a registry a text file takes its place, in the form that Windows' registry
// editor exports ([HKEY_LOCAL_MACHINE\...] and "Name"=dword:0000000a).  The environment variable VESTRAL_REGISTRY names
// the file; without the variable it is /etc/vestral/registry.reg.  Key and value names match without regard to case.
// Empty when the number cannot be read.
std::optional<uint32_t> ReadRegistryNumber(const char* aKey, const char* aValueName);

}  // namespace platform
