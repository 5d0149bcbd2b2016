#include "kelvara/chrome/USButton.h"

#include "kelvara/host/StoredValues.h"

// The button's life, properties and input. Painting is in USButtonPaint.cpp.
//
// Input, as a state machine (states: 0 normal, 1 over, 2 down, 3
// disabled; mouseDown is "left button or Space held"):
//
//   MouseIn ─▶ over, unless held          MouseOut ─▶ normal (enabled only)
//   left MouseDown ─▶ down                Space down ─▶ down, capture
//   MouseUp outside ─▶ normal / over      Click, Space up, access key
//                                           ─▶ ClickButton ─▶ over, Click
//   DblClick ─▶ down (no Click follows)   arrows ─▶ Tab or Shift+Tab typed
//
// Every event to the application comes after the button's own handling;
// a handler may unload the form, so nothing is touched after an event
// without checking that the button is still alive.

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "kelvara/base/Error.h"
#include "kelvara/base/Text.h"
#include "kelvara/frame/APIMouseEvents.h"
#include "kelvara/frame/ControlPatterns.h"
#include "kelvara/host/Intrinsics.h"
#include "kelvara/host/WindowCore.h"
#include "kelvara/image/API32bppDIB.h"
#include "kelvara/image/lists/APIImageList.h"
#include "kelvara/image/lists/APIImageLists.h"

