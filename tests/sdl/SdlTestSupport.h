#pragma once

// What the SDL desktop's tests share: an X server to show windows on, the
// X screen as xwd sees it, SDL events made as SDL makes them, and the
// headless desktop's script played the same way through SDL's queue.

#include <SDL.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/backends/sdl/SdlDesktop.h"
#include "kelvara/backends/sdl/SdlEvents.h"
#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara::sdltest {

// Makes DISPLAY name a working X server: KELVARA_SDL_TEST_DISPLAY when
// set, else a private Xvfb of 1366 × 768 × 24 started now and stopped when
// the program ends. False, with the reason, when none can be had.
bool EnsureDisplay(std::string& why);

// An SDL desktop on that display with the software renderer, which keeps
// every pixel exact; nullptr (with the reason) when it cannot open.
std::unique_ptr<SdlDesktop> OpenDesktop(int32_t scale, std::string& why);

// Runs a shell command on the display; its exit status.
int RunCommand(const std::string& command);

// The whole X screen, captured by xwd, as top-down BGRA.
bool CaptureScreen(PixelBuffer& out, std::string& why);
// An xwd file's picture (32 bits per pixel, true colour, either byte
// order); false for anything else.
bool ParseXwd(const std::vector<uint8_t>& bytes, PixelBuffer& out);

std::string ReadText(const std::string& path);
inline const std::string kCadastro = std::string(KELVARA_TEST_DATA) + "/forms/Cadastro.frm";

// The first (x, y) where two pictures' colours differ, "" when they match
// (alpha is not compared: a screen has none).
std::string FirstDifference(const PixelBuffer& a, const PixelBuffer& b);
// Where two logs of events part, "" when they are the same.
std::string FirstLineDifference(const std::vector<std::string>& have,
                                const std::vector<std::string>& want);
// Part of a picture.
bool Crop(const PixelBuffer& from, const RECT& area, PixelBuffer& out);

// SDL events as SDL makes them.
using namespace kelvara::sdl;

// --- One script, two desktops -------------------------------------------------
// A step of input, as the headless desktop takes it, at a point in the
// pixels of the window the script is for.
struct Step {
    enum class Kind { Click, DblClick, Key, Text, Wheel } kind = Kind::Click;
    int32_t x = 0;
    int32_t y = 0;
    int32_t vk = 0;     // Key
    int32_t shift = 0;  // ShiftState bits, for Click and Key
    std::string text;   // Text: characters no key stands for
    int32_t notches = 0;
    bool horizontal = false;

    static Step Click(int32_t x, int32_t y, int32_t shift = 0) {
        Step s;
        s.kind = Kind::Click;
        s.x = x;
        s.y = y;
        s.shift = shift;
        return s;
    }
    static Step DblClick(int32_t x, int32_t y) {
        Step s = Click(x, y);
        s.kind = Kind::DblClick;
        return s;
    }
    static Step Key(int32_t vk, int32_t shift = 0) {
        Step s;
        s.kind = Kind::Key;
        s.vk = vk;
        s.shift = shift;
        return s;
    }
    static Step Text(std::string text) {
        Step s;
        s.kind = Kind::Text;
        s.text = std::move(text);
        return s;
    }
    static Step Wheel(int32_t notches, bool horizontal = false) {
        Step s;
        s.kind = Kind::Wheel;
        s.notches = notches;
        s.horizontal = horizontal;
        return s;
    }
};

// Plays the steps on the headless desktop, over the window `hwnd`.
void PlayHeadless(const std::vector<Step>& steps, HeadlessDesktop& desktop, HWND hwnd);
// Plays them through SDL's event queue as a US keyboard and a mouse over
// `hwnd` would produce them, handling each step's events before the next.
void PlaySdl(const std::vector<Step>& steps, SdlDesktop& desktop, HWND hwnd);

}  // namespace kelvara::sdltest
