// What the window core tells a backend that shows real windows: which parts
// of a top-level window's picture changed, which mouse pointer to show, and
// which character a key press types when the backend's keyboard layout knows.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "kelvara/gfx/Canvas.h"
#include "kelvara/host/Form.h"
#include "kelvara/host/TextBox.h"
#include "kelvara/host/UserControl.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {
namespace {

std::string Text(const RECT& r) {
    return "{" + std::to_string(r.Left) + "," + std::to_string(r.Top) + "," +
           std::to_string(r.Right) + "," + std::to_string(r.Bottom) + "}";
}

class RecordingBackend final : public Backend {
public:
    uint32_t TickCount() const override { return clock; }
    RECT ScreenRect() const override { return RECT{0, 0, 1366, 768}; }
    RECT WorkArea() const override { return RECT{0, 0, 1366, 728}; }
    bool WaitForInput() override { return false; }
    void TopLevelDirty(HWND hwnd, const RECT& area) override {
        dirty.push_back((hwnd == watched ? "" : "other") + Text(area));
    }
    void SetCursorShape(int16_t pointer, const PixelBuffer* icon) override {
        pointers.push_back(pointer);
        lastIcon = icon;
    }

    uint32_t clock = 1000;
    HWND watched = 0;
    std::vector<std::string> dirty;
    std::vector<int16_t> pointers;
    const PixelBuffer* lastIcon = nullptr;
};

class BackendNotices : public ::testing::Test {
public:
    RecordingBackend backend;
    WindowCore core{backend};

