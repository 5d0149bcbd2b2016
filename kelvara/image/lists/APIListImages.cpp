#include "kelvara/image/lists/APIListImages.h"

// Call flow:
//   AddImage_from* → CheckNewImage (index, key, limit) → a loaded temporary
//     → MakeCell (fit into width × height) → Insert → InsertCell (a new
//     strip one cell wider, old cells copied round the new one)
//   Remove → EnsureStrip → RemoveCell
//   Render → Resolve → EnsureStrip (decodes delayed bytes: LoadStrip) →
//     the strip's Render over the image's columns

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "kelvara/image/detail/ByteIO.h"
#include "kelvara/image/detail/ListErrors.h"
#include "kelvara/image/lists/APIImageLists.h"

namespace kelvara {

namespace {

using detail::RaiseListError;
using detail::ListText::InvalidKeyOrIndex;

constexpr uint8_t kPngSignature[8] = {137, 'P', 'N', 'G', 13, 10, 26, 10};

// The alpha type that a surface's pixels call for.
ENUM_ALPHA_TYPE AlphaOf(const PixelBuffer& pixels) {
    bool transparent = false;
    const uint8_t* bits = pixels.Bits();
    for (size_t i = 3; i < pixels.ByteSize(); i += 4) {
        if (bits[i] != 0 && bits[i] != 255) {
            return ENUM_ALPHA_TYPE::AlphaComplex;
        }
        transparent = transparent || bits[i] == 0;
    }
    return transparent ? ENUM_ALPHA_TYPE::AlphaSimple : ENUM_ALPHA_TYPE::AlphaNone;
}

// Copies `from` onto `to` with its top left at (x, y), clipped to `to`.
void Place(const PixelBuffer& from, PixelBuffer& to, int32_t x, int32_t y) {
    const int32_t left = std::max(0, -x);
    const int32_t top = std::max(0, -y);
    const int32_t right = std::min(from.Width(), to.Width() - x);
    const int32_t bottom = std::min(from.Height(), to.Height() - y);
    if (right <= left) {
        return;
    }
    for (int32_t row = top; row < bottom; ++row) {
        std::memcpy(to.Pixel(x + left, y + row), from.Pixel(left, row),
                    static_cast<size_t>(right - left) * 4);
    }
}

// The source size a request comes to within an extent, counting from
// `from`: 0 means everything from there on, a negative size keeps its sign
// (a mirror request), and the magnitude is held to what is left.
int64_t SourceSpan(int32_t requested, int64_t from, int64_t extent) {
    const int64_t left = extent - from;
    if (requested == 0) {
        return left;
    }
    if (requested < 0) {
        return -std::min(-int64_t{requested}, left);
    }
    return std::min(int64_t{requested}, left);
}

// Room for one more item, keeping growth geometric.
template <typename T>
void ReserveOneMore(std::vector<T>& items) {
    if (items.size() == items.capacity()) {
        items.reserve(std::max<size_t>(8, items.capacity() * 2));
    }
}

bool FitsInt32(int64_t v) {
    return v >= INT32_MIN && v <= INT32_MAX;
}

}  // namespace

APIListImages::APIListImages(int32_t Width, int32_t Height) : width(Width), height(Height) {}

APIListImages::~APIListImages() = default;

int32_t APIListImages::MaxImages() const {
    return APIImageLists::MaxImages(width, height);
}

// --- Keys and positions -------------------------------------------------------

int32_t APIListImages::Find(ListIndex Index) const {
    if (!Index.IsKey()) {
        return Index.Position() >= 1 && Index.Position() <= Count() ? Index.Position() : 0;
    }
    return IsKeyAssigned(Index.Key());
}

int32_t APIListImages::Resolve(ListIndex Index, const char* source) const {
    const int32_t position = Find(Index);
    if (position == 0) {
        RaiseListError(ImageListError::InvalidKeyOrIndex, source, InvalidKeyOrIndex);
    }
    return position;
}

int32_t APIListImages::IsKeyAssigned(std::string_view Key) const {
    if (Key.empty()) {
        return 0;
    }
    const auto found = keyed.find(std::string(Key));
    return found == keyed.end() ? 0 : found->second->Index();
}

APIListImage& APIListImages::Item(ListIndex Index) {
    return *views[static_cast<size_t>(Resolve(Index, "Images.Index") - 1)];
}

void APIListImages::SetKeyOf(int32_t position, std::string_view key) {
    std::string& current = keys[static_cast<size_t>(position - 1)];
    if (current == key) {
        return;
    }
    if (IsKeyAssigned(key) != 0) {
        RaiseListError(ImageListError::DuplicatedKey, "Images.Key",
                       detail::ListText::DuplicatedKey);
    }
    std::string newKey(key);
    if (!newKey.empty()) {
        keyed.emplace(newKey, views[static_cast<size_t>(position - 1)].get());
    }
    if (!current.empty()) {
        keyed.erase(current);
    }
    current = std::move(newKey);
}

void APIListImages::Renumber(size_t from) {
    for (size_t i = from; i < views.size(); ++i) {
        views[i]->position = static_cast<int32_t>(i + 1);
    }
}

void APIListImages::Remove(ListIndex Index) {
    const size_t at = static_cast<size_t>(Resolve(Index, "Images.Index") - 1);
    // A delayed strip is decoded first so that the cells after this one can
    // move.
    EnsureStrip();
    RemoveCell(at);
    if (!keys[at].empty()) {
        keyed.erase(keys[at]);
    }
    keys.erase(keys.begin() + static_cast<ptrdiff_t>(at));
    tags.erase(tags.begin() + static_cast<ptrdiff_t>(at));
    views.erase(views.begin() + static_cast<ptrdiff_t>(at));
    Renumber(at);
}

void APIListImages::Clear() {
    keys.clear();
    tags.clear();
    views.clear();
    keyed.clear();
    strip.DestroyDIB();
    stripSource.clear();
    stripPending = false;
}

// --- The strip ------------------------------------------------------------------

bool APIListImages::LoadStrip(std::span<const uint8_t> bytes, int64_t count, int32_t imageWidth,
                              int32_t imageHeight, API32bppDIB& into) {
    into.DestroyDIB();
    const int64_t wantWidth = count * imageWidth;
    // A PNG says its size up front: one of any other size is never decoded,
    // so a damaged list cannot make the reader allocate past the list's
    // limit.
    if (bytes.size() >= 8 && std::memcmp(bytes.data(), kPngSignature, 8) == 0) {
        if (bytes.size() < 24 || std::memcmp(bytes.data() + 12, "IHDR", 4) != 0 ||
            detail::ReadBE32(bytes, 16) != wantWidth ||
            detail::ReadBE32(bytes, 20) != static_cast<uint32_t>(imageHeight)) {
            return false;
        }
    }
    if (!into.LoadPicture_Stream(bytes, 32, 32, 0, 0, false, 32)) {
        return false;
    }
    if (into.Width() != wantWidth || into.Height() != imageHeight) {
        into.DestroyDIB();
        return false;
    }
    return true;
}

bool APIListImages::EnsureStrip() {
    if (views.empty()) {
        return false;
    }
    if (stripPending) {
        stripPending = false;
        if (!LoadStrip(stripSource, Count(), width, height, strip)) {
            stripSource.clear();
        }
    }
    if (strip.Handle() == 0) {
        // Images whose pixels could not be had show as transparent cells.
        stripSource.clear();
        return strip.InitializeDIB(Count() * width, height);
    }
    return true;
}

void APIListImages::InsertCell(size_t at, const API32bppDIB& cell) {
    const int32_t count = Count();
    API32bppDIB grown;
    if (!grown.InitializeDIB((count + 1) * width, height)) {
        RaiseListError(ImageListError::LowResources, "Images", detail::ListText::LowResources);
    }
    const size_t cellBytes = static_cast<size_t>(width) * 4;
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = grown.Pixels().Row(y);
        if (count > 0) {
            const uint8_t* old = strip.Pixels().Row(y);
            std::memcpy(row, old, at * cellBytes);
            std::memcpy(row + (at + 1) * cellBytes, old + at * cellBytes,
                        (static_cast<size_t>(count) - at) * cellBytes);
        }
        std::memcpy(row + at * cellBytes, cell.Pixels().Row(y), cellBytes);
    }
    grown.SetAlpha(count > 0 ? std::max(strip.Alpha(), cell.Alpha()) : cell.Alpha());
    strip.SwapDIBs(&grown);
    stripSource.clear();
    stripPending = false;
}

