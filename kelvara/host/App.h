#pragma once

// App: the running program as the host describes it (its title and name),
// and its settings: GetSetting, SaveSetting, DeleteSetting and
// GetAllSettings keep values per application, section and key in a small
// text file of the application's own under the user's configuration folder
// ($XDG_CONFIG_HOME or ~/.config on Linux, %APPDATA% on Windows,
// ~/Library/Preferences on macOS), in "kelvara/<application>.ini".

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvara {

class App {
public:
    // The program's title; the executable's name until set.
    static std::string Title();
    static void SetTitle(std::string value);
    static std::string EXEName();
    // The folder the executable lives in.
    static std::string Path();

    // Where settings are kept; a test may point it somewhere else (an empty
    // folder restores the default).
    static void SetSettingsFolder(std::string folder);
    static std::string SettingsFile(std::string_view appName);
};

// The stored value, or `defaultValue` when there is none.
std::string GetSetting(std::string_view appName, std::string_view section, std::string_view key,
                       std::string_view defaultValue = "");
// False when the file cannot be written.
bool SaveSetting(std::string_view appName, std::string_view section, std::string_view key,
                 std::string_view setting);
// Removes one key, or the whole section when key is empty.
bool DeleteSetting(std::string_view appName, std::string_view section, std::string_view key = "");
std::vector<std::pair<std::string, std::string>> GetAllSettings(std::string_view appName,
                                                                std::string_view section);

}  // namespace kelvara
