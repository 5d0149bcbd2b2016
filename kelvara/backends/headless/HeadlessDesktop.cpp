#include "kelvara/backends/headless/HeadlessDesktop.h"

#include "kelvara/base/Text.h"

namespace kelvara {

namespace {

constexpr uint32_t kDoubleClickGap = 50;

// The key that types a character, when there is one.
int32_t KeyFor(char32_t c, bool& shifted) {
    shifted = false;
    if (c >= 'a' && c <= 'z') {
        return static_cast<int32_t>(c - 'a' + 'A');
    }
    if (c >= 'A' && c <= 'Z') {
        shifted = true;
        return static_cast<int32_t>(c);
    }
    if ((c >= '0' && c <= '9') || c == ' ') {
        return static_cast<int32_t>(c);
    }
    switch (c) {
        case '\r':
        case '\n':
            return VK_RETURN;
        case '\t':
            return VK_TAB;
        case '\b':
            return VK_BACK;
        default:
            return 0;
    }
}

}  // namespace

HeadlessDesktop::HeadlessDesktop() : core(*this) {}

HeadlessDesktop::~HeadlessDesktop() = default;

bool HeadlessDesktop::WaitForInput() {
    if (steps.empty()) {
        throw HeadlessScriptEnded(
            "a message loop is waiting for input, but the input script has no step left; "
            "record the input it needs with BeginScript before the step that starts it");
    }
    std::function<void()> step = std::move(steps.front());
    steps.pop_front();
    ++playing;
    step();
    --playing;
    return true;
}

void HeadlessDesktop::Do(std::function<void()> step) {
    if (recording) {
        steps.push_back(std::move(step));
        return;
    }
    step();
    if (playing == 0) {
        Pump();
    }
}

int32_t HeadlessDesktop::Pump() {
    return DoEvents();
}

void HeadlessDesktop::BeginScript() {
    recording = true;
}

void HeadlessDesktop::Play() {
    recording = false;
    while (!steps.empty()) {
        std::function<void()> step = std::move(steps.front());
        steps.pop_front();
        step();
        Pump();
    }
    Pump();
}

void HeadlessDesktop::AdvanceNow(uint32_t ms) {
    const uint32_t target = clock + ms;
    Pump();
    while (true) {
        const std::optional<uint32_t> due = core.NextTimerDue();
        if (!due || static_cast<int32_t>(target - *due) < 0) {
            break;
        }
        if (static_cast<int32_t>(*due - clock) > 0) {
            clock = *due;
        }
        // Whatever is due fires now and is set again for later; a due time
        // that fires nothing would otherwise hold the clock.
        if (Pump() == 0) {
            break;
        }
    }
    clock = target;
    Pump();
}

void HeadlessDesktop::AdvanceTime(uint32_t ms) {
    Do([this, ms] { AdvanceNow(ms); });
}

void HeadlessDesktop::MouseMove(int32_t x, int32_t y) {
    Do([this, x, y] {
        cursor = POINT{x, y};
        core.InjectMouseMove(x, y);
    });
}

void HeadlessDesktop::Modifiers(int32_t shift, bool down) {
    const int32_t keys[] = {VK_SHIFT, VK_CONTROL, VK_MENU};
    const int32_t bits[] = {ShiftState::Shift, ShiftState::Ctrl, ShiftState::Alt};
    for (int i = 0; i < 3; ++i) {
        if ((shift & bits[i]) != 0) {
            core.InjectKey(keys[i], down);
        }
    }
}

void HeadlessDesktop::MouseDown(MouseButton button, int32_t shift) {
    Do([this, button, shift] {
        Modifiers(shift, true);
        core.InjectMouseButton(button, true, cursor.X, cursor.Y);
    });
}

void HeadlessDesktop::MouseUp(MouseButton button, int32_t shift) {
    Do([this, button, shift] {
        core.InjectMouseButton(button, false, cursor.X, cursor.Y);
        Modifiers(shift, false);
    });
}

void HeadlessDesktop::Click(int32_t x, int32_t y, MouseButton button, int32_t shift) {
    MouseMove(x, y);
    MouseDown(button, shift);
    MouseUp(button, shift);
}

void HeadlessDesktop::DblClick(int32_t x, int32_t y, MouseButton button) {
    Click(x, y, button);
    AdvanceTime(kDoubleClickGap);
    Click(x, y, button);
}

void HeadlessDesktop::Wheel(int32_t notches, bool horizontal) {
    Do([this, notches, horizontal] {
        core.InjectWheel(notches * WHEEL_DELTA, horizontal, cursor.X, cursor.Y);
    });
}

void HeadlessDesktop::KeyDown(int32_t vk, int32_t shift) {
    Do([this, vk, shift] {
        Modifiers(shift, true);
        core.InjectKey(vk, true);
    });
}

void HeadlessDesktop::KeyUp(int32_t vk, int32_t shift) {
    Do([this, vk, shift] {
        core.InjectKey(vk, false);
        Modifiers(shift, false);
    });
}

void HeadlessDesktop::Key(int32_t vk, int32_t shift) {
    KeyDown(vk, shift);
    KeyUp(vk, shift);
}

void HeadlessDesktop::Type(std::string_view text) {
    for (const char32_t c : ToUtf32(text)) {
        bool shifted = false;
        const int32_t vk = KeyFor(c, shifted);
        if (vk != 0) {
            Key(vk, shifted ? ShiftState::Shift : 0);
        } else {
            Do([this, c] { core.InjectChar(c); });
        }
    }
}

bool HeadlessDesktop::Screenshot(HWND hwnd, API32bppDIB& out) {
    PixelBuffer pixels;
    return core.Compose(hwnd, pixels) && out.InitializeOpaque(pixels);
}

bool HeadlessDesktop::ScreenshotDesktop(API32bppDIB& out) {
    PixelBuffer pixels;
    if (!pixels.Allocate(kWidth, kHeight, RowOrder::TopDown)) {
        return false;
    }
    Canvas canvas(pixels);
    canvas.FillRect(RECT{0, 0, kWidth, kHeight - kTaskBarHeight}, kDesktopColor);
    canvas.FillRect(RECT{0, kHeight - kTaskBarHeight, kWidth, kHeight}, kTaskBarColor);
    canvas.FillRect(RECT{0, kHeight - kTaskBarHeight, kWidth, kHeight - kTaskBarHeight + 1},
                    0x5A4E40);
    core.ComposeScreen(pixels);
    return out.InitializeOpaque(pixels);
}

bool HeadlessDesktop::SaveScreenshot(HWND hwnd, const std::string& pngFile) {
    API32bppDIB picture;
    return Screenshot(hwnd, picture) && picture.SaveToFile_PNG(pngFile);
}

bool HeadlessDesktop::SaveDesktopScreenshot(const std::string& pngFile) {
    API32bppDIB picture;
    return ScreenshotDesktop(picture) && picture.SaveToFile_PNG(pngFile);
}

}  // namespace kelvara
