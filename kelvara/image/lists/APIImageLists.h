#pragma once

// APIImageLists: the named image lists that the controls of a form share.
// Each list can be exported to bytes and imported again; the same bytes are
// the .lIL files and what a form stores for the list.
//
// Raises (KelvaraError): 1962 for a key or index that names no list, 1963
// for a duplicated key, 1973 when a list could not hold even its first
// images, 1974 and 1975 when an import fails, 1976 when an export does.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "kelvara/image/lists/APIImageList.h"
#include "kelvara/image/lists/ListIndex.h"

namespace kelvara {

class APIImageLists {
public:
    using iterator = ListIterator<APIImageList>;

    // What a list may hold: image width × height × count stays under this
    // many pixels, which keeps a strip near four megabytes.
    static constexpr int32_t kMaxPixelsPerList = 1024000;

    APIImageLists();
    ~APIImageLists();
    APIImageLists(const APIImageLists&) = delete;
    APIImageLists& operator=(const APIImageLists&) = delete;

    // By key raises 1962 "ImageLists.Key", by position 1962 "ImageLists.Index".
    APIImageList& Item(ListIndex Index);
    APIImageList& operator[](ListIndex Index) { return Item(Index); }
    int32_t Count() const { return static_cast<int32_t>(lists.size()); }
    iterator begin() const { return iterator(lists.begin()); }
    iterator end() const { return iterator(lists.end()); }

    // When on, an export may code the strip with the engine's own Huffman
    // coder where no compressed PNG can be written.
    bool Compression() const { return compression; }
    void SetCompression(bool value) { compression = value; }
    // True when no compressed PNG can be written in this process (no zlib,
    // no GDI+), so that only Compression keeps exports small.
    static bool CompressionNeeded();

    // imageWidth × imageHeight into kMaxPixelsPerList, whole; 0 when a size
    // is below 1.
    static int32_t MaxImages(int32_t imageWidth, int32_t imageHeight);

    // A new, empty list at the end. Raises 1963 ("ImageLists.Add") for a key
    // in use, 1973 ("ImageLists.Add") when MaxImages is 0 or below
    // InitImageCount.
    APIImageList& Add(int32_t Width, int32_t Height, std::string_view Key = {},
                      int32_t InitImageCount = 1);
    // The list's position, or 0 (an empty key is never assigned).
    int32_t IsKeyAssigned(std::string_view Key) const;
    void Remove(ListIndex Index);
    void Clear();

    // Reads an exported list into a new list at the end. Its key is Key when
    // that is not empty, else the one in the data; a key in use gets "(1)",
    // "(2)" ... added until it is free, and the key given to the list is
    // returned in Key. Raises 1974 for a version this code does not know,
    // 1975 for anything else wrong with the data; nothing of a failed import
    // stays behind.
    APIImageList& ImportImageList(std::span<const uint8_t> inData, std::string& Key);
    // Writes a list in the exported form. Raises 1962 ("ImageLists.
    // ExportImageList") when nothing has that key or position, 1976 when the
    // list cannot be written.
    void ExportImageList(ListIndex Index, std::vector<uint8_t>& outData);

    // The sizes a picture offers: those of each icon in an icon file, else
    // one entry with the picture's own width and height (bit depth 32). The
    // count of entries; 0 when the bytes are no picture.
    static int32_t ImageSizesFromStream(std::span<const uint8_t> inStream,
                                        std::vector<IconSize>& arraySizes);

private:
    friend class APIImageList;

    int32_t Find(ListIndex Index) const;
    void SetKeyOf(APIImageList& list, std::string_view key);
    void Renumber(size_t from);
    // `key`, or with "(n)" added for the first n that makes it free.
    std::string FreeKey(const std::string& key) const;
    // Reads the records of a list file into an empty list; false when they
    // are damaged.
    static bool FillImages(APIListImages& images, std::span<const uint8_t> records, bool coded,
                           int32_t count);
    // Enters a made list at the end.
    APIImageList& Enter(std::unique_ptr<APIImageList> list);

    std::vector<std::unique_ptr<APIImageList>> lists;
    std::unordered_map<std::string, APIImageList*> keyed;
    bool compression = false;
};

}  // namespace kelvara
