#pragma once

// USButton: the owner-drawn push button of the suite, and with CheckBoxMode
// a latching one. It paints its whole face itself, in four visual states
// (0 normal, 1 mouse over, 2 pressed, 3 disabled): a flat or gradient face,
// a one-pixel border, a focus rectangle, a picture and a caption, all from
// its own properties. A theme overwrites its colours.
//
//   host events ─▶ input state machine (USButton.cpp) ─▶ PaintState(state)
//     ─▶ the repaint gate ─▶ PaintButton (USButtonPaint.cpp):
//        layout if stale ─▶ face ─▶ corners ─▶ focus rectangle ─▶ picture
//        ─▶ caption ─▶ border
//   ─▶ events to the application, after the button has repainted.
//
// Hover (MouseEnter, MouseExit, MouseMove) and the tooltip exist only in a
// running program: a button on a design surface never tracks the mouse.

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "kelvara/base/Event.h"
#include "kelvara/base/Variant.h"
#include "kelvara/chrome/USButtonLayout.h"
#include "kelvara/chrome/USButtonTypes.h"
#include "kelvara/frame/APITooltip.h"
#include "kelvara/frame/AboutBox.h"
#include "kelvara/frame/ControlPatterns.h"
#include "kelvara/frame/ThemeColor.h"
#include "kelvara/gfx/PixelBuffer.h"
#include "kelvara/host/UserControl.h"
#include "kelvara/image/lists/ListIndex.h"

namespace kelvara {

class API32bppDIB;
class APIImageLists;
class APIMouseEvents;

// A picture property's value: nothing, or pixels shared with whoever gave
// them.
using ButtonPicture = std::shared_ptr<const PixelBuffer>;

// The caller's own resources, as LoadImage_FromResource reads them: the
// bytes of the resource ResID in the section ResSection, empty for none.
using ResourceReader = std::function<ByteArray(const Variant& ResSection, const Variant& ResID)>;

class USButton : public UserControl, public FontMembers<USButton> {
public:
    USButton();
    ~USButton() override;
    // Shows the library's about box and returns when it is closed.
    void About() { ShowAboutBox(TypeName()); }

    // --- Painting ------------------------------------------------------------
    // While False nothing paints; setting it True again repaints once.
    bool Redraw() const { return redraw; }
    void SetRedraw(bool value);
    // Lays out again and repaints now.
    void Refresh();

    // --- Look ----------------------------------------------------------------
    // Setting a theme replaces every colour, GradientColors and CropBorders.
    ENUM_THEME Theme() const { return theme; }
    void SetTheme(ENUM_THEME value);
    ENUM_GRADIENT_COLORS GradientColors() const { return gradientColors; }
    void SetGradientColors(ENUM_GRADIENT_COLORS value);
    ENUM_BUTTON_BORDERS CropBorders() const { return cropBorders; }
    void SetCropBorders(ENUM_BUTTON_BORDERS value);
    bool ShowFocusRect() const { return showFocusRect; }
    void SetShowFocusRect(bool value);
    bool ShowFocusRectDown() const { return showFocusRectDown; }
    void SetShowFocusRectDown(bool value);

