#pragma once

// KV_ITaskBarList3: what a window shows on the desktop's task bar besides
// its caption — a progress indicator, an overlay icon, the part of the
// window its thumbnail shows, and the thumbnail's tooltip. The values are
// kept per window for the backend to show; each call answers with the
// host's result code: S_OK, or E_INVALIDARG for something that is not a
// window or a value out of range.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/gfx/Rect.h"
#include "kelvara/host/Win32.h"

namespace kelvara {

inline constexpr int32_t S_OK = 0;
inline constexpr int32_t E_INVALIDARG = static_cast<int32_t>(0x80070057U);

// Progress states, by the host's flag values.
inline constexpr int32_t TBPF_NOPROGRESS = 0;
inline constexpr int32_t TBPF_INDETERMINATE = 1;
inline constexpr int32_t TBPF_NORMAL = 2;
inline constexpr int32_t TBPF_ERROR = 4;
inline constexpr int32_t TBPF_PAUSED = 8;

class KV_ITaskBarList3 {
public:
    struct Entry {
        int32_t ProgressState = TBPF_NOPROGRESS;
        uint64_t Completed = 0;
        uint64_t Total = 0;
        std::shared_ptr<const PixelBuffer> OverlayIcon;
        std::string OverlayDescription;
        std::optional<RECT> ThumbnailClip;  // nothing: the whole window
        std::string ThumbnailTooltip;
    };

    int32_t SetProgressState(HWND hwnd, int32_t flags);
    // Setting a value shows the normal state when no progress showed.
    int32_t SetProgressValue(HWND hwnd, uint64_t completed, uint64_t total);
    int32_t SetOverlayIcon(HWND hwnd, std::shared_ptr<const PixelBuffer> icon,
                           std::string_view description);
    // nullptr clears the clip.
    int32_t SetThumbnailClip(HWND hwnd, const RECT* clip);
    int32_t SetThumbnailTooltip(HWND hwnd, std::string_view tip);

    // What a window shows now (a default entry for one never set).
    static Entry For(HWND hwnd);
};

}  // namespace kelvara
