#pragma once

// What the image commands of kv share: the two ways a command ends early,
// the splitting of a command line by a table of options, and the syntax of
// the values those options take (sizes, colours, whole numbers).

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kelvara/image/ImageTypes.h"

namespace kelvara::kvtool {

// A wrong command line: reported with the command's usage, exit code 2.
struct UsageError {
    std::string message;
};

// A command that could not do its work (unreadable input, unwritable
// output, an error raised by the library): exit code 1.
struct CommandFailure {
    std::string message;
};

struct OptionSpec {
    std::string_view name;       // with its dashes: "--quality"
    std::string_view valueName;  // shown in help ("N"); empty for a switch
    bool repeatable = false;
};

// One item of a command line, in the order given: an option with its value
// (empty for a switch), or a plain argument (spec null).
struct Token {
    const OptionSpec* spec = nullptr;
    std::string value;

    bool Is(std::string_view name) const { return spec != nullptr && spec->name == name; }
};

// Splits `args` by `specs`. "--name value" and "--name=value" both work, and
// "--" makes everything after it a plain argument (for files named "-x").
// An unknown option, a missing value, a value given to a switch and a
// second use of an option that is not repeatable are usage errors.
std::vector<Token> ParseOptions(std::span<const std::string> args,
                                std::span<const OptionSpec> specs);

// A whole number from `low` to `high`; `what` names it in the message.
int32_t ParseInteger(std::string_view what, std::string_view text, int32_t low, int32_t high);

// "RRGGBB" or "#RRGGBB", as web pages write colours, to the library's
// 0x00BBGGRR.
OLE_COLOR ParseColor(std::string_view what, std::string_view text);

struct PixelSize {
    int32_t width = 0;
    int32_t height = 0;
};

// "WxH" (or "W×H"), each side from 1 to `limit`.
PixelSize ParseSize(std::string_view what, std::string_view text, int32_t limit);

// Files larger than this are refused instead of read into memory: no
// picture or image list a form uses comes near it.
inline constexpr uint64_t kMaxInputBytes = uint64_t{256} << 20;

// The whole file; a CommandFailure that says why when it cannot be read.
std::vector<uint8_t> ReadWholeFile(const std::string& path);
// Writes the file in one go; a CommandFailure that says why when it cannot.
void WriteWholeFile(const std::string& path, std::span<const uint8_t> bytes);

// The file name's extension without its dot, in lower case ASCII; empty
// when there is none.
std::string ExtensionOf(const std::string& path);

// `text` in double quotes, with quotes, backslashes and control characters
// escaped, so that empty and blank-filled keys show.
std::string Quoted(std::string_view text);

}  // namespace kelvara::kvtool
