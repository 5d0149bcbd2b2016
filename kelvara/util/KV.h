#pragma once

// KV: the utility class that applications and controls call for Brazilian
// validators, date helpers and amounts in words. Every member is static, so
// both KV::IsValidEmail(...) and kv.IsValidEmail(...) read naturally.
//
// Validators never raise: bad input answers False or an empty text. The
// exception is NumberOfDaysOnMonth, which raises the host's "Type mismatch"
// (KelvaraError 13) for a month it cannot read, as the host would.

#include <cstdint>
#include <string>
#include <string_view>

#include "kelvara/base/Date.h"
#include "kelvara/frame/ThemeColor.h"
#include "kelvara/gfx/Canvas.h"
#include "kelvara/host/Win32.h"
#include "kelvara/util/DateFormats.h"

namespace kelvara {

class KV {
public:
    // Dates and times.
    static bool IsValidDate(std::string_view xDate, ENUM_DATE_FORMAT xFormat);
    static bool IsValidDateEx(std::string_view xDate,
                              ENUM_DATE_FORMAT xFormat = ENUM_DATE_FORMAT::ddSlashmmSlashyyyy);
    static bool IsValidTime(std::string_view xTime, std::string_view xDelimiter = ":");
    static std::string FormatAsDate(std::string_view xDate, std::string_view xFormat);
    static std::string FormatAsDateEx(std::string_view xDate,
                                      std::string_view xFormat = "DD/MM/YYYY");
    static int16_t CalculateAge(Date xBirthday);
    static bool IsYearLeap(int16_t xYear);
    static int32_t NumberOfDaysOnMonth(int16_t xMonth, int16_t xYear = 0);
    static std::string NameOfTheDay(Date xDate, bool xAbbreviated = false);

    // Documents and addresses.
    static bool IsValidCPFOrCNPJ(std::string_view xDocument);
    static bool IsValidEmail(std::string_view xEmail);
    static bool IsValidURL(std::string_view xUrl);
    static bool IsValidIP(std::string_view xIP);
    static bool IsValidFileName(std::string_view xFileName);

    // Text.
    static std::string RemoveAccents(std::string_view xString);
    static std::string ReturnNumbersOnly(std::string_view xString);
    static std::string ReturnTextsOnly(std::string_view xString);
    static std::string ReturnTextsAndNumbersOnly(std::string_view xString);
    static std::string GetStringContent(std::string_view xString, std::string_view xStringFrom,
                                        std::string_view xStringTo);
    static std::string FormatWithZeros(std::string_view xString, int16_t xNumberOfZeros);
    static std::string FormatFileSizeEx(double xValue);

    // Colours and drawing.
    // A two-colour gradient rectangle on a canvas (directions: 0 left to
    // right, 1 top to bottom, 2 and 3 the diagonals).
    static void PaintAsGradient(Canvas* xHDC, int32_t XX, int32_t xY, int32_t xWidth,
                                int32_t xHeight, int32_t xColorFrom, int32_t xColorTo,
                                int32_t xGradientDirection);
    // Adds the shift to each channel, clamped to 0..255; negative darkens.
    static int32_t ShiftRGBColor(int32_t xColor, int16_t xShiftValue);

    // Windows and themes.
    // Batches a whole window's painting: WM_SETREDRAW 0 stops it; 1 starts
    // it again and repaints the window and its children at once.
    static void SetWindowRedraw(HWND xHWND, bool xEnabled);
    // The theme message boxes use (7, Windows Theme Light, at start).
    static void SetDefautlToolkitTheme(ENUM_THEME xTheme);

    // Amounts in words.
    static std::string CurrencyAsStr(double xValue,
                                     std::string_view xSingularCurrencyCountry = "real",
                                     std::string_view xPluralCurrencyCountry = "reais",
                                     std::string_view xSingularDecimalCountry = "centavo",
                                     std::string_view xPluralDecimalCountry = "centavos");
};

}  // namespace kelvara
