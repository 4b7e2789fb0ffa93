#pragma once

#include <string>

#include "Networking/FacFields.h"

// A unit's DRM mode as lines for the console.  aRobustness is the value of its item robm.
std::string ModeReport(const FacFields& aFac, unsigned char aRobustness);
