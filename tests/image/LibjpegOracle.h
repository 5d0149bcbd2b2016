#pragma once

// libjpeg as the oracle for the JPEG writer: it decodes our files to 8-bit
// RGB (a warning about corrupt data counts as a failed decode) and encodes
// the same pictures with its own encoder, for the comparisons of size and
// error. Used by the tests and the benchmark.

#include <cstdio>  // jpeglib.h needs FILE

#include <jpeglib.h>

#include <csetjmp>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <vector>

namespace kelvara::test {

struct JpegImage {
    int width = 0;
    int height = 0;
    int components = 0;        // in the file: 1 gray, 3 colour
    std::vector<uint8_t> rgb;  // decoded, top row first
};

namespace detail {

struct JpegErrors {
    jpeg_error_mgr base;
    std::jmp_buf jump;
    int warnings = 0;
};

[[noreturn]] inline void JpegFail(j_common_ptr info) {
    std::longjmp(reinterpret_cast<JpegErrors*>(info->err)->jump, 1);
}

inline void JpegMessage(j_common_ptr info, int level) {
    if (level < 0) {
        ++reinterpret_cast<JpegErrors*>(info->err)->warnings;
    }
}

inline void Install(JpegErrors& errors) {
    jpeg_std_error(&errors.base);
    errors.base.error_exit = JpegFail;
    errors.base.emit_message = JpegMessage;
}

}  // namespace detail

inline std::optional<JpegImage> DecodeWithLibjpeg(const std::vector<uint8_t>& bytes) {
    jpeg_decompress_struct info{};
    detail::JpegErrors errors;
    detail::Install(errors);
    info.err = &errors.base;
    JpegImage image;
    if (setjmp(errors.jump)) {
        jpeg_destroy_decompress(&info);
        return std::nullopt;
    }
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, bytes.data(), static_cast<unsigned long>(bytes.size()));
    jpeg_read_header(&info, TRUE);
    image.components = info.num_components;
    info.out_color_space = JCS_RGB;
    jpeg_start_decompress(&info);
    image.width = static_cast<int>(info.output_width);
    image.height = static_cast<int>(info.output_height);
    image.rgb.resize(static_cast<size_t>(image.width) * static_cast<size_t>(image.height) * 3);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = &image.rgb[static_cast<size_t>(info.output_scanline) * image.width * 3];
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    if (errors.warnings != 0) {
        return std::nullopt;
    }
    return image;
}

// libjpeg's encoder on rows of pixels in `space` (JCS_RGB, JCS_EXT_BGRX
// ...), top row first, with its standard tables at `quality` and the chroma
// sampling given (quarter: 4:2:0, else 4:4:4). Empty on failure.
inline std::vector<uint8_t> EncodeWithLibjpeg(const std::vector<const uint8_t*>& rows, int width,
                                              J_COLOR_SPACE space, int bytesPerPixel, int quality,
                                              bool quarter) {
    jpeg_compress_struct info{};
    detail::JpegErrors errors;
    detail::Install(errors);
    info.err = &errors.base;
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    if (setjmp(errors.jump)) {
        jpeg_destroy_compress(&info);
        std::free(buffer);
        return {};
    }
    jpeg_create_compress(&info);
    jpeg_mem_dest(&info, &buffer, &size);
    info.image_width = static_cast<JDIMENSION>(width);
    info.image_height = static_cast<JDIMENSION>(rows.size());
    info.input_components = bytesPerPixel;
    info.in_color_space = space;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    info.comp_info[0].h_samp_factor = quarter ? 2 : 1;
    info.comp_info[0].v_samp_factor = quarter ? 2 : 1;
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        JSAMPROW row = const_cast<JSAMPROW>(rows[info.next_scanline]);
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    std::vector<uint8_t> out(buffer, buffer + size);
    jpeg_destroy_compress(&info);
    std::free(buffer);
    return out;
}

}  // namespace kelvara::test
