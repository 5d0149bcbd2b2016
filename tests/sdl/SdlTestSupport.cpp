#include "SdlTestSupport.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

// SDL and the X libraries keep allocations for the life of the program;
// they are not ours to free.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libX11\nleak:libxcb\nleak:libSDL2\nleak:libdbus\nleak:libXi\nleak:libXcursor\n"
           "leak:libXrandr\nleak:libXext\nleak:libGLX\nleak:libGL\nleak:libLLVM\nleak:swrast\n";
}

namespace kelvara::sdltest {

namespace {

// The private X server, stopped when the program ends.
struct PrivateServer {
    pid_t pid = 0;
    ~PrivateServer() {
        if (pid > 0) {
            kill(pid, SIGTERM);
            waitpid(pid, nullptr, 0);
        }
    }
};
PrivateServer server;

bool StartXvfb(std::string& why) {
    int fds[2];
    if (pipe(fds) != 0) {
        why = "no pipe for Xvfb";
        return false;
    }
    const pid_t pid = fork();
    if (pid < 0) {
        why = "cannot fork for Xvfb";
        return false;
    }
    if (pid == 0) {
        close(fds[0]);
        const int quiet = open("/dev/null", O_WRONLY);
        if (quiet >= 0) {
            dup2(quiet, 1);
            dup2(quiet, 2);
        }
        const std::string fd = std::to_string(fds[1]);
        execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "1366x768x24", "-nolisten",
               "tcp", "-noreset", static_cast<char*>(nullptr));
        _exit(127);
    }
    close(fds[1]);
    server.pid = pid;
    // Xvfb writes the display number it found free, then a new line.
    std::string number;
    pollfd wait{fds[0], POLLIN, 0};
    while (number.find('\n') == std::string::npos && poll(&wait, 1, 10000) > 0) {
        char buffer[16];
        const ssize_t got = read(fds[0], buffer, sizeof buffer);
        if (got <= 0) {
            break;
        }
        number.append(buffer, static_cast<size_t>(got));
    }
    close(fds[0]);
    if (number.find('\n') == std::string::npos) {
        why = "Xvfb did not start (is the xvfb package installed? scripts/deps installs it)";
        return false;
    }
    number.resize(number.find('\n'));
    setenv("DISPLAY", (":" + number).c_str(), 1);
    return true;
}

uint32_t ReadBE32(const std::vector<uint8_t>& b, size_t at) {
    return uint32_t{b[at]} << 24 | uint32_t{b[at + 1]} << 16 | uint32_t{b[at + 2]} << 8 |
           uint32_t{b[at + 3]};
}

int Shift(uint32_t mask) {
    int shift = 0;
    while (mask != 0 && (mask & 1) == 0) {
        mask >>= 1;
        ++shift;
    }
    return shift;
}

}  // namespace

bool EnsureDisplay(std::string& why) {
    static bool ready = false;
    static std::string failure;
    static bool tried = false;
    if (!tried) {
        tried = true;
        setenv("SDL_VIDEODRIVER", "x11", 1);
        // Windows show through X's own framebuffer: SDL would otherwise load
        // OpenGL (and let it go again) only to ask whether it is fast.
        setenv("SDL_FRAMEBUFFER_ACCELERATION", "0", 1);
        const char* given = std::getenv("KELVARA_SDL_TEST_DISPLAY");
        if (given != nullptr && *given != '\0') {
            setenv("DISPLAY", given, 1);
            ready = true;
        } else {
            ready = StartXvfb(failure);
        }
    }
    why = failure;
    return ready;
}

std::unique_ptr<SdlDesktop> OpenDesktop(int32_t scale, std::string& why) {
    if (!EnsureDisplay(why)) {
        return nullptr;
    }
    SdlOptions options;
    options.Scale = scale;
    options.RenderDriver = "software";
    auto opened = SdlDesktop::Open(options);
    if (!opened) {
        why = std::string(SdlErrorText(opened.Error())) + ": " + SDL_GetError();
        return nullptr;
    }
    // The X pointer starts where no window will be, so windows shown
    // under it get no input of its own.
    SDL_WarpMouseGlobal(0, 0);
    return std::move(opened.Value());
}

int RunCommand(const std::string& command) {
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool ParseXwd(const std::vector<uint8_t>& bytes, PixelBuffer& out) {
    constexpr size_t kHeaderFields = 25;
    if (bytes.size() < kHeaderFields * 4) {
        return false;
    }
    uint32_t f[kHeaderFields];
    for (size_t i = 0; i < kHeaderFields; ++i) {
        f[i] = ReadBE32(bytes, i * 4);
    }
    const uint32_t headerSize = f[0];
    const uint32_t format = f[2];
    const uint32_t width = f[4];
    const uint32_t height = f[5];
    const uint32_t byteOrder = f[7];
    const uint32_t bitsPerPixel = f[11];
    const uint32_t bytesPerLine = f[12];
    const uint32_t masks[3] = {f[14], f[15], f[16]};
    const uint32_t colours = f[19];
    constexpr uint32_t kZPixmap = 2;
    constexpr uint64_t kColourEntrySize = 12;
    if (format != kZPixmap || (bitsPerPixel != 32 && bitsPerPixel != 24) || width == 0 ||
        height == 0 || width > 16384 || height > 16384) {
        return false;
    }
    // With windows of several visuals on screen, xwd writes three bytes a
    // pixel.
    const uint32_t step = bitsPerPixel / 8;
    const bool lsbFirst = byteOrder == 0;
    if (bytesPerLine < width * step) {
        return false;
    }
    const uint64_t start = uint64_t{headerSize} + uint64_t{colours} * kColourEntrySize;
    if (start + uint64_t{bytesPerLine} * height > bytes.size() ||
        !out.Allocate(static_cast<int32_t>(width), static_cast<int32_t>(height),
                      RowOrder::TopDown)) {
        return false;
    }
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = bytes.data() + start + uint64_t{bytesPerLine} * y;
        uint8_t* d = out.Row(static_cast<int32_t>(y));
        for (uint32_t x = 0; x < width; ++x) {
            const uint8_t* p = row + x * step;
            uint32_t v = 0;
            for (uint32_t k = 0; k < step; ++k) {
                v |= uint32_t{p[k]} << (lsbFirst ? 8 * k : 8 * (step - 1 - k));
            }
            // Blue, green, red from the masks of red, green, blue.
            for (int c = 0; c < 3; ++c) {
                d[x * 4 + static_cast<uint32_t>(2 - c)] =
                    static_cast<uint8_t>((v & masks[c]) >> Shift(masks[c]));
            }
            d[x * 4 + 3] = 255;
        }
    }
    return true;
}

