#include "kelvara/base/Variant.h"

#include "kelvara/base/Format.h"
#include "kelvara/base/Number.h"
#include "kelvara/base/Text.h"

namespace kelvara {

Variant Variant::Null() {
    Variant v;
    v.value = NullValue{};
    return v;
}

VariantType Variant::Type() const {
    // The alternatives are listed in the order of the std::variant.
    static constexpr VariantType kTypes[] = {
        VariantType::Empty,  VariantType::Null,    VariantType::Boolean,
        VariantType::Byte,   VariantType::Integer, VariantType::Long,
        VariantType::Double, VariantType::Date,    VariantType::String,
        VariantType::ByteArray};
    return kTypes[value.index()];
}

bool Variant::IsNumeric(const Locale& locale) const {
    if (const auto* text = Get<std::string>()) {
        return CDbl(*text, locale).has_value();
    }
    const VariantType type = Type();
    return type != VariantType::Null && type != VariantType::Date &&
           type != VariantType::ByteArray;
}

std::optional<double> Variant::ToDouble(const Locale& locale) const {
    return std::visit(
        [&](const auto& v) -> std::optional<double> {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return 0.0;
            } else if constexpr (std::is_same_v<T, NullValue> || std::is_same_v<T, ByteArray>) {
                return std::nullopt;
            } else if constexpr (std::is_same_v<T, bool>) {
                return v ? -1.0 : 0.0;
            } else if constexpr (std::is_same_v<T, Date>) {
                return v.Serial();
            } else if constexpr (std::is_same_v<T, std::string>) {
                return CDbl(v, locale);
            } else {
                return static_cast<double>(v);
            }
        },
        value);
}

std::optional<Date> Variant::ToDate(const Locale& locale) const {
    if (const auto* date = Get<Date>()) {
        return *date;
    }
    if (const auto* text = Get<std::string>()) {
        // Date text first; failing that, numeric text is a serial below.
        if (auto date = CDate(*text, locale)) {
            return date;
        }
    }
    if (IsNull() || Type() == VariantType::ByteArray) {
        return std::nullopt;
    }
    const auto serial = ToDouble(locale);
    if (!serial || !Date(*serial).IsValid()) {
        return std::nullopt;
    }
    return Date(*serial);
}

std::optional<bool> Variant::ToBool(const Locale& locale) const {
    if (const auto* b = Get<bool>()) {
        return *b;
    }
    if (const auto* text = Get<std::string>()) {
        const std::string trimmed = Trim(*text);
        for (const auto& [word, meaning] : {std::pair{std::string_view(locale.trueText), true},
                                            std::pair{std::string_view(locale.falseText), false},
                                            std::pair{std::string_view("True"), true},
                                            std::pair{std::string_view("False"), false}}) {
            if (StrComp(trimmed, word, CompareMethod::Text) == 0) {
                return meaning;
            }
        }
    }
    const auto number = ToDouble(locale);
    if (!number) {
        return std::nullopt;
    }
    return *number != 0.0;
}

std::optional<std::string> Variant::ToText(const Locale& locale) const {
    return std::visit(
        [&](const auto& v) -> std::optional<std::string> {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return std::string();
            } else if constexpr (std::is_same_v<T, NullValue> || std::is_same_v<T, ByteArray>) {
                return std::nullopt;
            } else if constexpr (std::is_same_v<T, bool>) {
                return v ? locale.trueText : locale.falseText;
            } else if constexpr (std::is_same_v<T, Date>) {
                return Format(v, {}, locale);
            } else if constexpr (std::is_same_v<T, std::string>) {
                return v;
            } else {
                return CStr(static_cast<double>(v), locale);
            }
        },
        value);
}

}  // namespace kelvara
