// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>

/// Chooses how much pictures are reduced while the view moves, by the time that they take.
class ktMovingQuality {
public:
    struct Quality {
        int scale = 1;        ///< the picture has 1 / scale of the pixels in each direction
        double detail_px = 0; ///< see ktDrawChoice
        bool isFull() const { return scale == 1 && detail_px <= 0; }
    };

    /// Starts again for another scene, with a guess.
    void reset(std::size_t triangles, bool isSoftware);
    /// Learns the time of a picture that was drawn with now(). Ignores the first one, which compiles programs.
    void learn(double time_ms);
    /// The view is at rest: what was too slow may be tried again, in case the machine was busy.
    void rest() { finest = 0; }
    Quality now() const;

private:
    std::size_t step = 0, finest = 0; // finest: steps below took too long
    int quickPictures = 0;
    bool isFirst = true;
};
