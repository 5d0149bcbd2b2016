#pragma once

// The texts of the image-list errors and the one way they are raised, for
// the files of kelvara/image/lists.

#include <cstdint>

#include "kelvara/base/Error.h"
#include "kelvara/image/lists/ListIndex.h"

namespace kelvara::detail {

namespace ListText {
inline constexpr const char* InvalidKey = "Invalid Key";
inline constexpr const char* InvalidIndex = "Invalid Index";
inline constexpr const char* InvalidKeyOrIndex = "Invalid Key or Index";
inline constexpr const char* DuplicatedKey =
    "Duplicated Key. Key already exists in this collection";
inline constexpr const char* TooManyImages =
    "Maximum number of images have been exceeded. Create new image list";
inline constexpr const char* InvalidVersion =
    "Invalid ImageList Version. Update your ImageList classes/control";
inline constexpr const char* ImportFailed = "Failed to Import external image list";
inline constexpr const char* ExportFailed =
    "Error exporting image list. Ensure enough disk space and valid write-permissions";
inline constexpr const char* LowResources =
    "Low system resource preventing appending additional images";
}  // namespace ListText

[[noreturn]] inline void RaiseListError(int32_t number, const char* source, const char* text) {
    throw KelvaraError(number, source, text);
}

}  // namespace kelvara::detail