void APIListImages::RemoveCell(size_t at) {
    stripSource.clear();
    stripPending = false;
    const int32_t count = Count();
    if (count <= 1 || strip.Handle() == 0) {
        strip.DestroyDIB();
        return;
    }
    const size_t cellBytes = static_cast<size_t>(width) * 4;
    const size_t after = (static_cast<size_t>(count) - at - 1) * cellBytes;
    API32bppDIB shrunk;
    if (shrunk.InitializeDIB((count - 1) * width, height)) {
        for (int32_t y = 0; y < height; ++y) {
            const uint8_t* old = strip.Pixels().Row(y);
            uint8_t* row = shrunk.Pixels().Row(y);
            std::memcpy(row, old, at * cellBytes);
            std::memcpy(row + at * cellBytes, old + (at + 1) * cellBytes, after);
        }
        shrunk.SetAlpha(strip.Alpha());
        strip.SwapDIBs(&shrunk);
        return;
    }
    // Without memory for a narrower strip the cells move left in place and
    // the strip keeps its width; only the first Count() cells count.
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = strip.Pixels().Row(y);
        std::memmove(row + at * cellBytes, row + (at + 1) * cellBytes, after);
    }
}

// --- Adding -----------------------------------------------------------------------

void APIListImages::CheckNewImage(const NewImage& entry) const {
    if (entry.index < 0 || entry.index > Count() + 1) {
        RaiseListError(ImageListError::InvalidKeyOrIndex, "Images.Index", InvalidKeyOrIndex);
    }
    if (IsKeyAssigned(entry.key) != 0) {
        RaiseListError(ImageListError::DuplicatedKey, "Images.Add",
                       detail::ListText::DuplicatedKey);
    }
    if (Count() >= MaxImages()) {
        RaiseListError(ImageListError::TooManyImages, "Images.Add",
                       detail::ListText::TooManyImages);
    }
}

