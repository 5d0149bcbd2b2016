// Arbitrary bytes as a form file made into a live form: every control the
// file names is created and reads its stored properties (any values, of
// any type), the form is shown and painted, then saved and unloaded.
//
// Traps (abort) when one of these breaks:
// - A failure names a line of the text and says something.
// - A form that loads saves to text that reads as a form file again.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/base/FormFile.h"
#include "kelvara/host/FormFileLoader.h"
#include "kelvara/imagectl/USImageList.h"

#include "FuzzInput.h"

namespace {

// Big enough for a form with a few pictures; more only slows the search.
constexpr size_t kMaxInput = 64 * 1024;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > kMaxInput) {
        return 0;
    }
    using namespace kelvara;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    HeadlessDesktop desktop;
    auto loaded = LoadFormFile(text);
    if (!loaded) {
        const FormFileError& error = loaded.Error();
        fuzz::Check(error.Line >= 0 && !error.Message.empty());
        return 0;
    }
    Form& form = *loaded.Value();
    form.Show();
    desktop.Pump();
    const std::string saved = SaveFormFile(form);
    fuzz::Check(static_cast<bool>(ReadFormFile(saved)));
    Unload(form);
    return 0;
}
