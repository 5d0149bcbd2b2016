#pragma once

// What the image-list collections share with their callers: how an item is
// named (a position from 1, or a key), the numbers of the errors they raise,
// and the iterator that walks their items.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kelvara {

// The numbered errors of the image-list classes, raised as KelvaraError with
// the member's source ("Images.Add", "ImageLists.ImportImageList" ...).
namespace ImageListError {
inline constexpr int32_t InvalidKeyOrIndex = 1962;
inline constexpr int32_t DuplicatedKey = 1963;
inline constexpr int32_t TooManyImages = 1973;
inline constexpr int32_t InvalidVersion = 1974;
inline constexpr int32_t ImportFailed = 1975;
inline constexpr int32_t ExportFailed = 1976;
inline constexpr int32_t LowResources = 1977;
}  // namespace ImageListError

// An item of a collection by position (from 1) or by key. A number is always
// a position, text always a key, as with the host's collections. The key is
// only looked at during the call that receives it.
class ListIndex {
public:
    ListIndex(int32_t position) : position(position) {}
    ListIndex(std::string_view key) : key(key), isKey(true) {}
    ListIndex(const std::string& key) : key(key), isKey(true) {}
    ListIndex(const char* key) : key(key), isKey(true) {}

    bool IsKey() const { return isKey; }
    int32_t Position() const { return position; }
    std::string_view Key() const { return key; }

private:
    int32_t position = 0;
    std::string_view key;
    bool isKey = false;
};

// Walks a vector of owned items as references to the items.
template <typename T>
class ListIterator {
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = T*;
    using reference = T&;
    using Base = typename std::vector<std::unique_ptr<std::remove_const_t<T>>>::const_iterator;

    ListIterator() = default;
    explicit ListIterator(Base at) : at(at) {}

    T& operator*() const { return **at; }
    T* operator->() const { return at->get(); }
    T& operator[](difference_type n) const { return *at[n]; }
    ListIterator& operator++() {
        ++at;
        return *this;
    }
    ListIterator operator++(int) { return ListIterator(at++); }
    ListIterator& operator--() {
        --at;
        return *this;
    }
    ListIterator operator--(int) { return ListIterator(at--); }
    ListIterator& operator+=(difference_type n) {
        at += n;
        return *this;
    }
    ListIterator& operator-=(difference_type n) {
        at -= n;
        return *this;
    }
    friend ListIterator operator+(ListIterator i, difference_type n) { return i += n; }
    friend ListIterator operator+(difference_type n, ListIterator i) { return i += n; }
    friend ListIterator operator-(ListIterator i, difference_type n) { return i -= n; }
    friend difference_type operator-(const ListIterator& a, const ListIterator& b) {
        return a.at - b.at;
    }
    friend bool operator==(const ListIterator& a, const ListIterator& b) { return a.at == b.at; }
    friend auto operator<=>(const ListIterator& a, const ListIterator& b) { return a.at <=> b.at; }

private:
    Base at{};
};

}  // namespace kelvara
