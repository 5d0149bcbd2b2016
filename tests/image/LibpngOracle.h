#pragma once

// libpng as the oracle for the PNG reader: it decodes a file to 8-bit RGBA
// (16-bit samples cut to their high byte, no gamma), and the result is put
// into the surface's form: premultiplied BGRA, rows bottom-up. Where the
// reader deliberately differs from libpng (how a gray or colour tRNS key is
// compared) the difference is modelled here. It also writes PNGs with
// chosen filters and interlacing, so that tests get files made by another
// encoder.

#include <png.h>

#include <csetjmp>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

#include "kelvara/image/ImageTypes.h"

namespace kelvara::test {

struct OracleImage {
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint8_t> bgra;  // premultiplied, bottom row first
    ENUM_ALPHA_TYPE alpha = ENUM_ALPHA_TYPE::AlphaNone;
};

namespace detail {

struct MemoryReader {
    std::span<const uint8_t> bytes;
    size_t position = 0;
};

inline void ReadFromMemory(png_structp png, png_bytep out, png_size_t n) {
    auto* reader = static_cast<MemoryReader*>(png_get_io_ptr(png));
    if (n > reader->bytes.size() - reader->position) {
        png_error(png, "read past the end");
    }
    std::memcpy(out, reader->bytes.data() + reader->position, n);
    reader->position += n;
}

inline void WriteToMemory(png_structp png, png_bytep data, png_size_t n) {
    auto* out = static_cast<std::vector<uint8_t>*>(png_get_io_ptr(png));
    out->insert(out->end(), data, data + n);
}

inline void Flush(png_structp) {}

inline void Quiet(png_structp, png_const_charp) {}

[[noreturn]] inline void Fail(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

}  // namespace detail

// nullopt when libpng refuses the file. With ignoreCrc libpng uses chunks
// whatever their CRC.
inline std::optional<OracleImage> DecodeWithLibpng(std::span<const uint8_t> file,
                                                   bool ignoreCrc = false) {
    png_structp png =
        png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, detail::Fail, detail::Quiet);
    png_infop info = png_create_info_struct(png);
    detail::MemoryReader reader{file};
    std::vector<uint8_t> rgba;
    std::vector<png_bytep> rows;
    OracleImage image;
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        return std::nullopt;
    }
    png_set_read_fn(png, &reader, detail::ReadFromMemory);
    if (ignoreCrc) {
        png_set_crc_action(png, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
    }
    png_read_info(png, info);
    const uint32_t width = png_get_image_width(png, info);
    const uint32_t height = png_get_image_height(png, info);
    const int depth = png_get_bit_depth(png, info);
    const int colorType = png_get_color_type(png, info);
    const bool hasTrns = png_get_valid(png, info, PNG_INFO_tRNS) != 0;
    // Copied now: libpng rewrites its own copy as it sets up the transforms.
    png_color_16 transColor{};
    if (hasTrns) {
        png_bytep transAlpha = nullptr;
        int transCount = 0;
        png_color_16p trans = nullptr;
        png_get_tRNS(png, info, &transAlpha, &transCount, &trans);
        transColor = *trans;
    }

    if (colorType == PNG_COLOR_TYPE_PALETTE) {
        png_set_palette_to_rgb(png);
        if (hasTrns) {
            png_set_tRNS_to_alpha(png);
        }
    }
    if (colorType == PNG_COLOR_TYPE_GRAY && depth < 8) {
        png_set_expand_gray_1_2_4_to_8(png);
    }
    png_set_strip_16(png);
    if ((colorType & PNG_COLOR_MASK_COLOR) == 0) {
        png_set_gray_to_rgb(png);
    }
    const bool alphaChannel =
        (colorType & PNG_COLOR_MASK_ALPHA) != 0 || (colorType == PNG_COLOR_TYPE_PALETTE && hasTrns);
    if (!alphaChannel) {
        png_set_filler(png, 0xFF, PNG_FILLER_AFTER);
    }
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    if (png_get_rowbytes(png, info) != size_t{width} * 4) {
        png_error(png, "not expanded to RGBA");
    }
    rgba.resize(size_t{width} * height * 4);
    for (uint32_t y = 0; y < height; ++y) {
        rows.push_back(rgba.data() + size_t{y} * width * 4);
    }
    png_read_image(png, rows.data());
    png_destroy_read_struct(&png, &info, nullptr);

    // The reader's transparent colour: gray and colour images compare the
    // sample's high byte with the key's low byte (depth 8 and below) or
    // with the key's high byte (depth 16).
    const bool keyed =
        hasTrns && (colorType == PNG_COLOR_TYPE_GRAY || colorType == PNG_COLOR_TYPE_RGB);
    auto keyByte = [&](uint16_t value) {
        return static_cast<uint8_t>(depth == 16 ? value >> 8 : value & 0xFF);
    };
    uint8_t keyR = 0, keyG = 0, keyB = 0;
    if (keyed && colorType == PNG_COLOR_TYPE_GRAY) {
        const int top = depth == 16 ? 255 : (1 << depth) - 1;
        const int gray = depth == 16 ? keyByte(transColor.gray) : (transColor.gray & 0xFF & top);
        keyR = keyG = keyB = static_cast<uint8_t>(depth == 16 ? gray : gray * (255 / top));
    } else if (keyed) {
        keyR = keyByte(transColor.red);
        keyG = keyByte(transColor.green);
        keyB = keyByte(transColor.blue);
    }

    image.width = static_cast<int32_t>(width);
    image.height = static_cast<int32_t>(height);
    image.bgra.resize(rgba.size());
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* src = rgba.data() + size_t{y} * width * 4;
        uint8_t* dst = image.bgra.data() + size_t{height - 1 - y} * width * 4;
        for (uint32_t x = 0; x < width; ++x, src += 4, dst += 4) {
            uint32_t a = src[3];
            if (keyed) {
                a = src[0] == keyR && src[1] == keyG && src[2] == keyB ? 0 : 255;
            }
            dst[0] = static_cast<uint8_t>(src[2] * a / 255);
            dst[1] = static_cast<uint8_t>(src[1] * a / 255);
            dst[2] = static_cast<uint8_t>(src[0] * a / 255);
            dst[3] = static_cast<uint8_t>(a);
        }
    }
    if (colorType & PNG_COLOR_MASK_ALPHA) {
        image.alpha = ENUM_ALPHA_TYPE::AlphaComplex;
    } else {
        image.alpha = hasTrns ? ENUM_ALPHA_TYPE::AlphaSimple : ENUM_ALPHA_TYPE::AlphaNone;
    }
    return image;
}

