#pragma once

// APIPNGParser: PNG file or stream → premultiplied 32bpp surface. The first
// reader a surface tries; a stream whose first eight bytes are not the PNG
// signature is declined at once so that the next reader gets its turn.

#include <cstdio>
#include <span>

#include "kelvara/image/API32bppDIB.h"

namespace kelvara {

class APIPNGParser {
public:
    // The stream is read in place; it is never copied.
    bool LoadStream(std::span<const uint8_t> Stream, API32bppDIB& Surface);
    // Reads through an open file from its current start, one chunk at a time.
    bool LoadFile(std::FILE* File, API32bppDIB& Surface);
};

}  // namespace kelvara
