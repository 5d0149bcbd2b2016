#include "kelvara/imagectl/USImageList.h"

#include <algorithm>
#include <string>

#include "kelvara/base/Error.h"
#include "kelvara/frame/ControlPatterns.h"

namespace kelvara {

namespace {

constexpr int32_t kDesignSize = 32;

const bool registered = [] {
    RegisterControlType("KelvaraEx.USImageList", [] { return std::make_unique<USImageList>(); });
    return true;
}();

}  // namespace

USImageList::USImageList() : UserControl("KelvaraEx.USImageList") {
    (void)registered;
    SetCanGetFocus(false);
}

void USImageList::UserControl_Initialize() {
    lists = std::make_unique<APIImageLists>();
}

void USImageList::UserControl_InitProperties() {
    userMode = Ambient().UserMode;
}

void USImageList::UserControl_ReadProperties(PropertyBag& PropBag) {
    userMode = Ambient().UserMode;
    // No bag holds more lists than it has keys, however large "Count" says.
    const int32_t count =
        std::min(StoredNumber<int32_t>(
                     PropBag.ReadProperty("Count", Variant(int32_t{0})).ToDouble().value_or(0)),
                 static_cast<int32_t>(PropBag.Keys().size()));
    for (int32_t i = 1; i <= count; ++i) {
        const Variant stored = PropBag.ReadProperty("Img" + std::to_string(i), Variant());
        const ByteArray* bytes = stored.Get<ByteArray>();
        if (bytes == nullptr) {
            continue;
        }
        // A damaged list is left out without a word; the next one follows.
        try {
            std::string key;
            lists->ImportImageList(*bytes, key);
        } catch (const KelvaraError&) {
        }
    }
}

void USImageList::UserControl_WriteProperties(PropertyBag& PropBag) {
    PropBag.WriteProperty("Count", Variant(lists->Count()), Variant(int32_t{0}));
    for (int32_t i = 1; i <= lists->Count(); ++i) {
        std::vector<uint8_t> bytes;
        try {
            lists->ExportImageList(ListIndex(i), bytes);
        } catch (const KelvaraError&) {
            continue;
        }
        PropBag.WriteProperty("Img" + std::to_string(i), Variant(ByteArray(std::move(bytes))),
                              Variant());
    }
}

void USImageList::UpdateLists() {
    PropertyChanged("UpdateLists");
}

void USImageList::UserControl_Resize() {
    // The same size always, as a toolbox picture.
    const RECT& b = Bounds();
    if (b.Right - b.Left != kDesignSize || b.Bottom - b.Top != kDesignSize) {
        SetBounds(RECT{b.Left, b.Top, b.Left + kDesignSize, b.Top + kDesignSize});
        return;
    }
    if (Ambient().UserMode) {
        return;
    }
    // Three stacked picture frames.
    PaintOffscreen(*this, [&] {
        Canvas& dc = hDC();
        dc.FillRect(RECT{0, 0, kDesignSize, kDesignSize}, 0xC8D0D4);
        const COLORREF fills[] = {0x3C9BF0, 0x4CB04C, 0xD77800};
        for (int32_t i = 0; i < 3; ++i) {
            const int32_t o = 4 + i * 5;
            const RECT r{o, o, o + 16, o + 13};
            dc.FillRect(r, 0xFFFFFF);
            dc.FrameRect(r, 0x404040);
            dc.FillRect(RECT{r.Left + 2, r.Top + 2, r.Right - 2, r.Bottom - 2}, fills[i]);
        }
        dc.FrameRect(RECT{0, 0, kDesignSize, kDesignSize}, 0x808080);
    });
}

void USImageList::UserControl_Show() {
    if (Ambient().UserMode) {
        SetVisible(false);
    }
}

}  // namespace kelvara
