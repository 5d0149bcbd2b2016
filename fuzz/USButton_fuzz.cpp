// Arbitrary bytes as a stored button and what is then done with it: the
// bytes give the button's size and a bag of its keys holding values of any
// type (numbers, Booleans, text, byte arrays), then a run of input and
// property changes — mouse, keys, sizes, pictures, themes — each painted.
//
// Input layout: width byte, height byte, key count byte; each key is a key
// number byte, a type byte and its value (4 bytes for numbers, 1 for a
// Boolean, a length byte and text, or a two-byte length and bytes); the
// rest is actions of one byte and their argument bytes.
//
// Traps (abort) when one of these breaks:
// - A stored button saved, read again and saved once more gives the same
//   bag: whatever a bag held, what the button writes reads back the same.
// - The button's window stays at least 15 × 15 pixels.

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/chrome/USButton.h"
#include "kelvara/host/Form.h"

#include "FuzzInput.h"

namespace {

using namespace kelvara;

constexpr size_t kMaxInput = 16 * 1024;
constexpr size_t kMaxActions = 64;

// clang-format off
const char* const kKeys[] = {
    "Alignment", "BorderColor", "BorderColorDisabled", "BorderColorDown",
    "BorderColorOver", "Caption", "CaptionDistance", "CaptionWordBreak",
    "CheckBox", "CropBorders", "Enabled", "ForeColor",
    "ForeColorDisabled", "ForeColorDown", "ForeColorOver", "GradientColor1",
    "GradientColor2", "GradientColor3", "GradientColor4", "GradientColorDisabled1",
    "GradientColorDown2", "GradientColorOver3", "GradientColors", "HandPointer",
    "Locked", "MouseIcon", "MousePointer", "PicNormal",
    "PicHot", "PicDown", "PicToChange", "DibPicture",
    "PicAlign", "PicOpacity", "PicSize", "PicSizeH",
    "PicSizeW", "Redraw", "ShowFocusRect", "ShowFocusRectDown",
    "State", "Theme", "ToolDelayTime", "ToolTipBackColor",
    "ToolTipCentered", "ToolTipDescription", "ToolTipForeColor", "ToolTipIcon",
    "ToolTipStyle", "ToolTipTitle", "ToolTipVisibleTime", "Value",
    "Font",
};
// clang-format on
constexpr size_t kKeyCount = sizeof(kKeys) / sizeof(kKeys[0]);

class Reader {
public:
    Reader(const uint8_t* data, size_t size) : data(data), size(size) {}
    bool More() const { return at < size; }
    uint8_t Byte() { return at < size ? data[at++] : 0; }
    int32_t Long() {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) {
            v |= static_cast<uint32_t>(Byte()) << (8 * i);
        }
        return static_cast<int32_t>(v);
    }
    std::vector<uint8_t> Bytes(size_t n) {
        n = std::min(n, size - at);
        std::vector<uint8_t> out(data + at, data + at + n);
        at += n;
        return out;
    }

private:
    const uint8_t* data;
    size_t size;
    size_t at = 0;
};

Variant Value(Reader& in) {
    switch (in.Byte() % 5) {
        case 0:
            return Variant(in.Long());
        case 1:
            return Variant(in.Byte() != 0);
        case 2: {
            const std::vector<uint8_t> text = in.Bytes(in.Byte());
            return Variant(std::string(text.begin(), text.end()));
        }
        case 3: {
            const size_t n = in.Byte() | (static_cast<size_t>(in.Byte()) << 8);
            return Variant(ByteArray(in.Bytes(n)));
        }
        default: {
            const int32_t bits = in.Long();
            return Variant(static_cast<double>(bits) / 16.0);
        }
    }
}

PropertyBag Saved(const USButton& button) {
    PropertyBag bag;
    button.SaveTo(bag);
    return bag;
}

std::unique_ptr<Form> MakeForm() {
    auto form = std::make_unique<Form>("frm");
    form->SetBorderStyle(FormBorderStyle::None);
    form->SetStartUpPosition(0);
    form->Move(0, 0, 320 * 15, 240 * 15);
    return form;
}

