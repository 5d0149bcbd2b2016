#include "kelvara/frame/ControlPatterns.h"

#include "kelvara/base/Text.h"

#include <array>
#include <cmath>
#include <string_view>

namespace kelvara {

void PaintOffscreen(UserControl& control, const std::function<void()>& paint) {
    control.SetAutoRedraw(true);
    control.Cls();
    paint();
    control.SetAutoRedraw(false);
}

bool EnforceMinimumSize(UserControl& control, int32_t minWidth, int32_t minHeight) {
    const RECT& b = control.Bounds();
    bool resized = false;
    if (minWidth > 0 && b.Right - b.Left < minWidth) {
        control.SetUserWidth(static_cast<float>(minWidth * Screen::TwipsPerPixelX));
        resized = true;
    }
    if (minHeight > 0 && control.Bounds().Bottom - control.Bounds().Top < minHeight) {
        control.SetUserHeight(static_cast<float>(minHeight * Screen::TwipsPerPixelY));
        resized = true;
    }
    return resized;
}

void SetFontAttribute(UserControl& control, FontAttribute attribute, double value,
                      const std::function<void()>& refresh) {
    StdFont& font = control.Font();
    std::string_view key;
    switch (attribute) {
        case FontAttribute::Bold:
            font.SetBold(value != 0);
            key = "FontBold";
            break;
        case FontAttribute::Italic:
            font.SetItalic(value != 0);
            key = "FontItalic";
            break;
        case FontAttribute::Size:
            font.SetSize(value);
            key = "FontSize";
            break;
        case FontAttribute::Strikethrough:
            font.SetStrikethrough(value != 0);
            key = "FontStrikethru";
            break;
        case FontAttribute::Underline:
            font.SetUnderline(value != 0);
            key = "FontUnderline";
            break;
    }
    control.FontChanged();
    control.PropertyChanged(key);
    if (refresh) {
        refresh();
    }
}

std::shared_ptr<const PixelBuffer> HandCursor() {
    // The pointing hand: "#" outline, "." white, anything else clear. The
    // tip of the finger is the hot spot (6, 0).
    static constexpr std::array<std::string_view, 22> kHand = {
        "     ##           ", "    #..#          ", "    #..#          ", "    #..#          ",
        "    #..#          ", "    #..###        ", "    #..#..###     ", "    #..#..#..##   ",
        "    #..#..#..#.#  ", "### #..#..#..#..# ", "#..##........#..# ", "#...#...........# ",
        " #..............# ", "  #.............# ", "  #.............# ", "   #............# ",
        "   #...........#  ", "    #..........#  ", "    #..........#  ", "     #........#   ",
        "     #........#   ", "     ##########   ",
    };
    static const std::shared_ptr<const PixelBuffer> hand = [] {
        auto picture = std::make_shared<PixelBuffer>();
        picture->Allocate(32, 32, RowOrder::TopDown);
        for (size_t y = 0; y < kHand.size(); ++y) {
            uint8_t* row = picture->Row(static_cast<int32_t>(y));
            for (size_t x = 0; x < kHand[y].size(); ++x) {
                const char c = kHand[y][x];
                if (c == '#' || c == '.') {
                    const uint8_t v = c == '#' ? 0 : 255;
                    row[x * 4 + 0] = v;
                    row[x * 4 + 1] = v;
                    row[x * 4 + 2] = v;
                    row[x * 4 + 3] = 255;
                }
            }
        }
        return std::shared_ptr<const PixelBuffer>(std::move(picture));
    }();
    return hand;
}

void ApplyHandPointer(UserControl& control, bool userMode, bool handPointer) {
    if (userMode && handPointer) {
        control.SetMousePointer(vbCustom);
        control.SetMouseIcon(HandCursor());
    }
}

std::string GetAccessKey(std::string_view caption) {
    const std::u32string text = ToUtf32(caption);
    for (auto i = static_cast<int64_t>(text.size()) - 2; i >= 0;) {
        if (text[static_cast<size_t>(i)] != U'&') {
            --i;
            continue;
        }
        if (i == 0 || text[static_cast<size_t>(i - 1)] != U'&') {
            return ToUtf8(std::u32string(1, LCaseChar(text[static_cast<size_t>(i + 1)])));
        }
        i -= 2;
    }
    return {};
}

bool ContainersEnabled(const Control& control) {
    for (ControlContainer* c = control.Container(); c != nullptr;) {
        const auto* holder = dynamic_cast<const Control*>(c);
        if (holder == nullptr) {
            break;
        }
        if (!holder->Enabled()) {
            return false;
        }
        c = holder->Container();
    }
    return true;
}

namespace {
ENUM_THEME defaultTheme = ENUM_THEME::WindowsThemeLight;
}

ENUM_THEME DefaultTheme() {
    return defaultTheme;
}
void SetDefaultTheme(ENUM_THEME theme) {
    defaultTheme = theme;
}

}  // namespace kelvara
