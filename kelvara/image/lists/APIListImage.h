#pragma once

// APIListImage: one image of a list, as a thin view. It holds no data of its
// own: key, tag, index and size are all asked of the list that owns it. A
// view stays valid until its image is removed or its list is cleared.

#include <cstdint>
#include <string>
#include <string_view>

namespace kelvara {

class APIListImages;

class APIListImage {
public:
    APIListImage(const APIListImage&) = delete;
    APIListImage& operator=(const APIListImage&) = delete;

    const std::string& Key() const;
    // Raises 1963 ("Images.Key") when another image has the key. An empty
    // key is always allowed.
    void SetKey(std::string_view Key);
    // The position in the list, from 1.
    int32_t Index() const { return position; }
    const std::string& Tag() const;
    void SetTag(std::string_view Tag);
    int32_t Width() const;
    int32_t Height() const;

private:
    friend class APIListImages;
    APIListImage(APIListImages* parent, int32_t position) : parent(parent), position(position) {}

    APIListImages* parent;
    int32_t position;
};

}  // namespace kelvara
