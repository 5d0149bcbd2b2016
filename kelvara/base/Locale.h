#pragma once

#include <array>
#include <string>

namespace kelvara {

enum class DateOrder { DayMonthYear, MonthDayYear, YearMonthDay };

// The machine's regional settings, as far as parsing and formatting numbers
// and dates need them. The default is Brazilian Portuguese.
struct Locale {
    std::string name;
    std::string decimalSymbol;
    std::string groupSymbol;
    std::string currencySymbol;
    std::string dateSeparator;
    std::string timeSeparator;
    DateOrder dateOrder = DateOrder::DayMonthYear;
    // Patterns in the runtime's own Format syntax.
    std::string shortDateFormat;
    std::string mediumDateFormat;
    std::string longDateFormat;
    std::string shortTimeFormat;
    std::string mediumTimeFormat;
    std::string longTimeFormat;
    std::string currencyFormat;
    std::string amSymbol;
    std::string pmSymbol;
    std::string trueText;
    std::string falseText;
    std::array<std::string, 12> monthNames;
    std::array<std::string, 12> monthAbbreviations;
    std::array<std::string, 7> dayNames;  // Sunday first
    std::array<std::string, 7> dayAbbreviations;

    static const Locale& PtBR();
    static const Locale& EnUS();

    // The locale that every call without an explicit one uses.
    static const Locale& Current();
    static void SetCurrent(const Locale& locale);
};

// Switches the current locale for the lifetime of the scope.
class [[nodiscard]] LocaleScope {
public:
    explicit LocaleScope(const Locale& locale);
    ~LocaleScope();
    LocaleScope(const LocaleScope&) = delete;
    LocaleScope& operator=(const LocaleScope&) = delete;

private:
    Locale saved;
};

}  // namespace kelvara
