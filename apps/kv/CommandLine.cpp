#include "CommandLine.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

namespace kelvara::kvtool {

namespace {

const OptionSpec* FindSpec(std::span<const OptionSpec> specs, std::string_view name) {
    for (const OptionSpec& spec : specs) {
        if (spec.name == name) {
            return &spec;
        }
    }
    return nullptr;
}

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

std::string SystemReason() {
    return std::strerror(errno);
}

}  // namespace

std::vector<Token> ParseOptions(std::span<const std::string> args,
                                std::span<const OptionSpec> specs) {
    std::vector<Token> tokens;
    bool optionsEnded = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || !arg.starts_with("-") || arg == "-") {
            tokens.push_back({nullptr, arg});
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        const size_t equals = arg.find('=');
        const std::string_view name = std::string_view(arg).substr(0, equals);
        const OptionSpec* spec = FindSpec(specs, name);
        if (spec == nullptr) {
            throw UsageError{"unknown option '" + std::string(name) + "'"};
        }
        const bool taken = std::any_of(tokens.begin(), tokens.end(),
                                       [&](const Token& t) { return t.spec == spec; });
        if (taken && !spec->repeatable) {
            throw UsageError{std::string(name) + " is given twice"};
        }
        Token token{spec, {}};
        if (spec->valueName.empty()) {
            if (equals != std::string::npos) {
                throw UsageError{std::string(name) + " takes no value"};
            }
        } else if (equals != std::string::npos) {
            token.value = arg.substr(equals + 1);
        } else if (i + 1 < args.size()) {
            token.value = args[++i];
        } else {
            throw UsageError{std::string(name) + " needs a value (" + std::string(spec->valueName) +
                             ")"};
        }
        tokens.push_back(std::move(token));
    }
    return tokens;
}

int32_t ParseInteger(std::string_view what, std::string_view text, int32_t low, int32_t high) {
    int64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, ec] = std::from_chars(text.data(), end, value);
    if (text.empty() || ec != std::errc() || stop != end) {
        throw UsageError{std::string(what) + ": '" + std::string(text) + "' is not a whole number"};
    }
    if (value < low || value > high) {
        throw UsageError{std::string(what) + ": " + std::string(text) + " is out of range (" +
                         std::to_string(low) + " to " + std::to_string(high) + ")"};
    }
    return static_cast<int32_t>(value);
}

OLE_COLOR ParseColor(std::string_view what, std::string_view text) {
    std::string_view digits = text;
    if (digits.starts_with('#')) {
        digits.remove_prefix(1);
    }
    uint32_t rgb = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, ec] = std::from_chars(digits.data(), end, rgb, 16);
    const bool hexOnly = std::all_of(digits.begin(), digits.end(),
                                     [](char c) { return std::isxdigit(static_cast<uint8_t>(c)); });
    if (digits.size() != 6 || !hexOnly || ec != std::errc() || stop != end) {
        throw UsageError{std::string(what) + ": '" + std::string(text) +
                         "' is not a colour (write RRGGBB, as ff8000 for orange)"};
    }
    // Web pages write red first; the library keeps red in the low byte.
    return (rgb >> 16 & 0xFF) | (rgb & 0xFF00) | (rgb & 0xFF) << 16;
}

PixelSize ParseSize(std::string_view what, std::string_view text, int32_t limit) {
    size_t at = text.find_first_of("xX");
    size_t separator = 1;
    if (const size_t times = text.find("×"); at == std::string_view::npos) {
        at = times;
        separator = std::string_view("×").size();
    }
    if (at == std::string_view::npos) {
        throw UsageError{std::string(what) + ": '" + std::string(text) +
                         "' is not a size (write WxH, as 16x16)"};
    }
    const std::string side = std::string(what) + " " + std::string(text);
    return {ParseInteger(side, text.substr(0, at), 1, limit),
            ParseInteger(side, text.substr(at + separator), 1, limit)};
}

std::vector<uint8_t> ReadWholeFile(const std::string& path) {
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) {
        throw CommandFailure{"'" + path + "' is a folder, not a file"};
    }
    File file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        throw CommandFailure{"cannot open '" + path + "': " + SystemReason()};
    }
    const uint64_t size = std::filesystem::file_size(path, ec);
    if (ec) {
        throw CommandFailure{"cannot read '" + path + "': " + ec.message()};
    }
    if (size > kMaxInputBytes) {
        throw CommandFailure{"'" + path + "' is too large (" + std::to_string(size) +
                             " bytes; at most " + std::to_string(kMaxInputBytes) + ")"};
    }
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    if (std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
        throw CommandFailure{"cannot read '" + path + "': " + SystemReason()};
    }
    return bytes;
}

void WriteWholeFile(const std::string& path, std::span<const uint8_t> bytes) {
    File file(std::fopen(path.c_str(), "wb"));
    if (!file) {
        throw CommandFailure{"cannot write '" + path + "': " + SystemReason()};
    }
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    const bool closed = std::fclose(file.release()) == 0;
    if (!written || !closed) {
        const std::string reason = SystemReason();
        // A cut-short file would pass for a damaged picture later.
        std::remove(path.c_str());
        throw CommandFailure{"cannot write '" + path + "': " + reason};
    }
}

std::string ExtensionOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    if (!extension.empty()) {
        extension.erase(0, 1);
    }
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return extension;
}

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<uint8_t>(c);
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += c;
        } else if (byte < 0x20 || byte == 0x7F) {
            static constexpr char kHex[] = "0123456789abcdef";
            quoted += "\\x";
            quoted += kHex[byte >> 4];
            quoted += kHex[byte & 15];
        } else {
            quoted += c;
        }
    }
    return quoted + "\"";
}

}  // namespace kelvara::kvtool
