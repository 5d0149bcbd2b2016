#include "kelvara/base/FormFile.h"

// Reading: ReadFormFile → Reader::Run, one line at a time → ReadVersion,
// ReadBegin, ReadEnd, ReadBeginProperty, ReadEndProperty or ReadProperty →
// ParseValue → ParseStringExpression / ParseNumber / ParseDate, and for a
// byte array ReadBase64 over the lines that follow.
// Writing: WriteFormFile → Writer::Object → Writer::Bag → Writer::Value →
// WriteString / WriteDouble / WriteDate / WriteBytes.
//
// The format, and what reading does with malformed text, is described in
// FormFile.h.

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <unordered_map>
#include <utility>

namespace kelvara {

namespace {

// --- Shared by reader and writer -------------------------------------------

constexpr std::string_view kVersionLine = "VERSION 5.00";
constexpr std::string_view kFontClassId = "{0BE35203-8F91-11CE-9DE3-00AA004BB851}";
constexpr int32_t kKeyField = 16;      // a key is padded to this many columns
constexpr size_t kBase64PerLine = 76;  // base64 characters on one line
constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kKeywords[] = {"Begin", "End", "BeginProperty", "EndProperty"};

char AsciiLower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}

bool SameWord(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (AsciiLower(a[i]) != AsciiLower(b[i])) {
            return false;
        }
    }
    return true;
}

