#pragma once

// Control: anything placed on a form, as the form sees it — the extender
// around a control. It knows its name, its container, its rectangle, its
// visibility, its place in the tab order, and how to load and save its
// properties. Intrinsic controls (TextBox, Label ...) and user controls
// (every Kelvara control) derive from it.
//
//   Controls.Add(type, name) → factory → OnSited (window made) →
//   OnInitNew or OnLoad (properties) → first Resize → visible → Show
//
// Geometry is kept in pixels of the container's client area; Left, Top,
// Width and Height read and write it in the container's scale units, twips
// unless the container says otherwise.

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kelvara/base/PropertyBag.h"
#include "kelvara/gfx/Canvas.h"
#include "kelvara/gfx/StdFont.h"
#include "kelvara/host/Win32.h"
#include "kelvara/host/WindowCore.h"
#include "kelvara/image/ImageTypes.h"

namespace kelvara {

class Control;
class ControlCollection;
class ControlContainer;
class Form;

// The host's scale modes.
enum class ScaleModeConstants : int16_t {
    vbUser = 0,
    vbTwips = 1,
    vbPoints = 2,
    vbPixels = 3,
    vbCharacters = 4,
    vbInches = 5,
    vbMillimeters = 6,
    vbCentimeters = 7,
    vbHimetric = 8,
    vbContainerPosition = 9,
    vbContainerSize = 10
};

// Mouse buttons and shift keys as events pass them.
inline constexpr int16_t vbLeftButton = 1;
inline constexpr int16_t vbRightButton = 2;
inline constexpr int16_t vbMiddleButton = 4;
inline constexpr int16_t vbShiftMask = 1;
inline constexpr int16_t vbCtrlMask = 2;
inline constexpr int16_t vbAltMask = 4;

// Mouse pointers the controls use.
inline constexpr int16_t vbDefault = 0;
inline constexpr int16_t vbArrow = 1;
inline constexpr int16_t vbIbeam = 3;
inline constexpr int16_t vbSizeNESW = 6;
inline constexpr int16_t vbSizeNS = 7;
inline constexpr int16_t vbSizeNWSE = 8;
inline constexpr int16_t vbSizeWE = 9;
inline constexpr int16_t vbCustom = 99;

// The Screen object: pixels and twips.
struct Screen {
    static constexpr int32_t TwipsPerPixelX = 15;
    static constexpr int32_t TwipsPerPixelY = 15;
};

// Converts between scale units of the fixed kinds (twips, points, pixels,
// characters, inches, millimetres, centimetres, himetric); vbUser and the
// container modes count as pixels.
double ScaleValue(double value, ScaleModeConstants from, ScaleModeConstants to, bool vertical);

// What a container gives the controls in it: a window to live in, its
// scale, its ambient values, and the form it belongs to.
class ControlContainer {
public:
    virtual ~ControlContainer() = default;
    // The window the controls' windows are children of (made now if need
    // be: a form is loaded by adding a control to it).
    virtual HWND ContainerWindow() = 0;
    // Where the client area starts in that window, in pixels.
    virtual POINT ClientOrigin() const { return POINT{0, 0}; }
    virtual ScaleModeConstants ContainerScaleMode() const = 0;
    virtual Form* TopForm() = 0;
    virtual ControlCollection& ContainedControls() = 0;
    virtual bool ContainerUserMode() const = 0;
    virtual const StdFont& ContainerFont() const = 0;
    virtual OLE_COLOR ContainerBackColor() const = 0;
    virtual OLE_COLOR ContainerForeColor() const = 0;
    // Asks the container to paint its windowless controls again.
    virtual void InvalidateWindowless(const RECT& pixels) = 0;
    // A control was sited here (its window exists), or is about to go.
    virtual void ControlAdded(Control&) {}
    virtual void ControlRemoved(Control&) {}
};

// The controls of one container, in the order they were added (which is
// also their z-order among windowless controls, last on top).
class ControlCollection {
public:
    explicit ControlCollection(ControlContainer& owner) : owner(owner) {}
    ~ControlCollection();
    ControlCollection(const ControlCollection&) = delete;
    ControlCollection& operator=(const ControlCollection&) = delete;

