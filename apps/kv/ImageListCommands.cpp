// kv imagelist list FILE.lIL          → ImportImageList → a table of images
// kv imagelist export OUT.lIL ...     → ParseExport → Add, AddImage_fromStream
//                                       per image → ExportImageList → file
// kv imagelist import FILE.lIL OUTDIR → ImportImageList → per image: Render
//                                       onto a clear cell → PNG → FileNameFor
//
// A list file holds one list. Everything goes through the same collection
// class the controls use, so kv reads and writes the files they do.

#include <algorithm>
#include <filesystem>
#include <optional>
#include <utility>

#include "CommandLine.h"
#include "ImageCommands.h"
#include "kelvara/base/Error.h"
#include "kelvara/base/Text.h"
#include "kelvara/gfx/Canvas.h"
#include "kelvara/image/lists/APIImageLists.h"
#include "kelvara/util/KV.h"

namespace kelvara::kvtool {

namespace {

// A key longer than this is cut in the file name; the index keeps names
// apart anyway.
constexpr size_t kMaxKeyInFileName = 60;

APIImageList& ReadList(const std::string& path, APIImageLists& lists) {
    const std::vector<uint8_t> bytes = ReadWholeFile(path);
    std::string key;
    try {
        return lists.ImportImageList(bytes, key);
    } catch (const KelvaraError& e) {
        throw CommandFailure{"cannot read '" + path + "' as an image list: error " +
                             std::to_string(e.number) + ": " + e.description};
    }
}

size_t Columns(std::string_view text) {
    return static_cast<size_t>(Len(text));
}

std::string Padded(std::string text, size_t width) {
    text.append(width > Columns(text) ? width - Columns(text) : 0, ' ');
    return text;
}

void List(std::span<const std::string> args, std::ostream& out) {
    const std::vector<Token> tokens = ParseOptions(args, {});
    if (tokens.size() != 1) {
        throw UsageError{"name one list FILE (" + std::to_string(tokens.size()) + " given)"};
    }
    APIImageLists lists;
    APIImageList& list = ReadList(tokens[0].value, lists);
    APIListImages& images = list.Images();
    out << "list " << Quoted(list.Key()) << ": " << images.Count()
        << (images.Count() == 1 ? " image" : " images") << " of " << list.Width() << "x"
        << list.Height() << (images.DelayLoaded() ? ", delay-loaded" : "") << "\n";
    if (images.Count() == 0) {
        return;
    }
    size_t keyWidth = 3;
    for (const APIListImage& image : images) {
        keyWidth = std::max(keyWidth, Columns(Quoted(image.Key())));
    }
    const size_t indexWidth = std::max<size_t>(5, std::to_string(images.Count()).size());
    out << Padded("index", indexWidth + 2) << Padded("key", keyWidth + 2) << "tag\n";
    for (const APIListImage& image : images) {
        out << Padded(std::to_string(image.Index()), indexWidth + 2)
            << Padded(Quoted(image.Key()), keyWidth + 2) << Quoted(image.Tag()) << "\n";
    }
}

// --- export ----------------------------------------------------------------

struct ExportImage {
    std::string path;
    std::optional<std::string> key;
    std::optional<std::string> tag;
};

struct ExportRequest {
    std::string out;
    PixelSize size;
    std::string name;
    bool scaled = true;
    std::vector<ExportImage> images;
};

// --key and --tag belong to the image named just before them, so that each
// image's own settings stand beside it on the command line.
ExportRequest ParseExport(std::span<const std::string> args) {
    static constexpr OptionSpec kSpecs[] = {
        {"--size", "WxH"},      {"--name", "KEY"},      {"--no-scale", ""},
        {"--key", "KEY", true}, {"--tag", "TAG", true},
    };
    ExportRequest request;
    bool sized = false;
    for (const Token& token : ParseOptions(args, kSpecs)) {
        if (token.spec == nullptr) {
            if (request.out.empty()) {
                request.out = token.value;
            } else {
                request.images.push_back({token.value, std::nullopt, std::nullopt});
            }
        } else if (token.Is("--size")) {
            request.size = ParseSize("--size", token.value, 65535);
            sized = true;
        } else if (token.Is("--name")) {
            request.name = token.value;
        } else if (token.Is("--no-scale")) {
            request.scaled = false;
        } else {
            const std::string option(token.spec->name);
            if (request.images.empty()) {
                throw UsageError{option + " '" + token.value +
                                 "' comes before any image; write it after the image it is for"};
            }
            ExportImage& image = request.images.back();
            auto& field = token.Is("--key") ? image.key : image.tag;
            if (field) {
                throw UsageError{option + " is given twice for '" + image.path + "'"};
            }
            field = token.value;
        }
    }
    if (request.out.empty()) {
        throw UsageError{"name the list file to write (OUT.lIL)"};
    }
    if (!sized) {
        throw UsageError{"give the images' size with --size WxH"};
    }
    if (request.images.empty()) {
        throw UsageError{"name at least one image to put in the list"};
    }
    const int32_t room = APIImageLists::MaxImages(request.size.width, request.size.height);
    if (std::cmp_less(room, request.images.size())) {
        throw UsageError{"a list of " + std::to_string(request.size.width) + "x" +
                         std::to_string(request.size.height) + " images holds at most " +
                         std::to_string(room) + " of them (" +
                         std::to_string(APIImageLists::kMaxPixelsPerList) +
                         " pixels in all), not " + std::to_string(request.images.size())};
    }
    return request;
}

void Export(std::span<const std::string> args, std::ostream& out) {
    const ExportRequest request = ParseExport(args);
    APIImageLists lists;
    APIImageList& list = lists.Add(request.size.width, request.size.height, request.name);
    for (const ExportImage& image : request.images) {
        const std::vector<uint8_t> bytes = ReadWholeFile(image.path);
        try {
            const APIListImage* added = list.Images().AddImage_fromStream(
                bytes, 0, 0, 32, 0, image.key.value_or(""), image.tag.value_or(""), request.scaled);
            if (added == nullptr) {
                throw CommandFailure{"cannot read '" + image.path +
                                     "': not a picture kv reads (PNG, GIF, ICO, CUR or BMP), "
                                     "or a damaged one"};
            }
        } catch (const KelvaraError& e) {
            throw CommandFailure{"cannot add '" + image.path + "': error " +
                                 std::to_string(e.number) + ": " + e.description};
        }
    }
    std::vector<uint8_t> bytes;
    lists.ExportImageList(1, bytes);
    WriteWholeFile(request.out, bytes);
    const int32_t count = list.Images().Count();
    out << "wrote " << request.out << ": list " << Quoted(list.Key()) << ", " << count
        << (count == 1 ? " image" : " images") << " of " << list.Width() << "x" << list.Height()
        << "\n";
}

// --- import ----------------------------------------------------------------

// "<index>-<key>.png", the index padded to the width of the largest so that
// the files sort in list order. The key keeps ASCII letters, digits, '-' and
// '_' (accents are dropped first); anything else, path separators and dots
// included, becomes '_', so no key can leave the folder or hide a file.
std::string FileNameFor(const APIListImage& image, int32_t count) {
    std::string name = std::to_string(image.Index());
    name.insert(0, std::to_string(count).size() - name.size(), '0');
    if (!image.Key().empty()) {
        name += '-';
        size_t kept = 0;
        const std::string plain = KV::RemoveAccents(image.Key());
        for (size_t i = 0; i < plain.size() && kept < kMaxKeyInFileName; ++i, ++kept) {
            const auto c = static_cast<uint8_t>(plain[i]);
            const bool safe = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                              (c >= '0' && c <= '9') || c == '-' || c == '_';
            name += safe ? static_cast<char>(c) : '_';
            // The rest of a multi-byte character is part of the one '_'.
            while (c >= 0xC0 && i + 1 < plain.size() && (plain[i + 1] & 0xC0) == 0x80) {
                ++i;
            }
        }
    }
    return name + ".png";
}

void Import(std::span<const std::string> args, std::ostream& out) {
    const std::vector<Token> tokens = ParseOptions(args, {});
    if (tokens.size() != 2) {
        throw UsageError{"name the list FILE and the OUTDIR (" + std::to_string(tokens.size()) +
                         " given)"};
    }
    APIImageLists lists;
    APIImageList& list = ReadList(tokens[0].value, lists);
    const std::filesystem::path folder(tokens[1].value);
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    if (ec || !std::filesystem::is_directory(folder)) {
        throw CommandFailure{"cannot make the folder '" + folder.string() +
                             "': " + (ec ? ec.message() : "a file has that name")};
    }
    APIListImages& images = list.Images();
    for (const APIListImage& image : images) {
        API32bppDIB cell;
        if (!cell.InitializeDIB(list.Width(), list.Height())) {
            throw CommandFailure{"not enough memory for a " + std::to_string(list.Width()) + "x" +
                                 std::to_string(list.Height()) + " image"};
        }
        // Drawn onto clear pixels the image arrives unchanged: over alpha 0
        // the blend leaves each premultiplied source byte as it is.
        Canvas canvas(cell.Pixels());
        std::vector<uint8_t> png;
        if (!images.Render(image.Index(), &canvas) || !cell.SaveToStream_PNG(png)) {
            throw CommandFailure{"cannot write image " + std::to_string(image.Index()) +
                                 " of the list as PNG"};
        }
        const std::string path = (folder / FileNameFor(image, images.Count())).string();
        WriteWholeFile(path, png);
        out << path << "\n";
    }
}

}  // namespace

const std::vector<Command>& ImageListCommands() {
    static const std::vector<Command> commands = {
        {"imagelist", "list", "FILE.lIL", List},
        {"imagelist", "export",
         "OUT.lIL --size WxH [--name KEY] [--no-scale] IMAGE [--key KEY] [--tag TAG] ...", Export},
        {"imagelist", "import", "FILE.lIL OUTDIR", Import},
    };
    return commands;
}

}  // namespace kelvara::kvtool