namespace kelvara {

namespace {

const bool registered = [] {
    RegisterControlType("KelvaraEx.USButton", [] { return std::make_unique<USButton>(); });
    return true;
}();

// --- Reading and writing stored values -------------------------------------------

// Every stored value is read leniently: text that is a number counts, and
// anything that is not a number of the right kind gives the default.
int32_t ReadLong(const PropertyBag& bag, std::string_view key, int32_t fallback) {
    const auto value = bag.ReadProperty(key, Variant(fallback)).ToDouble();
    return value ? StoredNumber<int32_t>(*value) : fallback;
}

int16_t ReadInteger(const PropertyBag& bag, std::string_view key, int16_t fallback) {
    const auto value = bag.ReadProperty(key, Variant(fallback)).ToDouble();
    return value ? StoredNumber<int16_t>(*value) : fallback;
}

template <typename E>
E ReadEnum(const PropertyBag& bag, std::string_view key, E fallback) {
    return static_cast<E>(ReadLong(bag, key, static_cast<int32_t>(fallback)));
}

template <typename E>
void WriteEnum(PropertyBag& bag, std::string_view key, E value, E fallback) {
    bag.WriteProperty(key, Variant(static_cast<int32_t>(value)),
                      Variant(static_cast<int32_t>(fallback)));
}

constexpr auto kShiftKey = static_cast<uint8_t>(VK_SHIFT);
constexpr auto kTabKey = static_cast<uint8_t>(VK_TAB);

// The stored defaults, where they are not the members' own.
const ButtonColors kStoredColors{};
// Deliberate: "BorderColorDisabled" reads with 008000 but is written
// against DBCECC, so a button whose value is DBCECC comes back 008000.
constexpr OLE_COLOR kBorderColorDisabledWritten = 0xDBCECC;

const char* const kGradientKeys[4][4] = {
    {"GradientColor1", "GradientColor2", "GradientColor3", "GradientColor4"},
    {"GradientColorDisabled1", "GradientColorDisabled2", "GradientColorDisabled3",
     "GradientColorDisabled4"},
    {"GradientColorDown1", "GradientColorDown2", "GradientColorDown3", "GradientColorDown4"},
    {"GradientColorOver1", "GradientColorOver2", "GradientColorOver3", "GradientColorOver4"},
};

std::array<OLE_COLOR, 4>& Group(ButtonColors& colors, int32_t group) {
    switch (group) {
        case 1:
            return colors.GradientDisabled;
        case 2:
            return colors.GradientDown;
        case 3:
            return colors.GradientOver;
        default:
            return colors.Gradient;
    }
}

}  // namespace

USButton::USButton() : UserControl("KelvaraEx.USButton") {
    (void)registered;
    // A button can be the form's default or cancel button.
    SetDefaultCancel(true);
}

USButton::~USButton() = default;

// --- Life ------------------------------------------------------------------------------

void USButton::UserControl_InitProperties() {
    // A button made by a running program's code is a running button; one
    // dropped on a design surface is not.
    userMode = Ambient().UserMode;
    UserControl::SetFont(Ambient().Font);
    caption = Ambient().DisplayName;
    SetAccessKeys(GetAccessKey(caption));
    // Every other field already holds its stored default. A new button
    // takes the light theme; a stored one without "Theme" reads 2.
    SetTheme(ENUM_THEME::WindowsThemeLight);
}

void USButton::UserControl_ReadProperties(PropertyBag& PropBag) {
    const AmbientProperties ambient = Ambient();
    userMode = ambient.UserMode;

    pictureToChange = ReadPictureProperty(PropBag, "PicToChange");
    pictureOver = ReadPictureProperty(PropBag, "PicDown");
    pictureOn = ReadPictureProperty(PropBag, "PicHot");
    picture = ReadPictureProperty(PropBag, "PicNormal");
    UserControl::SetFont(ReadFontProperty(PropBag, "Font", ambient.Font));
    UserControl::SetMouseIcon(ReadPictureProperty(PropBag, "MouseIcon"));
    UserControl::SetMousePointer(ReadInteger(PropBag, "MousePointer", 0));

    const ButtonColors& d = kStoredColors;
    alignment = ReadEnum(PropBag, "Alignment", ENUM_ALIGNMENTS::OnCenter);
    colors.BorderColor = ReadColor(PropBag, "BorderColor", d.BorderColor);
    colors.BorderColorDisabled = ReadColor(PropBag, "BorderColorDisabled", d.BorderColorDisabled);
    colors.BorderColorDown = ReadColor(PropBag, "BorderColorDown", d.BorderColorDown);
    colors.BorderColorOver = ReadColor(PropBag, "BorderColorOver", d.BorderColorOver);
    caption = ReadText(PropBag, "Caption", ambient.DisplayName);
    captionDistance = ReadInteger(PropBag, "CaptionDistance", 0);
    captionWordBreak = ReadBool(PropBag, "CaptionWordBreak", false);
    checkBoxMode = ReadBool(PropBag, "CheckBox", false);
    cropBorders = ReadEnum(PropBag, "CropBorders", ENUM_BUTTON_BORDERS::DontCrop);
    const bool enabled = ReadBool(PropBag, "Enabled", true);
    colors.ForeColor = ReadColor(PropBag, "ForeColor", d.ForeColor);
    colors.ForeColorDisabled = ReadColor(PropBag, "ForeColorDisabled", d.ForeColorDisabled);
    colors.ForeColorDown = ReadColor(PropBag, "ForeColorDown", d.ForeColorDown);
    colors.ForeColorOver = ReadColor(PropBag, "ForeColorOver", d.ForeColorOver);
    for (int32_t g = 0; g < 4; ++g) {
        ButtonColors defaults = d;
        for (int32_t i = 0; i < 4; ++i) {
            Group(colors, g)[i] = ReadColor(PropBag, kGradientKeys[g][i], Group(defaults, g)[i]);
        }
    }
    gradientColors = ReadEnum(PropBag, "GradientColors", ENUM_GRADIENT_COLORS::TwoColors);
    handPointer = ReadBool(PropBag, "HandPointer", false);
    locked = ReadBool(PropBag, "Locked", false);
    const Variant bytes = PropBag.ReadProperty("DibPicture", Variant());
    pictureBytes = bytes.Get<ByteArray>() != nullptr ? *bytes.Get<ByteArray>() : ByteArray();
    pictureAlignment = ReadEnum(PropBag, "PicAlign", ENUM_PIC_ALIGNMENTS::PictureLeftOfCaption);
    pictureOpacity = ReadLong(PropBag, "PicOpacity", 100);
    pictureSize = ReadEnum(PropBag, "PicSize", ENUM_PICTURE_SIZES::PictureNormal);
    pictureSizeX = ReadLong(PropBag, "PicSizeH", 16);
    pictureSizeY = ReadLong(PropBag, "PicSizeW", 16);
    redraw = ReadBool(PropBag, "Redraw", true);
    showFocusRect = ReadBool(PropBag, "ShowFocusRect", true);
    showFocusRectDown = ReadBool(PropBag, "ShowFocusRectDown", false);
    lastState = ReadLong(PropBag, "State", 0);
    theme = ReadEnum(PropBag, "Theme", ENUM_THEME::WindowsTheme);
    toolDelayTime = ReadLong(PropBag, "ToolDelayTime", 1500);
    toolTipBackColor = ReadColor(PropBag, "ToolTipBackColor", 0xF4FFFF);
    toolTipCentered = ReadBool(PropBag, "ToolTipCentered", false);
    toolTipDescription = ReadText(PropBag, "ToolTipDescription", "");
    toolTipForeColor = ReadColor(PropBag, "ToolTipForeColor", 0);
    toolTipIcon = ReadEnum(PropBag, "ToolTipIcon", ENUM_TOOLTIP_ICON::ToolTipNoIcon);
    toolTipStyle = ReadEnum(PropBag, "ToolTipStyle", ENUM_TOOLTIP_STYLE::ToolTipBalloon);
    toolTipTitle = ReadText(PropBag, "ToolTipTitle", "");
    toolTipVisibleTime = ReadLong(PropBag, "ToolTipVisibleTime", 5000);
    value = ReadBool(PropBag, "Value", false);

    // What is derived, not stored. Nothing paints here: the first Resize
    // does.
    SetAccessKeys(GetAccessKey(caption));
    UserControl::SetEnabled(enabled);
    ApplyHandPointer(*this, userMode, handPointer);
}

void USButton::UserControl_WriteProperties(PropertyBag& PropBag) {
    const AmbientProperties ambient = Ambient();
    WritePictureProperty(PropBag, "PicToChange", pictureToChange.get());
    WritePictureProperty(PropBag, "PicDown", pictureOver.get());
    WritePictureProperty(PropBag, "PicHot", pictureOn.get());
    WritePictureProperty(PropBag, "PicNormal", picture.get());
    WriteFontProperty(PropBag, "Font", Font(), ambient.Font);
    WritePictureProperty(PropBag, "MouseIcon", UserControl::MouseIcon());
    PropBag.WriteProperty("MousePointer", Variant(UserControl::MousePointer()),
                          Variant(int16_t{0}));

    const ButtonColors& d = kStoredColors;
    WriteEnum(PropBag, "Alignment", alignment, ENUM_ALIGNMENTS::OnCenter);
    WriteColor(PropBag, "BorderColor", colors.BorderColor, d.BorderColor);
    WriteColor(PropBag, "BorderColorDisabled", colors.BorderColorDisabled,
               kBorderColorDisabledWritten);
    WriteColor(PropBag, "BorderColorDown", colors.BorderColorDown, d.BorderColorDown);
    WriteColor(PropBag, "BorderColorOver", colors.BorderColorOver, d.BorderColorOver);
    PropBag.WriteProperty("Caption", Variant(caption), Variant(ambient.DisplayName));
    PropBag.WriteProperty("CaptionDistance", Variant(captionDistance), Variant(int16_t{0}));
    PropBag.WriteProperty("CaptionWordBreak", Variant(captionWordBreak), Variant(false));
    PropBag.WriteProperty("CheckBox", Variant(checkBoxMode), Variant(false));
    WriteEnum(PropBag, "CropBorders", cropBorders, ENUM_BUTTON_BORDERS::DontCrop);
    PropBag.WriteProperty("Enabled", Variant(Enabled()), Variant(true));
    WriteColor(PropBag, "ForeColor", colors.ForeColor, d.ForeColor);
    WriteColor(PropBag, "ForeColorDisabled", colors.ForeColorDisabled, d.ForeColorDisabled);
    WriteColor(PropBag, "ForeColorDown", colors.ForeColorDown, d.ForeColorDown);
    WriteColor(PropBag, "ForeColorOver", colors.ForeColorOver, d.ForeColorOver);
    for (int32_t g = 0; g < 4; ++g) {
        ButtonColors defaults = d;
        for (int32_t i = 0; i < 4; ++i) {
            WriteColor(PropBag, kGradientKeys[g][i], Group(colors, g)[i], Group(defaults, g)[i]);
        }
    }
    WriteEnum(PropBag, "GradientColors", gradientColors, ENUM_GRADIENT_COLORS::TwoColors);
    PropBag.WriteProperty("HandPointer", Variant(handPointer), Variant(false));
    PropBag.WriteProperty("Locked", Variant(locked), Variant(false));
    PropBag.WriteProperty("DibPicture",
                          pictureBytes.empty() ? Variant() : Variant(ByteArray(pictureBytes)),
                          Variant());
    WriteEnum(PropBag, "PicAlign", pictureAlignment, ENUM_PIC_ALIGNMENTS::PictureLeftOfCaption);
    PropBag.WriteProperty("PicOpacity", Variant(pictureOpacity), Variant(int32_t{100}));
    WriteEnum(PropBag, "PicSize", pictureSize, ENUM_PICTURE_SIZES::PictureNormal);
    PropBag.WriteProperty("PicSizeH", Variant(pictureSizeX), Variant(int32_t{16}));
    PropBag.WriteProperty("PicSizeW", Variant(pictureSizeY), Variant(int32_t{16}));
    PropBag.WriteProperty("Redraw", Variant(redraw), Variant(true));
    PropBag.WriteProperty("ShowFocusRect", Variant(showFocusRect), Variant(true));
    PropBag.WriteProperty("ShowFocusRectDown", Variant(showFocusRectDown), Variant(false));
    PropBag.WriteProperty("State", Variant(lastState), Variant(int32_t{0}));
    WriteEnum(PropBag, "Theme", theme, ENUM_THEME::WindowsTheme);
    PropBag.WriteProperty("ToolDelayTime", Variant(toolDelayTime), Variant(int32_t{1500}));
    WriteColor(PropBag, "ToolTipBackColor", toolTipBackColor, 0xF4FFFF);
    PropBag.WriteProperty("ToolTipCentered", Variant(toolTipCentered), Variant(false));
    PropBag.WriteProperty("ToolTipDescription", Variant(toolTipDescription), Variant(""));
    WriteColor(PropBag, "ToolTipForeColor", toolTipForeColor, 0);
    WriteEnum(PropBag, "ToolTipIcon", toolTipIcon, ENUM_TOOLTIP_ICON::ToolTipNoIcon);
    WriteEnum(PropBag, "ToolTipStyle", toolTipStyle, ENUM_TOOLTIP_STYLE::ToolTipBalloon);
    PropBag.WriteProperty("ToolTipTitle", Variant(toolTipTitle), Variant(""));
    PropBag.WriteProperty("ToolTipVisibleTime", Variant(toolTipVisibleTime),
                          Variant(int32_t{5000}));
    PropBag.WriteProperty("Value", Variant(value), Variant(false));
}

void USButton::UserControl_Resize() {
    RECT client;
    GetClientRect(hWnd(), client);
    width = client.Right;
    height = client.Bottom;
    // Below 15 × 15 the button makes itself that size, which comes back
    // here and paints there, once.
    if (EnforceMinimumSize(*this, 15, 15)) {
        return;
    }
    Refresh();
}

void USButton::UserControl_Show() {
    if (!userMode) {
        return;
    }
    if (!mouseEx) {
        mouseEx = std::make_unique<APIMouseEvents>();
        mouseEx->MouseIn.Connect([this] { OnMouseIn(); });
        mouseEx->MouseOut.Connect([this] { OnMouseOut(); });
        mouseEx->MouseMove.Connect([this](WPARAM, LPARAM, int16_t& button, int16_t& shift,
                                          int32_t& x,
                                          int32_t& y) { OnMouseMove(button, shift, x, y); });
        mouseEx->Attach(hWnd());
    }
    CreateToolTip();
}

void USButton::UserControl_Terminate() {
    userMode = false;
    if (mouseEx) {
        mouseEx->Detach();
        mouseEx.reset();
    }
    pictureBytes.clear();
    image.reset();
    tooltip.reset();
}

// --- The repaint gate ---------------------------------------------------------------

void USButton::SetRedraw(bool value) {
    const bool wasOff = !redraw;
    redraw = value;
    if (wasOff && value) {
        Refresh();
    }
    PropertyChanged("Redraw");
}

void USButton::Refresh() {
    layoutStale = true;
    PaintState(-1, true);
}

void USButton::PaintState(int32_t state, bool force) {
    if (!redraw) {
        return;
    }
    if (state == -1) {
        state = lastState;
    }
    if (!force && state == lastState && hasFocus == lastFocus) {
        return;
    }
    PaintOffscreen(*this, [&] {
        lastState = state;
        lastFocus = hasFocus;
        PaintButton(state);
    });
}

// --- Look ----------------------------------------------------------------------------

void USButton::SetTheme(ENUM_THEME value) {
    theme = value;
    PropertyChanged("Theme");
    // Deliberate: a theme overwrites every custom colour, the face mode and
    // the cropped corners; each is announced in this order, then one paint.
    cropBorders = ENUM_BUTTON_BORDERS::DontCrop;
    PropertyChanged("CropBorders");
    gradientColors = ENUM_GRADIENT_COLORS::TwoColors;
    PropertyChanged("GradientColors");
    colors = ButtonThemeColors(value);
    for (const char* key :
         {"ForeColor", "ForeColorDisabled", "ForeColorDown", "ForeColorOver", "BorderColor",
          "BorderColorDisabled", "BorderColorDown", "BorderColorOver"}) {
        PropertyChanged(key);
    }
    // Normal, disabled, over, down: the order the theme assigns them.
    for (int32_t g : {0, 1, 3, 2}) {
        for (const char* key : kGradientKeys[g]) {
            PropertyChanged(key);
        }
    }
    PaintState(-1, true);
}

void USButton::SetGradientColors(ENUM_GRADIENT_COLORS value) {
    gradientColors = value;
    PropertyChanged("GradientColors");
    PaintState(-1, true);
}

void USButton::SetCropBorders(ENUM_BUTTON_BORDERS value) {
    // Only repaints: the window region follows at the next Refresh.
    cropBorders = value;
    PropertyChanged("CropBorders");
    PaintState(-1, true);
}

void USButton::SetShowFocusRect(bool value) {
    showFocusRect = value;
    PropertyChanged("ShowFocusRect");
    PaintState(-1, true);
}

void USButton::SetShowFocusRectDown(bool value) {
    showFocusRectDown = value;
    PropertyChanged("ShowFocusRectDown");
    PaintState(-1, true);
}

void USButton::SetForeColor(OLE_COLOR value) {
    colors.ForeColor = value;
    PropertyChanged("ForeColor");
    PaintState(-1, true);
}

void USButton::SetForeColorDisabled(OLE_COLOR value) {
    colors.ForeColorDisabled = value;
    PropertyChanged("ForeColorDisabled");
    PaintState(-1, true);
}

void USButton::SetForeColorDown(OLE_COLOR value) {
    colors.ForeColorDown = value;
    PropertyChanged("ForeColorDown");
}

void USButton::SetForeColorOver(OLE_COLOR value) {
    colors.ForeColorOver = value;
    PropertyChanged("ForeColorOver");
}

void USButton::SetBorderColor(OLE_COLOR value) {
    colors.BorderColor = value;
    PropertyChanged("BorderColor");
    PaintState(-1, true);
}

void USButton::SetBorderColorDisabled(OLE_COLOR value) {
    colors.BorderColorDisabled = value;
    PropertyChanged("BorderColorDisabled");
    PaintState(-1, true);
}

void USButton::SetBorderColorDown(OLE_COLOR value) {
    colors.BorderColorDown = value;
    PropertyChanged("BorderColorDown");
}

void USButton::SetBorderColorOver(OLE_COLOR value) {
    colors.BorderColorOver = value;
    PropertyChanged("BorderColorOver");
}

void USButton::SetFaceColor(FaceGroup group, int32_t index, OLE_COLOR value) {
    if (index < 1 || index > 4) {
        return;
    }
    const auto g = static_cast<int32_t>(group);
    Group(colors, g)[static_cast<size_t>(index - 1)] = value;
    PropertyChanged(kGradientKeys[g][index - 1]);
    // The over and pressed faces show only under the mouse: no repaint.
    if (group == FaceGroup::Normal || group == FaceGroup::Disabled) {
        PaintState(-1, true);
    }
}

// --- Caption ---------------------------------------------------------------------

std::string USButton::GetAccessKey(std::string_view caption) {
    return ::kelvara::GetAccessKey(caption);
}

void USButton::SetCaption(std::string value) {
    caption = std::move(value);
    PropertyChanged("Caption");
    SetAccessKeys(GetAccessKey(caption));
    Refresh();
}

void USButton::SetAlignment(ENUM_ALIGNMENTS value) {
    alignment = value;
    PropertyChanged("Alignment");
    PaintState(-1, true);
}

void USButton::SetCaptionDistance(int16_t value) {
    captionDistance = value;
    PropertyChanged("CaptionDistance");
    Refresh();
}

void USButton::SetCaptionWordBreak(bool value) {
    captionWordBreak = value;
    PropertyChanged("CaptionWordBreak");
    Refresh();
}

// --- Picture ---------------------------------------------------------------------

void USButton::SizesFromPicture() {
    if (picture) {
        pictureSizeX = picture->Height();
        pictureSizeY = picture->Width();
    }
}

void USButton::SetPicture(ButtonPicture value) {
    picture = std::move(value);
    PropertyChanged("PicNormal");
    if (pictureSize == ENUM_PICTURE_SIZES::PictureNormal) {
        SizesFromPicture();
    }
    Refresh();
}

void USButton::NoteSecondPicture(const ButtonPicture& value) {
    if (pictureSize == ENUM_PICTURE_SIZES::PictureNormal && value && picture &&
        (value->Width() != picture->Width() || value->Height() != picture->Height())) {
        SetPictureSize(ENUM_PICTURE_SIZES::PictureCustom);
    }
}

void USButton::SetPictureOn(ButtonPicture value) {
    if (!picture) {
        SetPicture(std::move(value));
        return;
    }
    NoteSecondPicture(value);
    pictureOn = std::move(value);
    PropertyChanged("PicHot");
    if (mouseOver) {
        PaintState(-1, true);
    }
}

void USButton::SetPictureOver(ButtonPicture value) {
    if (!picture) {
        SetPicture(std::move(value));
        return;
    }
    NoteSecondPicture(value);
    pictureOver = std::move(value);
    PropertyChanged("PicDown");
    if (mouseDown) {
        PaintState(-1, true);
    }
}

void USButton::SetPictureToChange(ButtonPicture value) {
    pictureToChange = std::move(value);
    PropertyChanged("PicToChange");
}

void USButton::SetPictureBytes(ByteArray value) {
    pictureBytes = std::move(value);
    PropertyChanged("DibPicture");
    if (!pictureBytes.empty()) {
        picture.reset();
    }
    // A decoded picture already held stays: new bytes show once it is
    // cleared (ClearPictureBytes), as loaders replace both together.
    Refresh();
}

void USButton::ClearPictureBytes() {
    image.reset();
    pictureBytes.clear();
    PropertyChanged("DibPicture");
    Refresh();
}

void USButton::SetPictureAlignment(ENUM_PIC_ALIGNMENTS value) {
    pictureAlignment = value;
    PropertyChanged("PicAlign");
    Refresh();
}

void USButton::SetPictureOpacity(int32_t value) {
    pictureOpacity = std::clamp(value, 0, 100);
    PropertyChanged("PicOpacity");
    PaintState(-1, true);
}

void USButton::SetPictureSize(ENUM_PICTURE_SIZES value) {
    pictureSize = value;
    switch (value) {
        case ENUM_PICTURE_SIZES::PictureNormal:
            SizesFromPicture();
            break;
        case ENUM_PICTURE_SIZES::Picture16x16:
        case ENUM_PICTURE_SIZES::Picture24x24:
        case ENUM_PICTURE_SIZES::Picture32x32:
        case ENUM_PICTURE_SIZES::Picture48x48: {
            constexpr int32_t kSides[] = {16, 24, 32, 48};
            pictureSizeX = pictureSizeY = kSides[static_cast<int32_t>(value) - 1];
            break;
        }
        default:
            break;
    }
    PropertyChanged("PicSize");
    Refresh();
}

void USButton::SetPictureSizeX(int32_t value) {
    pictureSizeX = value;
    pictureSize = ENUM_PICTURE_SIZES::PictureCustom;
    PropertyChanged("PicSizeH");
    PropertyChanged("PicSize");
    Refresh();
}

void USButton::SetPictureSizeY(int32_t value) {
    pictureSizeY = value;
    pictureSize = ENUM_PICTURE_SIZES::PictureCustom;
    PropertyChanged("PicSizeW");
    PropertyChanged("PicSize");
    Refresh();
}

// --- Loaders ---------------------------------------------------------------------

API32bppDIB& USButton::EnsureImage() {
    if (!image) {
        image = std::make_unique<API32bppDIB>();
        image->SetKeepGDIplusActive(true);
    }
    return *image;
}

bool USButton::TakeLoadedImage(bool loaded, const ByteArray& source) {
    if (!loaded) {
        return false;
    }
    // The bytes kept are the file's own when there was a file, else the
    // picture written as PNG.
    ByteArray bytes = source;
    if (bytes.empty() && !image->SaveToStream_PNG(bytes)) {
        return false;
    }
    SetPictureBytes(std::move(bytes));
    return true;
}

bool USButton::LoadImage_FromArray(std::span<const uint8_t> Bytes, int32_t desiredIconWidth,
                                   int32_t desiredIconHeight, int32_t desiredIconBitDepth) {
    const int32_t cx = desiredIconWidth < 1 ? pictureSizeY : desiredIconWidth;
    const int32_t cy = desiredIconHeight < 1 ? pictureSizeX : desiredIconHeight;
    // Loaded aside first: a failed load leaves the former picture showing.
    auto loaded = std::make_unique<API32bppDIB>();
    if (!loaded->LoadPicture_Stream(Bytes, cx, cy, 0, 0, false, desiredIconBitDepth)) {
        return false;
    }
    EnsureImage().SwapDIBs(loaded.get());
    return TakeLoadedImage(true, ByteArray(Bytes.begin(), Bytes.end()));
}

bool USButton::LoadImage_FromFile(const std::string& FileName, int32_t desiredIconWidth,
                                  int32_t desiredIconHeight, int32_t desiredIconBitDepth) {
    const int32_t cx = desiredIconWidth < 1 ? pictureSizeY : desiredIconWidth;
    const int32_t cy = desiredIconHeight < 1 ? pictureSizeX : desiredIconHeight;
    auto loaded = std::make_unique<API32bppDIB>();
    if (!loaded->LoadPicture_File(FileName, cx, cy, true, desiredIconBitDepth)) {
        return false;
    }
    ByteArray original;
    loaded->GetOrginalFormat(original);
    EnsureImage().SwapDIBs(loaded.get());
    return TakeLoadedImage(true, original);
}

bool USButton::LoadImage_FromResource(const ResourceReader& VBglobal, const Variant& ResSection,
                                      const Variant& ResID, int32_t desiredIconWidth,
                                      int32_t desiredIconHeight, int32_t desiredIconBitDepth) {
    if (!VBglobal) {
        return false;
    }
    const ByteArray bytes = VBglobal(ResSection, ResID);
    if (bytes.empty()) {
        return false;
    }
    return LoadImage_FromArray(bytes, desiredIconWidth, desiredIconHeight, desiredIconBitDepth);
}

bool USButton::LoadImage_FromHandle(const PixelBuffer* Handle) {
    if (Handle == nullptr || Handle->Empty()) {
        return false;
    }
    auto loaded = std::make_unique<API32bppDIB>();
    if (!loaded->InitializeDIB(Handle->Width(), Handle->Height())) {
        return false;
    }
    const size_t rowBytes = static_cast<size_t>(Handle->Width()) * 4;
    for (int32_t y = 0; y < Handle->Height(); ++y) {
        std::copy_n(Handle->Row(y), rowBytes, loaded->Pixels().Row(y));
    }
    loaded->SetAlpha(ENUM_ALPHA_TYPE::AlphaComplex);
    EnsureImage().SwapDIBs(loaded.get());
    return TakeLoadedImage(true, {});
}

bool USButton::LoadImage_FromStdPicture(const PixelBuffer* stdPic) {
    return LoadImage_FromHandle(stdPic);
}

bool USButton::LoadImage_FromUSImageList(APIImageLists& objUSImageList, ListIndex Index,
                                         ListIndex Key) {
    // A list or image that is not there ends in False, as any failed load.
    try {
        APIListImages& images = objUSImageList.Item(Index).Images();
        const APIListImage& item = images.Item(Key);
        API32bppDIB cell;
        if (!cell.InitializeDIB(item.Width(), item.Height())) {
            return false;
        }
        Canvas* dc = cell.LoadDIBinDC(true);
        if (dc == nullptr || !images.Render(Key, dc)) {
            return false;
        }
        cell.LoadDIBinDC(false);
        return LoadImage_FromHandle(&cell.Pixels());
    } catch (const KelvaraError&) {
        return false;
    }
}

// --- Behaviour -------------------------------------------------------------------

void USButton::SetEnabled(bool value) {
    UserControl::SetEnabled(value);
    PropertyChanged("Enabled");
    if (value) {
        PaintState(hasFocus ? 1 : 0, false);
    } else {
        PaintState(3, false);
    }
}

void USButton::SetCheckBoxMode(bool value) {
    checkBoxMode = value;
    PropertyChanged("CheckBox");
    PaintState(-1, true);
}

void USButton::SetValue(bool newValue) {
    value = newValue;
    PropertyChanged("Value");
    if (newValue && !checkBoxMode) {
        if (userMode) {
            // A press from code: the over look, no Click, and Value is
            // False again afterwards.
            mouseButton = 1;
            ClickButton(false);
        } else {
            // A push button cannot be left pressed on a design surface.
            value = false;
        }
        return;
    }
    PaintState(-1, true);
}

void USButton::SetLocked(bool value) {
    locked = value;
    PropertyChanged("Locked");
}

void USButton::SetHandPointer(bool value) {
    handPointer = value;
    if (value) {
        UserControl::SetMousePointer(vbCustom);
        UserControl::SetMouseIcon(HandCursor());
    } else {
        UserControl::SetMousePointer(vbDefault);
        UserControl::SetMouseIcon(nullptr);
    }
    PropertyChanged("HandPointer");
}

void USButton::SetMousePointer(int16_t value) {
    UserControl::SetMousePointer(value);
    if (value != vbCustom) {
        handPointer = false;
    }
    PropertyChanged("MousePointer");
}

void USButton::SetMouseIcon(ButtonPicture icon) {
    const bool some = icon != nullptr;
    UserControl::SetMouseIcon(std::move(icon));
    PropertyChanged("MouseIcon");
    SetMousePointer(some ? vbCustom : vbDefault);
}

// --- Tooltip ----------------------------------------------------------------------

void USButton::SetToolDelayTime(int32_t value) {
    toolDelayTime = value;
    PropertyChanged("ToolDelayTime");
}

void USButton::SetToolTipBackColor(OLE_COLOR value) {
    toolTipBackColor = value;
    PropertyChanged("ToolTipBackColor");
}

void USButton::SetToolTipCentered(bool value) {
    toolTipCentered = value;
    PropertyChanged("ToolTipCentered");
}

void USButton::SetToolTipDescription(std::string value) {
    toolTipDescription = std::move(value);
    PropertyChanged("ToolTipDescription");
}

void USButton::SetToolTipForeColor(OLE_COLOR value) {
    toolTipForeColor = value;
    PropertyChanged("ToolTipForeColor");
}

void USButton::SetToolTipIcon(ENUM_TOOLTIP_ICON value) {
    toolTipIcon = value;
    PropertyChanged("ToolTipIcon");
}

void USButton::SetToolTipStyle(ENUM_TOOLTIP_STYLE value) {
    toolTipStyle = value;
    PropertyChanged("ToolTipStyle");
}

void USButton::SetToolTipTitle(std::string value) {
    toolTipTitle = std::move(value);
    PropertyChanged("ToolTipTitle");
}

void USButton::SetToolTipVisibleTime(int32_t value) {
    toolTipVisibleTime = value;
    PropertyChanged("ToolTipVisibleTime");
}

void USButton::CreateToolTip() {
    // Deliberate: without an icon there is no tip at all, whatever the
    // description says.
    if (!userMode || toolTipDescription.empty() ||
        toolTipIcon == ENUM_TOOLTIP_ICON::ToolTipNoIcon) {
        return;
    }
    if (!tooltip) {
        tooltip = std::make_unique<APITooltip>();
    }
    tooltip->Destroy();
    tooltip->SetBackColor(static_cast<int32_t>(toolTipBackColor));
    tooltip->SetCentered(toolTipCentered);
    tooltip->SetDelayTime(toolDelayTime);
    tooltip->SetForeColor(static_cast<int32_t>(toolTipForeColor));
    tooltip->SetTipText(toolTipDescription);
    tooltip->SetIcon(toolTipIcon);
    tooltip->SetStyle(toolTipStyle);
    tooltip->SetTitle(toolTipTitle);
    tooltip->SetVisibleTime(toolTipVisibleTime);
    tooltip->Create(static_cast<int32_t>(hWnd()));
}

void USButton::DestroyToolTip() {
    if (userMode && !toolTipDescription.empty() && tooltip) {
        tooltip->Destroy();
    }
}

// --- Input -----------------------------------------------------------------------

void USButton::SetCaptureIfFree() {
    if (GetCapture() != hWnd()) {
        SetCapture(hWnd());
    }
}

void USButton::ReleaseCaptureIfHeld() {
    if (GetCapture() == hWnd()) {
        ReleaseCapture();
    }
}

void USButton::ClickButton(bool raise) {
    if (mouseDown || mouseButton != 1) {
        return;
    }
    spaceDown = false;
    if (checkBoxMode) {
        value = !value;
    }
    // Forced only for a latching button, whose look changed with Value.
    PaintState(1, checkBoxMode);
    if (!checkBoxMode) {
        value = false;
    }
    if (!locked && Enabled() && raise) {
        Click();
    }
}

void USButton::UserControl_MouseDown(int16_t& Button, int16_t& Shift, float& X, float& Y) {
    mouseButton = Button;
    if (Button == vbLeftButton) {
        mouseDown = true;
        PaintState(2, false);
    }
    MouseDown(Button, Shift, X, Y);
}

void USButton::UserControl_MouseUp(int16_t& Button, int16_t& Shift, float& X, float& Y) {
    if (Button != vbLeftButton) {
        return;
    }
    mouseDown = spaceDown;
    if (!mouseOver) {
        PaintState(hasFocus ? 1 : 0, false);
    }
    ReleaseCaptureIfHeld();
    MouseUp(Button, Shift, X, Y);
}

void USButton::UserControl_Click() {
    ClickButton(true);
}

void USButton::UserControl_DblClick() {
    if (mouseButton != vbLeftButton) {
        return;
    }
    // Deliberate: the second press shows pressed and is no click; the look
    // stays pressed until the mouse leaves or the next click.
    mouseDown = true;
    PaintState(2, false);
    mouseButton = 8;
    SetCaptureIfFree();
    DblClick();
}

void USButton::UserControl_KeyDown(int16_t& KeyCode, int16_t& Shift) {
    if (Shift == 0) {
        switch (KeyCode) {
            case VK_SPACE:
                mouseDown = true;
                spaceDown = true;
                SetCaptureIfFree();
                PaintState(2, false);
                break;
            case VK_LEFT:
            case VK_UP:
                // The arrows move the focus as Tab does: Shift+Tab typed.
                keybd_event(kShiftKey, 0, 0, 0);
                keybd_event(kTabKey, 0, 0, 0);
                keybd_event(kShiftKey, 45, KEYEVENTF_KEYUP, 0);
                break;
            case VK_RIGHT:
            case VK_DOWN:
                keybd_event(kTabKey, 0, 0, 0);
                break;
            default:
                break;
        }
    }
    KeyDown(KeyCode, Shift);
}

void USButton::UserControl_KeyPress(int16_t& KeyAscii) {
    KeyPress(KeyAscii);
}

void USButton::UserControl_KeyUp(int16_t& KeyCode, int16_t& Shift) {
    if (KeyCode == VK_SPACE) {
        mouseDown = false;
        if (spaceDown) {
            spaceDown = false;
            mouseButton = 1;
            const auto alive = Token();
            ClickButton(true);
            if (alive.expired()) {
                return;
            }
        }
        ReleaseCaptureIfHeld();
    }
    KeyUp(KeyCode, Shift);
}

void USButton::UserControl_GotFocus() {
    if (!Enabled()) {
        return;
    }
    hasFocus = true;
    if (!mouseDown) {
        PaintState(-1, false);
    }
}

void USButton::UserControl_LostFocus() {
    if (!Enabled()) {
        return;
    }
    hasFocus = false;
    mouseDown = false;
    spaceDown = false;
    PaintState(0, true);
}

void USButton::UserControl_AccessKeyPress(int16_t KeyAscii) {
    if (!Enabled()) {
        return;
    }
    if (spaceDown) {
        ReleaseCaptureIfHeld();
    }
    // Return and Escape do not toggle a latching button.
    if (checkBoxMode && (KeyAscii == 13 || KeyAscii == 27)) {
        return;
    }
    mouseDown = false;
    mouseButton = 1;
    ClickButton(true);
}

void USButton::UserControl_AmbientChanged(const std::string&) {
    const bool was = displayAsDefault;
    displayAsDefault = Ambient().DisplayAsDefault;
    // The form names its default button after the focus has moved, so the
    // button that loses the focus has already painted itself as default:
    // it paints again when it learns that it is not.
    if (displayAsDefault != was) {
        PaintState(-1, true);
    }
}

void USButton::OnMouseIn() {
    mouseOver = true;
    if (!mouseDown) {
        PaintState(1, false);
    }
    MouseEnter();
}

void USButton::OnMouseOut() {
    mouseOver = false;
    if (Enabled()) {
        PaintState(0, false);
    }
    MouseExit();
}

void USButton::OnMouseMove(int16_t& button, int16_t& shift, int32_t& x, int32_t& y) {
    auto fx = static_cast<float>(x);
    auto fy = static_cast<float>(y);
    MouseMove(button, shift, fx, fy);
}

}  // namespace kelvara