APIListImage* APIListImages::AddImage_fromStream(std::span<const uint8_t> inStream,
                                                 int32_t streamStart, int32_t streamLength,
                                                 int32_t iconBitDepth, int32_t Index,
                                                 std::string_view Key, std::string_view Tag,
                                                 bool Scaled) {
    const NewImage entry{Index, Key, Tag, Scaled};
    CheckNewImage(entry);
    API32bppDIB picture;
    if (!picture.LoadPicture_Stream(inStream, width, height, streamStart, streamLength, false,
                                    iconBitDepth)) {
        return nullptr;
    }
    return Insert(picture, entry);
}

APIListImage* APIListImages::AddImage_fromFile(const std::string& FileName, int32_t iconBitDepth,
                                               int32_t Index, std::string_view Key,
                                               std::string_view Tag, bool Scaled) {
    const NewImage entry{Index, Key, Tag, Scaled};
    CheckNewImage(entry);
    API32bppDIB picture;
    if (!picture.LoadPicture_File(FileName, width, height, false, iconBitDepth)) {
        return nullptr;
    }
    return Insert(picture, entry);
}

APIListImage* APIListImages::AddImage_fromDIB(const API32bppDIB& Picture, int32_t Index,
                                              std::string_view Key, std::string_view Tag,
                                              bool Scaled) {
    const NewImage entry{Index, Key, Tag, Scaled};
    CheckNewImage(entry);
    if (Picture.Handle() == 0) {
        return nullptr;
    }
    return Insert(Picture, entry);
}

void APIListImages::MakeCell(const API32bppDIB& picture, bool scaled, API32bppDIB& cell) const {
    if (!cell.InitializeDIB(width, height)) {
        RaiseListError(ImageListError::LowResources, "Images", detail::ListText::LowResources);
    }
    int32_t fitWidth = picture.Width();
    int32_t fitHeight = picture.Height();
    if (scaled) {
        picture.ScaleImage(width, height, fitWidth, fitHeight, ENUM_SCALE_OPTIONS::ScaleToSize);
        // A very thin picture still keeps a line of pixels.
        fitWidth = std::max(fitWidth, 1);
        fitHeight = std::max(fitHeight, 1);
    }
    const API32bppDIB* from = &picture;
    API32bppDIB fitted;
    if (fitWidth != picture.Width() || fitHeight != picture.Height()) {
        picture.CopyImageTo(fitted, fitWidth, fitHeight);
        if (fitted.Handle() == 0) {
            RaiseListError(ImageListError::LowResources, "Images", detail::ListText::LowResources);
        }
        from = &fitted;
    }
    Place(from->Pixels(), cell.Pixels(), (width - fitWidth) / 2, (height - fitHeight) / 2);
    cell.SetAlpha(AlphaOf(cell.Pixels()));
}

