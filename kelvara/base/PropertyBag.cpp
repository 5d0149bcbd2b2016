#include "kelvara/base/PropertyBag.h"

#include <algorithm>
#include <cstdint>

namespace kelvara {

namespace {

char AsciiLower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}

bool SameKey(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return AsciiLower(x) == AsciiLower(y);
           });
}

bool IsNumber(const Variant& v) {
    switch (v.Type()) {
        case VariantType::Boolean:
        case VariantType::Byte:
        case VariantType::Integer:
        case VariantType::Long:
        case VariantType::Double:
            return true;
        default:
            return false;
    }
}

}  // namespace

PropertyBag::PropertyBag(const PropertyBag& other) {
    *this = other;
}

PropertyBag& PropertyBag::operator=(const PropertyBag& other) {
    if (this == &other) {
        return *this;
    }
    std::vector<Entry> copy;
    copy.reserve(other.entries.size());
    for (const Entry& e : other.entries) {
        copy.push_back(
            Entry{e.key, e.value, e.bag ? std::make_unique<PropertyBag>(*e.bag) : nullptr});
    }
    entries = std::move(copy);
    index = other.index;
    return *this;
}

PropertyBag::~PropertyBag() = default;

bool PropertyBag::SameValue(const Variant& a, const Variant& b) {
    if (a == b) {
        return true;
    }
    return IsNumber(a) && IsNumber(b) && a.ToDouble() == b.ToDouble();
}

size_t PropertyBag::KeyHash::operator()(std::string_view key) const {
    // FNV-1a over the lower-cased bytes.
    uint64_t hash = 14695981039346656037u;
    for (const char c : key) {
        hash = (hash ^ static_cast<uint8_t>(AsciiLower(c))) * 1099511628211u;
    }
    return static_cast<size_t>(hash);
}

bool PropertyBag::KeyEqual::operator()(std::string_view a, std::string_view b) const {
    return SameKey(a, b);
}

void PropertyBag::Reindex() {
    index.clear();
    for (size_t i = 0; i < entries.size(); ++i) {
        index.emplace(entries[i].key, i);
    }
}

PropertyBag::Entry* PropertyBag::Find(std::string_view key) {
    const auto found = index.find(key);
    return found == index.end() ? nullptr : &entries[found->second];
}

const PropertyBag::Entry* PropertyBag::Find(std::string_view key) const {
    return const_cast<PropertyBag*>(this)->Find(key);
}

PropertyBag::Entry& PropertyBag::FindOrAdd(std::string_view key) {
    if (Entry* e = Find(key)) {
        return *e;
    }
    entries.push_back(Entry{std::string(key), Variant(), nullptr});
    index.emplace(entries.back().key, entries.size() - 1);
    return entries.back();
}

Variant PropertyBag::ReadProperty(std::string_view key, const Variant& defaultValue) const {
    const Entry* e = Find(key);
    return (e == nullptr || e->bag) ? defaultValue : e->value;
}

void PropertyBag::WriteProperty(std::string_view key, const Variant& value,
                                const Variant& defaultValue) {
    if (SameValue(value, defaultValue)) {
        if (std::erase_if(entries, [&](const Entry& e) { return SameKey(e.key, key); }) > 0) {
            Reindex();
        }
        return;
    }
    Entry& e = FindOrAdd(key);
    e.value = value;
    e.bag.reset();
}

const PropertyBag* PropertyBag::ReadBag(std::string_view key) const {
    const Entry* e = Find(key);
    return e == nullptr ? nullptr : e->bag.get();
}

void PropertyBag::WriteBag(std::string_view key, PropertyBag bag) {
    Entry& e = FindOrAdd(key);
    e.value = Variant();
    e.bag = std::make_unique<PropertyBag>(std::move(bag));
}

bool PropertyBag::Contains(std::string_view key) const {
    return Find(key) != nullptr;
}

std::vector<std::string> PropertyBag::Keys() const {
    std::vector<std::string> keys;
    keys.reserve(entries.size());
    for (const Entry& e : entries) {
        keys.push_back(e.key);
    }
    return keys;
}

bool operator==(const PropertyBag& a, const PropertyBag& b) {
    return std::equal(a.entries.begin(), a.entries.end(), b.entries.begin(), b.entries.end(),
                      [](const PropertyBag::Entry& x, const PropertyBag::Entry& y) {
                          if (x.key != y.key || !(x.value == y.value) ||
                              (x.bag == nullptr) != (y.bag == nullptr)) {
                              return false;
                          }
                          return x.bag == nullptr || *x.bag == *y.bag;
                      });
}

}  // namespace kelvara