USButton* AddButton(Form& form, const PropertyBag& bag, int32_t w, int32_t h) {
    auto* b = static_cast<USButton*>(
        form.Controls().AddCreated(std::make_unique<USButton>(), "cmd", &bag, true));
    b->SetBounds(RECT{10, 10, 10 + w, 10 + h});
    return b;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > kMaxInput) {
        return 0;
    }
    Reader in(data, size);
    const int32_t w = in.Byte();
    const int32_t h = in.Byte();
    PropertyBag bag;
    for (int32_t n = in.Byte() % 16; n > 0 && in.More(); --n) {
        const char* key = kKeys[in.Byte() % kKeyCount];
        bag.WriteProperty(key, Value(in), Variant());
    }

    HeadlessDesktop desktop;
    auto form = MakeForm();
    USButton* b = AddButton(*form, bag, w, h);
    form->Show();
    desktop.Pump();

    // What the button writes, it reads back the same.
    const PropertyBag first = Saved(*b);
    {
        auto again = MakeForm();
        USButton* copy = AddButton(*again, first, w, h);
        again->Show();
        fuzz::Check(Saved(*copy) == first);
        Unload(*again);
    }

    for (size_t step = 0; step < kMaxActions && in.More(); ++step) {
        const uint8_t action = in.Byte();
        const int32_t x = in.Byte();
        const int32_t y = in.Byte();
        switch (action % 20) {
            case 0:
                desktop.MouseMove(x, y);
                break;
            case 1:
                desktop.MouseDown(x % 2 ? MouseButton::Left : MouseButton::Right);
                break;
            case 2:
                desktop.MouseUp(x % 2 ? MouseButton::Left : MouseButton::Right);
                break;
            case 3:
                desktop.DblClick(x, y);
                break;
            case 4: {
                const int32_t keys[] = {VK_SPACE, VK_LEFT,   VK_UP,     VK_RIGHT,
                                        VK_DOWN,  VK_RETURN, VK_ESCAPE, 'A'};
                desktop.Key(keys[x % 8], y % 8);
                break;
            }
            case 5:
                desktop.KeyDown(VK_SPACE);
                break;
            case 6:
                desktop.KeyUp(VK_SPACE);
                break;
            case 7:
                b->SetBounds(RECT{10, 10, 10 + x, 10 + y});
                break;
            case 8:
                b->SetPictureSizeX(in.Long());
                b->SetPictureSizeY(in.Long());
                break;
            case 9:
                b->SetTheme(static_cast<ENUM_THEME>(x % 10));
                break;
            case 10:
                b->SetCropBorders(static_cast<ENUM_BUTTON_BORDERS>(x % 5));
                b->Refresh();
                break;
            case 11:
                b->SetPictureAlignment(static_cast<ENUM_PIC_ALIGNMENTS>(x % 10));
                break;
            case 12:
                b->SetValue(x % 2 != 0);
                break;
            case 13:
                b->SetCheckBoxMode(x % 2 != 0);
                break;
            case 14:
                b->SetEnabled(x % 4 != 0);
                break;
            case 15:
                b->SetRedraw(x % 2 != 0);
                break;
            case 16: {
                const std::vector<uint8_t> text = in.Bytes(x);
                b->SetCaption(std::string(text.begin(), text.end()));
                break;
            }
            case 17: {
                const size_t n = static_cast<size_t>(x) | (static_cast<size_t>(y) << 8);
                b->LoadImage_FromArray(in.Bytes(n), in.Long(), in.Long());
                break;
            }
            case 18:
                b->SetAlignment(static_cast<ENUM_ALIGNMENTS>(x % 4));
                b->SetCaptionDistance(static_cast<int16_t>(in.Long()));
                b->SetCaptionWordBreak(y % 2 != 0);
                break;
            default:
                desktop.AdvanceTime(static_cast<uint32_t>(x) * 20);
                break;
        }
        desktop.Pump();
        RECT client;
        GetClientRect(b->hWnd(), client);
        fuzz::Check(client.Right >= 15 && client.Bottom >= 15);
    }
    Unload(*form);
    return 0;
}
