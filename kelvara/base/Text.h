#pragma once

// Text helpers with the host runtime's meaning, on UTF-8 strings. Every
// position and length counts characters (code points), 1-based where the
// runtime counts from 1. Malformed UTF-8 reads as one U+FFFD per bad byte.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kelvara {

enum class CompareMethod : int32_t { Binary = 0, Text = 1 };

// UTF-8 <-> code points.
std::u32string ToUtf32(std::string_view text);
std::string ToUtf8(std::u32string_view text);
std::string ChrW(char32_t c);
// First character's code point; 0 for an empty text.
char32_t AscW(std::string_view text);

int32_t Len(std::string_view text);
std::string Left(std::string_view text, int32_t length);
std::string Right(std::string_view text, int32_t length);
// start counts from 1; a start below 1 reads as 1; length -1 means the rest.
std::string Mid(std::string_view text, int32_t start, int32_t length = -1);

// 1-based position of find in text at or after start, 0 when absent. An
// empty find is found at start (when start is within text + 1).
int32_t InStr(std::string_view text, std::string_view find,
              CompareMethod compare = CompareMethod::Binary);
int32_t InStr(int32_t start, std::string_view text, std::string_view find,
              CompareMethod compare = CompareMethod::Binary);
// Searches backwards from start (-1: the end).
int32_t InStrRev(std::string_view text, std::string_view find, int32_t start = -1,
                 CompareMethod compare = CompareMethod::Binary);

std::string UCase(std::string_view text);
std::string LCase(std::string_view text);
char32_t UCaseChar(char32_t c);
char32_t LCaseChar(char32_t c);

// Remove blanks (U+0020 only), as the runtime does.
std::string Trim(std::string_view text);
std::string LTrim(std::string_view text);
std::string RTrim(std::string_view text);

std::string Space(int32_t count);
std::string String(int32_t count, char32_t c);

// The runtime's Replace: the result starts at start; count -1 replaces all.
std::string Replace(std::string_view expression, std::string_view find,
                    std::string_view replacement, int32_t start = 1, int32_t count = -1,
                    CompareMethod compare = CompareMethod::Binary);
// An empty expression gives no parts; an empty delimiter gives the whole
// expression as the one part; limit -1 means no limit.
std::vector<std::string> Split(std::string_view expression, std::string_view delimiter = " ",
                               int32_t limit = -1, CompareMethod compare = CompareMethod::Binary);
std::string Join(const std::vector<std::string>& parts, std::string_view delimiter = " ");

// -1, 0 or 1. Binary orders as UTF-16 code units do; Text ignores case and orders
// letters alphabetically with their accented forms next to them.
int32_t StrComp(std::string_view a, std::string_view b,
                CompareMethod compare = CompareMethod::Binary);

// The Like operator: * ? # [list] [!list] and ranges a-z inside lists.
bool Like(std::string_view text, std::string_view pattern,
          CompareMethod compare = CompareMethod::Binary);

// Each accented Latin letter of the validators' table (the acute, grave,
// circumflex, tilde, diaeresis and ring forms of A E I O U and the cedilla)
// becomes its plain letter; every other character, Ñ and ý among them, stays.
// Malformed UTF-8 comes back as U+FFFD per bad byte.
std::string RemoveAccents(std::string_view text);

// Letter and letter-or-digit tests over all of Unicode.
bool IsCharAlpha(char32_t c);
bool IsCharAlphaNumeric(char32_t c);

}  // namespace kelvara
