#include <gtest/gtest.h>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/grid/GridModel.h"
#include "kelvara/host/WindowCore.h"

namespace kelvara {
namespace {

TEST(GridTaskBar, MembersReachTheWindowsTaskBarEntry) {
    HeadlessDesktop desktop;
    GridModel grid;
    const HWND w = CreateWindowEx(0, "Test", "w", WS_POPUP, 0, 0, 10, 10, 0, nullptr);

    EXPECT_EQ(grid.TaskBar_SetProgressValue(w, 40), S_OK);
    auto entry = KV_ITaskBarList3::For(w);
    EXPECT_EQ(entry.ProgressState, TBPF_NORMAL) << "a value shows progress";
    EXPECT_EQ(entry.Completed, 40U);
    EXPECT_EQ(entry.Total, 100U);
    EXPECT_EQ(grid.TaskBar_SetProgressState(w, TBPF_PAUSED), S_OK);
    EXPECT_EQ(grid.TaskBar_SetProgressValue(w, 50), S_OK);
    EXPECT_EQ(KV_ITaskBarList3::For(w).ProgressState, TBPF_PAUSED) << "a value keeps the state";
    EXPECT_EQ(grid.TaskBar_SetThumbnailClip(w, 1, 2, 8, 9), S_OK);
    EXPECT_EQ(KV_ITaskBarList3::For(w).ThumbnailClip, (RECT{1, 2, 8, 9}));
    EXPECT_EQ(grid.TaskBar_SetThumbnailTooltip(w, "Importando notas"), S_OK);
    EXPECT_EQ(KV_ITaskBarList3::For(w).ThumbnailTooltip, "Importando notas");
    EXPECT_EQ(grid.TaskBar_SetOverlayIcon(w, nullptr, "ok"), S_OK);

    const struct {
        int32_t result;
        const char* what;
    } refused[] = {
        {grid.TaskBar_SetProgressState(w, 3), "no such state"},
        {grid.TaskBar_SetProgressValue(w, 101), "beyond 100"},
        {grid.TaskBar_SetProgressValue(w, -1), "below 0"},
        {grid.TaskBar_SetThumbnailClip(w, 5, 5, 4, 9), "inverted clip"},
        {grid.TaskBar_SetThumbnailTooltip(0x7777, "x"), "not a window"},
    };
    for (const auto& r : refused) {
        EXPECT_EQ(r.result, E_INVALIDARG) << r.what;
    }
    DestroyWindow(w);
    EXPECT_EQ(KV_ITaskBarList3::For(w).ProgressState, TBPF_NOPROGRESS);
}

}  // namespace
}  // namespace kelvara
