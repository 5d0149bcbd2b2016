#pragma once

// The gallery's scenes: each builds its form(s), plays input on a stage
// and makes one picture. Sheets put together several moments of the same
// controls (a button cannot be under the mouse and pressed at once): each
// cell of a sheet is cut from a picture of the form taken while that
// cell's input was held.

#include <functional>
#include <string>
#include <vector>

#include "Stage.h"
#include "kelvara/image/API32bppDIB.h"

namespace kelvara::gallery {

struct Scene {
    std::string file;  // the picture's file name
    std::string title;
    std::string shows;  // what is in the picture
    std::string input;  // what was done to get it
    std::function<bool(Stage&, API32bppDIB&)> make;
};

std::vector<Scene> GalleryScenes();

// Where sheets put their cells: the control's own rectangle in the sheet.
RECT ButtonSheetCell(int32_t theme, int32_t column);
RECT ToggleSheetCell(int32_t theme, int32_t column);

}  // namespace kelvara::gallery
