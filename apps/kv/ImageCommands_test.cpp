// kv's picture commands, run in process. What they write is checked against
// the library's writers called directly (byte for byte) or against the
// source pictures (pixel for pixel); what they print, exactly.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>

#include "ImageCommands.h"
#include "KVCommands.h"
#include "kelvara/base/Date.h"
#include "kelvara/image/API32bppDIB.h"
#include "kelvara/image/gif/APIGIFParser.h"
#include "kelvara/image/jpeg/APIJPGWriter.h"
#include "kelvara/image/png/APIPNGWriter.h"

namespace kelvara::kvtool {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

const fs::path kImages = KV_IMAGE_DATA;

struct Outcome {
    int code = -1;
    std::string out;
    std::string err;
};

Outcome Kv(const std::vector<std::string>& args) {
    std::ostringstream out;
    std::ostringstream err;
    const int code = Run(args, out, err);
    return {code, out.str(), err.str()};
}

// A fresh, empty folder of the test's own name.
fs::path Scratch() {
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(info->test_suite_name()) + "." + info->name();
    for (char& c : name) {
        c = c == '/' ? '_' : c;
    }
    const fs::path folder = fs::path(KV_SCRATCH) / name;
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

Bytes ReadBytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

std::unique_ptr<API32bppDIB> Load(const fs::path& path, int32_t iconCx = 0, int32_t iconCy = 0) {
    auto surface = std::make_unique<API32bppDIB>();
    EXPECT_TRUE(surface->LoadPicture_Stream(ReadBytes(path), iconCx, iconCy)) << path;
    return surface;
}

// The premultiplied bytes, bottom row first, then width and height.
Bytes PixelsOf(const API32bppDIB& surface) {
    const uint8_t* bits = surface.Pixels().Bits();
    Bytes pixels(bits, bits + surface.Pixels().ByteSize());
    pixels.push_back(static_cast<uint8_t>(surface.Width()));
    pixels.push_back(static_cast<uint8_t>(surface.Height()));
    return pixels;
}

// --- convert ----------------------------------------------------------------

// What the library writes for a request when called directly.
using Writer = std::function<bool(API32bppDIB&, Bytes&)>;

Writer Png(int32_t fill) {
    return [=](API32bppDIB& s, Bytes& b) { return s.SaveToStream_PNG(b, fill); };
}
Writer Jpeg(uint8_t quality, int32_t fill, JpegChroma chroma = JpegChroma::Auto) {
    return [=](API32bppDIB& s, Bytes& b) {
        APIJPGWriter writer;
        writer.SetChroma(chroma);
        return writer.SaveJPG(s, b, quality, fill);
    };
}
Writer Gif(bool adaptive, int32_t tolerance) {
    return [=](API32bppDIB& s, Bytes& b) {
        return APIGIFParser().SaveAsGIF("", b, s, adaptive, tolerance);
    };
}
Writer GifOver(int32_t fill, bool transparency) {
    return [=](API32bppDIB& s, Bytes& b) { return s.SaveToStream_GIF(b, fill, transparency); };
}
Writer Bmp(int32_t fill, bool alpha) {
    return [=](API32bppDIB& s, Bytes& b) { return s.SaveToStream_Bitmap(b, fill, alpha); };
}
Writer PngWithProperties() {
    return [](API32bppDIB& s, Bytes& b) {
        const Date when(DateSerial(2026, 11, 21)->Serial() + TimeSerial(10, 30, 0)->Serial());
        return s.PngPropertySet(1, Variant("Logo")) &&
               s.PngPropertySet(1024, Variant("scan 3"), "Origin") &&
               s.PngPropertySet(2048, Variant(when)) &&
               s.PngPropertySet(4096, Variant(int32_t{0x996633})) && s.SaveToStream_PNG(b, -1);
    };
}

struct ConvertCase {
    const char* name;
    const char* out;  // file name written; its extension chooses the format
    std::vector<std::string> options;
    const char* printedFormat;
    Writer write;
    const char* source = "pngsuite/basn6a08.png";  // 32x32, partly transparent
    int32_t iconSide = 0;                          // the icon the expected picture is read with
};

// Colours go in as RRGGBB and reach the writers as 0x00BBGGRR.
const std::vector<ConvertCase>& ConvertCases() {
    static const std::vector<ConvertCase> cases = {
        {"PngAsIs", "a.png", {}, "PNG", Png(-1)},
        {"PngFlattenedOntoRed", "a.png", {"--background", "ff0000"}, "PNG", Png(0x0000FF)},
        {"PngWithProperties",
         "a.PNG",
         {"--text", "title=Logo", "--text=Origin=scan 3", "--modified", "21/11/2026 10:30:00",
          "--viewer-background", "#336699"},
         "PNG",
         PngWithProperties()},
        {"JpegDefaults", "a.jpg", {}, "JPEG", Jpeg(90, 0xFFFFFF)},
        {"JpegQualityAndFill",
         "a.jpeg",
         {"--quality", "35", "--background", "102030"},
         "JPEG",
         Jpeg(35, 0x302010)},
        {"JpegQuarterChroma",
         "a.jpg",
         {"--chroma", "420", "--quality", "95"},
         "JPEG",
         Jpeg(95, 0xFFFFFF, JpegChroma::Quarter)},
        {"GifDefaults", "a.gif", {}, "GIF", Gif(true, 128)},
        {"GifFixedPaletteLowTolerance",
         "a.gif",
         {"--palette", "FIXED", "--tolerance", "1"},
         "GIF",
         Gif(false, 1)},
        {"GifOpaqueOverGreen",
         "a.gif",
         {"--background", "00ff00", "--tolerance", "0"},
         "GIF",
         GifOver(0x00FF00, false)},
        {"GifOverGreenKeepsTransparency",
         "a.gif",
         {"--background", "00ff00"},
         "GIF",
         GifOver(0x00FF00, true)},
        {"BmpDefaults", "a.bmp", {}, "BMP", Bmp(0xFFFFFF, false)},
        {"BmpWithAlpha", "a.bmp", {"--alpha"}, "BMP", Bmp(0xFFFFFF, true)},
        {"BmpOntoNavy", "a.bmp", {"--background", "000080"}, "BMP", Bmp(0x800000, false)},
        {"SmallIconOfIcoFile", "a.png", {"--icon", "16x16"}, "PNG", Png(-1), "ico/alpha32.ico", 16},
    };
    return cases;
}

// Test names and failures show the case's name, not its bytes.
void PrintTo(const ConvertCase& c, std::ostream* os) {
    *os << c.name;
}

class ConvertTest : public testing::TestWithParam<ConvertCase> {};

TEST_P(ConvertTest, WritesWhatTheLibraryWritesForTheOptions) {
    const ConvertCase& c = GetParam();
    const fs::path out = Scratch() / c.out;
    std::vector<std::string> args = {"image", "convert", (kImages / c.source).string(),
                                     out.string()};
    args.insert(args.end(), c.options.begin(), c.options.end());
    const Outcome outcome = Kv(args);
    ASSERT_EQ(outcome.code, 0) << outcome.err;

    auto expected = Load(kImages / c.source, c.iconSide, c.iconSide);
    Bytes expectedBytes;
    ASSERT_TRUE(c.write(*expected, expectedBytes));
    EXPECT_EQ(outcome.out, "wrote " + out.string() + " (" + c.printedFormat + ", " +
                               std::to_string(expected->Width()) + "x" +
                               std::to_string(expected->Height()) + ")\n");
    EXPECT_EQ(ReadBytes(out), expectedBytes);
}

INSTANTIATE_TEST_SUITE_P(Kv, ConvertTest, testing::ValuesIn(ConvertCases()),
                         [](const auto& info) { return std::string(info.param.name); });

// A failed write leaves no file behind to pass for a picture.
TEST(ConvertFailure, UnwritableOutputExitsOneAndLeavesNoFile) {
    const fs::path out = Scratch() / "missing-folder" / "a.png";
    const Outcome outcome =
        Kv({"image", "convert", (kImages / "pngsuite/basn6a08.png").string(), out.string()});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_FALSE(fs::exists(out));
}

// --- image lists --------------------------------------------------------------

// Export → list → import: the list shows what went in and every imported
// PNG holds the source's pixels.
TEST(ImageListRoundTrip, ImportGivesBackTheExportedPictures) {
    const fs::path folder = Scratch();
    const fs::path file = folder / "toolbar.lIL";
    const struct {
        const char* source;
        const char* key;
        const char* tag;
    } images[] = {
        {"pngsuite/basn6a08.png", "open", "Abrir arquivo"},
        {"pngsuite/basn2c08.png", "", "sem chave"},
        {"pngsuite/basn3p08.png", "Ação \"rápida\"", ""},
        {"ico/alpha32.ico", "../icon", "32x32 entry"},
    };
    std::vector<std::string> args = {"imagelist", "export", file.string(), "--size",
                                     "32x32",     "--name", "toolbar"};
    for (const auto& image : images) {
        args.push_back((kImages / image.source).string());
        if (*image.key != '\0') {
            args.insert(args.end(), {"--key", image.key});
        }
        if (*image.tag != '\0') {
            args.insert(args.end(), {"--tag", image.tag});
        }
    }
    Outcome outcome = Kv(args);
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "wrote " + file.string() + ": list \"toolbar\", 4 images of 32x32\n");

    outcome = Kv({"imagelist", "list", file.string()});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out,
              "list \"toolbar\": 4 images of 32x32\n"
              "index  key                tag\n"
              "1      \"open\"             \"Abrir arquivo\"\n"
              "2      \"\"                 \"sem chave\"\n"
              "3      \"Ação \\\"rápida\\\"\"  \"\"\n"
              "4      \"../icon\"          \"32x32 entry\"\n");

