#pragma once

// The gallery's pictures, drawn in code so that the gallery carries no
// image files: hard-edged shapes on a transparent ground, premultiplied
// BGRA as the buttons take them.

#include <cstdint>
#include <memory>

#include "kelvara/gfx/PixelBuffer.h"

namespace kelvara::gallery {

// A floppy disk (the "save" picture) of size × size pixels: a blue body,
// a white label at the bottom, a grey shutter at the top.
std::shared_ptr<const PixelBuffer> FloppyPicture(int32_t size);
// A green tick on a white disc with a green ring, size × size.
std::shared_ptr<const PixelBuffer> TickPicture(int32_t size);
// A red cross on a white disc with a red ring, size × size.
std::shared_ptr<const PixelBuffer> CrossPicture(int32_t size);

}  // namespace kelvara::gallery
