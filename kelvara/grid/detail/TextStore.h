#pragma once

// Where the grid keeps its cell texts. A text of up to seven bytes lives in
// the cell's own eight-byte reference; a longer one goes into an arena of
// chunks, behind a LEB128 length, and the reference says which chunk and
// where. So filling a million rows costs no allocation per cell, and a cell
// costs eight bytes plus its text.
//
// Texts in the arena are never moved or freed one by one: overwriting or
// dropping one only counts its bytes as garbage, and the owner of the
// references rewrites them all into a fresh store (Compact) once garbage
// outweighs what is live.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace kelvara::detail {

struct TextRef {
    // bytes[0]: 0 empty, 0x80 | length for inline text (in bytes[1..7]),
    // 1 for the arena (chunk in bytes[1..3], offset in bytes[4..7], little
    // endian). All zero is the empty text, so zeroed cells read as empty.
    unsigned char bytes[8] = {};
};

class TextStore {
public:
    // Longer texts are cut to this many bytes.
    static constexpr size_t kMaxTextBytes = size_t{1} << 30;

    TextRef Store(std::string_view text);
    // Points into ref itself for inline text, so the view lives as long as
    // the reference stays where it is.
    std::string_view View(const TextRef& ref) const;
    // The text's arena bytes become garbage; inline text costs nothing.
    void Release(const TextRef& ref);

    void Clear();
    // Worth rewriting every reference into a fresh store.
    bool WantsCompaction() const;

    size_t LiveBytes() const { return liveBytes; }
    size_t GarbageBytes() const { return garbageBytes; }
    size_t AllocatedBytes() const;

private:
    struct Chunk {
        std::unique_ptr<char[]> data;
        uint32_t size = 0;
        uint32_t used = 0;
    };

    // A chunk with room for need bytes, or nullptr when the arena is at its
    // limit. Chunks are only ever appended, since references name them by
    // index.
    Chunk* Room(size_t need);

    std::vector<Chunk> chunks;
    size_t filling = SIZE_MAX;  // the chunk that small texts go into
    size_t liveBytes = 0;
    size_t garbageBytes = 0;
};

}  // namespace kelvara::detail
