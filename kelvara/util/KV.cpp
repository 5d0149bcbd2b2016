#include "kelvara/util/KV.h"

#include "kelvara/frame/ColorRoutines.h"
#include "kelvara/frame/ControlPatterns.h"
#include "kelvara/frame/DrawGradient.h"
#include "kelvara/host/WindowCore.h"
#include "kelvara/util/modExtenso.h"
#include "kelvara/util/modParsers.h"

namespace kelvara {

bool KV::IsValidDate(std::string_view xDate, ENUM_DATE_FORMAT xFormat) {
    return modParsers::IsValidDate(xDate, static_cast<int32_t>(xFormat));
}

bool KV::IsValidDateEx(std::string_view xDate, ENUM_DATE_FORMAT xFormat) {
    return modParsers::IsValidDate(xDate, static_cast<int32_t>(xFormat));
}

bool KV::IsValidTime(std::string_view xTime, std::string_view xDelimiter) {
    return modParsers::IsValidTime(xTime, xDelimiter);
}

std::string KV::FormatAsDate(std::string_view xDate, std::string_view xFormat) {
    return modParsers::FormatAsDate(xDate, xFormat);
}

std::string KV::FormatAsDateEx(std::string_view xDate, std::string_view xFormat) {
    return modParsers::FormatAsDate(xDate, xFormat);
}

int16_t KV::CalculateAge(Date xBirthday) {
    return modParsers::CalculateAge(xBirthday);
}

bool KV::IsYearLeap(int16_t xYear) {
    return modParsers::IsYearLeap(xYear);
}

int32_t KV::NumberOfDaysOnMonth(int16_t xMonth, int16_t xYear) {
    return modParsers::NumberOfDaysOnMonth(xMonth, xYear);
}

std::string KV::NameOfTheDay(Date xDate, bool xAbbreviated) {
    return modParsers::NameOfTheDay(xDate, xAbbreviated);
}

bool KV::IsValidCPFOrCNPJ(std::string_view xDocument) {
    return modParsers::IsValidCPFOrCNPJ(xDocument);
}

bool KV::IsValidEmail(std::string_view xEmail) {
    return modParsers::IsValidEmail(xEmail);
}

bool KV::IsValidURL(std::string_view xUrl) {
    return modParsers::IsValidURL(xUrl);
}

bool KV::IsValidIP(std::string_view xIP) {
    return modParsers::IsValidIP(xIP);
}

bool KV::IsValidFileName(std::string_view xFileName) {
    return modParsers::IsValidFileName(xFileName);
}

void KV::PaintAsGradient(Canvas* xHDC, int32_t XX, int32_t xY, int32_t xWidth, int32_t xHeight,
                         int32_t xColorFrom, int32_t xColorTo, int32_t xGradientDirection) {
    DrawGradient(xHDC, XX, xY, xWidth, xHeight, xColorFrom, xColorTo, xGradientDirection);
}

int32_t KV::ShiftRGBColor(int32_t xColor, int16_t xShiftValue) {
    return kelvara::ShiftRGBColor(xColor, xShiftValue);
}

void KV::SetWindowRedraw(HWND xHWND, bool xEnabled) {
    SendMessage(xHWND, WM_SETREDRAW, xEnabled ? 1 : 0, 0);
    if (xEnabled) {
        // 389: invalidate, erase, all children, update now.
        RedrawWindow(xHWND, nullptr, nullptr,
                     RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    }
}

void KV::SetDefautlToolkitTheme(ENUM_THEME xTheme) {
    SetDefaultTheme(xTheme);
}

std::string KV::RemoveAccents(std::string_view xString) {
    return modParsers::RemoveAccents(xString);
}

std::string KV::ReturnNumbersOnly(std::string_view xString) {
    return modParsers::ReturnNumbersOnly(xString);
}

std::string KV::ReturnTextsOnly(std::string_view xString) {
    return modParsers::ReturnTextsOnly(xString);
}

std::string KV::ReturnTextsAndNumbersOnly(std::string_view xString) {
    return modParsers::ReturnTextsAndNumbersOnly(xString);
}

std::string KV::GetStringContent(std::string_view xString, std::string_view xStringFrom,
                                 std::string_view xStringTo) {
    return modParsers::GetStringContent(xString, xStringFrom, xStringTo);
}

std::string KV::FormatWithZeros(std::string_view xString, int16_t xNumberOfZeros) {
    return modParsers::FormatWithZeros(xString, xNumberOfZeros);
}

std::string KV::FormatFileSizeEx(double xValue) {
    return modParsers::FormatFileSizeEx(xValue);
}

std::string KV::CurrencyAsStr(double xValue, std::string_view xSingularCurrencyCountry,
                              std::string_view xPluralCurrencyCountry,
                              std::string_view xSingularDecimalCountry,
                              std::string_view xPluralDecimalCountry) {
    return modExtenso::CurrencyAsStr(xValue, xSingularCurrencyCountry, xPluralCurrencyCountry,
                                     xSingularDecimalCountry, xPluralDecimalCountry);
}

}  // namespace kelvara
