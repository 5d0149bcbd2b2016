#include <gtest/gtest.h>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {
namespace {

// A window that paints itself in one colour, with a frame of another.
HWND Painted(RECT r, COLORREF fill, HWND parent = 0, uint32_t exStyle = 0) {
    const uint32_t style = (parent != 0 ? WS_CHILD : WS_POPUP) | WS_VISIBLE;
    return CreateWindowEx(exStyle, "Painted", "", style, r.Left, r.Top, r.Right - r.Left,
                          r.Bottom - r.Top, parent,
                          [fill](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
                              if (m != WM_PAINT) {
                                  return DefWindowProc(h, m, w, l);
                              }
                              PAINTSTRUCT paint;
                              Canvas* dc = BeginPaint(h, paint);
                              RECT all;
                              GetClientRect(h, all);
                              dc->FillRect(all, fill);
                              dc->FrameRect(all, 0x000000);
                              EndPaint(h, paint);
                              return 0;
                          });
}

COLORREF At(const API32bppDIB& picture, int32_t x, int32_t y) {
    const uint8_t* p = picture.Pixels().Pixel(x, y);
    return COLORREF{p[2]} | COLORREF{p[1]} << 8 | COLORREF{p[0]} << 16;
}

TEST(Compose, ScreensLayWindowsByOrderRegionAndOpacity) {
    HeadlessDesktop desktop;
    constexpr COLORREF red = 0x0000FF, green = 0x00FF00, blue = 0xFF0000, white = 0xFFFFFF;
    const HWND back = Painted({100, 100, 300, 250}, red);
    const HWND front = Painted({200, 150, 400, 300}, green);
    Painted({10, 10, 60, 40}, white, front);  // a child, inside its parent
    const HWND glass = Painted({350, 100, 450, 170}, blue, 0, WS_EX_LAYERED);
    SetLayeredWindowAttributes(glass, 0, 128, LWA_ALPHA);
    const HWND round = Painted({500, 100, 600, 200}, blue);
    const Region ellipse = Region::CreateRoundRectRgn(0, 0, 101, 101, 100, 100);
    SetWindowRgn(round, &ellipse);
    desktop.Pump();

    API32bppDIB screen;
    ASSERT_TRUE(desktop.ScreenshotDesktop(screen));
    ASSERT_EQ(screen.Width(), 1366);
    const COLORREF desk = HeadlessDesktop::kDesktopColor;
    struct Case {
        const char* what;
        int32_t x, y;
        COLORREF want;
    } cases[] = {
        {"back alone", 150, 150, red},
        {"front over back", 250, 200, green},
        {"front's frame", 200, 200, 0x000000},
        {"child in front", 230, 180, white},
        // 128 of blue over the desktop, rounded per channel.
        {"glass", 420, 110,
         (((0xFF * 128 + (desk >> 16 & 0xFF) * 127 + 127) / 255) << 16) |
             (((desk >> 8 & 0xFF) * 127 + 127) / 255) << 8 | ((desk & 0xFF) * 127 + 127) / 255},
        {"glass over front", 380, 160,
         (((0xFF * 128 + 127) / 255) << 16) | ((0xFF * 127 + 127) / 255) << 8},
        {"round's middle", 550, 150, blue},
        {"round's cut corner", 502, 102, desk},
        {"desktop", 800, 400, desk},
        {"task bar", 800, 760, HeadlessDesktop::kTaskBarColor},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(At(screen, c.x, c.y), c.want) << c.what;
    }

    // Raising the back window puts it over the front one.
    SetWindowPos(back, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    ASSERT_TRUE(desktop.ScreenshotDesktop(screen));
    EXPECT_EQ(At(screen, 250, 200), red);

    // A window's own screenshot has its children and nothing else.
    API32bppDIB shot;
    ASSERT_TRUE(desktop.Screenshot(front, shot));
    EXPECT_EQ(shot.Width(), 200);
    EXPECT_EQ(At(shot, 50, 50), green);
    EXPECT_EQ(At(shot, 30, 30), white);
}

}  // namespace
}  // namespace kelvara
