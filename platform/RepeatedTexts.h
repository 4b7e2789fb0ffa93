#pragma once

#include <map>
#include <string>

namespace platform {

// What was written last of each printf format, so that a text that repeats is written once.  One thread at a time.
// Internal to platform/.
class RepeatedTexts {
public:
    // aWrite takes the text and tells whether it could be written; one that could not is tried again when it repeats.
    template <typename Write>
    void WriteOnce(const char* aFormat, const std::string& aText, Write aWrite) {
        std::string& lLast = cLastTexts[aFormat];
        if (aText != lLast)
            lLast = aWrite(aText) ? aText : "";
    }

private:
    std::map<std::string, std::string> cLastTexts;  // by format
};

}  // namespace platform
