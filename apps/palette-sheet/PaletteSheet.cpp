#include "PaletteSheet.h"

#include <array>
#include <string>

#include "kelvara/frame/DrawGradient.h"
#include "kelvara/frame/ThemeColor.h"
#include "kelvara/gfx/Canvas.h"
#include "kelvara/gfx/TextLayout.h"

namespace kelvara {

namespace {

constexpr int32_t kMargin = 12;
constexpr int32_t kLabelWidth = 150;
constexpr int32_t kSwatch = 18;
constexpr int32_t kSwatchStep = 21;
constexpr int32_t kSlots = 27;
constexpr int32_t kFaceWidth = 78;
constexpr int32_t kFaceHeight = 25;  // odd, as buttons often are
constexpr int32_t kFaceStep = 86;
constexpr int32_t kHeaderHeight = 34;
constexpr int32_t kRowHeight = 40;
constexpr int32_t kTextTop = kMargin + kHeaderHeight + 8 * kRowHeight + 14;
constexpr int32_t kSwatchLeft = kMargin + kLabelWidth;
constexpr int32_t kFaceLeft = kSwatchLeft + kSlots * kSwatchStep + 10;
constexpr int32_t kSheetWidth = kFaceLeft + 4 * kFaceStep + kMargin;
constexpr int32_t kSheetHeight = kTextTop + 6 * 24 + kMargin;

constexpr COLORREF kPaper = 0xFFFFFF;
constexpr COLORREF kInk = 0x000000;
constexpr COLORREF kRule = 0xC0C0C0;
constexpr COLORREF kEdge = 0x808080;

constexpr std::array<const char*, 8> kThemeNames = {
    "Office Theme Blue", "Office Theme Silver",  "Windows Theme",       "Windows Theme Green",
    "Windows Theme Red", "Windows Theme Orange", "Windows Theme Black", "Windows Theme Light"};

struct Group {
    int32_t first, count;
    const char* name;
};
constexpr std::array<Group, 7> kGroups = {{{0, 4, "text"},
                                           {4, 4, "frame"},
                                           {8, 4, "normal"},
                                           {12, 4, "disabled"},
                                           {16, 4, "pressed"},
                                           {20, 4, "hot"},
                                           {24, 3, "list"}}};

struct Face {
    const char* name;
    ENUM_GRADIENT_COLORS mode;
    int32_t firstSlot;
    int32_t textSlot;
};
constexpr std::array<Face, 4> kFaces = {{{"Two colours", ENUM_GRADIENT_COLORS::TwoColors, 8, 0},
                                         {"Four colours", ENUM_GRADIENT_COLORS::FourColors, 8, 0},
                                         {"Hot", ENUM_GRADIENT_COLORS::FourColors, 20, 3},
                                         {"Pressed", ENUM_GRADIENT_COLORS::FourColors, 16, 2}}};

StdFont Tahoma(double size, bool bold = false) {
    StdFont font;
    font.SetName("Tahoma");
    font.SetSize(size);
    font.SetBold(bold);
    return font;
}

void Text(Canvas& canvas, const std::string& text, RECT rect, uint32_t format, COLORREF color) {
    canvas.SetTextColor(color);
    canvas.DrawText(text, rect, format);
}

void DrawHeader(Canvas& canvas) {
    canvas.SelectFont(Tahoma(8));
    for (const Group& group : kGroups) {
        const int32_t left = kSwatchLeft + group.first * kSwatchStep;
        const int32_t right = left + group.count * kSwatchStep - (kSwatchStep - kSwatch);
        Text(canvas, group.name, {left, kMargin, right, kMargin + 14}, DT_CENTER | DT_SINGLELINE,
             kInk);
        canvas.FillRect({left, kMargin + 15, right, kMargin + 16}, kRule);
        for (int32_t slot = group.first; slot < group.first + group.count; ++slot) {
            const int32_t x = kSwatchLeft + slot * kSwatchStep;
            Text(canvas, std::to_string(slot), {x - 2, kMargin + 18, x + kSwatch + 2, kMargin + 32},
                 DT_CENTER | DT_SINGLELINE, kEdge);
        }
    }
    for (size_t i = 0; i < kFaces.size(); ++i) {
        const int32_t x = kFaceLeft + static_cast<int32_t>(i) * kFaceStep;
        Text(canvas, kFaces[i].name, {x, kMargin + 18, x + kFaceWidth, kMargin + 32},
             DT_CENTER | DT_SINGLELINE, kInk);
    }
}

// One theme: its name, its swatches and its faces, each face drawn as a
// control draws its own: a solid face is its first colour.
void DrawTheme(Canvas& canvas, ENUM_THEME theme, int32_t top) {
    const int32_t index = static_cast<int32_t>(theme);
    canvas.SelectFont(Tahoma(8, true));
    Text(canvas, kThemeNames[static_cast<size_t>(index)],
         {kMargin, top, kSwatchLeft - 8, top + kSwatch}, DT_VCENTER | DT_SINGLELINE, kInk);
    canvas.SelectFont(Tahoma(8));
    Text(canvas, "theme " + std::to_string(index), {kMargin, top + 16, kSwatchLeft - 8, top + 30},
         DT_SINGLELINE, kEdge);
    for (int32_t slot = 0; slot < kSlots; ++slot) {
        const int32_t x = kSwatchLeft + slot * kSwatchStep;
        FillRectWithColor(&canvas, {x, top, x + kSwatch, top + kSwatch}, ThemeColor(theme, slot));
        canvas.FrameRect({x - 1, top - 1, x + kSwatch + 1, top + kSwatch + 1}, kEdge);
    }
    for (size_t i = 0; i < kFaces.size(); ++i) {
        const Face& face = kFaces[i];
        const int32_t x = kFaceLeft + static_cast<int32_t>(i) * kFaceStep;
        const auto slot = [&](int32_t k) { return ThemeColor(theme, face.firstSlot + k); };
        {
            CanvasSaver saver(canvas);
            canvas.SetViewportOrgEx(x, top - 4);
            const Region clip =
                Region::CreateRectRgn(x, top - 4, x + kFaceWidth, top - 4 + kFaceHeight);
            canvas.SelectClipRgn(&clip);
            // The face's back colour shows where the bands leave a row.
            FillRectWithColor(&canvas, {0, 0, kFaceWidth, kFaceHeight}, slot(0));
            DrawFace(&canvas, kFaceWidth, kFaceHeight, face.mode, slot(0), slot(1), slot(2),
                     slot(3));
            canvas.SelectFont(Tahoma(8));
            Text(canvas, "Salvar", {0, 0, kFaceWidth, kFaceHeight},
                 DT_CENTER | DT_VCENTER | DT_SINGLELINE, ThemeColor(theme, face.textSlot));
        }
        canvas.FrameRect({x - 1, top - 5, x + kFaceWidth + 1, top - 4 + kFaceHeight + 1},
                         ThemeColor(theme, ThemeSlot::Frame));
    }
}

void DrawTextSamples(Canvas& canvas) {
    struct Sample {
        StdFont font;
        std::string label;
    };
    std::array<Sample, 6> samples = {{{Tahoma(8), "Tahoma 8"},
                                      {Tahoma(9), "Tahoma 9"},
                                      {Tahoma(10), "Tahoma 10"},
                                      {Tahoma(12), "Tahoma 12"},
                                      {Tahoma(8, true), "bold"},
                                      {Tahoma(8), "styles"}}};
    canvas.FillRect({kMargin, kTextTop - 8, kSheetWidth - kMargin, kTextTop - 7}, kRule);
    const std::string line =
        "Cadastro de Clientes — Razão social, CPF/CNPJ 123.456.789-09, R$ 1.234,56";
    for (size_t i = 0; i < samples.size(); ++i) {
        const int32_t top = kTextTop + static_cast<int32_t>(i) * 24;
        canvas.SelectFont(Tahoma(8));
        Text(canvas, samples[i].label, {kMargin, top, kSwatchLeft - 8, top + 20},
             DT_SINGLELINE | DT_VCENTER, kEdge);
        if (i + 1 < samples.size()) {
            canvas.SelectFont(samples[i].font);
            Text(canvas, line, {kSwatchLeft, top, kSheetWidth - kMargin, top + 20},
                 DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS, kInk);
            continue;
        }
        // Each style on its own, then the dark themes' white on their face.
        int32_t x = kSwatchLeft;
        const std::array<const char*, 3> words = {"Itálico", "Sublinhado", "Riscado"};
        for (size_t k = 0; k < words.size(); ++k) {
            StdFont font = Tahoma(8);
            font.SetItalic(k == 0);
            font.SetUnderline(k == 1);
            font.SetStrikethrough(k == 2);
            canvas.SelectFont(font);
            RECT rect{x, top, x + 200, top + 20};
            Text(canvas, words[k], rect, DT_SINGLELINE | DT_VCENTER, kInk);
            TextSize size;
            canvas.GetTextExtentPoint32(words[k], size);
            x += size.cx + 16;
        }
        canvas.SelectFont(Tahoma(8));
        for (ENUM_THEME theme : {ENUM_THEME::WindowsTheme, ENUM_THEME::WindowsThemeBlack}) {
            const COLORREF back = static_cast<COLORREF>(ThemeColor(theme, ThemeSlot::Gradient));
            canvas.FillRect({x, top, x + 140, top + 20}, back);
            Text(canvas, "&Gravar  &&  Cancelar", {x, top, x + 140, top + 20},
                 DT_CENTER | DT_SINGLELINE | DT_VCENTER,
                 static_cast<COLORREF>(ThemeColor(theme, ThemeSlot::ForeColor)));
            x += 150;
        }
    }
}

}  // namespace

bool DrawPaletteSheet(API32bppDIB& sheet) {
    if (!sheet.InitializeDIB(kSheetWidth, kSheetHeight)) {
        return false;
    }
    Canvas canvas(sheet.Pixels());
    canvas.SetBkMode(BkMode::TRANSPARENT);
    canvas.FillRect({0, 0, kSheetWidth, kSheetHeight}, kPaper);
    DrawHeader(canvas);
    for (int32_t theme = 0; theme < 8; ++theme) {
        DrawTheme(canvas, static_cast<ENUM_THEME>(theme),
                  kMargin + kHeaderHeight + theme * kRowHeight + 6);
    }
    DrawTextSamples(canvas);
    // The gradient faces keep an alpha byte of 0, which a screen ignores;
    // so does the sheet, which shows what a screen shows.
    PixelBuffer& pixels = sheet.Pixels();
    for (int32_t y = 0; y < pixels.Height(); ++y) {
        uint8_t* row = pixels.Row(y);
        for (int32_t x = 0; x < pixels.Width(); ++x) {
            row[x * 4 + 3] = 255;
        }
    }
    sheet.SetAlpha(ENUM_ALPHA_TYPE::AlphaNone);
    return true;
}

}  // namespace kelvara