APIListImage* APIListImages::Insert(const API32bppDIB& picture, const NewImage& entry) {
    try {
        if (Count() > 0 && !EnsureStrip()) {
            RaiseListError(ImageListError::LowResources, "Images", detail::ListText::LowResources);
        }
        API32bppDIB cell;
        MakeCell(picture, entry.scaled, cell);
        const size_t at = entry.index == 0 ? views.size() : static_cast<size_t>(entry.index - 1);
        // Everything that can fail comes before the strip changes, and the
        // strip is replaced whole or not at all, so a failure leaves the
        // list as it was.
        std::unique_ptr<APIListImage> view(new APIListImage(this, static_cast<int32_t>(at + 1)));
        ReserveOneMore(keys);
        ReserveOneMore(tags);
        ReserveOneMore(views);
        std::string key(entry.key);
        std::string tag(entry.tag);
        if (!key.empty()) {
            keyed.emplace(key, view.get());
        }
        try {
            InsertCell(at, cell);
        } catch (...) {
            if (!key.empty()) {
                keyed.erase(key);
            }
            throw;
        }
        APIListImage* added = view.get();
        keys.insert(keys.begin() + static_cast<ptrdiff_t>(at), std::move(key));
        tags.insert(tags.begin() + static_cast<ptrdiff_t>(at), std::move(tag));
        views.insert(views.begin() + static_cast<ptrdiff_t>(at), std::move(view));
        Renumber(at + 1);
        return added;
    } catch (const std::bad_alloc&) {
        RaiseListError(ImageListError::LowResources, "Images", detail::ListText::LowResources);
    }
}

void APIListImages::AppendImage(std::string key, std::string tag) {
    std::unique_ptr<APIListImage> view(new APIListImage(this, Count() + 1));
    ReserveOneMore(keys);
    ReserveOneMore(tags);
    ReserveOneMore(views);
    if (!key.empty()) {
        keyed.emplace(key, view.get());
    }
    keys.push_back(std::move(key));
    tags.push_back(std::move(tag));
    views.push_back(std::move(view));
}

// --- Drawing -----------------------------------------------------------------------

bool APIListImages::Render(ListIndex Index, Canvas* destinationDC, int32_t DestX, int32_t DestY,
                           int32_t DestWidth, int32_t DestHeight, int32_t srcX, int32_t srcY,
                           int32_t srcWidth, int32_t srcHeight, int32_t Opacity,
                           ENUM_GRAY_SCALE_FORMULAS grayScale, float LightAdjustment, double Angle,
                           bool CenterOnDestXY) {
    const int32_t position = Resolve(Index, "Images.Render");
    if (!EnsureStrip()) {
        return false;
    }
    const int64_t fromX = std::max(srcX, 0);
    const int64_t fromY = std::max(srcY, 0);
    if (fromX >= width || fromY >= height) {
        return false;
    }
    const int64_t spanX = SourceSpan(srcWidth, fromX, width);
    const int64_t spanY = SourceSpan(srcHeight, fromY, height);
    const int64_t toWidth = DestWidth == 0 ? std::abs(spanX) : DestWidth;
    const int64_t toHeight = DestHeight == 0 ? std::abs(spanY) : DestHeight;
    return strip.Render(
        destinationDC, DestX, DestY, static_cast<int32_t>(toWidth), static_cast<int32_t>(toHeight),
        static_cast<int32_t>(int64_t{position - 1} * width + fromX), static_cast<int32_t>(fromY),
        static_cast<int32_t>(spanX), static_cast<int32_t>(spanY), Opacity, true, true, nullptr,
        grayScale, LightAdjustment, Angle, CenterOnDestXY);
}

bool APIListImages::RenderRange(ListIndex StartIndex, ListIndex StopIndex, Canvas* destinationDC,
                                int32_t DestX, int32_t DestY, int32_t imageWidth,
                                int32_t imageHeight) {
    const int32_t first = Resolve(StartIndex, "Images.Render");
    const int32_t last = Resolve(StopIndex, "Images.Render");
    if (first > last) {
        return false;
    }
    const int32_t stepWidth = imageWidth == 0 ? width : imageWidth;
    const int32_t drawHeight = imageHeight == 0 ? height : imageHeight;
    bool drawn = true;
    for (int32_t position = first; position <= last; ++position) {
        const int64_t x = int64_t{DestX} + int64_t{position - first} * stepWidth;
        // Past the coordinate range nothing more can show.
        if (!FitsInt32(x)) {
            return false;
        }
        drawn = Render(position, destinationDC, static_cast<int32_t>(x), DestY, stepWidth,
                       drawHeight) &&
                drawn;
    }
    return drawn;
}

}  // namespace kelvara
