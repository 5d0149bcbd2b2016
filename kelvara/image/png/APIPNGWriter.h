#pragma once

// APIPNGWriter: surface → PNG bytes, and the properties (text, time,
// background) that a saved PNG carries. A surface holds one writer only
// after PngPropertySet.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "kelvara/base/Variant.h"
#include "kelvara/image/API32bppDIB.h"

namespace kelvara {

// Properties a PNG can carry. The text ones are written as tEXt (iTXt when
// the text is not Latin-1); Custom takes its keyword from the caller.
enum class ePngProperties : int32_t {
    Title = 1,
    Author = 2,
    Description = 4,
    Copyright = 8,
    CreationTime = 16,
    Software = 32,
    Disclaimer = 64,
    Warning = 128,
    Source = 256,
    Comment = 512,
    Custom = 1024,
    LastModified = 2048,     // a date, written as tIME
    BackgroundColor = 4096,  // an OLE_COLOR as a Long, written as bKGD; −1 none
};

class APIPNGWriter {
public:
    // The PNG form of the surface. FillColor −1 keeps transparency; another
    // colour flattens the picture onto it first.
    bool SavePNG(const API32bppDIB& Surface, std::vector<uint8_t>& Out, int32_t FillColor = -1);
    bool SaveToFile(const std::string& FileName, const API32bppDIB& Surface,
                    int32_t FillColor = -1);

    // False for an unknown property or a value of the wrong kind. Text
    // properties take a string (valid UTF-8, no zero character; Creation
    // Time also a date), LastModified a valid date, BackgroundColor a whole
    // number from 0 to &HFFFFFF or −1. Custom needs a keyword of 1 to 79
    // printable Latin-1 characters without leading, trailing or doubled
    // spaces. An Empty value removes the property; Property −1 removes all.
    bool SetProperty(int32_t Property, const Variant& Value, const std::string& Keyword = "");
    // What was set, or the property's empty value: Long −1 for
    // BackgroundColor, date 0 for LastModified, "" otherwise.
    Variant GetProperty(int32_t Property, const std::string& Keyword = "") const;
    static Variant EmptyProperty(int32_t Property);

private:
    struct Entry {
        int32_t property;
        std::string keyword;
        Variant value;
    };
    std::vector<Entry> properties;
};

}  // namespace kelvara