struct EncodeOptions {
    int colorType = PNG_COLOR_TYPE_RGB;
    int depth = 8;
    bool interlaced = false;
    int filters = PNG_ALL_FILTERS;  // PNG_FILTER_NONE, _SUB, ... or a mix
};

// A PNG of `rows` (packed samples, top row first). Palette images get a
// palette of 2^depth entries of made-up colours.
inline std::vector<uint8_t> EncodeWithLibpng(uint32_t width, uint32_t height,
                                             const EncodeOptions& options,
                                             const std::vector<uint8_t>& rows) {
    std::vector<uint8_t> out;
    png_structp png =
        png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, detail::Fail, detail::Quiet);
    png_infop info = png_create_info_struct(png);
    std::vector<png_color> palette(256);
    std::vector<png_bytep> rowPointers;
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        out.clear();
        return out;
    }
    png_set_write_fn(png, &out, detail::WriteToMemory, detail::Flush);
    png_set_IHDR(png, info, width, height, options.depth, options.colorType,
                 options.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (options.colorType == PNG_COLOR_TYPE_PALETTE) {
        for (int i = 0; i < 256; ++i) {
            palette[static_cast<size_t>(i)] = {static_cast<png_byte>(i * 7),
                                               static_cast<png_byte>(255 - i),
                                               static_cast<png_byte>(i * 13 + 5)};
        }
        png_set_PLTE(png, info, palette.data(), 1 << options.depth);
    }
    png_set_filter(png, PNG_FILTER_TYPE_BASE, options.filters);
    png_write_info(png, info);
    const size_t rowBytes = png_get_rowbytes(png, info);
    for (uint32_t y = 0; y < height; ++y) {
        rowPointers.push_back(const_cast<png_bytep>(rows.data()) + size_t{y} * rowBytes);
    }
    png_write_image(png, rowPointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return out;
}

}  // namespace kelvara::test
