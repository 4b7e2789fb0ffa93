#pragma once

#include <array>
#include <cstddef>

#include "Networking/MDIUnit.h"
#include "tools/DrmModes.h"

using Fac = std::array<unsigned char, MDI_FAC_SIZE>;

// The fast access channel of one frame (ETSI ES 201 980): channel parameters, the parameters of service aService of
// aServices (1 to 4, all audio) and the CRC.
Fac BuildFac(const DrmMode& aMode, unsigned aIdentity, size_t aServices, size_t aService);
