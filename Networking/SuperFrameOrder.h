#pragma once

constexpr int SUPER_FRAME_FRAMES = 3;

// Keeps units in the order of the DRM super frame, whose first frame has identity 0 or 3 and is followed by 1 and 2.
class SuperFrameOrder {
public:
    explicit SuperFrameOrder(int aFirstIdentity = 0) : cPosition(aFirstIdentity % SUPER_FRAME_FRAMES) {}

    // Returns whether a frame of this identity (0 to 3) is expected.  If so, the frame after it is expected next.
    bool Accept(int aIdentity) {
        if (aIdentity % SUPER_FRAME_FRAMES != cPosition)
            return false;
        cPosition = (cPosition + 1) % SUPER_FRAME_FRAMES;
        return true;
    }

    // Returns whether the first frame of a super frame is expected.
    bool AtBoundary() const { return cPosition == 0; }

private:
    int cPosition;
};