    const fs::path into = folder / "out" / "deeper";
    outcome = Kv({"imagelist", "import", file.string(), into.string()});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    const char* names[] = {"1-open.png", "2.png", "3-Acao__rapida_.png", "4-___icon.png"};
    std::string printed;
    for (const char* name : names) {
        printed += (into / name).string() + "\n";
    }
    EXPECT_EQ(outcome.out, printed);
    for (size_t i = 0; i < std::size(images); ++i) {
        SCOPED_TRACE(names[i]);
        EXPECT_EQ(PixelsOf(*Load(into / names[i])), PixelsOf(*Load(kImages / images[i].source)));
    }
}

// Without scaling a picture keeps its size and sits in the middle of its
// cell, the division truncated; the rest of the cell is clear.
TEST(ImageListRoundTrip, UnscaledPictureIsCentredInItsCell) {
    const fs::path folder = Scratch();
    const fs::path file = folder / "one.lIL";
    const fs::path source = kImages / "bmp/argb32.bmp";  // 13x7
    ASSERT_EQ(
        Kv({"imagelist", "export", file.string(), "--size=16x16", "--no-scale", source.string()})
            .code,
        0);
    const Outcome outcome = Kv({"imagelist", "import", file.string(), folder.string()});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, (folder / "1.png").string() + "\n");

    const auto picture = Load(source);
    API32bppDIB cell;
    ASSERT_TRUE(cell.InitializeDIB(16, 16));
    for (int32_t y = 0; y < picture->Height(); ++y) {
        std::copy_n(picture->Pixels().Row(y), picture->Width() * 4,
                    cell.Pixels().Row(y + 4) + 1 * 4);
    }
    EXPECT_EQ(PixelsOf(*Load(folder / "1.png")), PixelsOf(cell));
}

