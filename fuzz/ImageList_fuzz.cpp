// Arbitrary bytes through ImportImageList.
//
// Input: the first byte's bits: 1 zlib on, 2 the caller names the key
// ("icons", already taken, so that it gets a number added). The rest is the
// list file. The collection already holds one list. Traps (abort) when one
// of these breaks:
// - An import either adds one list or raises 1974 or 1975 from
//   "ImageLists.ImportImageList" and leaves the collection as it was; any
//   other exception ends the run on its own.
// - An imported list holds no more than MaxImages images of a size above 0,
//   and every image renders (which decodes a delayed strip).
// - The list exports without error, and the export imports again with the
//   same size, keys, tags and pixels (of the first kMaxCompared images).
// Files with a picture header asking for more than kMaxPixels are skipped,
// so that each run stays quick; the readers' own limits are far higher.

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "kelvara/base/Error.h"
#include "kelvara/image/Zlib.h"
#include "kelvara/image/lists/APIImageLists.h"

#include "FuzzInput.h"

namespace {

using kelvara::API32bppDIB;
using kelvara::APIImageList;
using kelvara::APIImageLists;
using kelvara::KelvaraError;
using kelvara::fuzz::Check;

constexpr uint64_t kMaxPixels = uint64_t{1} << 22;
constexpr int32_t kMaxCompared = 16;

uint64_t BE32(const uint8_t* p) {
    return uint64_t{p[0]} << 24 | uint64_t{p[1]} << 16 | uint64_t{p[2]} << 8 | p[3];
}

uint64_t LE32(const uint8_t* p) {
    return uint64_t{p[3]} << 24 | uint64_t{p[2]} << 16 | uint64_t{p[1]} << 8 | p[0];
}

// True when a PNG IHDR or a bitmap header somewhere declares a picture
// above kMaxPixels.
bool AsksForTooMuch(std::span<const uint8_t> file) {
    for (size_t i = 0; i + 12 <= file.size(); ++i) {
        const uint8_t* p = file.data() + i;
        if (std::memcmp(p, "IHDR", 4) == 0 && BE32(p + 4) * BE32(p + 8) > kMaxPixels) {
            return true;
        }
        if (i + 26 <= file.size() && p[0] == 'B' && p[1] == 'M') {
            const uint64_t w = LE32(p + 18);
            const uint64_t h = LE32(p + 22);
            const uint64_t absH = h >= 0x80000000u ? 0x100000000u - h : h;
            if (w * absH > kMaxPixels) {
                return true;
            }
        }
    }
    return false;
}

std::vector<uint8_t> PixelsOf(APIImageList& list, int32_t index) {
    API32bppDIB target;
    Check(target.InitializeDIB(list.Width(), list.Height()));
    Check(list.Images().Render(index, target.LoadDIBinDC(true)));
    const uint8_t* bits = target.BitsPointer();
    return std::vector<uint8_t>(bits, bits + target.Pixels().ByteSize());
}

void CheckSame(APIImageList& a, APIImageList& b) {
    Check(a.Width() == b.Width() && a.Height() == b.Height());
    Check(a.Images().Count() == b.Images().Count());
    Check(a.Images().DelayLoaded() == b.Images().DelayLoaded());
    for (int32_t i = 1; i <= a.Images().Count(); ++i) {
        Check(a.Images().Item(i).Key() == b.Images().Item(i).Key());
        Check(a.Images().Item(i).Tag() == b.Images().Item(i).Tag());
        if (i <= kMaxCompared) {
            Check(PixelsOf(a, i) == PixelsOf(b, i));
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) {
        return 0;
    }
    const std::span<const uint8_t> file(data + 1, size - 1);
    if (AsksForTooMuch(file)) {
        return 0;
    }
    const kelvara::ZlibScope zlib((data[0] & 1) != 0);
    APIImageLists lists;
    lists.Add(16, 16, "icons");
    std::string key = (data[0] & 2) != 0 ? "icons" : "";
    APIImageList* list = nullptr;
    try {
        list = &lists.ImportImageList(file, key);
    } catch (const KelvaraError& e) {
        Check(e.number == 1974 || e.number == 1975);
        Check(e.source == "ImageLists.ImportImageList");
        Check(lists.Count() == 1);
        return 0;
    }
    Check(lists.Count() == 2 && list->Index() == 2 && list->Key() == key);
    Check(key != "icons");
    Check(list->Width() >= 1 && list->Height() >= 1);
    Check(list->Images().Count() <= list->MaxImages());
    for (int32_t i = 1; i <= list->Images().Count() && i <= kMaxCompared; ++i) {
        PixelsOf(*list, i);
    }

    std::vector<uint8_t> exported;
    lists.ExportImageList(2, exported);
    std::string again;
    APIImageList& copy = lists.ImportImageList(exported, again);
    CheckSame(*list, copy);
    return 0;
}
