#pragma once

// The gallery's page and the run that makes it: every scene's picture and
// index.html, which shows them with what each shows and how it was made.

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "Scenes.h"
#include "Stage.h"

namespace kelvara::gallery {

// Text made safe inside HTML elements and attribute values.
std::string HtmlEscape(std::string_view text);

// The page for scenes whose pictures are written.
std::string PageHtml(const std::vector<Scene>& scenes);

// Runs every scene on the stage into folder `out` (made if missing) and
// writes index.html there. Progress and faults go to `log`; false when a
// scene or a file failed (the others are still written).
bool RunGallery(Stage& stage, const std::string& out, std::ostream& log);

}  // namespace kelvara::gallery
