#pragma once

// The private inflate: a complete Deflate decoder (stored, fixed-code and
// dynamic-code blocks) that works without zlib. It decodes a whole stream
// into one buffer whose size the caller knows in advance.

#include <cstddef>
#include <cstdint>
#include <span>

#include "kelvara/base/Result.h"

namespace kelvara {

enum class InflateError {
    Truncated,        // the input ended inside a block
    BadBlockType,     // block type 3
    BadStoredLength,  // LEN is not the complement of NLEN
    BadCodeLengths,   // a code-length table that builds no valid code
    BadSymbol,        // a code that the block's tables do not hold
    BadDistance,      // a distance reaching before the first output byte
    OutputOverrun,    // the output would pass the expected size
};

const char* InflateErrorText(InflateError error);

// Decodes a raw Deflate stream into `out`; returns the number of bytes
// written (at most out.size()).
Result<size_t, InflateError> InflateRaw(std::span<const uint8_t> in, std::span<uint8_t> out);

// Decodes a zlib stream: the two-byte header is skipped unread and the
// Adler-32 trailer is not checked.
Result<size_t, InflateError> InflateZlib(std::span<const uint8_t> in, std::span<uint8_t> out);

}  // namespace kelvara
