#include "kelvara/image/lists/APIImageLists.h"

// The collection itself: keys, positions, limits. The exported form of a
// list is in ImageListFile.cpp.

#include <algorithm>

#include "kelvara/image/APIGDIPlus.h"
#include "kelvara/image/Zlib.h"
#include "kelvara/image/detail/ListErrors.h"

namespace kelvara {

using detail::RaiseListError;

APIImageLists::APIImageLists() = default;

APIImageLists::~APIImageLists() = default;

int32_t APIImageLists::MaxImages(int32_t imageWidth, int32_t imageHeight) {
    if (imageWidth < 1 || imageHeight < 1) {
        return 0;
    }
    return static_cast<int32_t>(kMaxPixelsPerList / (int64_t{imageWidth} * imageHeight));
}

bool APIImageLists::CompressionNeeded() {
    return !Zlib::Available() && !APIGDIPlus::isGDIplusOk();
}

int32_t APIImageLists::Find(ListIndex Index) const {
    if (!Index.IsKey()) {
        return Index.Position() >= 1 && Index.Position() <= Count() ? Index.Position() : 0;
    }
    return IsKeyAssigned(Index.Key());
}

int32_t APIImageLists::IsKeyAssigned(std::string_view Key) const {
    if (Key.empty()) {
        return 0;
    }
    const auto found = keyed.find(std::string(Key));
    return found == keyed.end() ? 0 : found->second->Index();
}

APIImageList& APIImageLists::Item(ListIndex Index) {
    const int32_t position = Find(Index);
    if (position == 0) {
        if (Index.IsKey()) {
            RaiseListError(ImageListError::InvalidKeyOrIndex, "ImageLists.Key",
                           detail::ListText::InvalidKey);
        }
        RaiseListError(ImageListError::InvalidKeyOrIndex, "ImageLists.Index",
                       detail::ListText::InvalidIndex);
    }
    return *lists[static_cast<size_t>(position - 1)];
}

APIImageList& APIImageLists::Add(int32_t Width, int32_t Height, std::string_view Key,
                                 int32_t InitImageCount) {
    if (IsKeyAssigned(Key) != 0) {
        RaiseListError(ImageListError::DuplicatedKey, "ImageLists.Add",
                       detail::ListText::DuplicatedKey);
    }
    const int32_t most = MaxImages(Width, Height);
    if (most == 0 || InitImageCount > most) {
        RaiseListError(ImageListError::TooManyImages, "ImageLists.Add",
                       detail::ListText::TooManyImages);
    }
    return Enter(
        std::unique_ptr<APIImageList>(new APIImageList(this, std::string(Key), Width, Height)));
}

APIImageList& APIImageLists::Enter(std::unique_ptr<APIImageList> list) {
    // Room first, so that nothing after the key is entered can fail.
    if (lists.size() == lists.capacity()) {
        lists.reserve(std::max<size_t>(4, lists.capacity() * 2));
    }
    if (!list->key.empty()) {
        keyed.emplace(list->key, list.get());
    }
    list->position = static_cast<int32_t>(lists.size() + 1);
    lists.push_back(std::move(list));
    return *lists.back();
}

void APIImageLists::SetKeyOf(APIImageList& list, std::string_view key) {
    if (list.key == key) {
        return;
    }
    if (IsKeyAssigned(key) != 0) {
        RaiseListError(ImageListError::DuplicatedKey, "ImageLists.Key",
                       detail::ListText::DuplicatedKey);
    }
    std::string newKey(key);
    if (!newKey.empty()) {
        keyed.emplace(newKey, &list);
    }
    if (!list.key.empty()) {
        keyed.erase(list.key);
    }
    list.key = std::move(newKey);
}

void APIImageLists::Renumber(size_t from) {
    for (size_t i = from; i < lists.size(); ++i) {
        lists[i]->position = static_cast<int32_t>(i + 1);
    }
}

void APIImageLists::Remove(ListIndex Index) {
    const size_t at = static_cast<size_t>(Item(Index).Index() - 1);
    if (!lists[at]->key.empty()) {
        keyed.erase(lists[at]->key);
    }
    lists.erase(lists.begin() + static_cast<ptrdiff_t>(at));
    Renumber(at);
}

void APIImageLists::Clear() {
    keyed.clear();
    lists.clear();
}

int32_t APIImageLists::ImageSizesFromStream(std::span<const uint8_t> inStream,
                                            std::vector<IconSize>& arraySizes) {
    arraySizes.clear();
    API32bppDIB picture;
    // The original bytes are kept so that the icon directory can be read.
    if (!picture.LoadPicture_Stream(inStream, 0, 0, 0, 0, true, 32)) {
        return 0;
    }
    if (picture.SourceIconSizes(arraySizes) == 0) {
        arraySizes.assign(1, IconSize{picture.Width(), picture.Height(), 32});
    }
    return static_cast<int32_t>(arraySizes.size());
}

}  // namespace kelvara
