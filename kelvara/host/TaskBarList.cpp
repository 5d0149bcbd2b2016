#include "kelvara/host/TaskBarList.h"

#include "kelvara/host/WindowCore.h"

namespace kelvara {

namespace {

// Shared by every task-bar object, as the desktop's one task bar is; a
// window is known by its core and handle, since each core counts handles
// from the same start.
using Key = std::pair<const WindowCore*, HWND>;
std::map<Key, KV_ITaskBarList3::Entry>& Entries() {
    static std::map<Key, KV_ITaskBarList3::Entry> entries;
    return entries;
}

KV_ITaskBarList3::Entry* Find(HWND hwnd) {
    const Key key{&WindowCore::Current(), hwnd};
    if (!IsWindow(hwnd)) {
        // A window that is gone takes its entry with it.
        Entries().erase(key);
        return nullptr;
    }
    return &Entries()[key];
}

}  // namespace

int32_t KV_ITaskBarList3::SetProgressState(HWND hwnd, int32_t flags) {
    Entry* e = Find(hwnd);
    const bool known = flags == TBPF_NOPROGRESS || flags == TBPF_INDETERMINATE ||
                       flags == TBPF_NORMAL || flags == TBPF_ERROR || flags == TBPF_PAUSED;
    if (e == nullptr || !known) {
        return E_INVALIDARG;
    }
    e->ProgressState = flags;
    return S_OK;
}

int32_t KV_ITaskBarList3::SetProgressValue(HWND hwnd, uint64_t completed, uint64_t total) {
    Entry* e = Find(hwnd);
    if (e == nullptr) {
        return E_INVALIDARG;
    }
    e->Completed = completed > total ? total : completed;
    e->Total = total;
    if (e->ProgressState == TBPF_NOPROGRESS || e->ProgressState == TBPF_INDETERMINATE) {
        e->ProgressState = TBPF_NORMAL;
    }
    return S_OK;
}

int32_t KV_ITaskBarList3::SetOverlayIcon(HWND hwnd, std::shared_ptr<const PixelBuffer> icon,
                                         std::string_view description) {
    Entry* e = Find(hwnd);
    if (e == nullptr) {
        return E_INVALIDARG;
    }
    e->OverlayIcon = std::move(icon);
    e->OverlayDescription = std::string(description);
    return S_OK;
}

int32_t KV_ITaskBarList3::SetThumbnailClip(HWND hwnd, const RECT* clip) {
    Entry* e = Find(hwnd);
    if (e == nullptr ||
        (clip != nullptr && (clip->Right < clip->Left || clip->Bottom < clip->Top))) {
        return E_INVALIDARG;
    }
    e->ThumbnailClip = clip == nullptr ? std::nullopt : std::optional<RECT>(*clip);
    return S_OK;
}

int32_t KV_ITaskBarList3::SetThumbnailTooltip(HWND hwnd, std::string_view tip) {
    Entry* e = Find(hwnd);
    if (e == nullptr) {
        return E_INVALIDARG;
    }
    e->ThumbnailTooltip = std::string(tip);
    return S_OK;
}

KV_ITaskBarList3::Entry KV_ITaskBarList3::For(HWND hwnd) {
    const Entry* e = Find(hwnd);
    return e == nullptr ? Entry{} : *e;
}

}  // namespace kelvara
