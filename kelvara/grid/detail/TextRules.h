#pragma once

// How the grid reads cell texts as numbers, dates and search keys. Shared by
// the totals, CellValue, FormatCells, the sorts and the filters.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelvara::detail {

// The grid's text-to-number rule: the host's number when the text is one
// above zero; "True" 1 and "False" 0; otherwise the digits, signs and
// separators of the text (with "&H"/"&O" and, for "&H", the letters A to F),
// read as a number; 0 when nothing reads.
double TextToNumber(std::string_view text);

// The sort key of a date cell: the date's serial, or 31/12/9999 23:59:59
// for a text that is not a date, so that those sort last ascending.
double DateKey(std::string_view text);
inline constexpr double kNoDateKey = 2958465.0 + 86399.0 / 86400.0;

// The filters' normal form: uppercase, accents removed.
std::string Normalise(std::string_view text);

bool IsAscii(std::string_view text);

}  // namespace kelvara::detail