    // Creates a control by its type name ("VB.TextBox", "KelvaraEx.USButton")
    // as a new one: it gets its defaults, not stored properties, and stays
    // hidden until made visible, as the host's run-time Add does. nullptr
    // (and no control) for an unknown type or a name in use.
    Control* Add(std::string_view progId, std::string_view name);
    template <typename T>
    T* Add(std::string_view name) {
        return static_cast<T*>(AddCreated(std::make_unique<T>(), name, nullptr, false));
    }
    // Removes and destroys the control (its Terminate runs). False for a
    // name not here.
    bool Remove(std::string_view name);

    int32_t Count() const { return static_cast<int32_t>(items.size()); }
    Control* Item(int32_t index) const;  // 0-based
    Control* Item(std::string_view name) const;
    auto begin() const { return items.begin(); }
    auto end() const { return items.end(); }

    // Sites a control made elsewhere. With `bag` the control loads its
    // properties from it, otherwise it gets its defaults; `visible` is the
    // state it is left in.
    Control* AddCreated(std::unique_ptr<Control> control, std::string_view name,
                        const PropertyBag* bag, bool visible);
    // Destroys every control, last added first.
    void Clear();

private:
    friend class Control;
    ControlContainer& owner;
    std::vector<std::unique_ptr<Control>> items;
};

// A stored number as a T: NaN gives 0, a value beyond T's range its
// nearest end, anything else is truncated — so a damaged form file never
// makes a conversion go wrong.
template <typename T>
T StoredNumber(double value) {
    if (std::isnan(value)) {
        return T{0};
    }
    const double low = static_cast<double>(std::numeric_limits<T>::lowest());
    const double high = static_cast<double>(std::numeric_limits<T>::max());
    return value <= low    ? std::numeric_limits<T>::lowest()
           : value >= high ? std::numeric_limits<T>::max()
                           : static_cast<T>(value);
}

// The shift keys held now, as events pass them (vbShiftMask, vbCtrlMask,
// vbAltMask).
int16_t ShiftKeysDown();
// The button a mouse message is about (vbLeftButton ...; 0 for a move), and
// the buttons a message's wParam says are held.
int16_t ButtonOf(uint32_t msg);
int16_t ButtonsHeld(WPARAM wParam);

// Makes controls by type name. The runtime's own intrinsic controls are
// known from the start; control libraries add theirs.
using ControlMaker = std::function<std::unique_ptr<Control>()>;
void RegisterControlType(std::string progId, ControlMaker maker);
std::unique_ptr<Control> CreateControl(std::string_view progId);

class Control {
public:
    virtual ~Control();
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    const std::string& TypeName() const { return typeName; }
    const std::string& Name() const { return name; }
    // The form the control is on (through any containers), or nullptr
    // before it is sited.
    Form* Parent() const;
    ControlContainer* Container() const { return container; }

    // --- Extender geometry, in the container's scale units ----------------
    float Left() const;
    float Top() const;
    float Width() const;
    float Height() const;
    void SetLeft(float value);
    void SetTop(float value);
    void SetWidth(float value);
    void SetHeight(float value);
    void Move(float left, std::optional<float> top = std::nullopt,
              std::optional<float> width = std::nullopt,
              std::optional<float> height = std::nullopt);
    // In pixels of the container's client area.
    const RECT& Bounds() const { return bounds; }
    void SetBounds(const RECT& pixels);

    bool Visible() const { return visible; }
    void SetVisible(bool value);
    virtual bool Enabled() const { return enabled; }
    virtual void SetEnabled(bool value);
    // Renumbers the others as the host does: the control takes the place,
    // those from there on move up by one.
    int16_t TabIndex() const { return tabIndex; }
    void SetTabIndex(int16_t value);
    bool TabStop() const { return tabStop; }
    void SetTabStop(bool value) { tabStop = value; }
    const std::string& Tag() const { return tag; }
    void SetTag(std::string value) { tag = std::move(value); }
    // Default and Cancel exist only on controls that can be a form's
    // default or cancel button; setting one clears it on the others.
    bool Default() const { return isDefault; }
    void SetDefault(bool value);
    bool Cancel() const { return isCancel; }
    void SetCancel(bool value);