    // Colours (0x00BBGGRR). Those seen only under the mouse or pressed
    // (…Over, …Down) are stored without a repaint.
    const ButtonColors& Colors() const { return colors; }
    OLE_COLOR ForeColor() const { return colors.ForeColor; }
    void SetForeColor(OLE_COLOR value);
    OLE_COLOR ForeColorDisabled() const { return colors.ForeColorDisabled; }
    void SetForeColorDisabled(OLE_COLOR value);
    OLE_COLOR ForeColorDown() const { return colors.ForeColorDown; }
    void SetForeColorDown(OLE_COLOR value);
    OLE_COLOR ForeColorOver() const { return colors.ForeColorOver; }
    void SetForeColorOver(OLE_COLOR value);
    OLE_COLOR BorderColor() const { return colors.BorderColor; }
    void SetBorderColor(OLE_COLOR value);
    OLE_COLOR BorderColorDisabled() const { return colors.BorderColorDisabled; }
    void SetBorderColorDisabled(OLE_COLOR value);
    OLE_COLOR BorderColorDown() const { return colors.BorderColorDown; }
    void SetBorderColorDown(OLE_COLOR value);
    OLE_COLOR BorderColorOver() const { return colors.BorderColorOver; }
    void SetBorderColorOver(OLE_COLOR value);
    // The face colours, 1 and 2 the (upper) ramp, 3 and 4 the lower one.
    OLE_COLOR GradientColor1() const { return colors.Gradient[0]; }
    void SetGradientColor1(OLE_COLOR value) { SetFaceColor(FaceGroup::Normal, 1, value); }
    OLE_COLOR GradientColor2() const { return colors.Gradient[1]; }
    void SetGradientColor2(OLE_COLOR value) { SetFaceColor(FaceGroup::Normal, 2, value); }
    OLE_COLOR GradientColor3() const { return colors.Gradient[2]; }
    void SetGradientColor3(OLE_COLOR value) { SetFaceColor(FaceGroup::Normal, 3, value); }
    OLE_COLOR GradientColor4() const { return colors.Gradient[3]; }
    void SetGradientColor4(OLE_COLOR value) { SetFaceColor(FaceGroup::Normal, 4, value); }
    OLE_COLOR GradientColorDisabled1() const { return colors.GradientDisabled[0]; }
    void SetGradientColorDisabled1(OLE_COLOR value) { SetFaceColor(FaceGroup::Disabled, 1, value); }
    OLE_COLOR GradientColorDisabled2() const { return colors.GradientDisabled[1]; }
    void SetGradientColorDisabled2(OLE_COLOR value) { SetFaceColor(FaceGroup::Disabled, 2, value); }
    OLE_COLOR GradientColorDisabled3() const { return colors.GradientDisabled[2]; }
    void SetGradientColorDisabled3(OLE_COLOR value) { SetFaceColor(FaceGroup::Disabled, 3, value); }
    OLE_COLOR GradientColorDisabled4() const { return colors.GradientDisabled[3]; }
    void SetGradientColorDisabled4(OLE_COLOR value) { SetFaceColor(FaceGroup::Disabled, 4, value); }
    OLE_COLOR GradientColorDown1() const { return colors.GradientDown[0]; }
    void SetGradientColorDown1(OLE_COLOR value) { SetFaceColor(FaceGroup::Down, 1, value); }
    OLE_COLOR GradientColorDown2() const { return colors.GradientDown[1]; }
    void SetGradientColorDown2(OLE_COLOR value) { SetFaceColor(FaceGroup::Down, 2, value); }
    OLE_COLOR GradientColorDown3() const { return colors.GradientDown[2]; }
    void SetGradientColorDown3(OLE_COLOR value) { SetFaceColor(FaceGroup::Down, 3, value); }
    OLE_COLOR GradientColorDown4() const { return colors.GradientDown[3]; }
    void SetGradientColorDown4(OLE_COLOR value) { SetFaceColor(FaceGroup::Down, 4, value); }
    OLE_COLOR GradientColorOver1() const { return colors.GradientOver[0]; }
    void SetGradientColorOver1(OLE_COLOR value) { SetFaceColor(FaceGroup::Over, 1, value); }
    OLE_COLOR GradientColorOver2() const { return colors.GradientOver[1]; }
    void SetGradientColorOver2(OLE_COLOR value) { SetFaceColor(FaceGroup::Over, 2, value); }
    OLE_COLOR GradientColorOver3() const { return colors.GradientOver[2]; }
    void SetGradientColorOver3(OLE_COLOR value) { SetFaceColor(FaceGroup::Over, 3, value); }
    OLE_COLOR GradientColorOver4() const { return colors.GradientOver[3]; }
    void SetGradientColorOver4(OLE_COLOR value) { SetFaceColor(FaceGroup::Over, 4, value); }

    // --- Caption -------------------------------------------------------------
    // "&" marks the access key letter.
    const std::string& Caption() const { return caption; }
    void SetCaption(std::string value);
    ENUM_ALIGNMENTS Alignment() const { return alignment; }
    void SetAlignment(ENUM_ALIGNMENTS value);
    // Pixels from the edge for a left or right aligned caption.
    int16_t CaptionDistance() const { return captionDistance; }
    void SetCaptionDistance(int16_t value);
    // Deliberate: True draws one line cut short with an ellipsis, False
    // wraps the caption at word breaks; stored forms rely on this sense.
    bool CaptionWordBreak() const { return captionWordBreak; }
    void SetCaptionWordBreak(bool value);
    // The control's font; the attributes announce their own keys but
    // persist inside "Font".
    using FontMembers<USButton>::SetFont;

