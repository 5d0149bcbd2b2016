#pragma once

// Variant: the host's dynamically typed value. Conversions follow the host:
// text converts under a locale, Empty reads as 0 or "", Null converts to
// nothing (nullopt).

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "kelvara/base/Date.h"
#include "kelvara/base/Locale.h"

namespace kelvara {

// The host's VarType numbers.
enum class VariantType : int32_t {
    Empty = 0,
    Null = 1,
    Integer = 2,
    Long = 3,
    Double = 5,
    Date = 7,
    String = 8,
    Boolean = 11,
    Byte = 17,
    ByteArray = 8209  // an array (8192) of Byte: pictures and other binary properties
};

using ByteArray = std::vector<uint8_t>;

class Variant {
public:
    Variant() = default;
    explicit Variant(bool value) : value(value) {}
    explicit Variant(uint8_t value) : value(value) {}
    explicit Variant(int16_t value) : value(value) {}
    explicit Variant(int32_t value) : value(value) {}
    explicit Variant(double value) : value(value) {}
    explicit Variant(Date value) : value(value) {}
    explicit Variant(std::string value) : value(std::move(value)) {}
    explicit Variant(const char* value) : value(std::string(value)) {}
    explicit Variant(ByteArray value) : value(std::move(value)) {}

    static Variant Null();

    VariantType Type() const;
    bool IsEmpty() const { return Type() == VariantType::Empty; }
    bool IsNull() const { return Type() == VariantType::Null; }
    // Numbers, Booleans and Empty, or text that reads as a number. A byte
    // array converts to nothing: no number, date, Boolean or text.
    bool IsNumeric(const Locale& locale = Locale::Current()) const;

    // Booleans are -1 and 0, a date is its serial, Empty is 0.
    std::optional<double> ToDouble(const Locale& locale = Locale::Current()) const;
    std::optional<Date> ToDate(const Locale& locale = Locale::Current()) const;
    // Non-zero numbers are True; text must be a number or the locale's or the
    // English True/False words.
    std::optional<bool> ToBool(const Locale& locale = Locale::Current()) const;
    // The host's CStr: Empty is "", Null gives nullopt, a Boolean is the
    // locale's word, a date its general date form.
    std::optional<std::string> ToText(const Locale& locale = Locale::Current()) const;

    // The stored value, when it has exactly that type.
    template <typename T>
    const T* Get() const {
        return std::get_if<T>(&value);
    }

    friend bool operator==(const Variant&, const Variant&) = default;

private:
    struct NullValue {
        friend bool operator==(NullValue, NullValue) = default;
    };
    std::variant<std::monostate, NullValue, bool, uint8_t, int16_t, int32_t, double, Date,
                 std::string, ByteArray>
        value;
};

}  // namespace kelvara