// File names: the index padded to the widest, then what is safe of the key.
TEST(ImageListImport, FileNamesAreSafeAndSortInListOrder) {
    const fs::path folder = Scratch();
    const fs::path file = folder / "keys.lIL";
    const std::string source = (kImages / "pngsuite/basn0g08.png").string();
    const struct {
        const char* key;
        const char* fileName;
    } cases[] = {
        {"open", "01-open.png"},
        {"a b/c\\d", "02-a_b_c_d.png"},
        {"..", "03-__.png"},
        {"Coração", "04-Coracao.png"},
        {"日本", "05-__.png"},
        {"x.png", "06-x_png.png"},
        {"CON", "07-CON.png"},
        {"tab\there", "08-tab_here.png"},
        {"", "09.png"},
        {"0123456789012345678901234567890123456789012345678901234567890123456789",
         "10-012345678901234567890123456789012345678901234567890123456789.png"},
    };
    std::vector<std::string> args = {"imagelist", "export", file.string(), "--size", "8x8"};
    std::string printed;
    for (const auto& c : cases) {
        args.insert(args.end(), {source, "--key", c.key});
        printed += (folder / "out" / c.fileName).string() + "\n";
    }
    ASSERT_EQ(Kv(args).code, 0);
    const Outcome outcome = Kv({"imagelist", "import", file.string(), (folder / "out").string()});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out, printed);
    for (const auto& c : cases) {
        EXPECT_TRUE(fs::exists(folder / "out" / c.fileName)) << c.fileName;
    }
}

// What the list refuses reaches the user as exit code 1, with nothing
// written: a duplicated key, a file that is no picture.
TEST(ImageListExport, RefusedImagesExitOneWithoutAFile) {
    const fs::path folder = Scratch();
    const std::string source = (kImages / "pngsuite/basn0g08.png").string();
    const std::vector<std::vector<std::string>> requests = {
        {"--size", "16x16", source, "--key", "k", source, "--key", "k"},
        {"--size", "16x16", source, (kImages / "README.md").string()},
    };
    for (const auto& request : requests) {
        const fs::path file = folder / "x.lIL";
        std::vector<std::string> args = {"imagelist", "export", file.string()};
        args.insert(args.end(), request.begin(), request.end());
        const Outcome outcome = Kv(args);
        EXPECT_EQ(outcome.code, 1) << request.back();
        EXPECT_FALSE(fs::exists(file)) << request.back();
    }
}

// --- help ----------------------------------------------------------------------

TEST(Help, ListsEveryPictureCommand) {
    const Outcome outcome = Kv({"help"});
    ASSERT_EQ(outcome.code, 0);
    for (const auto* table : {&ImageCommands(), &ImageListCommands()}) {
        for (const Command& command : *table) {
            const std::string usage = "kv " + std::string(command.group) + " " +
                                      std::string(command.name) + " " + std::string(command.usage);
            EXPECT_NE(outcome.out.find("  " + usage + "\n"), std::string::npos) << usage;
        }
    }
}

}  // namespace
}  // namespace kelvara::kvtool
