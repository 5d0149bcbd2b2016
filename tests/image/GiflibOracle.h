#pragma once

// giflib as the oracle for the GIF reader and writer. It decodes a whole
// file (DGifSlurp, interlaced frames put in row order), and its first frame
// is put into the form our reader promises: the frame's own size, opaque
// colours from the local or else the global table (black past its end),
// zero pixels where the last graphic control before the frame names a
// transparent index. It also writes files, interlaced or not, so that tests
// get pictures made by another encoder.

#include <gif_lib.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace kelvara::test {

struct GiflibFrame {
    int32_t width = 0;
    int32_t height = 0;
    bool hasTable = false;  // a local or global table was there
    int32_t tableSize = 0;
    int32_t transparentIndex = -1;
    std::vector<uint8_t> indices;  // top row first
    std::vector<uint8_t> bgra;     // as our reader stores it, top row first
};

namespace giflib {

struct MemoryReader {
    std::span<const uint8_t> bytes;
    size_t at = 0;
};

inline int Read(GifFileType* gif, GifByteType* out, int n) {
    auto* reader = static_cast<MemoryReader*>(gif->UserData);
    const size_t count = std::min(static_cast<size_t>(n), reader->bytes.size() - reader->at);
    std::memcpy(out, reader->bytes.data() + reader->at, count);
    reader->at += count;
    return static_cast<int>(count);
}

inline int Write(GifFileType* gif, const GifByteType* data, int n) {
    auto* out = static_cast<std::vector<uint8_t>*>(gif->UserData);
    out->insert(out->end(), data, data + n);
    return n;
}

}  // namespace giflib

// Nothing when giflib refuses the file or finds no frame.
inline std::optional<GiflibFrame> GiflibFirstFrame(std::span<const uint8_t> bytes) {
    giflib::MemoryReader reader{bytes};
    int error = 0;
    GifFileType* gif = DGifOpen(&reader, giflib::Read, &error);
    if (gif == nullptr) {
        return std::nullopt;
    }
    std::optional<GiflibFrame> result;
    if (DGifSlurp(gif) == GIF_OK && gif->ImageCount > 0) {
        const SavedImage& image = gif->SavedImages[0];
        GiflibFrame frame;
        frame.width = image.ImageDesc.Width;
        frame.height = image.ImageDesc.Height;
        const ColorMapObject* map =
            image.ImageDesc.ColorMap != nullptr ? image.ImageDesc.ColorMap : gif->SColorMap;
        frame.hasTable = map != nullptr;
        frame.tableSize = map != nullptr ? map->ColorCount : 0;
        for (int i = 0; i < image.ExtensionBlockCount; ++i) {
            const ExtensionBlock& block = image.ExtensionBlocks[i];
            GraphicsControlBlock control;
            if (block.Function == GRAPHICS_EXT_FUNC_CODE &&
                DGifExtensionToGCB(block.ByteCount, block.Bytes, &control) == GIF_OK) {
                frame.transparentIndex = control.TransparentColor;
            }
        }
        const size_t count = static_cast<size_t>(frame.width) * static_cast<size_t>(frame.height);
        frame.indices.assign(image.RasterBits, image.RasterBits + count);
        for (const uint8_t index : frame.indices) {
            if (index == frame.transparentIndex) {
                frame.bgra.insert(frame.bgra.end(), {0, 0, 0, 0});
            } else if (map != nullptr && index < map->ColorCount) {
                const GifColorType& c = map->Colors[index];
                frame.bgra.insert(frame.bgra.end(), {c.Blue, c.Green, c.Red, 255});
            } else {
                frame.bgra.insert(frame.bgra.end(), {0, 0, 0, 255});
            }
        }
        result = std::move(frame);
    }
    DGifCloseFile(gif, &error);
    return result;
}

// A one-frame GIF by giflib from indices (top row first) and a table of
// 0x00RRGGBB colours (a power of two in size), interlaced when asked.
inline std::vector<uint8_t> GiflibEncode(int32_t width, int32_t height,
                                         const std::vector<uint8_t>& indices,
                                         const std::vector<uint32_t>& table, bool interlaced,
                                         int32_t transparentIndex = -1) {
    std::vector<uint8_t> out;
    int error = 0;
    GifFileType* gif = EGifOpen(&out, giflib::Write, &error);
    std::vector<GifColorType> colors;
    for (const uint32_t c : table) {
        colors.push_back({static_cast<GifByteType>(c >> 16), static_cast<GifByteType>(c >> 8),
                          static_cast<GifByteType>(c)});
    }
    ColorMapObject* map = GifMakeMapObject(static_cast<int>(colors.size()), colors.data());
    EGifSetGifVersion(gif, true);
    EGifPutScreenDesc(gif, width, height, map->BitsPerPixel, 0, map);
    if (transparentIndex >= 0) {
        GraphicsControlBlock control{};
        control.TransparentColor = transparentIndex;
        GifByteType extension[4];
        const size_t length = EGifGCBToExtension(&control, extension);
        EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, static_cast<int>(length), extension);
    }
    EGifPutImageDesc(gif, 0, 0, width, height, interlaced, nullptr);
    std::vector<int32_t> rows;
    if (interlaced) {
        for (const auto& [first, step] : {std::pair{0, 8}, {4, 8}, {2, 4}, {1, 2}}) {
            for (int32_t y = first; y < height; y += step) {
                rows.push_back(y);
            }
        }
    } else {
        for (int32_t y = 0; y < height; ++y) {
            rows.push_back(y);
        }
    }
    for (const int32_t y : rows) {
        std::vector<GifPixelType> line(indices.begin() + static_cast<ptrdiff_t>(y) * width,
                                       indices.begin() + static_cast<ptrdiff_t>(y + 1) * width);
        EGifPutLine(gif, line.data(), width);
    }
    EGifCloseFile(gif, &error);
    GifFreeMapObject(map);
    return out;
}

}  // namespace kelvara::test