    // --- Picture -------------------------------------------------------------
    // Deliberate, as stored forms have them: PictureOn is the picture shown
    // under the mouse (stored as "PicHot") and PictureOver the one shown
    // pressed or latched ("PicDown").
    const ButtonPicture& Picture() const { return picture; }
    void SetPicture(ButtonPicture value);
    const ButtonPicture& PictureOn() const { return pictureOn; }
    void SetPictureOn(ButtonPicture value);
    const ButtonPicture& PictureOver() const { return pictureOver; }
    void SetPictureOver(ButtonPicture value);
    // Kept and stored for the application; nothing draws it.
    const ButtonPicture& PictureToChange() const { return pictureToChange; }
    void SetPictureToChange(ButtonPicture value);
    // An encoded picture file (PNG, GIF, ICO, BMP ...) kept with the
    // button; once decoded it takes the place of the picture objects.
    const ByteArray& PictureBytes() const { return pictureBytes; }
    void SetPictureBytes(ByteArray value);
    void ClearPictureBytes();
    ENUM_PIC_ALIGNMENTS PictureAlignment() const { return pictureAlignment; }
    void SetPictureAlignment(ENUM_PIC_ALIGNMENTS value);
    // 0 to 100 per cent; clamped when set.
    int32_t PictureOpacity() const { return pictureOpacity; }
    void SetPictureOpacity(int32_t value);
    ENUM_PICTURE_SIZES PictureSize() const { return pictureSize; }
    void SetPictureSize(ENUM_PICTURE_SIZES value);
    // Deliberate: PictureSizeX is the picture's height (stored as
    // "PicSizeH") and PictureSizeY its width ("PicSizeW"). Setting either
    // makes PictureSize Custom.
    int32_t PictureSizeX() const { return pictureSizeX; }
    void SetPictureSizeX(int32_t value);
    int32_t PictureSizeY() const { return pictureSizeY; }
    void SetPictureSizeY(int32_t value);

    // Loaders: the picture becomes PictureBytes (so it is stored) and
    // shows. False, with the former picture kept, when the source is no
    // picture. A desired icon width below 1 takes PictureSizeY, a height
    // below 1 PictureSizeX.
    // From the lists of an image list control (USImageList::ImageLists()):
    // the image Key of the list Index.
    bool LoadImage_FromUSImageList(APIImageLists& objUSImageList, ListIndex Index,
                                   ListIndex Key = "key");
    bool LoadImage_FromStdPicture(const PixelBuffer* stdPic);
    // A bitmap or icon: here, pixels.
    bool LoadImage_FromHandle(const PixelBuffer* Handle);
    bool LoadImage_FromArray(std::span<const uint8_t> Bytes, int32_t desiredIconWidth = 0,
                             int32_t desiredIconHeight = 0, int32_t desiredIconBitDepth = 32);
    bool LoadImage_FromFile(const std::string& FileName, int32_t desiredIconWidth = 0,
                            int32_t desiredIconHeight = 0, int32_t desiredIconBitDepth = 32);
    bool LoadImage_FromResource(const ResourceReader& VBglobal, const Variant& ResSection,
                                const Variant& ResID, int32_t desiredIconWidth = 0,
                                int32_t desiredIconHeight = 0, int32_t desiredIconBitDepth = 32);

    // --- Behaviour -----------------------------------------------------------
    void SetEnabled(bool value) override;
    // Latching: each click toggles Value.
    bool CheckBoxMode() const { return checkBoxMode; }
    void SetCheckBoxMode(bool value);
    // A latched button's state. Setting True on a push button presses it
    // once (without Click) in a running program; on a design surface it is
    // taken back at once.
    bool Value() const { return value; }
    void SetValue(bool value);
    // A locked button still looks pressed and toggles, but raises no Click.
    bool Locked() const { return locked; }
    void SetLocked(bool value);
    // The hand cursor over the button.
    bool HandPointer() const { return handPointer; }
    void SetHandPointer(bool value);
    // 99 (custom) shows MouseIcon; any other value ends HandPointer.
    void SetMousePointer(int16_t value);
    // Setting an icon makes MousePointer 99, clearing it 0.
    void SetMouseIcon(ButtonPicture icon);

