// kv image info FILE        → LoadPicture → Describe (+ Entries for icons)
// kv image convert IN OUT   → ParseConvert (options checked against OUT's
//                             format) → LoadPicture → Encode → the file
//
// Pictures are read through the surface's stream loader, so kv reads
// exactly what the controls read (PNG, GIF, ICO, CUR, BMP) and writes what
// the surface's writers write (PNG, GIF, JPEG, BMP).

#include <algorithm>
#include <array>
#include <optional>
#include <sstream>

#include "CommandLine.h"
#include "ImageCommands.h"
#include "kelvara/base/Date.h"
#include "kelvara/base/Locale.h"
#include "kelvara/base/Text.h"
#include "kelvara/image/API32bppDIB.h"
#include "kelvara/image/gif/APIGIFParser.h"
#include "kelvara/image/jpeg/APIJPGWriter.h"
#include "kelvara/image/png/APIPNGWriter.h"

namespace kelvara::kvtool {

namespace {

// --- Reading ---------------------------------------------------------------

// Which icon of a multi-icon file to read: 0, 0, 32 is the reader's own
// default.
struct IconChoice {
    int32_t width = 0;
    int32_t height = 0;
    int32_t bitDepth = 32;
};

// "WxH" or "WxH@BITS".
IconChoice ParseIconChoice(std::string_view text) {
    const size_t at = text.find('@');
    const PixelSize size = ParseSize("--icon", text.substr(0, at), 32767);
    IconChoice choice{size.width, size.height, 32};
    if (at != std::string_view::npos) {
        choice.bitDepth = ParseInteger("--icon bits", text.substr(at + 1), 1, 32);
    }
    return choice;
}

void LoadPicture(const std::string& path, const IconChoice& icon, API32bppDIB& surface,
                 bool keepOriginal = false) {
    const std::vector<uint8_t> bytes = ReadWholeFile(path);
    if (bytes.empty()) {
        throw CommandFailure{"'" + path + "' is empty"};
    }
    if (!surface.LoadPicture_Stream(bytes, icon.width, icon.height, 0, 0, keepOriginal,
                                    icon.bitDepth)) {
        throw CommandFailure{"cannot read '" + path +
                             "': not a picture kv reads (PNG, GIF, ICO, CUR or BMP), "
                             "or a damaged one"};
    }
}

// --- Describing ------------------------------------------------------------

struct TypeName {
    ENUM_IMAGE_FORMAT type;
    std::string_view name;
    std::string_view container;  // the file format that gives this type
};

constexpr std::array<TypeName, 15> kTypeNames = {{
    {ENUM_IMAGE_FORMAT::ImageError, "ImageError", ""},
    {ENUM_IMAGE_FORMAT::ImageNone, "ImageNone", ""},
    {ENUM_IMAGE_FORMAT::ImageBitmap, "ImageBitmap", "BMP"},
    {ENUM_IMAGE_FORMAT::ImageWMF, "ImageWMF", "WMF"},
    {ENUM_IMAGE_FORMAT::ImageIcon, "ImageIcon", "ICO"},
    {ENUM_IMAGE_FORMAT::ImageEMF, "ImageEMF", "EMF"},
    {ENUM_IMAGE_FORMAT::ImageCursor, "ImageCursor", "CUR"},
    {ENUM_IMAGE_FORMAT::ImageBitmapARGB, "ImageBitmapARGB", "BMP"},
    {ENUM_IMAGE_FORMAT::ImageBitmapPARGB, "ImageBitmapPARGB", "BMP"},
    {ENUM_IMAGE_FORMAT::ImageIconARGB, "ImageIconARGB", "ICO"},
    {ENUM_IMAGE_FORMAT::ImageGIF, "ImageGIF", "GIF"},
    {ENUM_IMAGE_FORMAT::ImagePNG, "ImagePNG", "PNG"},
    {ENUM_IMAGE_FORMAT::ImagePNGIcon, "ImagePNGIcon", "ICO"},
    {ENUM_IMAGE_FORMAT::ImageCursorARGB, "ImageCursorARGB", "CUR"},
    {ENUM_IMAGE_FORMAT::ImageCheckerBoard, "ImageCheckerBoard", ""},
}};

const TypeName& NameOf(ENUM_IMAGE_FORMAT type) {
    const auto found = std::find_if(kTypeNames.begin(), kTypeNames.end(),
                                    [&](const TypeName& t) { return t.type == type; });
    return found != kTypeNames.end() ? *found : kTypeNames[0];
}

std::string_view NameOf(ENUM_ALPHA_TYPE alpha) {
    switch (alpha) {
        case ENUM_ALPHA_TYPE::AlphaNone:
            return "AlphaNone";
        case ENUM_ALPHA_TYPE::AlphaSimple:
            return "AlphaSimple";
        case ENUM_ALPHA_TYPE::AlphaComplex:
            return "AlphaComplex";
    }
    return "?";
}

bool SamePixels(const API32bppDIB& a, const API32bppDIB& b) {
    return a.Width() == b.Width() && a.Height() == b.Height() &&
           std::equal(a.Pixels().Bits(), a.Pixels().Bits() + a.Pixels().ByteSize(),
                      b.Pixels().Bits());
}

// The entries of an icon or cursor file, the one `loaded` came from marked.
// The reader does not say which entry it took; loading each entry by its
// own size and depth and comparing pixels finds it without repeating the
// reader's rules of choice here.
void Entries(const API32bppDIB& loaded, std::ostream& out) {
    std::vector<IconSize> sizes;
    loaded.SourceIconSizes(sizes);
    std::vector<uint8_t> original;
    loaded.GetOrginalFormat(original);
    out << "entries: " << sizes.size() << "\n";
    bool marked = false;
    for (size_t i = 0; i < sizes.size(); ++i) {
        const IconSize& size = sizes[i];
        API32bppDIB entry;
        const bool isLoaded = !marked &&
                              entry.LoadPicture_Stream(original, size.Width, size.Height, 0, 0,
                                                       false, size.BitDepth) &&
                              SamePixels(entry, loaded);
        marked = marked || isLoaded;
        out << "  " << i + 1 << ": " << size.Width << "x" << size.Height << ", " << size.BitDepth
            << " bits" << (isLoaded ? " (loaded)" : "") << "\n";
    }
}

void Info(std::span<const std::string> args, std::ostream& out) {
    static constexpr OptionSpec kSpecs[] = {{"--icon", "WxH[@BITS]"}};
    IconChoice icon;
    std::optional<std::string> path;
    for (const Token& token : ParseOptions(args, kSpecs)) {
        if (token.Is("--icon")) {
            icon = ParseIconChoice(token.value);
        } else if (path) {
            throw UsageError{"one FILE only ('" + token.value + "' is one too many)"};
        } else {
            path = token.value;
        }
    }
    if (!path) {
        throw UsageError{"name the FILE to describe"};
    }
    API32bppDIB surface;
    LoadPicture(*path, icon, surface, true);
    const TypeName& type = NameOf(surface.ImageType());
    out << "format:  " << type.container << "\n"
        << "type:    " << type.name << " (" << static_cast<int32_t>(type.type) << ")\n"
        << "size:    " << surface.Width() << "x" << surface.Height() << "\n"
        << "alpha:   " << NameOf(surface.Alpha()) << " (" << static_cast<int32_t>(surface.Alpha())
        << ")\n";
    if (type.container == "ICO" || type.container == "CUR") {
        Entries(surface, out);
    }
}

// --- Converting ------------------------------------------------------------

enum Format : unsigned { Png = 1, Gif = 2, Jpeg = 4, Bmp = 8, AnyFormat = 15 };

struct FormatName {
    std::string_view extension;
    Format format;
    std::string_view name;
};

constexpr std::array<FormatName, 5> kFormats = {{
    {"png", Png, "PNG"},
    {"gif", Gif, "GIF"},
    {"jpg", Jpeg, "JPEG"},
    {"jpeg", Jpeg, "JPEG"},
    {"bmp", Bmp, "BMP"},
}};

std::string_view NameOf(Format format) {
    for (const FormatName& f : kFormats) {
        if (f.format == format) {
            return f.name;
        }
    }
    return "?";
}

struct ConvertOption {
    OptionSpec spec;
    unsigned formats;  // Format bits the option applies to
    std::string_view help;
};

// Every option of `image convert`: the parser, the check against OUT's
// format and the help text all read this table.
const std::array<ConvertOption, 10> kConvertOptions = {{
    {{"--icon", "WxH[@BITS]"},
     AnyFormat,
     "which icon of an ICO or CUR file to read; 32x32@32 without it"},
    {{"--background", "RRGGBB"},
     AnyFormat,
     "colour laid under transparency: PNG, BMP and JPEG are flattened onto it\n"
     "(BMP and JPEG onto white without it); GIF lays the partly transparent\n"
     "pixels it keeps opaque onto it"},
    {{"--quality", "N"}, Jpeg, "1 (smallest file) to 100 (best picture); 90 without it"},
    {{"--chroma", "auto|444|420"},
     Jpeg,
     "colour samples per pixel: 444 all, 420 one per 2x2;\n"
     "auto takes 444 from quality 90 up"},
    {{"--palette", "adaptive|fixed"},
     Gif,
     "adaptive: colours chosen from the picture; fixed: a table of 251\n"
     "colours; adaptive without it"},
    {{"--tolerance", "N"},
     Gif,
     "pixels with alpha below N (0 to 256) become transparent, with 0 none;\n"
     "128 without it"},
    {{"--alpha", ""}, Bmp, "32-bit bitmap that keeps transparency (else 24-bit)"},
    {{"--text", "KEY=VALUE", true},
     Png,
     "a text entry: Title, Author, Description, Copyright, Creation Time,\n"
     "Software, Disclaimer, Warning, Source, Comment, or a keyword of your own"},
    {{"--modified", "DATE"}, Png, "last-modified time, dd/mm/yyyy [hh:mm:ss]"},
    {{"--viewer-background", "RRGGBB"},
     Png,
     "background colour suggested to viewers; the pixels stay as they are"},
}};

// What `image convert` was asked to do.
struct ConvertRequest {
    std::string in;
    std::string out;
    Format format = Png;
    IconChoice icon;
    std::optional<OLE_COLOR> background;
    uint8_t quality = APIJPGWriter::kDefaultQuality;
    JpegChroma chroma = JpegChroma::Auto;
    bool adaptivePalette = true;
    int32_t tolerance = APIGIFParser::kDefaultTolerance;
    bool bmpAlpha = false;
    std::vector<std::pair<std::string, std::string>> texts;  // keyword, value
    std::optional<Date> modified;
    std::optional<OLE_COLOR> viewerBackground;
};

Format FormatOf(const std::string& path) {
    const std::string extension = ExtensionOf(path);
    for (const FormatName& f : kFormats) {
        if (f.extension == extension) {
            return f.format;
        }
    }
    throw UsageError{"cannot tell what to write from '" + path +
                     "': OUT must end in .png, .gif, .jpg, .jpeg or .bmp"};
}

template <typename T>
T Choice(std::string_view what, std::string_view text,
         std::initializer_list<std::pair<std::string_view, T>> choices) {
    std::string listed;
    for (const auto& [word, value] : choices) {
        if (LCase(text) == word) {
            return value;
        }
        listed += (listed.empty() ? "" : ", ") + std::string(word);
    }
    throw UsageError{std::string(what) + ": '" + std::string(text) + "' is none of " + listed};
}

ConvertRequest ParseConvert(std::span<const std::string> args) {
    std::vector<OptionSpec> specs;
    for (const ConvertOption& option : kConvertOptions) {
        specs.push_back(option.spec);
    }
    const std::vector<Token> tokens = ParseOptions(args, specs);
    std::vector<std::string> files;
    for (const Token& token : tokens) {
        if (token.spec == nullptr) {
            files.push_back(token.value);
        }
    }
    if (files.size() != 2) {
        throw UsageError{"name IN and OUT (" + std::to_string(files.size()) + " file(s) given)"};
    }
    ConvertRequest request;
    request.in = files[0];
    request.out = files[1];
    request.format = FormatOf(request.out);

    for (const Token& token : tokens) {
        if (token.spec == nullptr) {
            continue;
        }
        const auto& option = kConvertOptions[static_cast<size_t>(token.spec - specs.data())];
        if ((option.formats & request.format) == 0) {
            throw UsageError{std::string(option.spec.name) + " does not apply to " +
                             std::string(NameOf(request.format)) + " files"};
        }
        const std::string_view name = option.spec.name;
        const std::string& value = token.value;
        if (name == "--icon") {
            request.icon = ParseIconChoice(value);
        } else if (name == "--background") {
            request.background = ParseColor(name, value);
        } else if (name == "--quality") {
            request.quality = static_cast<uint8_t>(ParseInteger(name, value, 1, 100));
        } else if (name == "--chroma") {
            request.chroma = Choice<JpegChroma>(name, value,
                                                {{"auto", JpegChroma::Auto},
                                                 {"444", JpegChroma::Full},
                                                 {"420", JpegChroma::Quarter}});
        } else if (name == "--palette") {
            request.adaptivePalette =
                Choice<bool>(name, value, {{"adaptive", true}, {"fixed", false}});
        } else if (name == "--tolerance") {
            request.tolerance = ParseInteger(name, value, 0, 256);
        } else if (name == "--alpha") {
            request.bmpAlpha = true;
        } else if (name == "--text") {
            const size_t equals = value.find('=');
            if (equals == std::string::npos) {
                throw UsageError{"--text: '" + value + "' has no '=' (write KEY=VALUE)"};
            }
            request.texts.emplace_back(value.substr(0, equals), value.substr(equals + 1));
        } else if (name == "--modified") {
            request.modified = CDate(value, Locale::PtBR());
            if (!request.modified) {
                throw UsageError{"--modified: '" + value + "' is not a date (dd/mm/yyyy)"};
            }
        } else if (name == "--viewer-background") {
            request.viewerBackground = ParseColor(name, value);
        }
    }

    if (request.format == Bmp && request.bmpAlpha && request.background) {
        throw UsageError{"--alpha keeps transparency and --background removes it: use one"};
    }
    // The GIF writer lays pixels over a colour only with its adaptive table
    // and with transparency on (alpha below 128) or off.
    if (request.format == Gif && request.background &&
        (!request.adaptivePalette || (request.tolerance != 0 && request.tolerance != 128))) {
        throw UsageError{
            "--background with GIF needs the adaptive palette and --tolerance 0 "
            "or 128"};
    }
    return request;
}

// The PNG text entries have fixed keywords; any other keyword is the
// writer's custom one.
int32_t TextProperty(std::string_view keyword) {
    static constexpr std::pair<std::string_view, ePngProperties> kKeywords[] = {
        {"title", ePngProperties::Title},
        {"author", ePngProperties::Author},
        {"description", ePngProperties::Description},
        {"copyright", ePngProperties::Copyright},
        {"creation time", ePngProperties::CreationTime},
        {"software", ePngProperties::Software},
        {"disclaimer", ePngProperties::Disclaimer},
        {"warning", ePngProperties::Warning},
        {"source", ePngProperties::Source},
        {"comment", ePngProperties::Comment},
    };
    const std::string folded = LCase(keyword);
    for (const auto& [word, property] : kKeywords) {
        if (folded == word) {
            return static_cast<int32_t>(property);
        }
    }
    return static_cast<int32_t>(ePngProperties::Custom);
}

void SetPngProperties(const ConvertRequest& request, API32bppDIB& surface) {
    for (const auto& [keyword, value] : request.texts) {
        const int32_t property = TextProperty(keyword);
        if (!surface.PngPropertySet(property, Variant(value), keyword)) {
            throw UsageError{"--text: a PNG cannot hold '" + keyword + "=" + value +
                             "' (keywords are 1 to 79 Latin-1 characters without doubled or "
                             "outer spaces; values valid UTF-8)"};
        }
    }
    if (request.modified &&
        !surface.PngPropertySet(static_cast<int32_t>(ePngProperties::LastModified),
                                Variant(*request.modified))) {
        throw UsageError{"--modified: a PNG cannot hold that date"};
    }
    if (request.viewerBackground) {
        surface.PngPropertySet(static_cast<int32_t>(ePngProperties::BackgroundColor),
                               Variant(static_cast<int32_t>(*request.viewerBackground)));
    }
}

std::vector<uint8_t> Encode(const ConvertRequest& request, API32bppDIB& surface) {
    // The writers take −1 (or a negative colour) for "no fill colour".
    const auto fill = [&](int32_t otherwise) {
        return request.background ? static_cast<int32_t>(*request.background) : otherwise;
    };
    std::vector<uint8_t> bytes;
    bool done = false;
    switch (request.format) {
        case Png:
            SetPngProperties(request, surface);
            done = surface.SaveToStream_PNG(bytes, fill(-1));
            break;
        case Gif:
            if (request.background) {
                done = APIGIFParser::SaveToStream(surface, bytes, fill(-1), request.tolerance != 0);
            } else {
                done = APIGIFParser().SaveAsGIF("", bytes, surface, request.adaptivePalette,
                                                request.tolerance);
            }
            break;
        case Jpeg: {
            APIJPGWriter writer;
            writer.SetChroma(request.chroma);
            done =
                writer.SaveJPG(surface, bytes, request.quality, fill(APIJPGWriter::kDefaultFill));
            break;
        }
        case Bmp:
            done = surface.SaveToStream_Bitmap(bytes, fill(0xFFFFFF), request.bmpAlpha);
            break;
        case AnyFormat:
            break;
    }
    if (!done) {
        throw CommandFailure{"the " + std::string(NameOf(request.format)) +
                             " writer could not write this picture"};
    }
    return bytes;
}

void Convert(std::span<const std::string> args, std::ostream& out) {
    const ConvertRequest request = ParseConvert(args);
    API32bppDIB surface;
    LoadPicture(request.in, request.icon, surface);
    WriteWholeFile(request.out, Encode(request, surface));
    out << "wrote " << request.out << " (" << NameOf(request.format) << ", " << surface.Width()
        << "x" << surface.Height() << ")\n";
}

}  // namespace

const std::vector<Command>& ImageCommands() {
    static const std::vector<Command> commands = {
        {"image", "info", "FILE [--icon WxH[@BITS]]", Info},
        {"image", "convert", "IN OUT [options]", Convert},
    };
    return commands;
}

void ConvertOptionsHelp(std::ostream& out) {
    for (const ConvertOption& option : kConvertOptions) {
        std::string head = "  " + std::string(option.spec.name);
        if (!option.spec.valueName.empty()) {
            head += " " + std::string(option.spec.valueName);
        }
        std::string formats;
        for (const Format format : {Png, Gif, Jpeg, Bmp}) {
            if (option.formats != AnyFormat && (option.formats & format) != 0) {
                formats += (formats.empty() ? "" : ",") + std::string(NameOf(format));
            }
        }
        head += std::string(std::max<size_t>(30 - head.size(), 1), ' ');
        head += formats.empty() ? "any format" : formats;
        out << head << "\n";
        std::istringstream lines{std::string(option.help)};
        for (std::string line; std::getline(lines, line);) {
            out << "      " << line << "\n";
        }
    }
}

}  // namespace kelvara::kvtool
