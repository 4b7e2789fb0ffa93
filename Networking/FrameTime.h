#pragma once

#include <cstdint>

constexpr uint32_t DRM_FRAME_TIME = 400;  // milliseconds: one DRM transmission frame in robustness modes A to D
