// Tooltip scenes: two overlapping forms on the headless desktop and a tip
// showing over them, brought up by resting the mouse on a button, written
// as PNG pictures of the part of the desktop that holds them. For looking
// at by eye; the program fails when a tip does not come up.
//
//   TooltipScene <output folder>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/frame/APITooltip.h"
#include "kelvara/frame/DrawGradient.h"
#include "kelvara/frame/KV_TOOLTIP.h"
#include "kelvara/gfx/TextLayout.h"

namespace kelvara {
namespace {

// The part of the desktop the pictures show.
constexpr RECT kView{20, 20, 940, 560};
// Close-ups of the tip are this many times larger, pixel for pixel.
constexpr int32_t kZoom = 4;

using Painter = std::function<void(Canvas&, int32_t width, int32_t height)>;

WNDPROC Painted(Painter paint) {
    return [paint](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
        if (m != WM_PAINT) {
            return DefWindowProc(h, m, w, l);
        }
        PAINTSTRUCT ps;
        if (Canvas* canvas = BeginPaint(h, ps)) {
            RECT r;
            GetClientRect(h, r);
            paint(*canvas, r.Width(), r.Height());
            EndPaint(h, ps);
        }
        return 0;
    };
}

void Label(Canvas& c, int32_t x, int32_t y, const std::string& text, COLORREF color,
           bool bold = false) {
    FontRequest font;
    font.Family = "Tahoma";
    font.Height = -11;
    font.Bold = bold;
    c.SelectFont(font);
    c.SetBkMode(BkMode::TRANSPARENT);
    c.SetTextColor(color);
    c.TextOut(x, y, text);
}

// A form: a caption band, a face and a frame.
Painter Form(const std::string& caption, COLORREF band1, COLORREF band2,
             std::function<void(Canvas&, int32_t, int32_t)> body) {
    return [=](Canvas& c, int32_t w, int32_t h) {
        c.FillRect(RECT{0, 0, w, h}, 0xF3F1EE);
        DrawGradient(&c, 0, 0, w, 28, static_cast<int32_t>(band1), static_cast<int32_t>(band2), 1);
        Label(c, 10, 7, caption, 0xFFFFFF, true);
        c.FrameRect(RECT{0, 0, w, h}, 0x6B5A4A);
        body(c, w, h);
    };
}

void Field(Canvas& c, int32_t x, int32_t y, int32_t w, const std::string& label,
           const std::string& value) {
    Label(c, x, y + 3, label, 0x333333);
    c.FillRect(RECT{x + 70, y, x + 70 + w, y + 21}, 0xFFFFFF);
    c.FrameRect(RECT{x + 70, y, x + 70 + w, y + 21}, 0xA89C8F);
    Label(c, x + 75, y + 4, value, 0x000000);
}

HWND Button(HWND form, int32_t x, int32_t y, int32_t w, int32_t h, const std::string& caption) {
    return CreateWindowEx(0, "Button", caption, WS_CHILD | WS_VISIBLE, x, y, w, h, form,
                          Painted([caption](Canvas& c, int32_t bw, int32_t bh) {
                              DrawGradient(&c, 0, 0, bw, bh, 0xFBF7F2, 0xE3D8CC, 1);
                              c.FrameRect(RECT{0, 0, bw, bh}, 0x8C7A66);
                              RECT r{0, 0, bw, bh};
                              FontRequest font;
                              font.Family = "Tahoma";
                              font.Height = -11;
                              c.SelectFont(font);
                              c.SetBkMode(BkMode::TRANSPARENT);
                              c.SetTextColor(0x202020);
                              c.DrawText(caption, r, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
                          }));
}

struct Scene {
    HWND back = 0;
    HWND front = 0;
    HWND cpf = 0;     // a text box on the front form
    HWND save = 0;    // on the front form
    HWND search = 0;  // on the back form, near the bottom of the view
};

HWND TextBox(HWND form, int32_t x, int32_t y, int32_t w, const std::string& value) {
    return CreateWindowEx(0, "Edit", value, WS_CHILD | WS_VISIBLE, x, y, w, 21, form,
                          Painted([value](Canvas& c, int32_t bw, int32_t bh) {
                              c.FillRect(RECT{0, 0, bw, bh}, 0xFFFFFF);
                              c.FrameRect(RECT{0, 0, bw, bh}, 0xA89C8F);
                              Label(c, 5, 4, value, 0x000000);
                          }));
}

Scene MakeForms() {
    Scene s;
    s.back = CreateWindowEx(
        0, "Form", "Clientes", WS_POPUP | WS_VISIBLE, 60, 60, 470, 330, 0,
        Painted(Form("Clientes", 0x8A4E1F, 0xC98B52, [](Canvas& c, int32_t w, int32_t) {
            const char* rows[] = {"Ana Souza",   "Bruno Lima",  "Carla Dias", "Diego Alves",
                                  "Elisa Rocha", "Fábio Nunes", "Gabi Torres"};
            c.FillRect(RECT{12, 40, w - 12, 62}, 0xE8DCCF);
            Label(c, 20, 45, "Nome", 0x3A2A1A, true);
            Label(c, 240, 45, "Cidade", 0x3A2A1A, true);
            int32_t y = 62;
            for (int i = 0; i < 7; ++i, y += 22) {
                c.FillRect(RECT{12, y, w - 12, y + 22}, i % 2 == 0 ? 0xFFFFFF : 0xF8F4F0);
                Label(c, 20, y + 5, rows[i], 0x202020);
                Label(c, 240, y + 5, i % 2 == 0 ? "São Paulo" : "Curitiba", 0x505050);
            }
            c.FrameRect(RECT{12, 40, w - 12, y}, 0xB8A898);
        })));
    s.search = Button(s.back, 20, 285, 90, 26, "Pesquisar");
    s.front = CreateWindowEx(
        0, "Form", "Cadastro", WS_POPUP | WS_VISIBLE, 330, 150, 420, 250, 0,
        Painted(Form("Cadastro de Clientes", 0x3F7F1E, 0x7DB85A, [](Canvas& c, int32_t, int32_t) {
            Field(c, 16, 44, 300, "Nome:", "Maria da Silva");
            Label(c, 16, 77, "CPF:", 0x333333);
            Field(c, 16, 104, 220, "E-mail:", "maria@exemplo.com.br");
            Field(c, 16, 134, 120, "Telefone:", "(11) 4002-8922");
        })));
    s.cpf = TextBox(s.front, 86, 74, 160, "123.456.789-0");
    s.save = Button(s.front, 300, 205, 100, 28, "Salvar");
    return s;
}

// Writes a part of the desktop, each pixel `zoom` times over.
bool SaveView(HeadlessDesktop& desktop, RECT part, const std::string& file, int32_t zoom = 1) {
    API32bppDIB screen;
    if (!desktop.ScreenshotDesktop(screen)) {
        return false;
    }
    part = RECT{std::max(part.Left, 0), std::max(part.Top, 0), std::min(part.Right, screen.Width()),
                std::min(part.Bottom, screen.Height())};
    API32bppDIB view;
    if (part.IsEmpty() || !view.InitializeDIB(part.Width() * zoom, part.Height() * zoom)) {
        return false;
    }
    for (int32_t y = 0; y < view.Height(); ++y) {
        const uint8_t* from = screen.Pixels().Row(part.Top + y / zoom);
        uint8_t* to = view.Pixels().Row(y);
        for (int32_t x = 0; x < view.Width(); ++x) {
            std::memcpy(to + x * 4, from + (part.Left + x / zoom) * 4, 4);
        }
    }
    view.SetAlpha(ENUM_ALPHA_TYPE::AlphaNone);
    return view.SaveToFile_PNG(file);
}

// Rests the mouse on the point, waits for the tip and writes the picture.
bool Shoot(HeadlessDesktop& desktop, POINT at, HWND tip, const std::string& file,
           const RECT& view = kView) {
    desktop.MouseMove(at.X - 3, at.Y - 2);
    desktop.MouseMove(at.X, at.Y);
    desktop.AdvanceTime(650);
    if (!IsWindowVisible(tip)) {
        std::fprintf(stderr, "%s: the tip did not come up\n", file.c_str());
        return false;
    }
    RECT around;
    GetWindowRect(tip, around);
    around = RECT{around.Left - 8, around.Top - 8, around.Right + 8, around.Bottom + 8};
    const std::string zoomFile = file.substr(0, file.size() - 4) + "_zoom.png";
    if (!SaveView(desktop, view, file) || !SaveView(desktop, around, zoomFile, kZoom)) {
        std::fprintf(stderr, "%s: could not be written\n", file.c_str());
        return false;
    }
    return true;
}

POINT CentreOf(HWND hwnd) {
    RECT r;
    GetWindowRect(hwnd, r);
    return POINT{r.Left + r.Width() / 2, r.Top + r.Height() / 2};
}

int Run(const std::string& folder) {
    int failures = 0;
    const auto file = [&](const char* name) { return folder + "/" + name + ".png"; };

    {  // A balloon with a title and the information icon, from KV_TOOLTIP.
        HeadlessDesktop desktop;
        const Scene s = MakeForms();
        KV_TOOLTIP tips;
        tips.ShowToolTip("CPF do cliente",
                         "Digite os 11 números do CPF.\r\nPontos e traço entram sozinhos.", s.cpf,
                         iIconType::TTIconInfo);
        failures += !Shoot(desktop, CentreOf(s.cpf), tips.ToolhWnd(), file("tooltip_balloon_info"));
        // The picture of the documentation: the two forms where they meet.
        failures += !SaveView(desktop, RECT{250, 40, 760, 400}, file("tooltip_docs"));
    }
    {  // A standard tip: text only, in the classic colours.
        HeadlessDesktop desktop;
        const Scene s = MakeForms();
        APITooltip tip;
        tip.SetTipText("Procura clientes pelo nome ou pelo CPF");
        tip.Create(s.search);
        failures += !Shoot(desktop, CentreOf(s.search), tip.hWnd(), file("tooltip_standard"));
    }
    {  // A centred balloon with the error icon, in the controls' tip colour.
        HeadlessDesktop desktop;
        const Scene s = MakeForms();
        APITooltip tip;
        tip.SetStyle(ENUM_TOOLTIP_STYLE::ToolTipBalloon);
        tip.SetCentered(true);
        tip.SetIcon(ENUM_TOOLTIP_ICON::ToolTipIconError);
        tip.SetTitle("CPF inválido");
        tip.SetTipText("Confira os dígitos: o CPF tem 11 números.");
        tip.SetBackColor(0xF4FFFF);
        tip.SetForeColor(0);
        tip.Create(s.cpf);
        failures += !Shoot(desktop, CentreOf(s.cpf), tip.hWnd(), file("tooltip_balloon_error"));
    }
    {  // A standard tip with a title and the warning icon.
        HeadlessDesktop desktop;
        const Scene s = MakeForms();
        APITooltip tip;
        tip.SetIcon(ENUM_TOOLTIP_ICON::ToolTipIconWarning);
        tip.SetTitle("Atenção");
        tip.SetTipText("Há alterações que ainda não foram gravadas.");
        tip.Create(s.save);
        failures += !Shoot(desktop, CentreOf(s.save), tip.hWnd(), file("tooltip_standard_warning"));
    }
    {  // A balloon near the bottom of the work area comes up above, its stem down.
        HeadlessDesktop desktop;
        const Scene s = MakeForms();
        SetWindowPos(s.back, 0, 60, 420, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
        KV_TOOLTIP tips;
        tips.ShowToolTip("Pesquisar", "Abre a busca de clientes.", s.search,
                         iIconType::TTIconWarning);
        failures += !Shoot(desktop, CentreOf(s.search), tips.ToolhWnd(),
                           file("tooltip_balloon_above"), RECT{20, 300, 820, 768});
    }
    return failures == 0 ? 0 : 1;
}

}  // namespace
}  // namespace kelvara

int main(int argc, char** argv) {
    return kelvara::Run(argc > 1 ? argv[1] : ".");
}
