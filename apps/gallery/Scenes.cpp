#include "Scenes.h"

#include <cstring>

#include "GalleryForms.h"
#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/gfx/Canvas.h"
#include "kelvara/gfx/TextLayout.h"

namespace kelvara::gallery {
namespace {

// Sheets: a column of theme names at the left, a row of column names on
// top, then one cell per control with a margin round it.
constexpr int32_t kSheetLabels = 132;
constexpr int32_t kSheetHeader = 24;
constexpr int32_t kButtonMargin = 4;
constexpr int32_t kToggleMarginX = 4;
constexpr int32_t kToggleMarginY = 6;
// Where the mouse rests when it should be over nothing.
constexpr POINT kAway{1360, 720};

// A picture being put together.
class Sheet {
public:
    bool Start(int32_t width, int32_t height, COLORREF background) {
        if (!picture.InitializeDIB(width, height)) {
            return false;
        }
        Canvas dc(picture.Pixels());
        dc.FillRect(RECT{0, 0, width, height}, background);
        return true;
    }
    void Text(const RECT& where, const std::string& text, bool bold, uint32_t align) {
        Canvas dc(picture.Pixels());
        StdFont font;
        font.SetName("Tahoma");
        font.SetSize(8);
        font.SetBold(bold);
        dc.SelectFont(font);
        dc.SetTextColor(0x202020);
        dc.SetBkMode(BkMode::TRANSPARENT);
        RECT r = where;
        dc.DrawText(text, r, align | DT_SINGLELINE | DT_VCENTER);
    }
    // Theme t's row: its name at the left. The first row starts the
    // sheet, in the form's colour, with the columns' names on top.
    bool Row(int32_t t, int32_t cellW, int32_t cellH, int32_t columns,
             const char* (*columnName)(int32_t), COLORREF background) {
        if (t == 0) {
            const int32_t width = kSheetLabels + columns * cellW + 8;
            const int32_t height = kSheetHeader + kThemeCount * cellH + 8;
            if (!Start(width, height, background)) {
                return false;
            }
            for (int32_t c = 0; c < columns; ++c) {
                const int32_t x = kSheetLabels + c * cellW;
                Text(RECT{x, 4, x + cellW, kSheetHeader}, columnName(c), true, DT_CENTER);
            }
        }
        const int32_t y = kSheetHeader + t * cellH;
        Text(RECT{8, y, kSheetLabels, y + cellH}, ThemeName(t), true, DT_LEFT);
        return true;
    }
    // Copies `from` of a capture to (x, y).
    void Paste(const API32bppDIB& capture, const RECT& from, int32_t x, int32_t y) {
        for (int32_t row = from.Top; row < from.Bottom; ++row) {
            const int32_t to = y + row - from.Top;
            if (row < 0 || row >= capture.Height() || to < 0 || to >= picture.Height()) {
                continue;
            }
            for (int32_t col = from.Left; col < from.Right; ++col) {
                const int32_t tx = x + col - from.Left;
                if (col < 0 || col >= capture.Width() || tx < 0 || tx >= picture.Width()) {
                    continue;
                }
                std::memcpy(picture.Pixels().Pixel(tx, to), capture.Pixels().Pixel(col, row), 4);
            }
        }
    }
    void Finish(API32bppDIB& out) { out.InitializeOpaque(picture.Pixels()); }

private:
    API32bppDIB picture;
};

RECT Grow(RECT r, int32_t dx, int32_t dy) {
    return RECT{r.Left - dx, r.Top - dy, r.Right + dx, r.Bottom + dy};
}

// The colour of the form's client area, from a spot nothing covers.
COLORREF FormColour(Form& form, const API32bppDIB& capture) {
    const RECT client = form.Layout().client;
    const uint8_t* p = capture.Pixels().Pixel(client.Right - 2, client.Bottom - 2);
    return static_cast<COLORREF>(p[2] | p[1] << 8 | p[0] << 16);
}

void MoveAway(Stage& stage) {
    stage.MouseMove(kAway.X, kAway.Y);
}

// Shows a form, takes one picture of it at rest and unloads it.
bool Still(Stage& stage, Form& form, API32bppDIB& out) {
    form.Show();
    MoveAway(stage);
    const bool taken = stage.Capture(form, out);
    Unload(form);
    return taken;
}

bool ButtonStates(Stage& stage, API32bppDIB& out) {
    Sheet sheet;
    const int32_t cellW = kButtonWidth + 2 * kButtonMargin;
    const int32_t cellH = kButtonHeight + 2 * kButtonMargin;
    for (int32_t t = 0; t < kThemeCount; ++t) {
        auto form = MakeForm("frmBotoes", "Botões", 8 + kColumns * (kButtonWidth + 8), 76);
        ButtonRow row = BuildButtonRow(*form, static_cast<ENUM_THEME>(t));
        form->Show();
        API32bppDIB capture;
        const auto paste = [&](int32_t column) {
            const RECT cell = ButtonSheetCell(t, column);
            sheet.Paste(capture,
                        Grow(RectInForm(*form, *row.buttons[column]), kButtonMargin, kButtonMargin),
                        cell.Left - kButtonMargin, cell.Top - kButtonMargin);
        };
        // Latch one, then give the focus back to the start box, so that
        // the default button shows as the default.
        Click(stage, *row.buttons[kLatched]);
        Click(stage, *row.start);
        MoveAway(stage);
        if (!stage.Capture(*form, capture)) {
            return false;
        }
        if (!sheet.Row(t, cellW, cellH, kColumns, ButtonColumnName, FormColour(*form, capture))) {
            return false;
        }
        for (const int32_t c : {kNormal, kDisabled, kLatched, kDefault}) {
            paste(c);
        }
        Hover(stage, *row.buttons[kOver]);
        if (!stage.Capture(*form, capture)) {
            return false;
        }
        paste(kOver);
        Press(stage, *row.buttons[kDown]);
        if (!stage.Capture(*form, capture)) {
            return false;
        }
        paste(kDown);
        MoveAway(stage);
        stage.MouseUp();
        Click(stage, *row.start);
        MoveAway(stage);
        stage.Key(VK_TAB);
        if (!stage.Capture(*form, capture)) {
            return false;
        }
        paste(kFocused);
        Unload(*form);
    }
    sheet.Finish(out);
    return true;
}

bool ToggleStates(Stage& stage, API32bppDIB& out) {
    Sheet sheet;
    const int32_t cellW = kToggleWidth + 2 * kToggleMarginX;
    const int32_t cellH = kToggleHeight + 2 * kToggleMarginY;
    for (int32_t t = 0; t < kThemeCount; ++t) {
        auto form = MakeForm("frmMarcas", "Marcas", 8 + kToggleColumns * (kToggleWidth + 4), 68);
        ToggleRow row = BuildToggleRow(*form, static_cast<ENUM_THEME>(t));
        form->Show();
        API32bppDIB capture;
        const auto paste = [&](int32_t column) {
            const RECT cell = ToggleSheetCell(t, column);
            sheet.Paste(
                capture,
                Grow(RectInForm(*form, *row.toggles[column]), kToggleMarginX, kToggleMarginY),
                cell.Left - kToggleMarginX, cell.Top - kToggleMarginY);
        };
        MoveAway(stage);
        if (!stage.Capture(*form, capture)) {
            return false;
        }
        if (!sheet.Row(t, cellW, cellH, kToggleColumns, ToggleColumnName,
                       FormColour(*form, capture))) {
            return false;
        }
        for (int32_t c = 0; c < kToggleColumns; ++c) {
            if (c != kCheckHot && c != kOptionHot) {
                paste(c);
            }
        }
        for (const int32_t c : {kCheckHot, kOptionHot}) {
            Hover(stage, *row.toggles[c]);
            if (!stage.Capture(*form, capture)) {
                return false;
            }
            paste(c);
        }
        MoveAway(stage);
        Unload(*form);
    }
    sheet.Finish(out);
    return true;
}

bool PictureAlignments(Stage& stage, API32bppDIB& out) {
    auto form = MakeForm("frmFiguras", "Alinhamentos da figura");
    BuildPictureAlignments(*form);
    return Still(stage, *form, out);
}

// Each pixel as a square of `factor` pixels, so that corners of a few
// pixels can be seen.
bool Enlarge(const API32bppDIB& in, int32_t factor, API32bppDIB& out) {
    if (!out.InitializeDIB(in.Width() * factor, in.Height() * factor)) {
        return false;
    }
    for (int32_t y = 0; y < out.Height(); ++y) {
        for (int32_t x = 0; x < out.Width(); ++x) {
            std::memcpy(out.Pixels().Pixel(x, y), in.Pixels().Pixel(x / factor, y / factor), 4);
        }
    }
    out.SetAlpha(ENUM_ALPHA_TYPE::AlphaNone);
    return true;
}

bool CropBorders(Stage& stage, API32bppDIB& out) {
    auto form = MakeForm("frmCantos", "CropBorders");
    BuildCropBorders(*form);
    API32bppDIB picture;
    return Still(stage, *form, picture) && Enlarge(picture, 2, out);
}

bool WordBreaks(Stage& stage, API32bppDIB& out) {
    auto form = MakeForm("frmLegendas", "Legendas longas");
    BuildWordBreaks(*form);
    return Still(stage, *form, out);
}

bool Faces(Stage& stage, API32bppDIB& out) {
    auto form = MakeForm("frmFaces", "Faces em duas e quatro cores");
    BuildFaces(*form);
    return Still(stage, *form, out);
}

bool GroupBoxScene(Stage& stage, API32bppDIB& out) {
    auto form = MakeForm("frmGrupos", "Grupos");
    GroupBoxes made = BuildGroupBoxes(*form);
    form->Show();
    Click(stage, *made.second[2]);
    Hover(stage, *made.second[3]);
    const bool taken = stage.Capture(*form, out);
    Unload(*form);
    return taken;
}

bool Customer(Stage& stage, API32bppDIB& out) {
    auto form = MakeForm("frmCliente", "Cadastro de cliente");
    CustomerForm f = BuildCustomerForm(*form);
    form->Show();
    stage.Type("Maria Aparecida da Silva");
    stage.Key(VK_TAB);
    stage.Type("111.444.777-35");
    stage.Key(VK_TAB);
    stage.Type("maria@empresa.com.br");
    stage.Key('F', ShiftState::Alt);
    stage.Key(VK_DOWN);
    stage.Key('R', ShiftState::Alt);
    stage.Key('E', ShiftState::Alt);
    Hover(stage, *f.cancel);
    const bool taken = stage.Capture(*form, out);
    Unload(*form);
    return taken;
}

}  // namespace

RECT ButtonSheetCell(int32_t theme, int32_t column) {
    const int32_t x = kSheetLabels + column * (kButtonWidth + 2 * kButtonMargin) + kButtonMargin;
    const int32_t y = kSheetHeader + theme * (kButtonHeight + 2 * kButtonMargin) + kButtonMargin;
    return RECT{x, y, x + kButtonWidth, y + kButtonHeight};
}

RECT ToggleSheetCell(int32_t theme, int32_t column) {
    const int32_t x = kSheetLabels + column * (kToggleWidth + 2 * kToggleMarginX) + kToggleMarginX;
    const int32_t y = kSheetHeader + theme * (kToggleHeight + 2 * kToggleMarginY) + kToggleMarginY;
    return RECT{x, y, x + kToggleWidth, y + kToggleHeight};
}

std::vector<Scene> GalleryScenes() {
    return {
        {"buttons-states.png", "Buttons: every theme in every state",
         "USButton in the eight themes (rows) and seven states (columns): normal, under the "
         "mouse, pressed, disabled, latched (CheckBoxMode with Value True), with the focus "
         "(shown as the default, with the focus rectangle) and the form's default button.",
         "For each theme a form of seven buttons: a click latches the latching one and a click "
         "on the start box takes the focus away from the buttons (picture: normal, disabled, "
         "latched, default); the mouse moves onto the second (over); the left button is held "
         "on the third (down); Tab from the start box brings the focus to the sixth "
         "(focused). Each cell is cut from the picture of its own moment.",
         ButtonStates},
        {"picture-alignments.png", "Buttons: the nine picture alignments",
         "A 24 × 24 picture drawn in code (a floppy disk) in each PictureAlignment, 0 to 8 "
         "from the left, with the caption \"Salvar\" (top row) and without a caption (bottom "
         "row), in the light theme.",
         "None: the form as shown, the mouse away.", PictureAlignments},
        {"crop-borders.png", "Buttons: CropBorders",
         "CropBorders 0 to 3 (none, left corners, right corners, all four rounded) in the "
         "Office Blue, Windows and Windows Black themes; below, three buttons joined into one "
         "bar with CropLeft, none and CropRight. Shown at twice its size, each pixel a square of "
         "four, so that the corners can be seen.",
         "None: the form as shown, the mouse away.", CropBorders},
        {"word-breaks.png", "Buttons: long captions",
         "A caption too long for one line, aligned left, centred and right (CaptionDistance "
         "6): with CaptionWordBreak False it wraps at word breaks (top row), with True it is "
         "one line cut with an ellipsis (middle row). Below, a wrapped caption under a "
         "32 × 32 picture (PictureAlignment TopOfCaption).",
         "None: the form as shown, the mouse away.", WordBreaks},
        {"faces.png", "Buttons: two- and four-colour faces",
         "Each theme's face in two colours (top row) and with GradientColors set to four "
         "colours (middle row); below, a four-colour face with colours and border of its own.",
         "None: the form as shown, the mouse away.", Faces},
        {"toggles-states.png", "Check boxes and option buttons in every theme",
         "USCheckBox unchecked, checked, grayed, under the mouse and disabled (checked), then "
         "USOptionButton not chosen, chosen, under the mouse and disabled, in the eight themes.",
         "For each theme a form of nine controls with the focus on a start box outside the "
         "picture; the mouse moves onto the fourth and then onto the eighth control for the "
         "two hot cells. Each cell is cut from the picture of its own moment.",
         ToggleStates},
        {"group-boxes.png", "Group boxes in every theme",
         "USGroupBox in the eight themes (0 to 3 on top, 4 to 7 below), each holding a check "
         "box and two option buttons of its own group. Theme 5's box is disabled with all it "
         "holds.",
         "A click on \"Jurídica\" in theme 2's box chooses it and gives it the focus (its "
         "box's \"Física\" is cleared, the other boxes' groups are not); the mouse then rests "
         "on theme 3's \"Jurídica\", which shows its hot look.",
         GroupBoxScene},
        {"business-form.png", "The suite together: a customer's record",
         "A form as a business program has it: labels with access keys, text boxes, option "
         "buttons in a group box, check boxes in another, OK as the default button and "
         "Cancelar as the cancel button, with pictures drawn in code.",
         "Typed into the name box, Tab, typed the CPF, Tab, typed the e-mail; Alt+F took the "
         "focus to \"Física\" and the Down arrow chose \"Jurídica\", Alt+R checked \"Recebe "
         "e-mail\", Alt+E (the label's access key) took "
         "the focus back to the e-mail box, so OK shows as the default; the mouse rests on "
         "Cancelar.",
         Customer},
    };
}

}  // namespace kelvara::gallery
