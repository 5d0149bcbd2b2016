// Exercises the text helpers on arbitrary bytes and checks the invariants
// that tie them together. Input: two strings separated by the first NUL
// byte (a text and a pattern, needle or delimiter).

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "kelvara/base/Text.h"

#include "FuzzInput.h"

namespace {

using kelvara::CompareMethod;

using kelvara::fuzz::Check;

bool IsWellFormed(std::string_view text) {
    return kelvara::ToUtf8(kelvara::ToUtf32(text)) == text;
}

void Exercise(std::string_view text, std::string_view other, CompareMethod compare) {
    const int32_t length = kelvara::Len(text);
    const int32_t otherLength = kelvara::Len(other);

    // A find reported by InStr really is there, and InStrRev finds no
    // earlier one than InStr does.
    const int32_t first = kelvara::InStr(1, text, other, compare);
    Check(first >= 0 && first <= length + 1);
    if (first > 0 && !other.empty()) {
        const std::string found = kelvara::Mid(text, first, otherLength);
        Check(compare == CompareMethod::Text || found == other);
        Check(kelvara::StrComp(kelvara::UCase(found), kelvara::UCase(other), compare) == 0 ||
              compare == CompareMethod::Binary);
    }
    const int32_t last = kelvara::InStrRev(text, other, -1, compare);
    Check((first == 0) == (last == 0) || other.empty());
    Check(last == 0 || last >= first || other.empty());

    kelvara::Like(text, other, compare);
    kelvara::Like(other, text, compare);

    const std::string replaced = kelvara::Replace(text, other, "\xC3\xA7", 1, -1, compare);
    if (first == 0 || other.empty()) {
        Check(replaced == text);
    }

    if (!other.empty() && !text.empty()) {
        const auto parts = kelvara::Split(text, other, -1, compare);
        Check(!parts.empty());
        if (compare == CompareMethod::Binary) {
            Check(kelvara::Join(parts, other) == text);
        }
        Check(kelvara::Split(text, other, 2, compare).size() <= 2);
    }

    const int32_t order = kelvara::StrComp(text, other, compare);
    Check(order == -kelvara::StrComp(other, text, compare));
    if (compare == CompareMethod::Binary) {
        Check((order == 0) == (text == other));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto [text, other] = kelvara::fuzz::SplitInput(data, size, '\0');

    const int32_t length = kelvara::Len(text);
    Check(length >= 0 && static_cast<size_t>(length) <= text.size());
    Check(static_cast<size_t>(length) == kelvara::ToUtf32(text).size());

    // Slices share boundaries whatever the bytes, so they fit back together.
    for (int32_t n = -1; n <= length + 1; ++n) {
        Check(kelvara::Left(text, n) + kelvara::Mid(text, n + 1) == text || n < 0);
        Check(kelvara::Left(text, n) + kelvara::Right(text, length - n) == text || n < 0 ||
              n > length);
        if (n > 32) {
            break;
        }
    }
    Check(kelvara::Mid(text, 1) == text);

    // Case mapping keeps the character count and is idempotent.
    const std::string upper = kelvara::UCase(text);
    const std::string lower = kelvara::LCase(text);
    Check(kelvara::Len(upper) == length && kelvara::Len(lower) == length);
    Check(kelvara::UCase(upper) == upper);
    Check(kelvara::StrComp(upper, lower, CompareMethod::Text) == 0);
    if (IsWellFormed(text)) {
        Check(IsWellFormed(upper) && IsWellFormed(lower));
    }

    Exercise(text, other, CompareMethod::Binary);
    Exercise(text, other, CompareMethod::Text);
    return 0;
}
