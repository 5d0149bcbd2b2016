#include "kelvara/grid/GridProperties.h"

#include "kelvara/frame/ColorRoutines.h"

namespace kelvara {

namespace {

// The colour the default look is built from.
constexpr int32_t kBaseColor = 10114859;

OLE_COLOR Shift(int32_t color, int16_t delta) {
    return static_cast<OLE_COLOR>(ShiftRGBColor(color, delta));
}

OLE_COLOR Palette(ENUM_THEME theme, int32_t slot) {
    return static_cast<OLE_COLOR>(ThemeColor(theme, slot));
}

}  // namespace

GridProperties GridProperties::Defaults(const GridAmbient& ambient) {
    GridProperties p;
    p.Font = ambient.font;
    p.FontHeader = ambient.font;
    const OLE_COLOR light = Shift(kBaseColor, 120);
    p.BackColorSelected1 = light;
    p.BackColorSelected2 = light;
    p.BorderColor = light;
    p.CaptionGradientColor1 = kBaseColor;
    p.CaptionGradientColor2 = kBaseColor;
    p.HeaderGradientColor1 = light;
    p.HeaderGradientColor2 = light;
    p.HeaderGradientColorOver1 = Shift(static_cast<int32_t>(light), 20);
    p.HeaderGradientColorOver2 = p.HeaderGradientColorOver1;
    p.HeaderGradientColorDown1 = Shift(static_cast<int32_t>(light), 10);
    p.HeaderGradientColorDown2 = p.HeaderGradientColorDown1;
    p.ColumnSeparatorColor = kBaseColor;
    p.ArrowColor = p.ForeColorHeader;
    p.CaptionHeight = ambient.captionHeight;
    return p;
}

void GridProperties::ApplyTheme(ENUM_THEME theme) {
    Theme = theme;
    const auto p = [theme](int32_t slot) { return Palette(theme, slot); };
    const auto lighter = [](OLE_COLOR color, int16_t delta) {
        return Shift(static_cast<int32_t>(color), delta);
    };
    switch (theme) {
        case ENUM_THEME::OfficeThemeBlue:
        case ENUM_THEME::OfficeThemeSilver: {
            const bool blue = theme == ENUM_THEME::OfficeThemeBlue;
            BackColorSelected1 = blue ? 12317439 : 14417407;
            BackColorSelected2 = 12317439;
            BorderColor = blue ? 14854529 : 8421504;
            CaptionGradientColor1 = blue ? 16773091 : 16777215;
            CaptionGradientColor2 = blue ? 16769998 : 14737632;
            GridColor = 16514043;
            HeaderBorderColorOver = blue ? 12317439 : 7907521;
            HeaderBorderColorDown = blue ? 7979263 : 7907521;
            HeaderGradientColor1 = blue ? 16773091 : 16777215;
            HeaderGradientColor2 = blue ? 16769998 : 14737632;
            HeaderGradientColorOver1 = blue ? 12317439 : 14417407;
            HeaderGradientColorOver2 = 12317439;
            HeaderGradientColorDown1 = blue ? 7979263 : 10802943;
            HeaderGradientColorDown2 = 7979263;
            ColumnHeaderLines = 3;
            ColumnSeparatorColor = p(ThemeSlot::Frame);
            ColumnSeparatorColorOver = p(ThemeSlot::FrameHot);
            ColumnSeparatorColorDown = p(ThemeSlot::FramePressed);
            ProgressBarColor1 = 32768;
            ProgressBarColor2 = 32768;
            break;
        }
        case ENUM_THEME::WindowsTheme:
        case ENUM_THEME::WindowsThemeGreen:
        case ENUM_THEME::WindowsThemeRed:
        case ENUM_THEME::WindowsThemeOrange:
        case ENUM_THEME::WindowsThemeBlack:
            BackColorSelected1 = lighter(p(ThemeSlot::Gradient), 120);
            BackColorSelected2 = lighter(p(ThemeSlot::Gradient + 1), 120);
            BorderColor = lighter(p(ThemeSlot::Gradient), 120);
            CaptionGradientColor1 = p(ThemeSlot::Gradient);
            CaptionGradientColor2 = p(ThemeSlot::Gradient + 1);
            GridColor = 16448254;
            HeaderBorderColorOver = p(ThemeSlot::FrameHot);
            HeaderBorderColorDown = p(ThemeSlot::FramePressed);
            HeaderGradientColor1 = lighter(p(ThemeSlot::Gradient), 120);
            HeaderGradientColor2 = lighter(p(ThemeSlot::Gradient + 1), 120);
            HeaderGradientColorOver1 = lighter(HeaderGradientColor1, 20);
            HeaderGradientColorOver2 = lighter(HeaderGradientColor2, 20);
            HeaderGradientColorDown1 = lighter(HeaderGradientColor1, 10);
            HeaderGradientColorDown2 = lighter(HeaderGradientColor2, 10);
            ColumnHeaderLines = 3;
            ColumnSeparatorColor = p(ThemeSlot::Frame);
            ColumnSeparatorColorOver = p(ThemeSlot::FrameHot);
            ColumnSeparatorColorDown = p(ThemeSlot::FramePressed);
            ProgressBarColor1 = 32768;
            ProgressBarColor2 = 32768;
            break;
        case ENUM_THEME::WindowsThemeLight:
            BackColorSelected1 = 16447476;
            BackColorSelected2 = 16447476;
            BorderColor = 16771276;
            CaptionGradientColor1 = p(ThemeSlot::Gradient);
            CaptionGradientColor2 = p(ThemeSlot::Gradient + 1);
            GridColor = 16447476;
            HeaderBorderColorOver = 16250871;
            HeaderBorderColorDown = 16250871;
            HeaderGradientColor1 = 16447476;
            HeaderGradientColor2 = 16447476;
            HeaderGradientColorOver1 = 15789030;
            HeaderGradientColorOver2 = 15789030;
            HeaderGradientColorDown1 = 15986408;
            HeaderGradientColorDown2 = 15986408;
            ColumnHeaderLines = 5;
            ColumnSeparatorColor = 11908016;
            ColumnSeparatorColorOver = 11908016;
            ColumnSeparatorColorDown = 11908016;
            ProgressBarColor1 = 10847232;
            ProgressBarColor2 = 10847232;
            break;
        default:
            // A theme outside 0 to 7 leaves every colour as it was.
            return;
    }
    BackColorEvenRowsEnabled = true;
    BackColorEvenRows = p(ThemeSlot::ListBack);
    FocusRectBorderColor = p(ThemeSlot::Selection1);
    FocusRectColor = p(ThemeSlot::Selection2);
    ArrowColor = ForeColorHeader;
    BackColorBackground = 16777215;
    BackColorEdit = 14155006;
    ForeColor = 0;
    ForeColorEdit = 128;
    ForeColorSelected = 128;
    GridLines = GRID_LINES::NoneLines;
}

}  // namespace kelvara
