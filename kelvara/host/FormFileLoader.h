#pragma once

// Form files as live forms. Loading makes the form's window, sets the
// form's own properties, creates every control by its type name, hands it
// its stored bag (so it reads its properties), and raises the form's Load
// event last. Saving asks every control to write its properties again, so
// a form loaded and saved without a change gives back the same text.
//
// Controls listed inside a control go into that control's own collection
// when it holds controls (a user control); only controls that came from a
// file this way are saved back there — the parts a control makes itself
// are its own business.

#include <memory>
#include <string>
#include <string_view>

#include "kelvara/base/FormFile.h"
#include "kelvara/base/Result.h"
#include "kelvara/host/Form.h"

namespace kelvara {

Result<std::unique_ptr<Form>, FormFileError> LoadForm(const FormObject& file,
                                                      FormMode mode = FormMode::Run);
Result<std::unique_ptr<Form>, FormFileError> LoadFormFile(std::string_view text,
                                                          FormMode mode = FormMode::Run);

FormObject SaveForm(Form& form);
std::string SaveFormFile(Form& form);

}  // namespace kelvara
