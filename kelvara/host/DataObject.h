#pragma once

// DataObject: what a drag-and-drop operation carries — data in one or more
// clipboard formats, and for dropped files their paths.

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "kelvara/base/Variant.h"

namespace kelvara {

inline constexpr int16_t vbCFText = 1;
inline constexpr int16_t vbCFBitmap = 2;
inline constexpr int16_t vbCFMetafile = 3;
inline constexpr int16_t vbCFDIB = 8;
inline constexpr int16_t vbCFPalette = 9;
inline constexpr int16_t vbCFEMetafile = 14;
inline constexpr int16_t vbCFFiles = 15;
inline constexpr int16_t vbCFRTF = -16639;

// Drop effects.
inline constexpr int32_t vbDropEffectNone = 0;
inline constexpr int32_t vbDropEffectCopy = 1;
inline constexpr int32_t vbDropEffectMove = 2;
// OLEDragOver's State.
inline constexpr int16_t vbEnter = 0;
inline constexpr int16_t vbLeave = 1;
inline constexpr int16_t vbOver = 2;

class DataObject {
public:
    // The data in a format; Empty when the object has none in it. Files
    // read as their paths joined by CR LF.
    Variant GetData(int16_t format) const {
        if (format == vbCFFiles) {
            std::string joined;
            for (const auto& file : Files) {
                joined += joined.empty() ? file : "\r\n" + file;
            }
            return Files.empty() ? Variant() : Variant(joined);
        }
        auto it = data.find(format);
        return it == data.end() ? Variant() : it->second;
    }
    void SetData(Variant value, int16_t format = vbCFText) { data[format] = std::move(value); }
    bool GetFormat(int16_t format) const {
        return format == vbCFFiles ? !Files.empty() : data.count(format) != 0;
    }
    void Clear() {
        data.clear();
        Files.clear();
    }

    std::vector<std::string> Files;

private:
    std::map<int16_t, Variant> data;
};

}  // namespace kelvara