bool ContainsWord(std::string_view text, std::string_view word) {
    for (size_t i = 0; i + word.size() <= text.size(); ++i) {
        if (SameWord(text.substr(i, word.size()), word)) {
            return true;
        }
    }
    return false;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsIdentifierStart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool IsIdentifierChar(char c) {
    return IsIdentifierStart(c) || IsDigit(c);
}

bool IsKeyword(std::string_view word) {
    for (const std::string_view keyword : kKeywords) {
        if (SameWord(word, keyword)) {
            return true;
        }
    }
    return false;
}

// A name that can be written without quotes: identifiers, joined by dots
// when allowDots, and none of the words that start a line.
bool IsPlainName(std::string_view name, bool allowDots) {
    bool atStart = true;
    for (const char c : name) {
        if (atStart ? !IsIdentifierStart(c) : !(IsIdentifierChar(c) || (allowDots && c == '.'))) {
            return false;
        }
        atStart = allowDots && c == '.';
    }
    return !name.empty() && !atStart && !IsKeyword(name);
}

// Days of a date serial and seconds of its time, as a serial. Before the
// serial's day 0 the day counts backwards while the time still runs forwards.
// Reader and writer both compute a literal's serial here, so that a literal
// is written only when it gives back the very same bits.
double SerialFromParts(int64_t day, int32_t seconds) {
    const double time = seconds / 86400.0;
    return day >= 0 ? static_cast<double>(day) + time : static_cast<double>(day) - time;
}

constexpr int64_t kSerialDayZero = -25569;  // 30 December 1899, in days since 1 January 1970

struct DateTimeParts {
    int32_t year, month, day, hour, minute, second;
};

std::optional<int64_t> DayFromCivil(int32_t year, int32_t month, int32_t day) {
    const std::chrono::year_month_day date{std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    if (!date.ok()) {
        return std::nullopt;
    }
    return std::chrono::sys_days(date).time_since_epoch().count() - kSerialDayZero;
}

// The calendar date and whole-second time of a serial, when writing them as
// a literal reads back to exactly this serial.
std::optional<DateTimeParts> SplitSerial(double serial) {
    if (!(std::fabs(serial) < 4.0e6)) {
        return std::nullopt;
    }
    const double day = std::trunc(serial);
    const double seconds = std::round(std::fabs(serial - day) * 86400.0);
    if (seconds >= 86400.0) {
        return std::nullopt;
    }
    const auto dayNumber = static_cast<int64_t>(day);
    const auto secondNumber = static_cast<int32_t>(seconds);
    if (std::bit_cast<uint64_t>(SerialFromParts(dayNumber, secondNumber)) !=
        std::bit_cast<uint64_t>(serial)) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{
        std::chrono::sys_days(std::chrono::days(dayNumber + kSerialDayZero))};
    const int32_t year = static_cast<int32_t>(date.year());
    if (year < 100 || year > 9999) {
        return std::nullopt;
    }
    return DateTimeParts{year,
                         static_cast<int32_t>(static_cast<unsigned>(date.month())),
                         static_cast<int32_t>(static_cast<unsigned>(date.day())),
                         secondNumber / 3600,
                         secondNumber / 60 % 60,
                         secondNumber % 60};
}

// Length of the well-formed UTF-8 sequence at text[i], 0 if there is none.
size_t Utf8Length(std::string_view text, size_t i) {
    const auto byte = [&](size_t k) { return static_cast<uint8_t>(text[k]); };
    const uint8_t lead = byte(i);
    size_t length = 0;
    uint8_t low = 0x80;
    uint8_t high = 0xBF;
    if (lead < 0x80) {
        return 1;
    } else if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        low = lead == 0xE0 ? 0xA0 : 0x80;   // no overlong forms
        high = lead == 0xED ? 0x9F : 0xBF;  // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        low = lead == 0xF0 ? 0x90 : 0x80;
        high = lead == 0xF4 ? 0x8F : 0xBF;  // nothing above U+10FFFF
    } else {
        return 0;
    }
    if (i + length > text.size() || byte(i + 1) < low || byte(i + 1) > high) {
        return 0;
    }
    for (size_t k = i + 2; k < i + length; ++k) {
        if (byte(k) < 0x80 || byte(k) > 0xBF) {
            return 0;
        }
    }
    return length;
}

// --- Reading -----------------------------------------------------------------

struct Fault {
    FormFileErrorCode code;
    std::string message;
};

template <typename T>
using Parsed = Result<T, Fault>;

Failure<Fault> Refuse(FormFileErrorCode code, std::string message) {
    return Fail(Fault{code, std::move(message)});
}

// Input quoted in a message, cut short so that a long line makes a short
// message.
std::string Quote(std::string_view text) {
    constexpr size_t kMost = 40;
    if (text.size() <= kMost) {
        return "'" + std::string(text) + "'";
    }
    size_t cut = kMost;
    while (cut > 0 && (static_cast<uint8_t>(text[cut]) & 0xC0) == 0x80) {
        --cut;  // not inside a UTF-8 sequence
    }
    return "'" + std::string(text.substr(0, cut)) + "...'";
}

// A character for a message: 'x', or its byte value when it does not print.
std::string Describe(char c) {
    const auto byte = static_cast<uint8_t>(c);
    if (byte > 0x20 && byte < 0x7F) {
        return std::string("'") + c + "'";
    }
    return "byte " + std::to_string(byte);
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string_view TrimBlanks(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// A position in one line.
struct Cursor {
    std::string_view text;
    size_t pos = 0;

    bool AtEnd() const { return pos >= text.size(); }
    char Peek() const { return AtEnd() ? '\0' : text[pos]; }
    std::string_view Rest() const { return text.substr(pos); }
    void SkipBlanks() {
        while (!AtEnd() && IsBlank(text[pos])) {
            ++pos;
        }
    }
    bool Take(char c) {
        if (Peek() != c || AtEnd()) {
            return false;
        }
        ++pos;
        return true;
    }
    std::string_view Identifier() {
        const size_t start = pos;
        if (IsIdentifierStart(Peek())) {
            while (!AtEnd() && IsIdentifierChar(text[pos])) {
                ++pos;
            }
        }
        return text.substr(start, pos - start);
    }
    // Nothing left but blanks and a comment.
    bool AtLineEnd() {
        SkipBlanks();
        return AtEnd() || Peek() == '\'';
    }
};

bool IsStringPiece(std::string_view word) {
    for (const std::string_view piece : {"vbCrLf", "vbCr", "vbLf", "vbTab", "Chr", "ChrB"}) {
        if (SameWord(word, piece)) {
            return true;
        }
    }
    return false;
}

// "..." & vbCrLf & Chr(7) & ...: the pieces of one string joined by "&".
Parsed<std::string> ParseStringExpression(Cursor& c) {
    std::string value;
    while (true) {
        if (c.Take('"')) {
            while (true) {
                const size_t quote = c.text.find('"', c.pos);
                if (quote == std::string_view::npos) {
                    return Refuse(FormFileErrorCode::UnterminatedString,
                                  "string has no closing quote mark");
                }
                value.append(c.text.substr(c.pos, quote - c.pos));
                c.pos = quote + 1;
                if (!c.Take('"')) {
                    break;
                }
                value.push_back('"');
            }
        } else {
            const size_t wordStart = c.pos;
            const std::string_view word = c.Identifier();
            if (SameWord(word, "vbCrLf")) {
                value.append("\r\n");
            } else if (SameWord(word, "vbCr")) {
                value.push_back('\r');
            } else if (SameWord(word, "vbLf")) {
                value.push_back('\n');
            } else if (SameWord(word, "vbTab")) {
                value.push_back('\t');
            } else if (SameWord(word, "Chr") || SameWord(word, "ChrB")) {
                const int32_t most = SameWord(word, "Chr") ? 127 : 255;
                c.SkipBlanks();
                bool ok = c.Take('(');
                c.SkipBlanks();
                int32_t code = 0;
                size_t digits = 0;
                while (IsDigit(c.Peek())) {
                    code = std::min(code * 10 + (c.Peek() - '0'), 1000);
                    ++c.pos;
                    ++digits;
                }
                c.SkipBlanks();
                ok = ok && digits > 0 && c.Take(')');
                if (!ok || code > most) {
                    return Refuse(FormFileErrorCode::BadString,
                                  std::string(word) + "(n) with n from 0 to " +
                                      std::to_string(most) + " expected");
                }
                value.push_back(static_cast<char>(code));
            } else {
                c.pos = wordStart;
                return Refuse(FormFileErrorCode::BadString,
                              "string piece expected at " + Quote(c.Rest()));
            }
        }
        const size_t afterPiece = c.pos;
        c.SkipBlanks();
        if (!c.Take('&')) {
            c.pos = afterPiece;
            return value;
        }
        c.SkipBlanks();
    }
}

// A type name (dotted), name or key: an identifier or a quoted string.
Parsed<std::string> ParseName(Cursor& c, bool allowDots, std::string_view what) {
    if (c.Peek() == '"') {
        return ParseStringExpression(c);
    }
    const size_t start = c.pos;
    while (true) {
        if (c.Identifier().empty()) {
            c.pos = start;
            return Refuse(FormFileErrorCode::BadName,
                          std::string(what) + " expected at " + Quote(c.Rest()));
        }
        if (!allowDots || c.Peek() != '.') {
            return std::string(c.text.substr(start, c.pos - start));
        }
        ++c.pos;
    }
}

bool IsHexDigit(char c) {
    return IsDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

int32_t HexValue(char c) {
    return IsDigit(c) ? c - '0' : AsciiLower(c) - 'a' + 10;
}

// Whether a number may end here: what follows must not glue on to it.
bool NumberEnds(const Cursor& c) {
    const char next = c.Peek();
    return c.AtEnd() || !(IsIdentifierChar(next) || next == '.' || next == '#' || next == '%' ||
                          next == '&' || next == '"');
}

Failure<Fault> BadNumber(const Cursor& c, size_t start) {
    size_t end = c.pos;
    while (end < c.text.size() && !IsBlank(c.text[end]) && c.text[end] != '\'') {
        ++end;
    }
    return Refuse(FormFileErrorCode::BadNumber,
                  "bad number " + Quote(c.text.substr(start, end - start)));
}

// A number in one of its forms; the Boolean comment is looked at by the
// caller. plainLong tells that the number was bare decimal digits.
struct ParsedNumber {
    explicit ParsedNumber(Variant value, bool plainLong = false)
        : value(std::move(value)), plainLong(plainLong) {}

    Variant value;
    bool plainLong;
};

Parsed<ParsedNumber> ParseNumber(Cursor& c) {
    const size_t start = c.pos;
    // Deliberate: the renditions of infinities and NaN that numbers of the
    // host's era show, so that such a value reads back as what it printed as.
    static constexpr std::pair<std::string_view, double> kSpecial[] = {
        {"1.#INF", std::numeric_limits<double>::infinity()},
        {"-1.#INF", -std::numeric_limits<double>::infinity()},
        {"1.#QNAN", std::numeric_limits<double>::quiet_NaN()},
    };
    for (const auto& [text, value] : kSpecial) {
        if (SameWord(c.text.substr(start, text.size()), text)) {
            c.pos += text.size();
            if (!NumberEnds(c)) {
                return BadNumber(c, start);
            }
            return ParsedNumber{Variant(value)};
        }
    }

    if (c.Take('&')) {
        if (!c.Take('H') && !c.Take('h')) {
            return BadNumber(c, start);
        }
        uint64_t bits = 0;
        size_t digits = 0;
        while (IsHexDigit(c.Peek())) {
            bits = std::min<uint64_t>(bits * 16 + HexValue(c.Peek()), uint64_t{1} << 40);
            ++c.pos;
            ++digits;
        }
        const bool integer = c.Take('%');
        if (!integer) {
            c.Take('&');
        }
        if (digits == 0 || !NumberEnds(c)) {
            return BadNumber(c, start);
        }
        if (bits > (integer ? 0xFFFFu : 0xFFFFFFFFu)) {
            return Refuse(FormFileErrorCode::NumberOutOfRange,
                          Quote(c.text.substr(start, c.pos - start)) + " is out of range for " +
                              (integer ? "an Integer" : "a Long"));
        }
        // The digits are the bits: &HFFFF% is -1 as much as &HFFFFFFFF& is.
        if (integer) {
            return ParsedNumber{Variant(static_cast<int16_t>(static_cast<uint16_t>(bits)))};
        }
        return ParsedNumber{Variant(static_cast<int32_t>(static_cast<uint32_t>(bits)))};
    }

    const bool negative = c.Take('-');
    size_t digits = 0;
    uint64_t magnitude = 0;
    while (IsDigit(c.Peek())) {
        magnitude = std::min<uint64_t>(magnitude * 10 + (c.Peek() - '0'), uint64_t{1} << 40);
        ++c.pos;
        ++digits;
    }
    bool fractional = false;
    if (c.Take('.')) {
        fractional = true;
        while (IsDigit(c.Peek())) {
            ++c.pos;
            ++digits;
        }
    }
    if (digits == 0) {
        return BadNumber(c, start);
    }
    if (c.Peek() == 'E' || c.Peek() == 'e') {
        ++c.pos;
        fractional = true;
        if (!c.Take('+')) {
            c.Take('-');
        }
        size_t exponentDigits = 0;
        while (IsDigit(c.Peek())) {
            ++c.pos;
            ++exponentDigits;
        }
        if (exponentDigits == 0) {
            return BadNumber(c, start);
        }
    }
    const size_t end = c.pos;
    const char suffix = c.Peek();
    const bool hasSuffix = suffix == '%' || suffix == '&' || suffix == '#';
    if (hasSuffix) {
        ++c.pos;
    }
    if (!NumberEnds(c) || (fractional && hasSuffix && suffix != '#')) {
        return BadNumber(c, start);
    }
    const std::string_view text = c.text.substr(start, c.pos - start);

    if (fractional || suffix == '#') {
        double value = 0.0;
        const auto [ptr, ec] = std::from_chars(c.text.data() + start, c.text.data() + end, value,
                                               std::chars_format::general);
        if (ec == std::errc::result_out_of_range) {
            return Refuse(FormFileErrorCode::NumberOutOfRange,
                          Quote(text) + " is out of range for a Double");
        }
        if (ec != std::errc() || ptr != c.text.data() + end) {
            return BadNumber(c, start);
        }
        return ParsedNumber{Variant(value)};
    }
    const int64_t value =
        negative ? -static_cast<int64_t>(magnitude) : static_cast<int64_t>(magnitude);
    if (suffix == '%') {
        if (value < std::numeric_limits<int16_t>::min() ||
            value > std::numeric_limits<int16_t>::max()) {
            return Refuse(FormFileErrorCode::NumberOutOfRange,
                          Quote(text) + " is out of range for an Integer");
        }
        return ParsedNumber{Variant(static_cast<int16_t>(value))};
    }
    if (value < std::numeric_limits<int32_t>::min() ||
        value > std::numeric_limits<int32_t>::max()) {
        return Refuse(FormFileErrorCode::NumberOutOfRange,
                      Quote(text) + " is out of range for a Long");
    }
    return ParsedNumber{Variant(static_cast<int32_t>(value)), !hasSuffix};
}

// #yyyy-mm-dd# or #yyyy-mm-dd hh:nn:ss#.
Parsed<Date> ParseDate(Cursor& c) {
    const size_t start = c.pos;
    const auto bad = [&] {
        size_t end = c.text.find('#', start + 1);
        end = end == std::string_view::npos ? c.text.size() : end + 1;
        return Refuse(FormFileErrorCode::BadDate, "bad date " +
                                                      Quote(c.text.substr(start, end - start)) +
                                                      ", #yyyy-mm-dd hh:nn:ss# expected");
    };
    const auto field = [&](size_t width, char after, int32_t& out) {
        out = 0;
        for (size_t i = 0; i < width; ++i) {
            if (!IsDigit(c.Peek())) {
                return false;
            }
            out = out * 10 + (c.Peek() - '0');
            ++c.pos;
        }
        return c.Take(after);
    };
    ++c.pos;  // the opening '#'
    int32_t year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (!field(4, '-', year) || !field(2, '-', month)) {
        return bad();
    }
    if (!field(2, '#', day)) {
        if (!c.Take(' ') || !field(2, ':', hour) || !field(2, ':', minute) ||
            !field(2, '#', second)) {
            return bad();
        }
    }
    const std::optional<int64_t> dayNumber = DayFromCivil(year, month, day);
    if (!dayNumber || year < 100 || hour > 23 || minute > 59 || second > 59) {
        return bad();
    }
    if (!NumberEnds(c)) {
        return bad();
    }
    return Date(SerialFromParts(*dayNumber, hour * 3600 + minute * 60 + second));
}

// What follows "=": a value, or the byte count of a byte array whose base64
// is on the lines below.
struct ParsedValue {
    explicit ParsedValue(Variant value) : value(std::move(value)) {}
    ParsedValue(Variant value, size_t byteCount) : value(std::move(value)), byteCount(byteCount) {}

    Variant value;
    std::optional<size_t> byteCount;
};

// CDate(number) and CByte(number).
Parsed<ParsedNumber> ParseCall(Cursor& c, std::string_view name) {
    c.SkipBlanks();
    if (!c.Take('(')) {
        return Refuse(FormFileErrorCode::MissingValue, "'(' expected after " + Quote(name));
    }
    c.SkipBlanks();
    Parsed<ParsedNumber> number = ParseNumber(c);
    if (!number) {
        return number;
    }
    c.SkipBlanks();
    if (!c.Take(')')) {
        return Refuse(FormFileErrorCode::MissingValue,
                      "')' expected after the number of " + Quote(name));
    }
    return number;
}

Parsed<ParsedValue> ParseValue(Cursor& c) {
    const char first = c.Peek();
    if (first == '"') {
        Parsed<std::string> text = ParseStringExpression(c);
        if (!text) {
            return Fail(text.Error());
        }
        return ParsedValue{Variant(std::move(text.Value()))};
    }
    if (first == '#') {
        const Parsed<Date> date = ParseDate(c);
        if (!date) {
            return Fail(date.Error());
        }
        return ParsedValue{Variant(date.Value())};
    }
    if (first == '-' || first == '.' || first == '&' || IsDigit(first)) {
        const size_t start = c.pos;
        const Parsed<ParsedNumber> number = ParseNumber(c);
        if (!number) {
            return Fail(number.Error());
        }
        // Deliberate: Booleans are written as the host writes them, -1 'True
        // and 0 'False; the comment is what tells them from a Long.
        if (number.Value().plainLong) {
            const size_t afterNumber = c.pos;
            c.SkipBlanks();
            if (c.Take('\'')) {
                const std::string_view comment = TrimBlanks(c.Rest());
                const bool isTrue = SameWord(comment, "True");
                if (isTrue || SameWord(comment, "False")) {
                    const int32_t n = *number.Value().value.Get<int32_t>();
                    if (n != (isTrue ? -1 : 0)) {
                        return Refuse(FormFileErrorCode::BadNumber,
                                      Quote(TrimBlanks(c.text.substr(start))) +
                                          " is no Boolean: -1 'True or 0 'False expected");
                    }
                    c.pos = c.text.size();  // the comment is taken
                    return ParsedValue{Variant(isTrue)};
                }
            }
            c.pos = afterNumber;
        }
        return ParsedValue{number.Value().value};
    }
    const size_t start = c.pos;
    const std::string_view word = c.Identifier();
    if (SameWord(word, "Empty")) {
        return ParsedValue{Variant()};
    }
    if (SameWord(word, "Null")) {
        return ParsedValue{Variant::Null()};
    }
    if (SameWord(word, "CDate") || SameWord(word, "CByte")) {
        const Parsed<ParsedNumber> number = ParseCall(c, word);
        if (!number) {
            return Fail(number.Error());
        }
        const Variant& n = number.Value().value;
        if (SameWord(word, "CDate")) {
            return ParsedValue{Variant(Date(*n.ToDouble()))};
        }
        const int32_t* whole = n.Get<int32_t>();
        if (whole == nullptr) {
            return Refuse(FormFileErrorCode::BadNumber, "CByte takes a plain whole number");
        }
        if (*whole < 0 || *whole > 255) {
            return Refuse(FormFileErrorCode::NumberOutOfRange,
                          "CByte(" + std::to_string(*whole) + ") is out of range for a Byte");
        }
        return ParsedValue{Variant(static_cast<uint8_t>(*whole))};
    }
    if (SameWord(word, "Bytes")) {
        c.SkipBlanks();
        size_t count = 0;
        size_t digits = 0;
        while (IsDigit(c.Peek())) {
            count = std::min<size_t>(count * 10 + (c.Peek() - '0'), kMaxFormFileBytes + 1);
            ++c.pos;
            ++digits;
        }
        if (digits == 0 || !NumberEnds(c)) {
            return Refuse(FormFileErrorCode::BadNumber, "byte count expected after 'Bytes'");
        }
        if (count > kMaxFormFileBytes) {
            return Refuse(FormFileErrorCode::ByteCountMismatch,
                          "byte count " + Quote(c.text.substr(c.pos - digits, digits)) +
                              " is beyond the size of a form file");
        }
        return ParsedValue(Variant(), count);
    }
    if (IsStringPiece(word)) {
        c.pos = start;
        Parsed<std::string> text = ParseStringExpression(c);  // vbCrLf & "..."
        if (!text) {
            return Fail(text.Error());
        }
        return ParsedValue{Variant(std::move(text.Value()))};
    }
    if (!word.empty()) {
        return Refuse(FormFileErrorCode::MissingValue, "unknown value " + Quote(word));
    }
    return Refuse(FormFileErrorCode::MissingValue, "value expected after '='");
}

// Base64 digit values by byte, -1 where a byte is none.
constexpr std::array<int8_t, 256> kBase64Values = [] {
    std::array<int8_t, 256> values{};
    values.fill(-1);
    for (size_t i = 0; i < kBase64Digits.size(); ++i) {
        values[static_cast<uint8_t>(kBase64Digits[i])] = static_cast<int8_t>(i);
    }
    return values;
}();

int32_t Base64Value(char c) {
    return kBase64Values[static_cast<uint8_t>(c)];
}

ByteArray DecodeBase64(std::string_view digits, size_t count) {
    ByteArray bytes;
    bytes.reserve(count);
    uint32_t bits = 0;
    int32_t held = 0;
    for (const char c : digits) {
        if (c == '=') {
            break;
        }
        bits = (bits << 6) | static_cast<uint32_t>(Base64Value(c));
        held += 6;
        if (held >= 8) {
            held -= 8;
            bytes.push_back(static_cast<uint8_t>(bits >> held));
        }
    }
    return bytes;
}

// One block being read: a Begin ... End object or a BeginProperty ...
// EndProperty bag.
struct Block {
    bool isBag = false;
    FormObject object;
    PropertyBag bag;
    std::string key;  // a bag's key in the block around it
    int32_t line = 0;
    std::string opening;  // its first line, for messages
    // Lower-cased key -> line it was given on.
    std::unordered_map<std::string, int32_t> keys;

    PropertyBag& Properties() { return isBag ? bag : object.Properties; }
};

class Reader {
public:
    explicit Reader(std::string_view text) : text(text) {}

    Result<FormObject, FormFileError> Run();

private:
    enum class Phase { Version, Form, Blocks, Done };

    bool NextLine(std::string_view& line);
    Failure<FormFileError> Error(FormFileErrorCode code, std::string message) const {
        return Fail(FormFileError{code, lineNumber, std::move(message)});
    }
    Failure<FormFileError> Error(const Fault& fault) const {
        return Error(fault.code, fault.message);
    }

    Parsed<Done> ReadLine(Cursor& c);
    Parsed<Done> ReadVersion(Cursor& c);
    Parsed<Done> ReadBegin(Cursor& c);
    Parsed<Done> ReadEnd(Cursor& c);
    Parsed<Done> ReadBeginProperty(Cursor& c);
    Parsed<Done> ReadEndProperty(Cursor& c);
    Parsed<Done> ReadProperty(Cursor& c);
    Parsed<Done> ClaimKey(const std::string& key);
    Parsed<ByteArray> ReadBase64(size_t count, const std::string& key);
    Parsed<Done> Push(Block block);

    std::string_view text;
    size_t pos = 0;
    int32_t lineNumber = 0;
    Phase phase = Phase::Version;
    std::vector<Block> stack;
    FormObject form;
    int32_t formEndLine = 0;
    std::optional<Fault> lineFault;  // a fault found while splitting lines
};

bool Reader::NextLine(std::string_view& line) {
    if (pos >= text.size()) {
        return false;
    }
    size_t end = text.find('\n', pos);
    if (end == std::string_view::npos) {
        end = text.size();
    }
    line = text.substr(pos, end - pos);
    pos = end + 1;
    ++lineNumber;
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    if (line.find('\r') != std::string_view::npos) {
        lineFault = Fault{FormFileErrorCode::UnexpectedLine,
                          "carriage return inside a line; lines end in LF or CR LF"};
    }
    return true;
}

Result<FormObject, FormFileError> Reader::Run() {
    if (text.size() > kMaxFormFileBytes) {
        lineNumber = 1;
        return Error(FormFileErrorCode::TooLarge,
                     "text of " + std::to_string(text.size()) + " bytes is longer than the " +
                         std::to_string(kMaxFormFileBytes) + " a form file may have");
    }
    if (text.starts_with("\xEF\xBB\xBF")) {
        pos = 3;  // a byte order mark some editors put in front
    }
    std::string_view line;
    while (NextLine(line)) {
        if (lineFault) {
            return Error(*lineFault);
        }
        Cursor c{line};
        c.SkipBlanks();
        if (c.AtEnd() || c.Peek() == '\'') {
            continue;
        }
        const Parsed<Done> done = ReadLine(c);
        if (!done) {
            return Error(done.Error());
        }
    }
    lineNumber = std::max(lineNumber, 1);  // an empty text still has its first line
    switch (phase) {
        case Phase::Version:
            return Error(FormFileErrorCode::MissingVersion,
                         "'" + std::string(kVersionLine) + "' expected");
        case Phase::Form:
            return Error(FormFileErrorCode::MissingForm, "'Begin' expected before end of file");
        case Phase::Blocks: {
            const Block& open = stack.back();
            return Error(FormFileErrorCode::MissingEnd,
                         std::string(open.isBag ? "'EndProperty'" : "'End'") +
                             " expected before end of file (" + Quote(open.opening) + " at line " +
                             std::to_string(open.line) + " is open)");
        }
        case Phase::Done:
            break;
    }
    return std::move(form);
}

Parsed<Done> Reader::ReadLine(Cursor& c) {
    if (phase == Phase::Version) {
        return ReadVersion(c);
    }
    const size_t start = c.pos;
    const std::string_view word = c.Identifier();
    const bool wordEnds = c.AtEnd() || IsBlank(c.Peek()) || c.Peek() == '\'';
    if (wordEnds && SameWord(word, "Begin")) {
        return ReadBegin(c);
    }
    if (wordEnds && SameWord(word, "End")) {
        return ReadEnd(c);
    }
    if (wordEnds && SameWord(word, "BeginProperty")) {
        return ReadBeginProperty(c);
    }
    if (wordEnds && SameWord(word, "EndProperty")) {
        return ReadEndProperty(c);
    }
    c.pos = start;
    return ReadProperty(c);
}

Parsed<Done> Reader::ReadVersion(Cursor& c) {
    const std::string_view word = c.Identifier();
    c.SkipBlanks();
    const size_t number = c.pos;
    while (!c.AtEnd() && !IsBlank(c.Peek()) && c.Peek() != '\'') {
        ++c.pos;
    }
    if (!SameWord(word, "VERSION") || c.text.substr(number, c.pos - number) != "5.00" ||
        !c.AtLineEnd()) {
        return Refuse(
            FormFileErrorCode::MissingVersion,
            "'" + std::string(kVersionLine) + "' expected, not " + Quote(TrimBlanks(c.text)));
    }
    phase = Phase::Form;
    return Done{};
}

Parsed<Done> Reader::Push(Block block) {
    if (stack.size() >= static_cast<size_t>(kMaxFormFileDepth)) {
        return Refuse(FormFileErrorCode::TooDeep,
                      "blocks nested deeper than " + std::to_string(kMaxFormFileDepth));
    }
    block.line = lineNumber;
    stack.push_back(std::move(block));
    return Done{};
}

Parsed<Done> Reader::ReadBegin(Cursor& c) {
    const std::string_view opening = TrimBlanks(c.text);
    if (phase == Phase::Done) {
        return Refuse(FormFileErrorCode::UnexpectedLine,
                      "a second form: the form ended at line " + std::to_string(formEndLine));
    }
    if (!stack.empty() && stack.back().isBag) {
        return Refuse(FormFileErrorCode::MisplacedBegin,
                      "'Begin' inside " + Quote(stack.back().opening) + " (line " +
                          std::to_string(stack.back().line) + "); 'EndProperty' expected first");
    }
    c.SkipBlanks();
    Parsed<std::string> typeName = ParseName(c, true, "type name");
    if (!typeName) {
        return Fail(typeName.Error());
    }
    const size_t afterType = c.pos;
    c.SkipBlanks();
    if (c.pos == afterType && !c.AtEnd()) {
        return Refuse(FormFileErrorCode::BadName,
                      "blank expected after the type name, at " + Quote(c.Rest()));
    }
    Parsed<std::string> name = ParseName(c, false, "name");
    if (!name) {
        return Fail(name.Error());
    }
    if (!c.AtLineEnd()) {
        return Refuse(FormFileErrorCode::TrailingText,
                      "unexpected " + Quote(c.Rest()) + " after the name");
    }
    Block block;
    block.object.TypeName = std::move(typeName.Value());
    block.object.Name = std::move(name.Value());
    block.object.Line = lineNumber;
    block.opening = std::string(opening);
    phase = Phase::Blocks;
    return Push(std::move(block));
}

Parsed<Done> Reader::ReadEnd(Cursor& c) {
    if (!c.AtLineEnd()) {
        return Refuse(FormFileErrorCode::TrailingText,
                      "unexpected " + Quote(c.Rest()) + " after 'End'");
    }
    if (stack.empty()) {
        return Refuse(FormFileErrorCode::UnmatchedEnd, "'End' without 'Begin'");
    }
    if (stack.back().isBag) {
        return Refuse(FormFileErrorCode::UnmatchedEnd,
                      "'End' inside " + Quote(stack.back().opening) + " (line " +
                          std::to_string(stack.back().line) + "); 'EndProperty' expected");
    }
    FormObject object = std::move(stack.back().object);
    stack.pop_back();
    if (stack.empty()) {
        form = std::move(object);
        formEndLine = lineNumber;
        phase = Phase::Done;
    } else {
        stack.back().object.Children.push_back(std::move(object));
    }
    return Done{};
}

Parsed<Done> Reader::ClaimKey(const std::string& key) {
    std::string lower = key;
    for (char& ch : lower) {
        ch = AsciiLower(ch);
    }
    const auto [at, added] = stack.back().keys.emplace(std::move(lower), lineNumber);
    if (!added) {
        return Refuse(
            FormFileErrorCode::DuplicateProperty,
            "property " + Quote(key) + " is already given at line " + std::to_string(at->second));
    }
    return Done{};
}

bool IsClassId(std::string_view text) {
    // {8-4-4-4-12 hex digits}
    if (text.size() != 38 || text.front() != '{' || text.back() != '}') {
        return false;
    }
    for (size_t i = 1; i < 37; ++i) {
        const bool dash = i == 9 || i == 14 || i == 19 || i == 24;
        if (dash ? text[i] != '-' : !IsHexDigit(text[i])) {
            return false;
        }
    }
    return true;
}

Parsed<Done> Reader::ReadBeginProperty(Cursor& c) {
    if (stack.empty()) {
        return Refuse(FormFileErrorCode::UnexpectedLine,
                      phase == Phase::Done ? "'BeginProperty' after the form's 'End'"
                                           : "'BeginProperty' outside 'Begin' ... 'End'");
    }
    const std::string_view opening = TrimBlanks(c.text);
    c.SkipBlanks();
    Parsed<std::string> key = ParseName(c, false, "property name");
    if (!key) {
        return Fail(key.Error());
    }
    c.SkipBlanks();
    if (c.Peek() == '{') {
        const size_t close = c.text.find('}', c.pos);
        const size_t end = close == std::string_view::npos ? c.text.size() : close + 1;
        if (!IsClassId(c.text.substr(c.pos, end - c.pos))) {
            return Refuse(FormFileErrorCode::BadName,
                          "bad class id " + Quote(c.text.substr(c.pos, end - c.pos)));
        }
        c.pos = end;
    }
    if (!c.AtLineEnd()) {
        return Refuse(FormFileErrorCode::TrailingText,
                      "unexpected " + Quote(c.Rest()) + " after the property name");
    }
    if (Parsed<Done> claimed = ClaimKey(key.Value()); !claimed) {
        return claimed;
    }
    Block block;
    block.isBag = true;
    block.key = std::move(key.Value());
    block.opening = std::string(opening);
    return Push(std::move(block));
}

Parsed<Done> Reader::ReadEndProperty(Cursor& c) {
    if (!c.AtLineEnd()) {
        return Refuse(FormFileErrorCode::TrailingText,
                      "unexpected " + Quote(c.Rest()) + " after 'EndProperty'");
    }
    if (stack.empty() || !stack.back().isBag) {
        return Refuse(FormFileErrorCode::UnmatchedEnd, "'EndProperty' without 'BeginProperty'");
    }
    Block block = std::move(stack.back());
    stack.pop_back();
    stack.back().Properties().WriteBag(block.key, std::move(block.bag));
    return Done{};
}

Parsed<Done> Reader::ReadProperty(Cursor& c) {
    if (stack.empty()) {
        const std::string what = Quote(TrimBlanks(c.text));
        if (phase == Phase::Done) {
            return Refuse(FormFileErrorCode::UnexpectedLine,
                          what + " after the form's 'End' at line " + std::to_string(formEndLine));
        }
        return Refuse(FormFileErrorCode::UnexpectedLine, "'Begin' expected, not " + what);
    }
    const size_t start = c.pos;
    Parsed<std::string> key = ParseName(c, false, "property name");
    if (!key) {
        if (key.Error().code == FormFileErrorCode::BadName) {
            return Refuse(FormFileErrorCode::UnexpectedLine,
                          "'key = value' expected, not " + Quote(c.Rest()));
        }
        return Fail(key.Error());
    }
    const std::string_view keyText = c.text.substr(start, c.pos - start);
    c.SkipBlanks();
    if (!c.Take('=')) {
        return Refuse(FormFileErrorCode::UnexpectedLine, "'=' expected after " + Quote(keyText));
    }
    c.SkipBlanks();
    Parsed<ParsedValue> value = ParseValue(c);
    if (!value) {
        return Fail(value.Error());
    }
    if (!c.AtLineEnd()) {
        return Refuse(FormFileErrorCode::TrailingText,
                      "unexpected " + Quote(c.Rest()) + " after the value");
    }
    if (Parsed<Done> claimed = ClaimKey(key.Value()); !claimed) {
        return claimed;
    }
    Variant stored = std::move(value.Value().value);
    if (value.Value().byteCount) {
        Parsed<ByteArray> bytes = ReadBase64(*value.Value().byteCount, key.Value());
        if (!bytes) {
            return Fail(bytes.Error());
        }
        stored = Variant(std::move(bytes.Value()));
    }
    // Kept whatever its value: a default that can never equal it.
    const Variant never = stored.IsNull() ? Variant() : Variant::Null();
    stack.back().Properties().WriteProperty(key.Value(), stored, never);
    return Done{};
}

Parsed<ByteArray> Reader::ReadBase64(size_t count, const std::string& key) {
    const int32_t keyLine = lineNumber;
    const size_t remaining = text.size() - std::min(pos, text.size());
    const size_t total = (count + 2) / 3 * 4;
    if (total > remaining) {
        return Refuse(FormFileErrorCode::ByteCountMismatch,
                      std::to_string(count) + " bytes for " + Quote(key) +
                          " are more than the rest of the file can hold");
    }
    const size_t padding = (3 - count % 3) % 3;
    std::string digits;
    digits.reserve(total);
    const auto ended = [&](std::string_view what) {
        return Refuse(FormFileErrorCode::ByteCountMismatch,
                      std::string(what) + ": " + std::to_string(count) + " bytes of " + Quote(key) +
                          " (line " + std::to_string(keyLine) + ") need " + std::to_string(total) +
                          " base64 characters, " + std::to_string(digits.size()) + " given");
    };
    std::string_view line;
    while (digits.size() < total) {
        if (!NextLine(line)) {
            return ended("end of file inside base64");
        }
        if (lineFault) {
            return Fail(*lineFault);
        }
        line = TrimBlanks(line);
        if (line.empty()) {
            continue;
        }
        // A line of the form's own (End, key = value) met here means the
        // count promised more bytes than the base64 holds.
        Cursor first{line};
        const bool structure = IsKeyword(first.Identifier());
        for (const char ch : line) {
            if (Base64Value(ch) < 0 && ch != '=') {
                if (structure || line.find('=') != std::string_view::npos) {
                    return ended(Quote(line) + " is not base64");
                }
                return Refuse(FormFileErrorCode::BadBase64, Describe(ch) + " is not base64");
            }
        }
        if (line.size() % 4 != 0) {
            if (structure) {
                return ended(Quote(line) + " is not base64");
            }
            return Refuse(FormFileErrorCode::BadBase64,
                          "a line of base64 holds a multiple of 4 characters, not " +
                              std::to_string(line.size()));
        }
        if (digits.size() + line.size() > total) {
            return ended("more base64 than the byte count says");
        }
        for (const char ch : line) {
            const bool padPlace = digits.size() >= total - padding;
            if ((ch == '=') != padPlace) {
                return Refuse(FormFileErrorCode::BadBase64,
                              padPlace ? "'=' expected to pad the base64 of " +
                                             std::to_string(count) + " bytes"
                                       : std::string("'=' inside base64"));
            }
            digits.push_back(ch);
        }
    }
    // The bits past the last byte must be zero, so that each byte array has
    // exactly one base64 form.
    if (padding > 0) {
        const int32_t last = Base64Value(digits[total - padding - 1]);
        if ((last & (padding == 2 ? 0x0F : 0x03)) != 0) {
            return Refuse(FormFileErrorCode::BadBase64,
                          "the base64 ends in bits that belong to no byte");
        }
    }
    return DecodeBase64(digits, count);
}

// --- Writing -----------------------------------------------------------------

void AppendIndent(std::string& out, int32_t depth) {
    out.append(static_cast<size_t>(depth) * 3, ' ');
}

// A string as pieces joined by " & ". A name must start with a quote mark,
// since a bare word there is read as the name itself.
void WriteString(std::string& out, std::string_view text, bool startQuoted) {
    bool first = true;
    bool inLiteral = false;
    const auto join = [&] {
        if (inLiteral) {
            out.push_back('"');
            inLiteral = false;
        }
        if (!first) {
            out.append(" & ");
        }
        first = false;
    };
    const auto special = [&](std::string_view piece) {
        if (first && startQuoted) {
            out.append("\"\"");
            first = false;
        }
        join();
        out.append(piece);
    };
    for (size_t i = 0; i < text.size();) {
        const auto byte = static_cast<uint8_t>(text[i]);
        if (byte == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
            special("vbCrLf");
            i += 2;
            continue;
        }
        if (byte == '\r' || byte == '\n' || byte == '\t') {
            special(byte == '\r' ? "vbCr" : byte == '\n' ? "vbLf" : "vbTab");
            ++i;
            continue;
        }
        if (byte < 0x20 || byte == 0x7F) {
            special("Chr(" + std::to_string(byte) + ")");
            ++i;
            continue;
        }
        const size_t length = Utf8Length(text, i);
        if (length == 0) {
            special("ChrB(" + std::to_string(byte) + ")");
            ++i;
            continue;
        }
        if (!inLiteral) {
            join();
            out.push_back('"');
            inLiteral = true;
        }
        if (byte == '"') {
            out.push_back('"');
        }
        out.append(text.substr(i, length));
        i += length;
    }
    if (first) {
        out.append("\"\"");
    } else if (inLiteral) {
        out.push_back('"');
    }
}

void WriteName(std::string& out, std::string_view name, bool allowDots) {
    if (IsPlainName(name, allowDots)) {
        out.append(name);
    } else {
        WriteString(out, name, true);
    }
}

void WriteDouble(std::string& out, double value) {
    if (std::isnan(value)) {
        out.append("1.#QNAN");
        return;
    }
    if (std::isinf(value)) {
        out.append(value > 0 ? "1.#INF" : "-1.#INF");
        return;
    }
    char buffer[64];
    const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    std::string_view digits(buffer, static_cast<size_t>(end - buffer));
    bool marked = false;
    for (const char c : digits) {
        out.push_back(c == 'e' ? 'E' : c);
        marked = marked || c == '.' || c == 'e';
    }
    if (!marked) {
        out.push_back('#');  // "3" alone would read as a Long
    }
}

void AppendDigits(std::string& out, int32_t value, int32_t width) {
    std::string digits = std::to_string(value);
    out.append(
        static_cast<size_t>(std::max<int32_t>(0, width - static_cast<int32_t>(digits.size()))),
        '0');
    out.append(digits);
}

void WriteDate(std::string& out, Date date) {
    const std::optional<DateTimeParts> parts = SplitSerial(date.Serial());
    if (!parts) {
        out.append("CDate(");
        WriteDouble(out, date.Serial());
        out.push_back(')');
        return;
    }
    out.push_back('#');
    AppendDigits(out, parts->year, 4);
    out.push_back('-');
    AppendDigits(out, parts->month, 2);
    out.push_back('-');
    AppendDigits(out, parts->day, 2);
    out.push_back(' ');
    AppendDigits(out, parts->hour, 2);
    out.push_back(':');
    AppendDigits(out, parts->minute, 2);
    out.push_back(':');
    AppendDigits(out, parts->second, 2);
    out.push_back('#');
}

void WriteBytes(std::string& out, const ByteArray& bytes, int32_t depth) {
    out.append("Bytes ");
    out.append(std::to_string(bytes.size()));
    size_t column = kBase64PerLine;
    const auto put = [&](char c) {
        if (column == kBase64PerLine) {
            out.append("\r\n");
            AppendIndent(out, depth);
            column = 0;
        }
        out.push_back(c);
        ++column;
    };
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t n = std::min<size_t>(3, bytes.size() - i);
        uint32_t bits = static_cast<uint32_t>(bytes[i]) << 16;
        if (n > 1) {
            bits |= static_cast<uint32_t>(bytes[i + 1]) << 8;
        }
        if (n > 2) {
            bits |= bytes[i + 2];
        }
        put(kBase64Digits[bits >> 18]);
        put(kBase64Digits[(bits >> 12) & 63]);
        put(n > 1 ? kBase64Digits[(bits >> 6) & 63] : '=');
        put(n > 2 ? kBase64Digits[bits & 63] : '=');
    }
}

class Writer {
public:
    std::string out;

    void Object(const FormObject& object, int32_t depth) {
        AppendIndent(out, depth);
        out.append("Begin ");
        WriteName(out, object.TypeName, true);
        out.push_back(' ');
        WriteName(out, object.Name, false);
        out.append("\r\n");
        Bag(object.Properties, depth + 1);
        for (const FormObject& child : object.Children) {
            Object(child, depth + 1);
        }
        AppendIndent(out, depth);
        out.append("End\r\n");
    }

private:
    void Bag(const PropertyBag& bag, int32_t depth) {
        for (const std::string& key : bag.Keys()) {
            AppendIndent(out, depth);
            if (const PropertyBag* inner = bag.ReadBag(key)) {
                out.append("BeginProperty ");
                WriteName(out, key, false);
                // Deliberate: fonts carry the class id of the standard font
                // object, as the host's own form files have it.
                if (ContainsWord(key, "Font")) {
                    out.push_back(' ');
                    out.append(kFontClassId);
                }
                out.append("\r\n");
                Bag(*inner, depth + 1);
                AppendIndent(out, depth);
                out.append("EndProperty\r\n");
                continue;
            }
            const size_t keyStart = out.size();
            WriteName(out, key, false);
            const size_t width = out.size() - keyStart;
            out.append(width < kKeyField ? kKeyField - width : 1, ' ');
            out.append("=   ");
            Value(bag.ReadProperty(key, Variant()), key, depth);
            out.append("\r\n");
        }
    }

    void Value(const Variant& value, std::string_view key, int32_t depth) {
        switch (value.Type()) {
            case VariantType::Empty:
                out.append("Empty");
                break;
            case VariantType::Null:
                out.append("Null");
                break;
            case VariantType::Integer:
                out.append(std::to_string(*value.Get<int16_t>()));
                out.push_back('%');
                break;
            case VariantType::Long:
                Long(*value.Get<int32_t>(), key);
                break;
            case VariantType::Double:
                WriteDouble(out, *value.Get<double>());
                break;
            case VariantType::Date:
                WriteDate(out, *value.Get<Date>());
                break;
            case VariantType::String:
                WriteString(out, *value.Get<std::string>(), false);
                break;
            case VariantType::Boolean:
                out.append(*value.Get<bool>() ? "-1  'True" : "0   'False");
                break;
            case VariantType::Byte:
                out.append("CByte(" + std::to_string(*value.Get<uint8_t>()) + ")");
                break;
            case VariantType::ByteArray:
                WriteBytes(out, *value.Get<ByteArray>(), depth + 1);
                break;
        }
    }

    void Long(int32_t value, std::string_view key) {
        if (!ContainsWord(key, "Color")) {
            out.append(std::to_string(value));
            return;
        }
        // Colours read best in hex: &H8000000F& is a system colour at a glance.
        static constexpr char kHex[] = "0123456789ABCDEF";
        const auto bits = static_cast<uint32_t>(value);
        out.append("&H");
        for (int32_t shift = 28; shift >= 0; shift -= 4) {
            out.push_back(kHex[(bits >> shift) & 15]);
        }
        out.push_back('&');
    }
};

}  // namespace

bool operator==(const FormObject& a, const FormObject& b) {
    return a.TypeName == b.TypeName && a.Name == b.Name && a.Properties == b.Properties &&
           a.Children == b.Children;
}

std::string FormFileErrorText(const FormFileError& error) {
    return "line " + std::to_string(error.Line) + ": " + error.Message;
}

Result<FormObject, FormFileError> ReadFormFile(std::string_view text) {
    return Reader(text).Run();
}

std::string WriteFormFile(const FormObject& form) {
    Writer writer;
    writer.out.append(kVersionLine);
    writer.out.append("\r\n");
    writer.Object(form, 0);
    return std::move(writer.out);
}

}  // namespace kelvara
