#pragma once

// The text, date and document checks behind KV. Pure functions over text and
// dates: nothing here touches a window.

#include <cstdint>
#include <string>
#include <string_view>

#include "kelvara/base/Date.h"

namespace kelvara::modParsers {

// "/", "-" or "." (the first found in that order of preference), or "".
std::string DateSeparator(std::string_view text);

bool IsValidDate(std::string_view xDate, int32_t xFormat);
bool IsValidTime(std::string_view xTime, std::string_view xDelimiter);
std::string FormatAsDate(std::string_view xDate, std::string_view xFormat);

bool IsValidCPFOrCNPJ(std::string_view xDocument);
bool IsValidEmail(std::string_view xEmail);
bool IsValidURL(std::string_view xUrl);
bool IsValidIP(std::string_view xIP);
bool IsValidFileName(std::string_view xFileName);

std::string RemoveAccents(std::string_view xString);
std::string ReturnNumbersOnly(std::string_view xString);
// ReturnNumbersOnly that keeps "-" too, for signed numbers.
std::string ReturnNumbersAndMinusOnly(std::string_view xString);
std::string ReturnTextsOnly(std::string_view xString);
std::string ReturnTextsAndNumbersOnly(std::string_view xString);
std::string GetStringContent(std::string_view xString, std::string_view xStringFrom,
                             std::string_view xStringTo);
std::string FormatWithZeros(std::string_view xString, int16_t xNumberOfZeros);

int16_t CalculateAge(Date xBirthday);
bool IsYearLeap(int32_t xYear);
int32_t NumberOfDaysOnMonth(int16_t xMonth, int16_t xYear);
std::string NameOfTheDay(Date xDate, bool xAbbreviated);
std::string FormatFileSizeEx(double xValue);

}  // namespace kelvara::modParsers
