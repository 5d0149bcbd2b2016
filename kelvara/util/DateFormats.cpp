#include "kelvara/util/DateFormats.h"

#include <array>

namespace kelvara {

namespace {

constexpr std::array<const char*, 78> kTexts = {
    "yyyy/mm/dd", "dd/mm/yyyy", "mm/dd/yyyy", "dd/mm/yy", "dd-mm-yyyy", "dd.mm.yyyy", "dd-mm-yy",
    "dd.mm.yy",   "d/m/yyyy",   "d-m-yyyy",   "d.m.yyyy", "d/m/yy",     "d-m-yy",     "d.m.yy",
    "mm-dd-yyyy", "mm.dd.yyyy", "mm/dd/yy",   "mm-dd-yy", "mm.dd.yy",   "m/d/yyyy",   "m-d-yyyy",
    "m.d.yyyy",   "m/d/yy",     "m-d-yy",     "m.d.yy",   "yyyy-mm-dd", "yyyy.mm.dd", "yy/mm/dd",
    "yy-mm-dd",   "yy.mm.dd",   "yyyy/m/d",   "yyyy-m-d", "yyyy.m.d",   "yy/m/d",     "yy-m-d",
    "yy.m.d",     "dd/mm",      "dd-mm",      "dd.mm",    "d/mm",       "d-mm",       "d.mm",
    "d/m",        "d.m",        "d-m",        "mm/dd",    "mm-dd",      "mm.dd",      "m/dd",
    "m-dd",       "m.dd",       "m/d",        "m.d",      "m-d",        "mm/yyyy",    "mm-yyyy",
    "mm.yyyy",    "m/yyyy",     "m-yyyy",     "m.yyyy",   "mm/yy",      "mm-yy",      "mm.yy",
    "m/yy",       "m-yy",       "m.yy",       "yyyy/mm",  "yyyy-mm",    "yyyy.mm",    "yyyy/m",
    "yyyy-m",     "yyyy.m",     "yy/mm",      "yy-mm",    "yy.mm",      "yy/m",       "yy-m",
    "yy.m",
};

}  // namespace

std::string DateFormatText(int32_t value) {
    if (value < 0 || value >= static_cast<int32_t>(kTexts.size())) {
        return {};
    }
    return kTexts[static_cast<size_t>(value)];
}

}  // namespace kelvara
