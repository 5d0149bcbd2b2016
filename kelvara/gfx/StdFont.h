#pragma once

// StdFont: the host's font object, a description only (name, size in points
// and style); FontEngine turns it into pixels.

#include <cstdint>
#include <string>

namespace kelvara {

class StdFont {
public:
    const std::string& Name() const { return name; }
    void SetName(std::string value) { name = std::move(value); }

    // Points; at 96 dots per inch a point is 4/3 of a pixel.
    double Size() const { return size; }
    void SetSize(double value) { size = value; }

    // Bold and Weight are one property seen twice, as the host keeps them:
    // setting Bold sets the weight to 700 or 400, and a weight of 550 or
    // more reads as bold.
    bool Bold() const { return weight >= kBoldThreshold; }
    void SetBold(bool value) { weight = value ? kBoldWeight : kNormalWeight; }
    int16_t Weight() const { return weight; }
    void SetWeight(int16_t value) { weight = value; }

    bool Italic() const { return italic; }
    void SetItalic(bool value) { italic = value; }
    bool Underline() const { return underline; }
    void SetUnderline(bool value) { underline = value; }
    bool Strikethrough() const { return strikethrough; }
    void SetStrikethrough(bool value) { strikethrough = value; }

    int16_t Charset() const { return charset; }
    void SetCharset(int16_t value) { charset = value; }

    // The height a GDI font is asked for: negative, the em size in whole
    // pixels at 96 dots per inch.
    int32_t PixelHeight() const;

    friend bool operator==(const StdFont&, const StdFont&) = default;

    static constexpr int16_t kNormalWeight = 400;
    static constexpr int16_t kBoldWeight = 700;
    static constexpr int16_t kBoldThreshold = 550;

private:
    std::string name = "MS Sans Serif";
    double size = 8.25;
    int16_t weight = kNormalWeight;
    bool italic = false;
    bool underline = false;
    bool strikethrough = false;
    int16_t charset = 0;
};

}  // namespace kelvara
