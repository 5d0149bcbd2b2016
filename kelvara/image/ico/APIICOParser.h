#pragma once

// APIICOParser: icon and cursor files (ICO, CUR), with bitmap or
// PNG-compressed entries → premultiplied 32bpp surface.

#include <cstdint>
#include <span>
#include <vector>

#include "kelvara/image/API32bppDIB.h"

namespace kelvara {

class APIICOParser {
public:
    // Chooses one entry by iconCx, iconCy and iconBitDepth (0, 0, 32 pick
    // the default) and loads it. Declines a stream that is not an icon or
    // cursor directory.
    bool LoadStream(std::span<const uint8_t> Stream, API32bppDIB& Surface, int32_t iconCx,
                    int32_t iconCy, int32_t iconBitDepth);

    // The entries of an icon or cursor file; empty when it is not one.
    static std::vector<IconSize> IconSizes(std::span<const uint8_t> Stream);
};

}  // namespace kelvara
