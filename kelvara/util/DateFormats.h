#pragma once

#include <cstdint>
#include <string>

namespace kelvara {

// The date layouts the validators and date fields know, numbered as stored
// in forms. Each member's text is its name with the separators spelled out
// (Slash "/", Dash "-", Dot "."), in lower case: DateFormatText.
enum class ENUM_DATE_FORMAT : int32_t {
    YYYYSlashMMSlashDD = 0,
    ddSlashmmSlashyyyy = 1,
    MMSlashDDSlashYYYY = 2,
    DDSlashMMSlashYY = 3,
    DDDashMMDashYYYY = 4,
    DDDotMMDotYYYY = 5,
    DDDashMMDashYY = 6,
    DDDotMMDotYY = 7,
    DSlashMSlashYYYY = 8,
    DDashMDashYYYY = 9,
    DDotMDotYYYY = 10,
    DSlashMSlashYY = 11,
    DDashMDashYY = 12,
    DDotMDotYY = 13,
    MMDashDDDashYYYY = 14,
    MMDotDDDotYYYY = 15,
    MMSlashDDSlashYY = 16,
    MMDashDDDashYY = 17,
    MMDotDDDotYY = 18,
    MSlashDSlashYYYY = 19,
    MDashDDashYYYY = 20,
    MDotDDotYYYY = 21,
    MSlashDSlashYY = 22,
    MDashDDashYY = 23,
    MDotDDotYY = 24,
    yyyyDashmmDashdd = 25,
    YYYYDotMMDotDD = 26,
    YYSlashMMSlashDD = 27,
    YYDashMMDashDD = 28,
    YYDotMMDotDD = 29,
    YYYYSlashMSlashD = 30,
    YYYYDashMDashD = 31,
    YYYYDotMDotD = 32,
    YYSlashMSlashD = 33,
    YYDashMDashD = 34,
    YYDotMDotD = 35,
    DDSlashMM = 36,
    DDDashMM = 37,
    DDDotMM = 38,
    DSlashMM = 39,
    DDashMM = 40,
    DDotMM = 41,
    DSlashM = 42,
    DDotM = 43,
    DDashM = 44,
    MMSlashDD = 45,
    MMDashDD = 46,
    MMDotDD = 47,
    MSlashDD = 48,
    MDashDD = 49,
    MDotDD = 50,
    MSlashD = 51,
    MDotD = 52,
    MDashD = 53,
    MMSlashYYYY = 54,
    MMDashYYYY = 55,
    MMDotYYYY = 56,
    MSlashYYYY = 57,
    MDashYYYY = 58,
    MDotYYYY = 59,
    MMSlashYY = 60,
    MMDashYY = 61,
    MMDotYY = 62,
    MSlashYY = 63,
    MDashYY = 64,
    MDotYY = 65,
    YYYYSlashMM = 66,
    YYYYDashMM = 67,
    YYYYDotMM = 68,
    YYYYSlashM = 69,
    YYYYDashM = 70,
    YYYYDotM = 71,
    YYSlashMM = 72,
    YYDashMM = 73,
    YYDotMM = 74,
    YYSlashM = 75,
    YYDashM = 76,
    YYDotM = 77,
};

// "yyyy/mm/dd" for 0 ... "yy.m" for 77; an empty text for other values.
std::string DateFormatText(int32_t value);
inline std::string DateFormatText(ENUM_DATE_FORMAT value) {
    return DateFormatText(static_cast<int32_t>(value));
}

}  // namespace kelvara
