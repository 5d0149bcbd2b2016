#pragma once

// APIImageList: one named list of a collection, holding images of one size.
// Made only by APIImageLists (Add, ImportImageList); valid until it is
// removed from its collection or the collection is cleared.

#include <cstdint>
#include <string>
#include <string_view>

#include "kelvara/image/lists/APIListImages.h"

namespace kelvara {

class APIImageLists;

class APIImageList {
public:
    APIImageList(const APIImageList&) = delete;
    APIImageList& operator=(const APIImageList&) = delete;

    const std::string& Key() const { return key; }
    // Raises 1963 ("ImageLists.Key") when another list has the key. An
    // empty key is always allowed.
    void SetKey(std::string_view Key);
    // The position in the collection, from 1.
    int32_t Index() const { return position; }
    int32_t Width() const { return images.Width(); }
    int32_t Height() const { return images.Height(); }
    int32_t MaxImages() const { return images.MaxImages(); }
    APIListImages& Images() { return images; }
    const APIListImages& Images() const { return images; }

private:
    friend class APIImageLists;
    APIImageList(APIImageLists* parent, std::string key, int32_t width, int32_t height)
        : parent(parent), key(std::move(key)), images(width, height) {}

    APIImageLists* parent;
    std::string key;
    int32_t position = 0;
    APIListImages images;
};

}  // namespace kelvara
