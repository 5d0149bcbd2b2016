#pragma once

// PropertyBag: where a control keeps its design-time properties between
// sessions. Keys are matched without regard to ASCII case and keep the order
// in which they were first written, so a bag written twice the same way
// lists the same keys in the same order. A value equal to its default is not
// kept at all: reading the key back gives that default again.
//
// An object-valued property (a font) persists as a bag of its own under its
// key.

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "kelvara/base/Variant.h"

namespace kelvara {

class PropertyBag {
public:
    PropertyBag() = default;
    PropertyBag(const PropertyBag& other);
    PropertyBag& operator=(const PropertyBag& other);
    PropertyBag(PropertyBag&&) noexcept = default;
    PropertyBag& operator=(PropertyBag&&) noexcept = default;
    ~PropertyBag();

    // The stored value, or defaultValue when the key holds none (or holds a
    // bag).
    Variant ReadProperty(std::string_view key, const Variant& defaultValue) const;
    // Stores value; when it equals defaultValue (see SameValue) any value
    // stored earlier under key is dropped instead.
    void WriteProperty(std::string_view key, const Variant& value, const Variant& defaultValue);

    // The bag stored under key, or nullptr.
    const PropertyBag* ReadBag(std::string_view key) const;
    void WriteBag(std::string_view key, PropertyBag bag);

    bool Contains(std::string_view key) const;
    // Keys as first written, in that order.
    std::vector<std::string> Keys() const;
    bool Empty() const { return entries.empty(); }

    // Same keys (spelt alike) in the same order with the same values.
    friend bool operator==(const PropertyBag& a, const PropertyBag& b);

    // How WriteProperty decides "equal to the default": the same Variant, or
    // two numbers (Boolean, Byte, Integer, Long, Double) of equal value, so
    // that an Integer 3 written against a Long 3 default is not stored.
    static bool SameValue(const Variant& a, const Variant& b);

private:
    struct Entry {
        std::string key;
        Variant value;
        std::unique_ptr<PropertyBag> bag;  // set for an object-valued key
    };

    // Keys fold ASCII case for hashing and comparing.
    struct KeyHash {
        using is_transparent = void;
        size_t operator()(std::string_view key) const;
    };
    struct KeyEqual {
        using is_transparent = void;
        bool operator()(std::string_view a, std::string_view b) const;
    };

    Entry* Find(std::string_view key);
    const Entry* Find(std::string_view key) const;
    Entry& FindOrAdd(std::string_view key);
    void Reindex();

    std::vector<Entry> entries;
    // Key -> position in entries, so that a bag of many keys (one read from
    // a form file) fills and answers in constant time per key.
    std::unordered_map<std::string, size_t, KeyHash, KeyEqual> index;
};

}  // namespace kelvara
