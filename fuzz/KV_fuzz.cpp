// Every KV member on arbitrary text: none may crash, hang or read out of
// bounds, and the answers must keep the few properties they promise.

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "kelvara/base/Format.h"
#include "kelvara/base/Text.h"
#include "kelvara/util/KV.h"

#include "FuzzInput.h"

using namespace kelvara;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 9) {
        return 0;
    }
    double value;
    std::memcpy(&value, data, sizeof value);
    const uint8_t selector = data[8];
    const auto [first, second] = fuzz::SplitInput(data + 9, size - 9, '\x01');

    const std::string words = KV::CurrencyAsStr(value);
    if (words.empty()) {
        fuzz::Check(false);
    }
    if (std::isfinite(value) && std::fabs(value) < 1e9) {
        // Whole amounts in range always end with the coin's name.
        const double whole = std::trunc(std::fabs(value));
        if (whole >= 2 && whole == std::fabs(value) && !words.ends_with("reais") &&
            !words.ends_with("negativos")) {
            fuzz::Check(false);
        }
    }

    const auto layout = static_cast<ENUM_DATE_FORMAT>(static_cast<int8_t>(selector));
    KV::IsValidDate(first, layout);
    KV::IsValidTime(first, second);
    KV::FormatAsDate(first, second);
    const bool document = KV::IsValidCPFOrCNPJ(first);
    if (document && KV::ReturnNumbersOnly(first).size() != 11 &&
        KV::ReturnNumbersOnly(first).size() != 14) {
        fuzz::Check(false);
    }
    KV::IsValidEmail(first);
    KV::IsValidURL(first);
    KV::IsValidIP(first);
    KV::IsValidFileName(first);
    if (Len(KV::RemoveAccents(first)) != Len(first)) {
        fuzz::Check(false);
    }
    KV::ReturnTextsOnly(first);
    KV::ReturnTextsAndNumbersOnly(first);
    KV::GetStringContent(first, second, second);
    KV::FormatWithZeros(first, static_cast<int16_t>(selector));
    KV::FormatFileSizeEx(value);
    Format(first, second);
    return 0;
}
