#pragma once

// Explicit little- and big-endian reads and writes for the image codecs.
// Reads take a span and an offset the caller has already checked against
// the span's size; writes append to a byte vector.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kelvara::detail {

inline uint16_t ReadLE16(std::span<const uint8_t> bytes, size_t at) {
    return static_cast<uint16_t>(bytes[at] | (bytes[at + 1] << 8));
}

inline uint32_t ReadLE32(std::span<const uint8_t> bytes, size_t at) {
    return static_cast<uint32_t>(bytes[at]) | (static_cast<uint32_t>(bytes[at + 1]) << 8) |
           (static_cast<uint32_t>(bytes[at + 2]) << 16) |
           (static_cast<uint32_t>(bytes[at + 3]) << 24);
}

inline int32_t ReadLE32Signed(std::span<const uint8_t> bytes, size_t at) {
    return static_cast<int32_t>(ReadLE32(bytes, at));
}

inline uint32_t ReadBE32(std::span<const uint8_t> bytes, size_t at) {
    return (static_cast<uint32_t>(bytes[at]) << 24) | (static_cast<uint32_t>(bytes[at + 1]) << 16) |
           (static_cast<uint32_t>(bytes[at + 2]) << 8) | static_cast<uint32_t>(bytes[at + 3]);
}

inline void AppendLE16(std::vector<uint8_t>& out, uint32_t value) {
    out.push_back(static_cast<uint8_t>(value));
    out.push_back(static_cast<uint8_t>(value >> 8));
}

inline void AppendLE32(std::vector<uint8_t>& out, uint32_t value) {
    out.push_back(static_cast<uint8_t>(value));
    out.push_back(static_cast<uint8_t>(value >> 8));
    out.push_back(static_cast<uint8_t>(value >> 16));
    out.push_back(static_cast<uint8_t>(value >> 24));
}

inline void AppendBE16(std::vector<uint8_t>& out, uint32_t value) {
    out.push_back(static_cast<uint8_t>(value >> 8));
    out.push_back(static_cast<uint8_t>(value));
}

inline void AppendBE32(std::vector<uint8_t>& out, uint32_t value) {
    out.push_back(static_cast<uint8_t>(value >> 24));
    out.push_back(static_cast<uint8_t>(value >> 16));
    out.push_back(static_cast<uint8_t>(value >> 8));
    out.push_back(static_cast<uint8_t>(value));
}

}  // namespace kelvara::detail
