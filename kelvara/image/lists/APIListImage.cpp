#include "kelvara/image/lists/APIListImage.h"

#include "kelvara/image/lists/APIListImages.h"

namespace kelvara {

const std::string& APIListImage::Key() const {
    return parent->keys[static_cast<size_t>(position - 1)];
}

void APIListImage::SetKey(std::string_view Key) {
    parent->SetKeyOf(position, Key);
}

const std::string& APIListImage::Tag() const {
    return parent->tags[static_cast<size_t>(position - 1)];
}

void APIListImage::SetTag(std::string_view Tag) {
    parent->tags[static_cast<size_t>(position - 1)] = Tag;
}

int32_t APIListImage::Width() const {
    return parent->Width();
}

int32_t APIListImage::Height() const {
    return parent->Height();
}

}  // namespace kelvara
