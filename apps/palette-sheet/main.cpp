// kelvara-palette-sheet: draws the themes' palette sheet.
//
//   kelvara-palette-sheet OUT.png        writes the sheet
//   kelvara-palette-sheet --check REF.png
//       draws the sheet and compares it with REF pixel for pixel; on a
//       difference writes palette-sheet.actual.png here and exits 1.

#include <cstdio>
#include <cstring>
#include <string>

#include "PaletteSheet.h"

int main(int argc, char** argv) {
    using kelvara::API32bppDIB;
    const bool check = argc == 3 && std::strcmp(argv[1], "--check") == 0;
    if (!check && argc != 2) {
        std::fprintf(stderr, "usage: %s OUT.png | --check REFERENCE.png\n", argv[0]);
        return 2;
    }
    API32bppDIB sheet;
    if (!kelvara::DrawPaletteSheet(sheet)) {
        std::fprintf(stderr, "cannot draw the sheet\n");
        return 1;
    }
    if (!check) {
        if (!sheet.SaveToFile_PNG(argv[1])) {
            std::fprintf(stderr, "cannot write %s\n", argv[1]);
            return 1;
        }
        std::printf("%s: %d × %d\n", argv[1], sheet.Width(), sheet.Height());
        return 0;
    }
    API32bppDIB reference;
    if (!reference.LoadPicture_File(argv[2])) {
        std::fprintf(stderr, "cannot read %s\n", argv[2]);
        return 1;
    }
    if (reference.Width() != sheet.Width() || reference.Height() != sheet.Height()) {
        std::fprintf(stderr, "size %d × %d, the reference is %d × %d\n", sheet.Width(),
                     sheet.Height(), reference.Width(), reference.Height());
        sheet.SaveToFile_PNG("palette-sheet.actual.png");
        return 1;
    }
    int64_t different = 0;
    for (int32_t y = 0; y < sheet.Height(); ++y) {
        different += std::memcmp(sheet.Pixels().Row(y), reference.Pixels().Row(y),
                                 static_cast<size_t>(sheet.Width()) * 4) != 0;
    }
    if (different != 0) {
        std::fprintf(stderr, "%lld rows differ from %s; the sheet drawn now is in %s\n",
                     static_cast<long long>(different), argv[2], "palette-sheet.actual.png");
        sheet.SaveToFile_PNG("palette-sheet.actual.png");
        return 1;
    }
    std::printf("the sheet matches %s\n", argv[2]);
    return 0;
}