    // --- Tooltip -------------------------------------------------------------
    // The settings are used by CreateToolTip, which the application calls
    // after changing them; a running button makes its tip when shown.
    int32_t ToolDelayTime() const { return toolDelayTime; }
    void SetToolDelayTime(int32_t value);
    OLE_COLOR ToolTipBackColor() const { return toolTipBackColor; }
    void SetToolTipBackColor(OLE_COLOR value);
    bool ToolTipCentered() const { return toolTipCentered; }
    void SetToolTipCentered(bool value);
    const std::string& ToolTipDescription() const { return toolTipDescription; }
    void SetToolTipDescription(std::string value);
    OLE_COLOR ToolTipForeColor() const { return toolTipForeColor; }
    void SetToolTipForeColor(OLE_COLOR value);
    ENUM_TOOLTIP_ICON ToolTipIcon() const { return toolTipIcon; }
    void SetToolTipIcon(ENUM_TOOLTIP_ICON value);
    ENUM_TOOLTIP_STYLE ToolTipStyle() const { return toolTipStyle; }
    void SetToolTipStyle(ENUM_TOOLTIP_STYLE value);
    const std::string& ToolTipTitle() const { return toolTipTitle; }
    void SetToolTipTitle(std::string value);
    int32_t ToolTipVisibleTime() const { return toolTipVisibleTime; }
    void SetToolTipVisibleTime(int32_t value);
    // Only a running button with a description and an icon gets a tip.
    void CreateToolTip();
    void DestroyToolTip();
    // The tip made by CreateToolTip, or nullptr.
    const APITooltip* Tooltip() const { return tooltip.get(); }

    // --- What the last paint used ----------------------------------------------
    // The state painted last (3 while disabled).
    int32_t LastState() const { return lastState; }
    const RECT& CaptionRect() const { return layout.CaptionRect; }
    const RECT& PictureRect() const { return layout.PictureRect; }
    // A picture was laid out.
    bool LayoutValid() const { return layout.Valid; }

    // The access key of a caption: the letter after the last single "&",
    // lower case; "&&" is a literal ampersand. Empty for none.
    static std::string GetAccessKey(std::string_view caption);

    // --- Events, in the order of their numbers ---------------------------------
    Event<> Click;
    Event<> DblClick;
    Event<int16_t& /*KeyCode*/, int16_t& /*Shift*/> KeyDown;
    Event<int16_t& /*KeyAscii*/> KeyPress;
    Event<int16_t& /*KeyCode*/, int16_t& /*Shift*/> KeyUp;
    Event<int16_t& /*Button*/, int16_t& /*Shift*/, float& /*X*/, float& /*Y*/> MouseDown;
    Event<> MouseEnter;
    Event<> MouseExit;
    Event<int16_t&, int16_t&, float&, float&> MouseMove;
    Event<int16_t&, int16_t&, float&, float&> MouseUp;

protected:
    void UserControl_InitProperties() override;
    void UserControl_ReadProperties(PropertyBag& PropBag) override;
    void UserControl_WriteProperties(PropertyBag& PropBag) override;
    void UserControl_Resize() override;
    void UserControl_Show() override;
    void UserControl_Terminate() override;
    void UserControl_GotFocus() override;
    void UserControl_LostFocus() override;
    void UserControl_AccessKeyPress(int16_t KeyAscii) override;
    void UserControl_AmbientChanged(const std::string& PropertyName) override;
    void UserControl_Click() override;
    void UserControl_DblClick() override;
    void UserControl_KeyDown(int16_t& KeyCode, int16_t& Shift) override;
    void UserControl_KeyPress(int16_t& KeyAscii) override;
    void UserControl_KeyUp(int16_t& KeyCode, int16_t& Shift) override;
    void UserControl_MouseDown(int16_t& Button, int16_t& Shift, float& X, float& Y) override;
    void UserControl_MouseUp(int16_t& Button, int16_t& Shift, float& X, float& Y) override;

private:
    enum class FaceGroup { Normal, Disabled, Down, Over };
    // Stores one face colour; the normal and disabled groups repaint.
    void SetFaceColor(FaceGroup group, int32_t index, OLE_COLOR value);

