#include "kelvara/host/App.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "kelvara/base/Text.h"

namespace kelvara {

namespace {

namespace fs = std::filesystem;

std::string& TitleValue() {
    static std::string title;
    return title;
}

std::string& FolderOverride() {
    static std::string folder;
    return folder;
}

fs::path ExecutablePath() {
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    return error ? fs::path() : self;
}

fs::path ConfigFolder() {
    if (!FolderOverride().empty()) {
        return FolderOverride();
    }
#if defined(_WIN32)
    if (const char* appData = std::getenv("APPDATA")) {
        return fs::path(appData) / "kelvara";
    }
#elif defined(__APPLE__)
    if (const char* home = std::getenv("HOME")) {
        return fs::path(home) / "Library" / "Preferences" / "kelvara";
    }
#else
    if (const char* config = std::getenv("XDG_CONFIG_HOME"); config != nullptr && *config != 0) {
        return fs::path(config) / "kelvara";
    }
    if (const char* home = std::getenv("HOME")) {
        return fs::path(home) / ".config" / "kelvara";
    }
#endif
    return fs::temp_directory_path() / "kelvara";
}

// A file name from an application name: letters, digits and a few marks
// stay, anything else becomes "_", so no name can leave the folder.
std::string SafeName(std::string_view name) {
    std::string out;
    for (char c : name) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || c == '-' || c == '_' || c == ' ' || c == '.';
        // Lower case, so that application names match without regard to
        // case on every file system.
        out += !plain ? '_' : (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    }
    if (out.empty() || out.find_first_not_of('.') == std::string::npos) {
        out = "_" + out;
    }
    return out;
}

// Values are kept on one line: backslash, CR and LF are escaped.
std::string Escape(std::string_view text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '\\':
                out += "\\\\";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\n':
                out += "\\n";
                break;
            default:
                out += c;
        }
    }
    return out;
}

std::string Unescape(std::string_view text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) {
            const char next = text[++i];
            out += next == 'r' ? '\r' : next == 'n' ? '\n' : next;
        } else {
            out += text[i];
        }
    }
    return out;
}

// The file's sections in order, each with its keys in order. Names match
// without regard to case, as the host's settings do.
struct Settings {
    struct Section {
        std::string name;
        std::vector<std::pair<std::string, std::string>> values;
    };
    std::vector<Section> sections;

    Section* Find(std::string_view name) {
        for (auto& s : sections) {
            if (StrComp(s.name, name, CompareMethod::Text) == 0) {
                return &s;
            }
        }
        return nullptr;
    }
};

size_t UnescapedEquals(std::string_view line) {
    for (size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '\\') {
            ++i;
        } else if (line[i] == '=') {
            return i;
        }
    }
    return std::string_view::npos;
}

Settings Read(const fs::path& file) {
    Settings settings;
    std::ifstream in(file, std::ios::binary);
    std::string line;
    Settings::Section* current = nullptr;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (line.size() >= 2 && line.front() == '[' && line.back() == ']') {
            const std::string name = Unescape(line.substr(1, line.size() - 2));
            current = settings.Find(name);
            if (current == nullptr) {
                settings.sections.push_back({name, {}});
                current = &settings.sections.back();
            }
        } else if (const size_t eq = UnescapedEquals(line);
                   current != nullptr && eq != std::string::npos) {
            current->values.emplace_back(Unescape(line.substr(0, eq)),
                                         Unescape(line.substr(eq + 1)));
        }
    }
    return settings;
}

// Keys escape "=" and "]" too, so they read back whole.
std::string EscapeName(std::string_view name) {
    std::string out;
    for (char c : Escape(name)) {
        if (c == '=' || c == ']' || c == '[') {
            out += '\\';
        }
        out += c;
    }
    return out;
}

bool Write(const fs::path& file, const Settings& settings) {
    std::error_code error;
    fs::create_directories(file.parent_path(), error);
    const fs::path temporary = file.string() + ".tmp";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        if (!out) {
            return false;
        }
        for (const auto& section : settings.sections) {
            if (section.values.empty()) {
                continue;
            }
            out << '[' << EscapeName(section.name) << "]\n";
            for (const auto& [key, value] : section.values) {
                out << EscapeName(key) << '=' << Escape(value) << '\n';
            }
        }
        if (!out) {
            return false;
        }
    }
    // Replaced whole, so a crash never leaves half a file.
    fs::rename(temporary, file, error);
    return !error;
}

}  // namespace

std::string App::Title() {
    return TitleValue().empty() ? EXEName() : TitleValue();
}

void App::SetTitle(std::string value) {
    TitleValue() = std::move(value);
}

std::string App::EXEName() {
    return ExecutablePath().stem().string();
}

std::string App::Path() {
    return ExecutablePath().parent_path().string();
}

void App::SetSettingsFolder(std::string folder) {
    FolderOverride() = std::move(folder);
}

std::string App::SettingsFile(std::string_view appName) {
    return (ConfigFolder() / (SafeName(appName) + ".ini")).string();
}

std::string GetSetting(std::string_view appName, std::string_view section, std::string_view key,
                       std::string_view defaultValue) {
    Settings settings = Read(App::SettingsFile(appName));
    if (auto* s = settings.Find(section)) {
        for (const auto& [k, v] : s->values) {
            if (StrComp(k, key, CompareMethod::Text) == 0) {
                return v;
            }
        }
    }
    return std::string(defaultValue);
}

bool SaveSetting(std::string_view appName, std::string_view section, std::string_view key,
                 std::string_view setting) {
    const fs::path file = App::SettingsFile(appName);
    Settings settings = Read(file);
    Settings::Section* s = settings.Find(section);
    if (s == nullptr) {
        settings.sections.push_back({std::string(section), {}});
        s = &settings.sections.back();
    }
    for (auto& [k, v] : s->values) {
        if (StrComp(k, key, CompareMethod::Text) == 0) {
            v = std::string(setting);
            return Write(file, settings);
        }
    }
    s->values.emplace_back(std::string(key), std::string(setting));
    return Write(file, settings);
}

bool DeleteSetting(std::string_view appName, std::string_view section, std::string_view key) {
    const fs::path file = App::SettingsFile(appName);
    Settings settings = Read(file);
    Settings::Section* s = settings.Find(section);
    if (s == nullptr) {
        return true;
    }
    if (key.empty()) {
        s->values.clear();
    } else {
        std::erase_if(s->values, [&](const auto& entry) {
            return StrComp(entry.first, key, CompareMethod::Text) == 0;
        });
    }
    return Write(file, settings);
}

std::vector<std::pair<std::string, std::string>> GetAllSettings(std::string_view appName,
                                                                std::string_view section) {
    Settings settings = Read(App::SettingsFile(appName));
    if (auto* s = settings.Find(section)) {
        return s->values;
    }
    return {};
}

}  // namespace kelvara
