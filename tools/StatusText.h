#pragma once

#include <cstdint>
#include <string>

// What a status code of a layer or endpoint (Networking/StatusCodes.h) means to the user of a tool.
std::string StatusText(uint32_t aCode);

// What to say of a recording of more than FILE_MAX_SIZE bytes.
std::string LongerThanDefault();

// What an error number of the system (errno) means.
std::string SystemText(int aError);
