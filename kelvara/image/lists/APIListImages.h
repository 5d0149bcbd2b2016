#pragma once

// APIListImages: the images of one list, all of one size, kept side by side
// in one strip: image n (from 1) occupies columns (n − 1) × Width() to
// n × Width() − 1 of a single surface, all rows.
//
// An image comes in through a temporary surface (any format the surface
// reads), is fitted into a Width() × Height() cell, and the strip grows by
// one cell. Imported lists may keep the strip as undecoded bytes
// (DelayLoaded) until something first needs its pixels.
//
// Raises (KelvaraError): 1962 for an index or key that names no image, 1963
// for a duplicated key, 1973 past MaxImages, 1977 when the strip cannot grow.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "kelvara/image/API32bppDIB.h"
#include "kelvara/image/lists/APIListImage.h"
#include "kelvara/image/lists/ListIndex.h"

namespace kelvara {

class Canvas;

class APIListImages {
public:
    using iterator = ListIterator<APIListImage>;

    APIListImages(int32_t Width, int32_t Height);
    ~APIListImages();
    APIListImages(const APIListImages&) = delete;
    APIListImages& operator=(const APIListImages&) = delete;

    int32_t Count() const { return static_cast<int32_t>(views.size()); }
    int32_t Width() const { return width; }
    int32_t Height() const { return height; }
    // How many images of this size a list may hold.
    int32_t MaxImages() const;
    bool DelayLoaded() const { return delayLoaded; }
    void SetDelayLoaded(bool value) { delayLoaded = value; }

    // Raises 1962 ("Images.Index") when nothing has that position or key.
    APIListImage& Item(ListIndex Index);
    APIListImage& operator[](ListIndex Index) { return Item(Index); }
    // The image's position, or 0 when no image has the key (an empty key
    // is never assigned).
    int32_t IsKeyAssigned(std::string_view Key) const;
    void Remove(ListIndex Index);
    void Clear();

    iterator begin() const { return iterator(views.begin()); }
    iterator end() const { return iterator(views.end()); }

    // The adders load the source into a temporary surface and add it; they
    // return the new image, or nullptr when the source is no picture. For a
    // multi-icon file the icon nearest the list's size is taken.
    //   Index   0: at the end; 1 to Count() + 1: before that image
    //   Key     empty: no key
    //   Scaled  fit the picture into the cell keeping its shape; else it
    //           keeps its own size. Either way it is centred.
    APIListImage* AddImage_fromStream(std::span<const uint8_t> inStream, int32_t streamStart = 0,
                                      int32_t streamLength = 0, int32_t iconBitDepth = 32,
                                      int32_t Index = 0, std::string_view Key = {},
                                      std::string_view Tag = {}, bool Scaled = true);
    APIListImage* AddImage_fromFile(const std::string& FileName, int32_t iconBitDepth = 32,
                                    int32_t Index = 0, std::string_view Key = {},
                                    std::string_view Tag = {}, bool Scaled = true);
    // nullptr when the surface holds no image.
    APIListImage* AddImage_fromDIB(const API32bppDIB& Picture, int32_t Index = 0,
                                   std::string_view Key = {}, std::string_view Tag = {},
                                   bool Scaled = true);

    // Draws one image as API32bppDIB::Render draws a picture, the image
    // standing for the whole picture: DestWidth and DestHeight 0 take the
    // size of the part drawn, srcWidth and srcHeight 0 the rest of the image,
    // and a negative srcWidth or srcHeight mirrors. Raises 1962
    // ("Images.Render") for a bad index or key.
    bool Render(ListIndex Index, Canvas* destinationDC, int32_t DestX = 0, int32_t DestY = 0,
                int32_t DestWidth = 0, int32_t DestHeight = 0, int32_t srcX = 0, int32_t srcY = 0,
                int32_t srcWidth = 0, int32_t srcHeight = 0, int32_t Opacity = 100,
                ENUM_GRAY_SCALE_FORMULAS grayScale = ENUM_GRAY_SCALE_FORMULAS::GrayScaleNone,
                float LightAdjustment = 0, double Angle = 0, bool CenterOnDestXY = false);
    // Images StartIndex to StopIndex side by side from (DestX, DestY), each
    // imageWidth × imageHeight (0: the list's size). False when StartIndex
    // comes after StopIndex; 1962 ("Images.Render") for a bad index or key.
    bool RenderRange(ListIndex StartIndex, ListIndex StopIndex, Canvas* destinationDC,
                     int32_t DestX = 0, int32_t DestY = 0, int32_t imageWidth = 0,
                     int32_t imageHeight = 0);

private:
    friend class APIListImage;
    friend class APIImageLists;  // the list file reads and fills the images directly

    // Position (from 1) of an item, or 0.
    int32_t Find(ListIndex Index) const;
    int32_t Resolve(ListIndex Index, const char* source) const;
    void SetKeyOf(int32_t position, std::string_view key);
    void Renumber(size_t from);
    // The pixels of the strip, decoding delayed bytes first. False when
    // there are no images; a strip that will not decode is replaced by
    // transparent cells.
    bool EnsureStrip();
    // Decodes strip bytes of a list file; false (and `into` empty) unless
    // they hold a picture of exactly count × imageWidth by imageHeight.
    static bool LoadStrip(std::span<const uint8_t> bytes, int64_t count, int32_t imageWidth,
                          int32_t imageHeight, API32bppDIB& into);
    // Where a new image goes and what it carries.
    struct NewImage {
        int32_t index;
        std::string_view key;
        std::string_view tag;
        bool scaled;
    };
    void CheckNewImage(const NewImage& entry) const;
    void MakeCell(const API32bppDIB& picture, bool scaled, API32bppDIB& cell) const;
    APIListImage* Insert(const API32bppDIB& picture, const NewImage& entry);
    void InsertCell(size_t at, const API32bppDIB& cell);
    // Appends an image without pixels (the strip comes separately); the key
    // must be free.
    void AppendImage(std::string key, std::string tag);
    void RemoveCell(size_t at);

    int32_t width;
    int32_t height;
    bool delayLoaded = false;
    std::vector<std::string> keys;
    std::vector<std::string> tags;
    std::vector<std::unique_ptr<APIListImage>> views;
    std::unordered_map<std::string, APIListImage*> keyed;
    // At least Count() × width wide while there are images, else empty.
    API32bppDIB strip;
    // The file bytes the strip comes from, as long as its pixels are still
    // theirs; the strip is decoded from them on first use when
    // stripPending.
    std::vector<uint8_t> stripSource;
    bool stripPending = false;
};

}  // namespace kelvara