bool CaptureScreen(PixelBuffer& out, std::string& why) {
    char name[] = "/tmp/kelvara-xwd-XXXXXX";
    const int fd = mkstemp(name);
    if (fd < 0) {
        why = "no temporary file";
        return false;
    }
    close(fd);
    const int status = RunCommand(std::string("xwd -root -silent -out ") + name);
    std::ifstream in(name, std::ios::binary);
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                               std::istreambuf_iterator<char>());
    std::remove(name);
    if (status != 0) {
        why = "xwd failed (is x11-apps installed? scripts/deps installs it)";
        return false;
    }
    if (!ParseXwd(bytes, out)) {
        why = "xwd wrote a picture of a kind not read here";
        return false;
    }
    return true;
}

std::string ReadText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string FirstDifference(const PixelBuffer& a, const PixelBuffer& b) {
    if (a.Width() != b.Width() || a.Height() != b.Height()) {
        return "sizes " + std::to_string(a.Width()) + "x" + std::to_string(a.Height()) + " and " +
               std::to_string(b.Width()) + "x" + std::to_string(b.Height());
    }
    for (int32_t y = 0; y < a.Height(); ++y) {
        for (int32_t x = 0; x < a.Width(); ++x) {
            const uint8_t* p = a.Pixel(x, y);
            const uint8_t* q = b.Pixel(x, y);
            if (p[0] != q[0] || p[1] != q[1] || p[2] != q[2]) {
                char text[96];
                std::snprintf(text, sizeof text, "(%d, %d): have %02X%02X%02X, want %02X%02X%02X",
                              x, y, p[2], p[1], p[0], q[2], q[1], q[0]);
                return text;
            }
        }
    }
    return "";
}

std::string FirstLineDifference(const std::vector<std::string>& have,
                                const std::vector<std::string>& want) {
    for (size_t i = 0; i < std::max(have.size(), want.size()); ++i) {
        const std::string h = i < have.size() ? have[i] : "(nothing)";
        const std::string w = i < want.size() ? want[i] : "(nothing)";
        if (h != w) {
            return "line " + std::to_string(i) + ": have " + h + ", want " + w;
        }
    }
    return "";
}

bool Crop(const PixelBuffer& from, const RECT& area, PixelBuffer& out) {
    if (area.Left < 0 || area.Top < 0 || area.Right > from.Width() || area.Bottom > from.Height() ||
        !out.Allocate(area.Right - area.Left, area.Bottom - area.Top, RowOrder::TopDown)) {
        return false;
    }
    for (int32_t y = area.Top; y < area.Bottom; ++y) {
        std::copy_n(from.Pixel(area.Left, y), static_cast<size_t>(out.Stride()),
                    out.Row(y - area.Top));
    }
    return true;
}

// --- Scripts -----------------------------------------------------------------

void PlayHeadless(const std::vector<Step>& steps, HeadlessDesktop& desktop, HWND hwnd) {
    RECT r;
    GetWindowRect(hwnd, r);
    for (const Step& s : steps) {
        switch (s.kind) {
            case Step::Kind::Click:
                desktop.Click(r.Left + s.x, r.Top + s.y, MouseButton::Left, s.shift);
                break;
            case Step::Kind::DblClick:
                desktop.DblClick(r.Left + s.x, r.Top + s.y);
                break;
            case Step::Kind::Key:
                desktop.Key(s.vk, s.shift);
                break;
            case Step::Kind::Text:
                desktop.Type(s.text);
                break;
            case Step::Kind::Wheel:
                desktop.Wheel(s.notches, s.horizontal);
                break;
        }
    }
}

void PlaySdl(const std::vector<Step>& steps, SdlDesktop& desktop, HWND hwnd) {
    SDL_Window* window = desktop.WindowOf(hwnd);
    uint16_t mod = 0;
    const auto click = [&](const Step& s) {
        PushMotion(window, s.x, s.y);
        PushModifiers(s.shift, true, mod);
        PushButton(window, SDL_BUTTON_LEFT, true, s.x, s.y);
        PushButton(window, SDL_BUTTON_LEFT, false, s.x, s.y);
        PushModifiers(s.shift, false, mod);
    };
    for (const Step& s : steps) {
        switch (s.kind) {
            case Step::Kind::Click:
                click(s);
                break;
            case Step::Kind::DblClick:
                click(s);
                desktop.Pump();
                click(s);
                break;
            case Step::Kind::Key:
                PushKeyStroke(s.vk, s.shift, mod);
                break;
            case Step::Kind::Text:
                PushText(s.text);
                break;
            case Step::Kind::Wheel:
                PushWheel(s.horizontal ? static_cast<float>(s.notches) : 0.0f,
                          s.horizontal ? 0.0f : static_cast<float>(s.notches));
                break;
        }
        desktop.Pump();
    }
}

}  // namespace kelvara::sdltest
