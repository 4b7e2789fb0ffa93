#pragma once

#include <string>

#include "Networking/MDIUnit.h"

// The DRM transmission mode that a unit's fast access channel and robustness mode tell (ETSI ES 201 980), as lines for
// the console.
std::string ModeReport(const unsigned char (&aFac)[MDI_FAC_SIZE], unsigned char aRobustnessMode);
