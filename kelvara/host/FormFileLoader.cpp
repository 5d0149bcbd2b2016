#include "kelvara/host/FormFileLoader.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "kelvara/base/Text.h"
#include "kelvara/host/Intrinsics.h"
#include "kelvara/host/UserControl.h"

namespace kelvara {

namespace {

// The form's own keys, in the order they are written.
constexpr std::string_view kFormKeys[] = {
    "Caption",         "BackColor", "ForeColor",   "BorderStyle", "ClientHeight",
    "ClientLeft",      "ClientTop", "ClientWidth", "ControlBox",  "Icon",
    "KeyPreview",      "MaxButton", "MinButton",   "ScaleMode",   "ShowInTaskbar",
    "StartUpPosition", "Tag",       "Font"};

bool IsFormKey(std::string_view key) {
    for (std::string_view k : kFormKeys) {
        if (StrComp(k, key, CompareMethod::Text) == 0) {
            return true;
        }
    }
    return false;
}

double Number(const PropertyBag& bag, std::string_view key, double fallback) {
    return bag.ReadProperty(key, Variant(fallback)).ToDouble().value_or(fallback);
}

bool Flag(const PropertyBag& bag, std::string_view key, bool fallback) {
    return bag.ReadProperty(key, Variant(fallback)).ToBool().value_or(fallback);
}

int32_t Twips(int32_t pixels, int32_t per) {
    return pixels * per;
}
// Within the places a window may have, so that nothing computed from it
// overflows.
int32_t Pixels(double twips, int32_t per) {
    const auto limit = static_cast<double>(kMaxWindowCoordinate);
    return StoredNumber<int32_t>(std::round(std::clamp(twips / per, -limit, limit)));
}

void ApplyFormProperties(Form& form, const PropertyBag& bag) {
    form.SetCaption(bag.ReadProperty("Caption", Variant(form.Name())).ToText().value_or(""));
    form.SetBackColor(
        static_cast<OLE_COLOR>(StoredNumber<int64_t>(Number(bag, "BackColor", 0x8000000F))));
    form.SetForeColor(
        static_cast<OLE_COLOR>(StoredNumber<int64_t>(Number(bag, "ForeColor", 0x80000012))));
    form.SetBorderStyle(static_cast<FormBorderStyle>(
        std::clamp<int16_t>(StoredNumber<int16_t>(Number(bag, "BorderStyle", 2)), 0, 5)));
    form.SetControlBox(Flag(bag, "ControlBox", true));
    form.SetMaxButton(Flag(bag, "MaxButton", true));
    form.SetMinButton(Flag(bag, "MinButton", true));
    form.SetKeyPreview(Flag(bag, "KeyPreview", false));
    form.SetScaleMode(static_cast<ScaleModeConstants>(
        std::clamp<int16_t>(StoredNumber<int16_t>(Number(bag, "ScaleMode", 1)), 0, 10)));
    form.SetShowInTaskBar(Flag(bag, "ShowInTaskbar", form.ShowInTaskBar()));
    form.SetStartUpPosition(StoredNumber<int16_t>(Number(bag, "StartUpPosition", 3)));
    form.SetTag(bag.ReadProperty("Tag", Variant("")).ToText().value_or(""));
    form.SetFont(ReadFontProperty(bag, "Font", DefaultFont()));
    if (auto icon = ReadPictureProperty(bag, "Icon")) {
        form.SetIcon(std::move(icon));
    }
    const int32_t width = Pixels(Number(bag, "ClientWidth", 4680), Screen::TwipsPerPixelX);
    const int32_t height = Pixels(Number(bag, "ClientHeight", 3195), Screen::TwipsPerPixelY);
    form.SetClientSizePixels(width, height);
    const POINT origin = form.ClientOrigin();
    const int32_t left = Pixels(Number(bag, "ClientLeft", 0), Screen::TwipsPerPixelX) - origin.X;
    const int32_t top = Pixels(Number(bag, "ClientTop", 0), Screen::TwipsPerPixelY) - origin.Y;
    const int16_t position = form.StartUpPosition();
    form.Move(static_cast<float>(Twips(left, Screen::TwipsPerPixelX)),
              static_cast<float>(Twips(top, Screen::TwipsPerPixelY)), form.Width(), form.Height());
    // Moving sets a manual position; the stored one stays in charge.
    form.SetStartUpPosition(position);
    form.SetDesignPosition(POINT{static_cast<int32_t>(Number(bag, "ClientLeft", 0)),
                                 static_cast<int32_t>(Number(bag, "ClientTop", 0))});
    PropertyBag& other = form.OtherProperties();
    other = PropertyBag();
    for (const std::string& key : bag.Keys()) {
        if (IsFormKey(key)) {
            continue;
        }
        if (const PropertyBag* nested = bag.ReadBag(key)) {
            other.WriteBag(key, *nested);
        } else {
            other.WriteProperty(key, bag.ReadProperty(key, Variant()), Variant::Null());
        }
    }
}

PropertyBag FormProperties(Form& form) {
    PropertyBag bag;
    bag.WriteProperty("Caption", Variant(form.Caption()), Variant(form.Name()));
    bag.WriteProperty("BackColor", Variant(static_cast<int32_t>(form.BackColor())),
                      Variant(static_cast<int32_t>(0x8000000F)));
    bag.WriteProperty("ForeColor", Variant(static_cast<int32_t>(form.ForeColor())),
                      Variant(static_cast<int32_t>(0x80000012)));
    bag.WriteProperty("BorderStyle", Variant(static_cast<int32_t>(form.BorderStyle())),
                      Variant(int32_t{2}));
    const POINT origin = form.ClientOrigin();
    RECT outer{0, 0, 0, 0};
    outer.Left = Pixels(form.Left(), Screen::TwipsPerPixelX);
    outer.Top = Pixels(form.Top(), Screen::TwipsPerPixelY);
    // The client area is written, as the host does, in twips.
    bag.WriteProperty("ClientHeight",
                      Variant(Twips(form.ClientHeightPixels(), Screen::TwipsPerPixelY)),
                      Variant(int32_t{3195}));
    POINT client{Twips(outer.Left + origin.X, Screen::TwipsPerPixelX),
                 Twips(outer.Top + origin.Y, Screen::TwipsPerPixelY)};
    if (form.StartUpPosition() != 0 && form.DesignPosition()) {
        client = *form.DesignPosition();
    }
    bag.WriteProperty("ClientLeft", Variant(client.X), Variant(int32_t{0}));
    bag.WriteProperty("ClientTop", Variant(client.Y), Variant(int32_t{0}));
    bag.WriteProperty("ClientWidth",
                      Variant(Twips(form.ClientWidthPixels(), Screen::TwipsPerPixelX)),
                      Variant(int32_t{4680}));
    bag.WriteProperty("ControlBox", Variant(form.ControlBox()), Variant(true));
    WritePictureProperty(bag, "Icon", form.Icon());
    bag.WriteProperty("KeyPreview", Variant(form.KeyPreview()), Variant(false));
    bag.WriteProperty("MaxButton", Variant(form.MaxButton()), Variant(true));
    bag.WriteProperty("MinButton", Variant(form.MinButton()), Variant(true));
    bag.WriteProperty("ScaleMode", Variant(static_cast<int32_t>(form.ScaleMode())),
                      Variant(int32_t{1}));
    const bool toolWindow = form.BorderStyle() == FormBorderStyle::FixedToolWindow ||
                            form.BorderStyle() == FormBorderStyle::SizableToolWindow;
    bag.WriteProperty("ShowInTaskbar", Variant(form.ShowInTaskBar()), Variant(!toolWindow));
    bag.WriteProperty("StartUpPosition", Variant(int32_t{form.StartUpPosition()}),
                      Variant(int32_t{3}));
    bag.WriteProperty("Tag", Variant(form.Tag()), Variant(""));
    WriteFontProperty(bag, "Font", form.Font(), DefaultFont());
    const PropertyBag& other = form.OtherProperties();
    for (const std::string& key : other.Keys()) {
        if (const PropertyBag* nested = other.ReadBag(key)) {
            bag.WriteBag(key, *nested);
        } else {
            bag.WriteProperty(key, other.ReadProperty(key, Variant()), Variant::Null());
        }
    }
    return bag;
}

FormFileError Fault(FormFileErrorCode code, int32_t line, std::string message) {
    return FormFileError{code, line, std::move(message)};
}

Failure<FormFileError> Failed(FormFileError error) {
    return Fail(std::move(error));
}

// Creates the controls of `objects` in `container`, in file order.
std::optional<FormFileError> AddControls(ControlContainer& container,
                                         const std::vector<FormObject>& objects) {
    for (const FormObject& object : objects) {
        std::unique_ptr<Control> made = CreateControl(object.TypeName);
        if (!made) {
            return Fault(FormFileErrorCode::UnknownControlType, object.Line,
                         "no control of type '" + object.TypeName + "' is known");
        }
        if (container.ContainedControls().Item(object.Name) != nullptr) {
            return Fault(FormFileErrorCode::DuplicateControlName, object.Line,
                         "a control named '" + object.Name + "' is there already");
        }
        Control* control = container.ContainedControls().AddCreated(std::move(made), object.Name,
                                                                    &object.Properties, true);
        if (control == nullptr) {
            return Fault(FormFileErrorCode::BadName, object.Line,
                         "'" + object.Name + "' cannot name a control");
        }
        if (object.Children.empty()) {
            continue;
        }
        auto* inner = dynamic_cast<ControlContainer*>(control);
        if (inner == nullptr) {
            return Fault(FormFileErrorCode::NotAContainer, object.Children.front().Line,
                         "a " + object.TypeName + " cannot hold controls");
        }
        if (auto fault = AddControls(*inner, object.Children)) {
            return fault;
        }
    }
    return std::nullopt;
}

std::vector<FormObject> SaveControls(ControlCollection& controls, bool storedOnly) {
    std::vector<FormObject> objects;
    for (const auto& c : controls) {
        if (storedOnly && !c->Stored()) {
            continue;
        }
        FormObject object;
        object.TypeName = c->TypeName();
        object.Name = c->Name();
        c->SaveTo(object.Properties);
        if (auto* inner = dynamic_cast<ControlContainer*>(c.get())) {
            object.Children = SaveControls(inner->ContainedControls(), true);
        }
        objects.push_back(std::move(object));
    }
    return objects;
}

}  // namespace

Result<std::unique_ptr<Form>, FormFileError> LoadForm(const FormObject& file, FormMode mode) {
    if (StrComp(file.TypeName, "VB.Form", CompareMethod::Text) != 0) {
        return Failed(Fault(FormFileErrorCode::UnknownControlType, file.Line,
                            "a form file holds a VB.Form, not a " + file.TypeName));
    }
    auto form = std::make_unique<Form>(file.Name, mode);
    ApplyFormProperties(*form, file.Properties);
    form->CreateFormWindow();
    if (auto fault = AddControls(*form, file.Children)) {
        return Failed(*fault);
    }
    form->Load();
    return form;
}

Result<std::unique_ptr<Form>, FormFileError> LoadFormFile(std::string_view text, FormMode mode) {
    auto file = ReadFormFile(text);
    if (!file) {
        return Failed(file.Error());
    }
    return LoadForm(file.Value(), mode);
}

FormObject SaveForm(Form& form) {
    FormObject object;
    object.TypeName = "VB.Form";
    object.Name = form.Name();
    object.Properties = FormProperties(form);
    object.Children = SaveControls(form.Controls(), false);
    return object;
}

std::string SaveFormFile(Form& form) {
    return WriteFormFile(SaveForm(form));
}

}  // namespace kelvara
