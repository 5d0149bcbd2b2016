// kelvara-gallery: the controls of the suite on real forms.
//
//   kelvara-gallery                     opens the gallery in a window when
//                                       there is a display; without one,
//                                       writes the pictures into
//                                       build/gallery
//   kelvara-gallery --window            opens the window, or fails
//   kelvara-gallery --headless OUTDIR   drives the forms on the headless
//                                       desktop and writes one PNG per
//                                       scene and OUTDIR/index.html
//
// Exit codes: 0 done, 1 a scene or file failed or no window could open,
// 2 a usage error.

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "HeadlessStage.h"
#include "Page.h"
#include "Showcase.h"

#if KELVARA_GALLERY_WINDOW
#include "kelvara/backends/sdl/SdlDesktop.h"
#endif

namespace {

constexpr const char* kUsage = "usage: %s [--window | --headless OUTDIR]\n";

int Pictures(const std::string& out) {
    kelvara::gallery::HeadlessStage stage;
    const bool written = kelvara::gallery::RunGallery(stage, out, std::cout);
    std::error_code error;
    const auto page = std::filesystem::absolute(std::filesystem::path(out) / "index.html", error);
    std::cout << "gallery: " << (error ? out + "/index.html" : page.string()) << "\n";
    return written ? 0 : 1;
}

// The gallery in a window until its main form closes; nullopt when no
// window can open here.
std::optional<int> Window() {
#if KELVARA_GALLERY_WINDOW
    auto desktop = kelvara::SdlDesktop::Open();
    if (!desktop) {
        std::cerr << "gallery: no window: " << kelvara::SdlErrorText(desktop.Error()) << "\n";
        return std::nullopt;
    }
    kelvara::gallery::Showcase showcase;
    showcase.Show();
    return desktop.Value()->Run();
#else
    std::cerr << "gallery: built without a window system backend (SDL2)\n";
    return std::nullopt;
#endif
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view first = argc > 1 ? argv[1] : "";
    if (argc == 2 && (first == "--help" || first == "-h")) {
        std::printf(kUsage, argv[0]);
        return 0;
    }
    if (argc == 3 && first == "--headless") {
        return Pictures(argv[2]);
    }
    if (argc == 2 && first == "--window") {
        return Window().value_or(1);
    }
    if (argc != 1) {
        std::fprintf(stderr, kUsage, argv[0]);
        return 2;
    }
    if (const std::optional<int> shown = Window()) {
        return *shown;
    }
    std::cerr << "gallery: writing the pictures instead\n";
    return Pictures("build/gallery");
}
