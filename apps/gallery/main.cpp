// kelvara-gallery: the controls of the suite on real forms.
//
//   kelvara-gallery --headless OUTDIR   drives the forms on the headless
//                                       desktop and writes one PNG per
//                                       scene and OUTDIR/index.html
//   kelvara-gallery                     the same into build/gallery (until
//                                       a window system backend shows the
//                                       forms themselves)
//
// Exit codes: 0 written, 1 a scene or file failed, 2 a usage error.

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>

#include "HeadlessStage.h"
#include "Page.h"

namespace {

int Usage(const char* program) {
    std::fprintf(stderr, "usage: %s [--headless OUTDIR]\n", program);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    std::string out = "build/gallery";
    if (argc == 2 && (std::string_view(argv[1]) == "--help" || std::string_view(argv[1]) == "-h")) {
        std::printf("usage: %s [--headless OUTDIR]\n", argv[0]);
        return 0;
    }
    if (argc == 3 && std::string_view(argv[1]) == "--headless") {
        out = argv[2];
    } else if (argc != 1) {
        return Usage(argv[0]);
    }
    kelvara::gallery::HeadlessStage stage;
    const bool written = kelvara::gallery::RunGallery(stage, out, std::cout);
    std::error_code error;
    const auto page = std::filesystem::absolute(std::filesystem::path(out) / "index.html", error);
    std::cout << "gallery: " << (error ? out + "/index.html" : page.string()) << "\n";
    return written ? 0 : 1;
}