    // A window at (100, 50), 200 × 150, with a child at (10, 20), 60 × 40,
    // and in that a grandchild at (5, 5), 20 × 10.
    HWND top = 0;
    HWND child = 0;
    HWND grandchild = 0;
    void MakeWindows() {
        top = CreateWindowEx(0, "Top", "", WS_POPUP | WS_VISIBLE, 100, 50, 200, 150, 0, nullptr);
        child = CreateWindowEx(0, "Child", "", WS_CHILD | WS_VISIBLE, 10, 20, 60, 40, top, nullptr);
        grandchild =
            CreateWindowEx(0, "Grand", "", WS_CHILD | WS_VISIBLE, 5, 5, 20, 10, child, nullptr);
        backend.watched = top;
        DoEvents();
        backend.dirty.clear();
    }
    void MoveMouse(int32_t x, int32_t y) {
        core.InjectMouseMove(x, y);
        DoEvents();
    }
};

TEST_F(BackendNotices, ChangedPartsAreToldInTopLevelPixels) {
    const RECT part{5, 5, 15, 15};
    const struct {
        const char* what;
        std::function<void(BackendNotices&)> act;
        std::vector<std::string> want;
    } cases[] = {
        {"a child's painted part",
         [&](BackendNotices& t) { InvalidateRect(t.child, &part, true); },
         {"{15,25,25,35}"}},
        {"a grandchild painted whole",
         [](BackendNotices& t) { InvalidateRect(t.grandchild, nullptr, true); },
         {"{15,25,35,35}"}},
        {"drawing on a child's DC: all of it, at once",
         [](BackendNotices& t) { GetDC(t.child); },
         {"{10,20,70,60}"}},
        {"a child moved: its new place, then its old place painted by the parent",
         [](BackendNotices& t) { MoveWindow(t.child, 30, 40, 60, 40); },
         {"{30,40,90,80}", "{10,20,70,60}"}},
        {"a child hidden: only the parent painting where it was",
         [](BackendNotices& t) { ShowWindow(t.child, SW_HIDE); },
         {"{10,20,70,60}"}},
        {"drawing in a hidden window tells nothing",
         [](BackendNotices& t) {
             ShowWindow(t.child, SW_HIDE);
             DoEvents();
             t.backend.dirty.clear();
             GetDC(t.grandchild);
         },
         {}},
        {"a child past its parent's edge is cut at the edge",
         [](BackendNotices& t) {
             MoveWindow(t.child, 180, 140, 60, 40);
             DoEvents();
             t.backend.dirty.clear();
             InvalidateRect(t.child, nullptr, true);
         },
         {"{180,140,200,150}"}},
        {"a top-level window moved: its picture is the same",
         [](BackendNotices& t) { MoveWindow(t.top, 300, 300, 200, 150); },
         {}},
        {"a top-level window's new region: all of it",
         [](BackendNotices& t) {
             const Region round = Region::CreateRoundRectRgn(0, 0, 200, 150, 20, 20);
             SetWindowRgn(t.top, &round, false);
         },
         {"{0,0,200,150}"}},
    };
    for (const auto& c : cases) {
        MakeWindows();
        c.act(*this);
        DoEvents();
        EXPECT_EQ(backend.dirty, c.want) << c.what;
        DestroyWindow(top);
    }
}

TEST_F(BackendNotices, ComposeAreaRedoesOnlyItsArea) {
    MakeWindows();
    GetDC(top)->FillRect(RECT{0, 0, 200, 150}, 0x0000FF);
    PixelBuffer picture;
    ASSERT_TRUE(core.Compose(top, picture));
    GetDC(top)->FillRect(RECT{0, 0, 200, 150}, 0xFF0000);
    // The grandchild covers (15, 25)-(35, 35) and stays white.
    ASSERT_TRUE(core.ComposeArea(top, picture, RECT{0, 0, 20, 30}));
    const struct {
        int32_t x, y;
        uint32_t bgra;
    } probes[] = {
        {0, 0, 0xFF0000FF},     {19, 29, 0xFFFFFFFF},  // redone: blue, and the white grandchild
        {19, 0, 0xFF0000FF},    {20, 0, 0xFFFF0000},   // the area's right edge: red beyond
        {0, 29, 0xFF0000FF},    {0, 30, 0xFFFF0000},   // its bottom edge
        {199, 149, 0xFFFF0000},
    };
    for (const auto& p : probes) {
        const uint8_t* px = picture.Pixel(p.x, p.y);
        const uint32_t have =
            uint32_t{px[3]} << 24 | uint32_t{px[2]} << 16 | uint32_t{px[1]} << 8 | uint32_t{px[0]};
        EXPECT_EQ(have, p.bgra) << "(" << p.x << ", " << p.y << ")";
    }
    // Outside a region the picture is clear, as Compose leaves it.
    const Region corner = Region::CreateRectRgn(50, 50, 200, 150);
    SetWindowRgn(top, &corner, false);
    ASSERT_TRUE(core.ComposeArea(top, picture, RECT{0, 0, 100, 100}));
    EXPECT_EQ(picture.Pixel(45, 10)[3], 0);
    EXPECT_EQ(picture.Pixel(75, 75)[3], 255);
    PixelBuffer wrongSize;
    wrongSize.Allocate(10, 10, RowOrder::TopDown);
    EXPECT_FALSE(core.ComposeArea(top, wrongSize, RECT{0, 0, 5, 5}));
}

TEST_F(BackendNotices, ATypedKeyPostsTheCharacterTheLayoutGave) {
    std::vector<std::string> seen;
    const HWND hwnd = CreateWindowEx(
        0, "Keys", "", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50, 0,
        [&](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
            if (m == WM_KEYDOWN || m == WM_SYSKEYDOWN || m == WM_CHAR) {
                const char* name = m == WM_KEYDOWN ? "down" : m == WM_CHAR ? "char" : "sysdown";
                seen.push_back(std::string(name) + ":" + std::to_string(w));
            }
            return DefWindowProc(h, m, w, l);
        });
    SetFocus(hwnd);
    const struct {
        const char* what;
        std::function<void()> type;
        std::vector<std::string> want;
    } cases[] = {
        {"Caps Lock: an upper-case letter without Shift",
         [&] { core.InjectTypedKey('A', U'A'); },
         {"down:65", "char:65"}},
        {"a key the core makes nothing of",
         [&] { core.InjectTypedKey(0xBA, U'ç'); },
         {"down:186", "char:231"}},
        {"a dead key types nothing yet", [&] { core.InjectTypedKey('E', 0); }, {"down:69"}},
        {"AltGr (Ctrl+Alt) is a plain key press with its character",
         [&] {
             core.InjectKey(VK_CONTROL, true);
             core.InjectKey(VK_MENU, true);
             core.InjectTypedKey('Q', U'/');
             core.InjectKey('Q', false);
             core.InjectKey(VK_MENU, false);
             core.InjectKey(VK_CONTROL, false);
         },
         {"down:17", "sysdown:18", "down:81", "char:47"}},
        {"the character goes with its own key press only",
         [&] {
             core.InjectTypedKey('A', U'Á');
             core.InjectKey('A', true);
         },
         {"down:65", "char:193", "down:65", "char:97"}},
    };
    for (const auto& c : cases) {
        seen.clear();
        c.type();
        DoEvents();
        EXPECT_EQ(seen, c.want) << c.what;
    }
}

TEST_F(BackendNotices, TheWindowUnderTheMouseOrItsParentChoosesThePointer) {
    MakeWindows();
    std::vector<std::string> asked;
    const auto answering = [&](int16_t pointer, std::string name) {
        return [&asked, pointer, name](HWND h, uint32_t m, WPARAM w, LPARAM l) -> LRESULT {
            if (m == WM_SETCURSOR) {
                asked.push_back(name + " for " +
                                (static_cast<HWND>(w) == h ? "itself" : "a child") + " " +
                                std::to_string(LOWORD(l)) + "/" + std::to_string(HIWORD(l)));
                if (pointer != 0) {
                    SetCursorShape(pointer);
                    return 1;
                }
            }
            return DefWindowProc(h, m, w, l);
        };
    };
    SetWindowProc(top, answering(0, "top"));
    SetWindowProc(child, answering(vbSizeNS, "child"));
    SetWindowProc(grandchild, answering(0, "grandchild"));
    const HWND plain =
        CreateWindowEx(0, "Plain", "", WS_CHILD | WS_VISIBLE, 100, 100, 30, 30, top, nullptr);
    const std::string move = std::to_string(WM_MOUSEMOVE);
    const struct {
        POINT at;
        std::vector<int16_t> pointers;
        std::vector<std::string> asked;
    } cases[] = {
        {{101, 51}, {vbDefault}, {"top for itself 1/" + move}},
        {{111, 71}, {vbSizeNS}, {"child for itself 1/" + move}},
        // A parent that answers decides for its children.
        {{116, 76}, {vbSizeNS}, {"grandchild for itself 1/" + move, "child for a child 1/" + move}},
        {{201, 151}, {vbDefault}, {"top for a child 1/" + move}},
    };
    for (const auto& c : cases) {
        backend.pointers.clear();
        asked.clear();
        MoveMouse(c.at.X, c.at.Y);
        EXPECT_EQ(backend.pointers, c.pointers) << c.at.X << "," << c.at.Y;
        EXPECT_EQ(asked, c.asked) << c.at.X << "," << c.at.Y;
    }
    // A window holding the mouse keeps the pointer it has.
    SetCapture(plain);
    backend.pointers.clear();
    MoveMouse(111, 71);
    EXPECT_TRUE(backend.pointers.empty());
}

class Pointed : public UserControl {
public:
    Pointed() : UserControl("Test.Pointed") {}
};

TEST_F(BackendNotices, FormsTextBoxesAndUserControlsShowTheirPointers) {
    auto form = std::make_unique<Form>("frmPointers");
    form->SetStartUpPosition(0);
    form->Move(0, 0, 300 * 15, 200 * 15);
    Load(*form);
    auto* box = form->Controls().Add("VB.TextBox", "txt");
    box->SetBounds(RECT{10, 10, 110, 30});
    box->SetVisible(true);
    const auto icon = std::make_shared<PixelBuffer>();
    icon->Allocate(8, 8, RowOrder::TopDown);
    const struct {
        int16_t pointer;
        std::shared_ptr<const PixelBuffer> icon;
    } controls[] = {{vbSizeNS, nullptr}, {vbCustom, icon}, {vbDefault, nullptr}};
    for (size_t i = 0; i < std::size(controls); ++i) {
        auto* c = form->Controls().Add<Pointed>("uc" + std::to_string(i));
        c->SetBounds(
            RECT{10 + 50 * static_cast<int32_t>(i), 60, 50 + 50 * static_cast<int32_t>(i), 90});
        c->SetVisible(true);
        c->SetMousePointer(controls[i].pointer);
        c->SetMouseIcon(controls[i].icon);
    }
    form->Show();
    DoEvents();
    RECT frame;
    GetWindowRect(form->hWnd(), frame);
    const POINT client = form->ClientOrigin();
    const auto in = [&](int32_t x, int32_t y) {
        return POINT{frame.Left + client.X + x, frame.Top + client.Y + y};
    };
    const int32_t midY = (frame.Top + frame.Bottom) / 2;
    const struct {
        const char* where;
        POINT at;
        int16_t pointer;
        const PixelBuffer* icon;
    } cases[] = {
        {"the form's client area", in(200, 150), vbDefault, nullptr},
        {"the text box", in(20, 20), vbIbeam, nullptr},
        {"a control with its own pointer", in(20, 70), vbSizeNS, nullptr},
        {"a control with a picture", in(70, 70), vbCustom, icon.get()},
        {"a control with the default", in(120, 70), vbDefault, nullptr},
        {"the frame's right edge", {frame.Right - 1, midY}, vbSizeWE, nullptr},
        {"the frame's left edge", {frame.Left, midY}, vbSizeWE, nullptr},
        {"the bottom right corner", {frame.Right - 1, frame.Bottom - 1}, vbSizeNWSE, nullptr},
        {"the bottom left corner", {frame.Left, frame.Bottom - 1}, vbSizeNESW, nullptr},
        {"the bottom edge", {(frame.Left + frame.Right) / 2, frame.Bottom - 1}, vbSizeNS, nullptr},
        {"the caption", {(frame.Left + frame.Right) / 2, frame.Top + 10}, vbDefault, nullptr},
    };
    for (const auto& c : cases) {
        backend.pointers.clear();
        backend.lastIcon = nullptr;
        MoveMouse(c.at.X, c.at.Y);
        EXPECT_EQ(backend.pointers, std::vector<int16_t>{c.pointer}) << c.where;
        EXPECT_EQ(backend.lastIcon, c.icon) << c.where;
    }
    Unload(*form);
}

TEST_F(BackendNotices, LayeredAttributesReadBackAsSet) {
    const HWND layered = CreateWindowEx(WS_EX_LAYERED, "L", "", WS_POPUP, 0, 0, 10, 10, 0, nullptr);
    const HWND plain = CreateWindowEx(0, "P", "", WS_POPUP, 0, 0, 10, 10, 0, nullptr);
    COLORREF key = 1;
    uint8_t alpha = 1;
    uint32_t flags = 1;
    EXPECT_FALSE(GetLayeredWindowAttributes(plain, key, alpha, flags));
    ASSERT_TRUE(SetLayeredWindowAttributes(layered, 0xFF00FF, 128, LWA_ALPHA | LWA_COLORKEY));
    ASSERT_TRUE(GetLayeredWindowAttributes(layered, key, alpha, flags));
    EXPECT_EQ(key, 0xFF00FFu);
    EXPECT_EQ(alpha, 128);
    EXPECT_EQ(flags, LWA_ALPHA | LWA_COLORKEY);
}

}  // namespace
}  // namespace kelvara