    virtual HWND hWnd() const { return 0; }
    // Gives the control the focus (its window, or what it forwards to).
    virtual void SetFocus();
    // 0 brings it to the front, 1 sends it to the back.
    void ZOrder(int32_t position = 0);

    // Saves the control: the extender's keys, then the control's own.
    void SaveTo(PropertyBag& bag) const;
    // True for a control that was made from stored properties (a form
    // file), not by its container's own code.
    bool Stored() const { return stored; }

    // Which extender properties the control has (and stores): a timer has
    // a place but no size, a line has only its ends, labels have a tab
    // index but no tab stop.
    enum ExtenderKeys : uint32_t {
        kPosition = 1,
        kSize = 2,
        kTabIndex = 4,
        kTabStop = 8,
        kVisible = 16,
        kTag = 32,
        kAllExtenderKeys = 63
    };
    virtual uint32_t ExtenderKeySet() const { return kAllExtenderKeys; }

    // --- What the form asks of a control -----------------------------------
    // True for controls that take the focus by Tab and by clicks.
    virtual bool CanTakeFocus() const;
    // Letters of access keys, lower case (a caption's "&Save" gives "s").
    virtual std::string AccessKeyLetters() const { return {}; }
    // An access key of this control was pressed (Alt+letter, or Return and
    // Escape for the default and cancel controls).
    virtual void OnAccessKey(int16_t keyAscii);
    // Whether the control handles this key itself when it has the focus,
    // so the form must not take it for Tab order or default buttons.
    virtual bool WantsKey(int32_t vk) const;
    virtual bool CanBeDefault() const { return false; }
    // The form tells the one control that shows as the default button.
    virtual void OnDisplayAsDefault(bool) {}
    // The container's font, colours or scale changed.
    virtual void OnAmbientChanged(const std::string&) {}
    // The control's window, or the nearest windowed control it belongs to,
    // is the one that has the focus.
    virtual bool OwnsWindow(HWND hwnd) const;

    // --- Windowless controls draw on their container ------------------------
    virtual bool Windowless() const { return false; }
    // Canvas already offset to the container's client area.
    virtual void OnPaintWindowless(Canvas&) {}
    virtual bool HitWindowless(POINT client) const;
    // Mouse input for windowless controls, from the container; X, Y in the
    // control's own pixels.
    virtual void OnWindowlessMouse(uint32_t, int16_t, int16_t, POINT) {}

    // Alive while the control is; events check it after a handler ran.
    std::weak_ptr<const bool> Token() const { return alive; }

protected:
    explicit Control(std::string typeName);

    // The control is placed in its container: make windows now.
    virtual void OnSited() {}
    // A new control: set defaults.
    virtual void OnInitNew() {}
    // A stored control: read its own keys.
    virtual void OnLoad(const PropertyBag&) {}
    virtual void OnSave(PropertyBag&) const {}
    // After the properties: the first resize.
    virtual void OnReady() {}
    virtual void OnBoundsChanged();
    virtual void OnVisibleChanged();
    virtual void OnEnabledChanged();
    // Before the control goes: its Terminate.
    virtual void OnTerminate() { DestroySiteWindow(); }

    // A windowed control's outer window: made at the control's place in its
    // container, then kept in step with the extender's rectangle,
    // visibility and enabled state, and destroyed at Terminate (the
    // defaults of the On... calls below act on it).
    HWND CreateSiteWindow(std::string_view className, WNDPROC proc);
    HWND SiteWindow() const { return siteWindow; }
    void DestroySiteWindow();

    // The container's scale unit per pixel.
    double ToContainer(int32_t pixels, bool vertical) const;
    int32_t FromContainer(double value, bool vertical) const;
    void InvalidateSelf();

private:
    friend class ControlCollection;
    friend class Form;
    void LoadExtender(const PropertyBag& bag);

    std::string typeName;
    std::string name;
    ControlContainer* container = nullptr;
    RECT bounds{0, 0, 0, 0};
    bool visible = true;
    bool enabled = true;
    int16_t tabIndex = 0;
    bool tabStop = true;
    std::string tag;
    bool isDefault = false;
    bool isCancel = false;
    bool stored = false;
    HWND siteWindow = 0;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};

}  // namespace kelvara
