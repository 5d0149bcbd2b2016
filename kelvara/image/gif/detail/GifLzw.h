#pragma once

// The variable-length-code LZW of GIF image data, both ways. Internal to the
// GIF codec (APIGIFParser); tests and the fuzz target reach it too.
//
// Codes are packed low bit first into data sub-blocks (a length byte, then
// that many bytes; a length of 0 ends the chain). With a minimum code size
// m, codes 0 to 2^m − 1 are the pixel values, 2^m is the clear code, 2^m + 1
// the end code, and the table grows from 2^m + 2 up to 4096 entries while
// codes widen from m + 1 bits to 12.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "kelvara/base/Result.h"

namespace kelvara::detail {

// The code sizes the codec takes. GIF's own minimum is 2, but one-bit
// pictures written with 1 are met in practice and decode unambiguously.
constexpr int kLzwMinCodeSizeLow = 1;
constexpr int kLzwMinCodeSizeHigh = 8;
constexpr uint32_t kLzwMaxCodes = 4096;
constexpr int kLzwMaxCodeWidth = 12;

enum class LzwError {
    BadCodeSize,     // the minimum code size is outside 1 to 8
    BadCode,         // a code that names no table entry yet
    DataEndedEarly,  // the end code, or the end of the data, before every pixel
};

// Decodes the sub-block chain that starts at blocks[0] (its first length
// byte) into exactly out.size() pixel values. Decoding stops as soon as the
// last pixel is written; whatever follows is never read. Fails on a chain
// that runs past `blocks`.
Result<Done, LzwError> LzwDecode(std::span<const uint8_t> blocks, int minCodeSize,
                                 std::span<uint8_t> out);

// The most pixels a chain carrying `dataBytes` bytes of codes can possibly
// produce: an upper bound, used to refuse a frame that claims far more
// pixels than its data could describe before anything is allocated.
uint64_t LzwMaxPixels(uint64_t dataBytes, int minCodeSize);

// Appends the pixel values as LZW sub-blocks of at most 254 bytes, then the
// 0-length terminator, with a clear code first and whenever the table is
// full. Values must be below 2^minCodeSize (2 to 8).
void LzwEncode(std::span<const uint8_t> pixels, int minCodeSize, std::vector<uint8_t>& out);

}  // namespace kelvara::detail
