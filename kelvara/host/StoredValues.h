#pragma once

// Reading and writing a control's stored values, the same way in every
// control: lenient on read (text that is a number counts; anything that is
// not a value of the right kind gives the default; numbers clamp into
// their type), and on write a value equal to its default is not stored.

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "kelvara/base/PropertyBag.h"
#include "kelvara/host/Control.h"
#include "kelvara/image/ImageTypes.h"

namespace kelvara {

template <typename T>
T ReadNumber(const PropertyBag& bag, std::string_view key, T fallback) {
    const auto value = bag.ReadProperty(key, Variant(static_cast<double>(fallback))).ToDouble();
    return value ? StoredNumber<T>(*value) : fallback;
}

inline bool ReadBool(const PropertyBag& bag, std::string_view key, bool fallback) {
    return bag.ReadProperty(key, Variant(fallback)).ToBool().value_or(fallback);
}

inline std::string ReadText(const PropertyBag& bag, std::string_view key,
                            const std::string& fallback) {
    return bag.ReadProperty(key, Variant(fallback)).ToText().value_or(fallback);
}

// A colour is stored as a Long, so a system colour reads as a negative
// number; one written unsigned (0x8000000F as 2147483663) reads the same.
inline OLE_COLOR ReadColor(const PropertyBag& bag, std::string_view key, OLE_COLOR fallback) {
    const auto value = bag.ReadProperty(key, Variant(static_cast<int32_t>(fallback))).ToDouble();
    if (!value) {
        return fallback;
    }
    if (*value > static_cast<double>(std::numeric_limits<int32_t>::max()) &&
        *value <= static_cast<double>(std::numeric_limits<uint32_t>::max())) {
        return static_cast<OLE_COLOR>(static_cast<int64_t>(*value));
    }
    return static_cast<OLE_COLOR>(StoredNumber<int32_t>(*value));
}

inline void WriteColor(PropertyBag& bag, std::string_view key, OLE_COLOR value,
                       OLE_COLOR fallback) {
    bag.WriteProperty(key, Variant(static_cast<int32_t>(value)),
                      Variant(static_cast<int32_t>(fallback)));
}

inline void WriteInt(PropertyBag& bag, std::string_view key, int32_t value, int32_t fallback) {
    bag.WriteProperty(key, Variant(value), Variant(fallback));
}

inline void WriteBool(PropertyBag& bag, std::string_view key, bool value, bool fallback) {
    bag.WriteProperty(key, Variant(value), Variant(fallback));
}

}  // namespace kelvara