    // The repaint gate: state −1 is the state painted last; a repaint of
    // the same state and focus is skipped unless forced.
    void PaintState(int32_t state, bool force);
    // USButtonPaint.cpp: the layers, and what they rest on.
    void PaintButton(int32_t state);
    void LayoutButton();
    void DrawButtonPicture();
    void DrawButtonCaption(OLE_COLOR color);
    void ApplyButtonRegion(int32_t cornerX, int32_t cornerY);
    // The press that became a click (mouse up inside, Space up, an access
    // key): toggles a latching button and raises Click when `raise`.
    void ClickButton(bool raise);
    // The picture decoded from PictureBytes, made on first need.
    API32bppDIB& EnsureImage();
    // After a loader filled the image: its bytes become PictureBytes.
    bool TakeLoadedImage(bool loaded, const ByteArray& source);
    void SetCaptureIfFree();
    void ReleaseCaptureIfHeld();
    // Sizes of PictureSize 0: the picture's own, height first.
    void SizesFromPicture();
    // A new hot or pressed picture: Custom size when it differs from
    // Picture under PictureSize 0.
    void NoteSecondPicture(const ButtonPicture& value);
    void OnMouseIn();
    void OnMouseOut();
    void OnMouseMove(int16_t& button, int16_t& shift, int32_t& x, int32_t& y);

    // Painting gate.
    bool userMode = false;
    bool redraw = true;
    int32_t lastState = 0;
    bool lastFocus = false;
    bool layoutStale = true;
    ButtonLayout layout;
    int32_t width = 0;
    int32_t height = 0;

    // Input state.
    bool mouseDown = false;
    bool spaceDown = false;
    bool hasFocus = false;
    bool mouseOver = false;
    bool displayAsDefault = false;
    int32_t mouseButton = 0;

    // Properties.
    ENUM_THEME theme = ENUM_THEME::WindowsTheme;
    ButtonColors colors;
    ENUM_GRADIENT_COLORS gradientColors = ENUM_GRADIENT_COLORS::TwoColors;
    ENUM_BUTTON_BORDERS cropBorders = ENUM_BUTTON_BORDERS::DontCrop;
    bool showFocusRect = true;
    bool showFocusRectDown = false;
    std::string caption;
    ENUM_ALIGNMENTS alignment = ENUM_ALIGNMENTS::OnCenter;
    int16_t captionDistance = 0;
    bool captionWordBreak = false;
    ButtonPicture picture;
    ButtonPicture pictureOn;
    ButtonPicture pictureOver;
    ButtonPicture pictureToChange;
    ByteArray pictureBytes;
    ENUM_PIC_ALIGNMENTS pictureAlignment = ENUM_PIC_ALIGNMENTS::PictureLeftOfCaption;
    int32_t pictureOpacity = 100;
    ENUM_PICTURE_SIZES pictureSize = ENUM_PICTURE_SIZES::PictureNormal;
    int32_t pictureSizeX = 16;
    int32_t pictureSizeY = 16;
    bool checkBoxMode = false;
    bool value = false;
    bool locked = false;
    bool handPointer = false;
    int32_t toolDelayTime = 1500;
    OLE_COLOR toolTipBackColor = 0xF4FFFF;
    bool toolTipCentered = false;
    std::string toolTipDescription;
    OLE_COLOR toolTipForeColor = 0;
    ENUM_TOOLTIP_ICON toolTipIcon = ENUM_TOOLTIP_ICON::ToolTipNoIcon;
    ENUM_TOOLTIP_STYLE toolTipStyle = ENUM_TOOLTIP_STYLE::ToolTipBalloon;
    std::string toolTipTitle;
    int32_t toolTipVisibleTime = 5000;

    // Owned helpers.
    std::unique_ptr<API32bppDIB> image;
    std::unique_ptr<APITooltip> tooltip;
    std::unique_ptr<APIMouseEvents> mouseEx;
};

}  // namespace kelvara
