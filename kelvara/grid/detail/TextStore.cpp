#include "kelvara/grid/detail/TextStore.h"

#include <algorithm>
#include <cstring>

namespace kelvara::detail {

namespace {

constexpr unsigned char kArenaTag = 1;
constexpr unsigned char kInlineTag = 0x80;
constexpr size_t kInlineMax = 7;
// Chunks start small, so that a grid of a few rows stays small, and double
// up to kChunkMax. A text longer than a quarter of that gets a chunk of its
// own.
constexpr uint32_t kChunkMin = 4096;
constexpr uint32_t kChunkMax = uint32_t{1} << 20;
constexpr size_t kMaxChunks = size_t{1} << 24;

size_t VarintSize(size_t value) {
    size_t size = 1;
    while (value >= 0x80) {
        value >>= 7;
        ++size;
    }
    return size;
}

}  // namespace

TextStore::Chunk* TextStore::Room(size_t need) {
    if (chunks.size() >= kMaxChunks) {
        return nullptr;
    }
    if (need > kChunkMax / 4) {
        // A big text gets a chunk of its own; small texts go on filling the
        // chunk they were filling.
        chunks.push_back(
            Chunk{std::make_unique_for_overwrite<char[]>(need), static_cast<uint32_t>(need), 0});
        return &chunks.back();
    }
    if (filling < chunks.size() && chunks[filling].size - chunks[filling].used >= need) {
        return &chunks[filling];
    }
    const uint32_t size =
        filling < chunks.size() ? std::min(kChunkMax, chunks[filling].size * 2) : kChunkMin;
    chunks.push_back(Chunk{std::make_unique_for_overwrite<char[]>(size), size, 0});
    filling = chunks.size() - 1;
    return &chunks.back();
}

TextRef TextStore::Store(std::string_view text) {
    TextRef ref;
    if (text.empty()) {
        return ref;
    }
    if (text.size() <= kInlineMax) {
        ref.bytes[0] = static_cast<unsigned char>(kInlineTag | text.size());
        std::memcpy(ref.bytes + 1, text.data(), text.size());
        return ref;
    }
    text = text.substr(0, kMaxTextBytes);
    const size_t need = VarintSize(text.size()) + text.size();
    Chunk* chunk = Room(need);
    if (chunk == nullptr) {
        return ref;
    }
    const auto index = static_cast<uint32_t>(chunk - chunks.data());
    const uint32_t offset = chunk->used;
    auto* out = reinterpret_cast<unsigned char*>(chunk->data.get() + offset);
    size_t length = text.size();
    while (length >= 0x80) {
        *out++ = static_cast<unsigned char>(length | 0x80);
        length >>= 7;
    }
    *out++ = static_cast<unsigned char>(length);
    std::memcpy(out, text.data(), text.size());
    chunk->used += static_cast<uint32_t>(need);
    liveBytes += need;

    ref.bytes[0] = kArenaTag;
    for (int i = 0; i < 3; ++i) {
        ref.bytes[1 + i] = static_cast<unsigned char>(index >> (8 * i));
    }
    for (int i = 0; i < 4; ++i) {
        ref.bytes[4 + i] = static_cast<unsigned char>(offset >> (8 * i));
    }
    return ref;
}

std::string_view TextStore::View(const TextRef& ref) const {
    const unsigned char tag = ref.bytes[0];
    if (tag != kArenaTag) {
        return (tag & kInlineTag) != 0
                   ? std::string_view(reinterpret_cast<const char*>(ref.bytes + 1), tag & 7)
                   : std::string_view();
    }
    const uint32_t index = ref.bytes[1] | ref.bytes[2] << 8 | ref.bytes[3] << 16;
    const uint32_t offset = ref.bytes[4] | ref.bytes[5] << 8 | ref.bytes[6] << 16 |
                            static_cast<uint32_t>(ref.bytes[7]) << 24;
    const auto* at = reinterpret_cast<const unsigned char*>(chunks[index].data.get() + offset);
    size_t length = 0;
    for (int shift = 0;; shift += 7) {
        const unsigned char b = *at++;
        length |= size_t{b & 0x7Fu} << shift;
        if (b < 0x80) {
            break;
        }
    }
    return std::string_view(reinterpret_cast<const char*>(at), length);
}

void TextStore::Release(const TextRef& ref) {
    if (ref.bytes[0] != kArenaTag) {
        return;
    }
    const size_t length = View(ref).size();
    const size_t bytes = VarintSize(length) + length;
    liveBytes -= bytes;
    garbageBytes += bytes;
}

void TextStore::Clear() {
    chunks.clear();
    chunks.shrink_to_fit();
    filling = SIZE_MAX;
    liveBytes = 0;
    garbageBytes = 0;
}

bool TextStore::WantsCompaction() const {
    return garbageBytes > kChunkMax && garbageBytes > liveBytes;
}

size_t TextStore::AllocatedBytes() const {
    size_t bytes = chunks.capacity() * sizeof(Chunk);
    for (const Chunk& chunk : chunks) {
        bytes += chunk.size;
    }
    return bytes;
}

}  // namespace kelvara::detail
