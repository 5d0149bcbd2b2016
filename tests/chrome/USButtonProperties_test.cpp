#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "USButtonTestSupport.h"
#include "kelvara/frame/ControlPatterns.h"
#include "kelvara/host/Intrinsics.h"
#include "kelvara/image/API32bppDIB.h"

namespace kelvara {
namespace {

using test::ButtonTest;
using test::Hex;
using Keys = std::vector<std::string>;

// A small opaque picture, width × height, as PNG bytes.
ByteArray PngBytes(int32_t width, int32_t height, OLE_COLOR color) {
    API32bppDIB dib;
    dib.InitializeDIB(width, height);
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            dib.SetPixel(x, y, color);
        }
    }
    std::vector<uint8_t> png;
    dib.SaveToStream_PNG(png);
    return ByteArray(png.begin(), png.end());
}

std::shared_ptr<const PixelBuffer> Pixels(int32_t width, int32_t height) {
    auto p = std::make_shared<PixelBuffer>();
    p->Allocate(width, height, RowOrder::TopDown);
    return p;
}

// Every numeric property as the test reads it back.
using Getter = std::function<double(const USButton&)>;
struct NumericKey {
    const char* key;
    Getter get;
    double readDefault;  // what a bag without the key gives
    double stored;       // a value other than the default, to round trip
    bool flag = false;   // a Boolean, stored as the host's True or False
};

// A getter of any numeric type as a double.
template <typename C, typename R>
Getter Get(R (C::*member)() const) {
    return [member](const USButton& b) {
        if constexpr (std::is_enum_v<R>) {
            return static_cast<double>(static_cast<int64_t>((b.*member)()));
        } else {
            return static_cast<double>((b.*member)());
        }
    };
}

const std::vector<NumericKey>& NumericKeys() {
    // clang-format off
    static const std::vector<NumericKey> keys = {
        {"Alignment", Get(&USButton::Alignment), 1, 2},
        {"BorderColor", Get(&USButton::BorderColor), 0x9A572B, 0x123456},
        {"BorderColorDisabled", Get(&USButton::BorderColorDisabled), 0x008000, 0x654321},
        {"BorderColorDown", Get(&USButton::BorderColorDown), 0x501A00, 1},
        {"BorderColorOver", Get(&USButton::BorderColorOver), 0x7B3E00, 2},
        {"CaptionDistance", Get(&USButton::CaptionDistance), 0, 7},
        {"CaptionWordBreak", Get(&USButton::CaptionWordBreak), 0, 1, true},
        {"CheckBox", Get(&USButton::CheckBoxMode), 0, 1, true},
        {"CropBorders", Get(&USButton::CropBorders), 0, 3},
        {"Enabled", Get(&USButton::Enabled), 1, 0, true},
        {"ForeColor", Get(&USButton::ForeColor), 0xFFFFFF, 3},
        {"ForeColorDisabled", Get(&USButton::ForeColorDisabled), 0x008000, 4},
        {"ForeColorDown", Get(&USButton::ForeColorDown), 0xFFFFFF, 5},
        {"ForeColorOver", Get(&USButton::ForeColorOver), 0xFFFFFF, 6},
        {"GradientColor1", Get(&USButton::GradientColor1), 0x9A572B, 11},
        {"GradientColor2", Get(&USButton::GradientColor2), 0x9A572B, 12},
        {"GradientColor3", Get(&USButton::GradientColor3), 0x9A572B, 13},
        {"GradientColor4", Get(&USButton::GradientColor4), 0x9A572B, 14},
        {"GradientColorDisabled1", Get(&USButton::GradientColorDisabled1), 0xDBCECC, 21},
        {"GradientColorDisabled2", Get(&USButton::GradientColorDisabled2), 0xDBCECC, 22},
        {"GradientColorDisabled3", Get(&USButton::GradientColorDisabled3), 0xDBCECC, 23},
        {"GradientColorDisabled4", Get(&USButton::GradientColorDisabled4), 0xDBCECC, 24},
        {"GradientColorDown1", Get(&USButton::GradientColorDown1), 0x501A00, 31},
        {"GradientColorDown2", Get(&USButton::GradientColorDown2), 0x501A00, 32},
        {"GradientColorDown3", Get(&USButton::GradientColorDown3), 0x501A00, 33},
        {"GradientColorDown4", Get(&USButton::GradientColorDown4), 0x501A00, 34},
        {"GradientColorOver1", Get(&USButton::GradientColorOver1), 0x7B3E00, 41},
        {"GradientColorOver2", Get(&USButton::GradientColorOver2), 0x7B3E00, 42},
        {"GradientColorOver3", Get(&USButton::GradientColorOver3), 0x7B3E00, 43},
        {"GradientColorOver4", Get(&USButton::GradientColorOver4), 0x7B3E00, 44},
        {"GradientColors", Get(&USButton::GradientColors), 0, 1},
        {"HandPointer", Get(&USButton::HandPointer), 0, 1, true},
        {"Locked", Get(&USButton::Locked), 0, 1, true},
        {"MousePointer", Get(&USButton::MousePointer), 0, 99},
        {"PicAlign", Get(&USButton::PictureAlignment), 4, 8},
        {"PicOpacity", Get(&USButton::PictureOpacity), 100, 40},
        {"PicSize", Get(&USButton::PictureSize), 0, 5},
        // Deliberate: X is the height and is stored as "PicSizeH".
        {"PicSizeH", Get(&USButton::PictureSizeX), 16, 20},
        {"PicSizeW", Get(&USButton::PictureSizeY), 16, 30},
        {"Redraw", Get(&USButton::Redraw), 1, 0, true},
        {"ShowFocusRect", Get(&USButton::ShowFocusRect), 1, 0, true},
        {"ShowFocusRectDown", Get(&USButton::ShowFocusRectDown), 0, 1, true},
        {"State", Get(&USButton::LastState), 0, 1},
        {"Theme", Get(&USButton::Theme), 2, 5},
        {"ToolDelayTime", Get(&USButton::ToolDelayTime), 1500, 700},
        {"ToolTipBackColor", Get(&USButton::ToolTipBackColor), 0xF4FFFF, 8},
        {"ToolTipCentered", Get(&USButton::ToolTipCentered), 0, 1, true},
        {"ToolTipForeColor", Get(&USButton::ToolTipForeColor), 0, 0xFF},
        {"ToolTipIcon", Get(&USButton::ToolTipIcon), 0, 2},
        {"ToolTipStyle", Get(&USButton::ToolTipStyle), 1, 0},
        {"ToolTipVisibleTime", Get(&USButton::ToolTipVisibleTime), 5000, 900},
        {"Value", Get(&USButton::Value), 0, 1, true},
    };
    // clang-format on
    return keys;
}

struct TextKey {
    const char* key;
    std::function<std::string(const USButton&)> get;
    std::string readDefault;
};

const std::vector<TextKey>& TextKeys() {
    static const std::vector<TextKey> keys = {
        // A stored button without a caption takes its name.
        {"Caption", [](auto& b) { return b.Caption(); }, "cmdOk"},
        {"ToolTipDescription", [](auto& b) { return b.ToolTipDescription(); }, ""},
        {"ToolTipTitle", [](auto& b) { return b.ToolTipTitle(); }, ""},
    };
    return keys;
}

class USButtonPropertiesTest : public ButtonTest {};

TEST_F(USButtonPropertiesTest, AnEmptyBagReadsEveryDefault) {
    USButton* b = AddStored("cmdOk", PropertyBag(), {0, 0, 80, 25});
    for (const NumericKey& k : NumericKeys()) {
        EXPECT_EQ(k.get(*b), k.readDefault) << k.key;
    }
    for (const TextKey& k : TextKeys()) {
        EXPECT_EQ(k.get(*b), k.readDefault) << k.key;
    }
    EXPECT_EQ(b->Picture(), nullptr);
    EXPECT_EQ(b->PictureOn(), nullptr);
    EXPECT_EQ(b->PictureOver(), nullptr);
    EXPECT_EQ(b->PictureToChange(), nullptr);
    EXPECT_EQ(b->MouseIcon(), nullptr);
    EXPECT_TRUE(b->PictureBytes().empty());
    EXPECT_EQ(b->Font(), form->Font()) << "the font defaults to the container's";
}

TEST_F(USButtonPropertiesTest, WritingDefaultsStoresOnlyTheDisabledBorder) {
    // Deliberate: "BorderColorDisabled" reads 008000 but is written against
    // DBCECC, so its read default is stored and DBCECC is not.
    USButton* b = AddStored("cmdOk", PropertyBag(), {0, 0, 80, 25});
    PropertyBag saved = Saved(*b);
    EXPECT_EQ(saved.Keys(), Keys{"BorderColorDisabled"});
    EXPECT_EQ(saved.ReadProperty("BorderColorDisabled", Variant()), Variant(int32_t{0x008000}));

    b->SetBorderColorDisabled(0xDBCECC);
    saved = Saved(*b);
    EXPECT_TRUE(saved.Keys().empty());
    USButton* back = AddStored("cmdBack", saved, {0, 30, 80, 55});
    EXPECT_EQ(Hex(back->BorderColorDisabled()), "008000");
}

TEST_F(USButtonPropertiesTest, EveryKeyRoundTrips) {
    PropertyBag stored;
    for (const NumericKey& k : NumericKeys()) {
        stored.WriteProperty(
            k.key, k.flag ? Variant(k.stored != 0) : Variant(static_cast<int32_t>(k.stored)),
            Variant());
    }
    stored.WriteProperty("Caption", Variant("&Salvar"), Variant());
    stored.WriteProperty("ToolTipDescription", Variant("Grava o cadastro"), Variant());
    stored.WriteProperty("ToolTipTitle", Variant("Salvar"), Variant());
    const ByteArray dib = PngBytes(3, 2, 0x0000FF);
    stored.WriteProperty("DibPicture", Variant(dib), Variant());
    const struct {
        const char* key;
        int32_t width;
    } pictures[] = {
        {"PicToChange", 4}, {"PicDown", 5}, {"PicHot", 6}, {"PicNormal", 7}, {"MouseIcon", 8}};
    for (const auto& p : pictures) {
        stored.WriteProperty(p.key, Variant(PngBytes(p.width, 2, 0x00FF00)), Variant());
    }
    StdFont font;
    font.SetName("Tahoma");
    font.SetSize(12);
    font.SetBold(true);
    WriteFontProperty(stored, "Font", font, form->Font());

    USButton* b = AddStored("cmdOk", stored, {0, 0, 80, 25});
    for (const NumericKey& k : NumericKeys()) {
        EXPECT_EQ(k.get(*b), k.stored) << k.key;
    }
    EXPECT_EQ(b->Caption(), "&Salvar");
    EXPECT_EQ(b->AccessKeys(), "s");
    EXPECT_EQ(b->ToolTipDescription(), "Grava o cadastro");
    EXPECT_EQ(b->ToolTipTitle(), "Salvar");
    EXPECT_EQ(b->PictureBytes(), dib);
    EXPECT_EQ(b->PictureToChange()->Width(), 4);
    EXPECT_EQ(b->PictureOver()->Width(), 5) << "PictureOver is stored as PicDown";
    EXPECT_EQ(b->PictureOn()->Width(), 6) << "PictureOn is stored as PicHot";
    EXPECT_EQ(b->Picture()->Width(), 7);
    // A stored hand pointer in a running form shows the hand, whatever icon
    // was stored.
    EXPECT_EQ(b->MouseIcon(), HandCursor().get());
    EXPECT_EQ(b->Font(), font);

    const PropertyBag saved = Saved(*b);
    for (const std::string& key : stored.Keys()) {
        if (const PropertyBag* inner = stored.ReadBag(key)) {
            ASSERT_NE(saved.ReadBag(key), nullptr) << key;
            EXPECT_TRUE(*saved.ReadBag(key) == *inner) << key;
            continue;
        }
        const Variant want = stored.ReadProperty(key, Variant());
        const Variant got = saved.ReadProperty(key, Variant());
        if (want.Get<ByteArray>() != nullptr && key != "DibPicture") {
            // Pictures are written again from their pixels: same size.
            ASSERT_NE(got.Get<ByteArray>(), nullptr) << key;
            continue;
        }
        EXPECT_TRUE(PropertyBag::SameValue(got, want)) << key;
    }
    EXPECT_EQ(saved.Keys().size(), stored.Keys().size());
    // And read once more, the same button again.
    USButton* again = AddStored("cmdAgain", saved, {0, 30, 80, 55});
    for (const NumericKey& k : NumericKeys()) {
        EXPECT_EQ(k.get(*again), k.stored) << k.key;
    }
    EXPECT_EQ(again->Picture()->Width(), 7);
    EXPECT_EQ(again->PictureOn()->Width(), 6);
    EXPECT_EQ(again->PictureOver()->Width(), 5);
}

TEST_F(USButtonPropertiesTest, StoredValuesAreReadLeniently) {
    PropertyBag stored;
    stored.WriteProperty("Theme", Variant("3"), Variant());
    stored.WriteProperty("CaptionDistance", Variant(int32_t{100000}), Variant());
    // A system colour written unsigned reads as the same colour.
    stored.WriteProperty("BorderColor", Variant(2147483663.0), Variant());
    stored.WriteProperty("Enabled", Variant("nonsense"), Variant());
    USButton* b = AddStored("cmdOk", stored, {0, 0, 80, 25});
    EXPECT_EQ(b->Theme(), ENUM_THEME::WindowsThemeGreen);
    EXPECT_EQ(b->CaptionDistance(), 32767);
    EXPECT_EQ(b->BorderColor(), 0x8000000FU);
    EXPECT_TRUE(b->Enabled());
}

TEST_F(USButtonPropertiesTest, ANewButtonTakesTheLightThemeAndItsName) {
    USButton* fresh = AddNew("cmdNovo", {0, 0, 80, 25});
    EXPECT_EQ(fresh->Theme(), ENUM_THEME::WindowsThemeLight);
    EXPECT_EQ(fresh->Colors(), ButtonThemeColors(ENUM_THEME::WindowsThemeLight));
    EXPECT_EQ(fresh->Caption(), "cmdNovo");
    const PropertyBag saved = Saved(*fresh);
    EXPECT_EQ(saved.ReadProperty("Theme", Variant()), Variant(int32_t{7}));
    // A stored one without the key is the blue Windows theme.
    EXPECT_EQ(AddStored("cmdVelho", PropertyBag(), {0, 30, 80, 55})->Theme(),
              ENUM_THEME::WindowsTheme);
}

TEST_F(USButtonPropertiesTest, ThemesTakeTheFaceColoursForTheBorders) {
    // Fore colours, borders, then the first and last face colour of the
    // normal, disabled, pressed and hot groups. Deliberate: the borders take
    // the first face colour of their state, not the palette's frame colours
    // (E2A981 ... for theme 0).
    struct Case {
        int32_t theme;
        const char* want;
    } cases[] = {
        {0,
         "000000 008000 000000 000000  FFEFE3 DBCECC 79C0FF BBF2FF  "
         "FFEFE3 FFDABE DBCECC DBCECC 79C0FF 70D8FE BBF2FF 92E6FF"},
        {4,
         "FFFFFF 008000 FFFFFF FFFFFF  5050C7 DBCECC 1F1F5E 2E2E8E  "
         "5050C7 5050C7 DBCECC DBCECC 1F1F5E 1F1F5E 2E2E8E 2E2E8E"},
        {7,
         "000000 404040 000000 000000  FFE8CC EBEBEB F3B678 FFCFA3  "
         "FFE8CC FFE8CC EBEBEB EBEBEB F3B678 F3B678 FFCFA3 FFCFA3"},
        // Outside the palette everything is black.
        {9,
         "000000 000000 000000 000000  000000 000000 000000 000000  "
         "000000 000000 000000 000000 000000 000000 000000 000000"},
    };
    for (const Case& c : cases) {
        const ButtonColors k = ButtonThemeColors(static_cast<ENUM_THEME>(c.theme));
        std::string got;
        for (OLE_COLOR v : {k.ForeColor, k.ForeColorDisabled, k.ForeColorDown, k.ForeColorOver}) {
            got += Hex(v) + " ";
        }
        got += " ";
        for (OLE_COLOR v :
             {k.BorderColor, k.BorderColorDisabled, k.BorderColorDown, k.BorderColorOver}) {
            got += Hex(v) + " ";
        }
        got += " ";
        for (const auto* g : {&k.Gradient, &k.GradientDisabled, &k.GradientDown, &k.GradientOver}) {
            got += Hex((*g)[0]) + " " + Hex((*g)[3]) + " ";
        }
        got.pop_back();
        EXPECT_EQ(got, c.want) << "theme " << c.theme;
    }
}

TEST_F(USButtonPropertiesTest, AThemeDiscardsCustomColoursAndCroppedCorners) {
    USButton* b = AddStored("cmdOk", PropertyBag(), {0, 0, 80, 25});
    b->SetForeColorOver(0x123456);
    b->SetGradientColorDown3(0x654321);
    b->SetCropBorders(ENUM_BUTTON_BORDERS::CropAll);
    b->SetGradientColors(ENUM_GRADIENT_COLORS::FourColors);
    std::string announced;
    b->PropertyChanges.Connect([&](const std::string& key) { announced += key + " "; });
    b->SetTheme(ENUM_THEME::OfficeThemeSilver);
    EXPECT_EQ(b->Colors(), ButtonThemeColors(ENUM_THEME::OfficeThemeSilver));
    EXPECT_EQ(b->CropBorders(), ENUM_BUTTON_BORDERS::DontCrop);
    EXPECT_EQ(b->GradientColors(), ENUM_GRADIENT_COLORS::TwoColors);
    // Announced in the order the theme assigns them: hot faces before
    // pressed ones.
    EXPECT_EQ(announced,
              "Theme CropBorders GradientColors ForeColor ForeColorDisabled ForeColorDown "
              "ForeColorOver BorderColor BorderColorDisabled BorderColorDown BorderColorOver "
              "GradientColor1 GradientColor2 GradientColor3 GradientColor4 "
              "GradientColorDisabled1 GradientColorDisabled2 GradientColorDisabled3 "
              "GradientColorDisabled4 GradientColorOver1 GradientColorOver2 GradientColorOver3 "
              "GradientColorOver4 GradientColorDown1 GradientColorDown2 GradientColorDown3 "
              "GradientColorDown4 ");
}

TEST_F(USButtonPropertiesTest, PropertiesAnnounceTheirStoredKeys) {
    USButton* b = AddStored("cmdOk", PropertyBag(), {0, 0, 80, 25});
    b->SetPicture(Pixels(16, 16));
    struct Case {
        const char* what;
        std::function<void()> change;
        Keys want;
    } cases[] = {
        {"PictureOn", [&] { b->SetPictureOn(Pixels(16, 16)); }, {"PicHot"}},
        {"PictureOver", [&] { b->SetPictureOver(Pixels(16, 16)); }, {"PicDown"}},
        {"PictureToChange", [&] { b->SetPictureToChange(Pixels(1, 1)); }, {"PicToChange"}},
        {"PictureSizeX", [&] { b->SetPictureSizeX(20); }, {"PicSizeH", "PicSize"}},
        {"PictureSizeY", [&] { b->SetPictureSizeY(20); }, {"PicSizeW", "PicSize"}},
        {"PictureAlignment", [&] { b->SetPictureAlignment({}); }, {"PicAlign"}},
        {"PictureOpacity", [&] { b->SetPictureOpacity(50); }, {"PicOpacity"}},
        {"PictureBytes",
         [&] {
             b->SetPictureBytes({1, 2});
         },
         {"DibPicture"}},
        {"ClearPictureBytes", [&] { b->ClearPictureBytes(); }, {"DibPicture"}},
        {"CheckBoxMode", [&] { b->SetCheckBoxMode(false); }, {"CheckBox"}},
        {"FontBold", [&] { b->SetFontBold(true); }, {"FontBold"}},
        {"FontStrikeThru", [&] { b->SetFontStrikeThru(true); }, {"FontStrikethru"}},
        {"MouseIcon", [&] { b->SetMouseIcon(Pixels(32, 32)); }, {"MouseIcon", "MousePointer"}},
        // Written again with the same value, still announced.
        {"Redraw", [&] { b->SetRedraw(true); }, {"Redraw"}},
        {"Value", [&] { b->SetValue(false); }, {"Value"}},
    };
    for (const Case& c : cases) {
        Keys announced;
        const auto id =
            b->PropertyChanges.Connect([&](const std::string& key) { announced.push_back(key); });
        c.change();
        b->PropertyChanges.Disconnect(id);
        EXPECT_EQ(announced, c.want) << c.what;
    }
}

TEST_F(USButtonPropertiesTest, PictureSizeRules) {
    USButton* b = AddStored("cmdOk", PropertyBag(), {0, 0, 80, 25});
    struct Case {
        ENUM_PICTURE_SIZES size;
        int32_t x, y;
    } cases[] = {
        {ENUM_PICTURE_SIZES::Picture16x16, 16, 16},
        {ENUM_PICTURE_SIZES::Picture24x24, 24, 24},
        {ENUM_PICTURE_SIZES::Picture32x32, 32, 32},
        {ENUM_PICTURE_SIZES::Picture48x48, 48, 48},
        // Without a picture Normal keeps the sizes; Custom only stores.
        {ENUM_PICTURE_SIZES::PictureNormal, 48, 48},
        {ENUM_PICTURE_SIZES::PictureCustom, 48, 48},
    };
    for (const Case& c : cases) {
        b->SetPictureSize(c.size);
        EXPECT_EQ(b->PictureSize(), c.size);
        EXPECT_EQ(b->PictureSizeX(), c.x) << static_cast<int>(c.size);
        EXPECT_EQ(b->PictureSizeY(), c.y) << static_cast<int>(c.size);
    }
    // Normal takes the picture's own size, the height into X.
    b->SetPicture(Pixels(20, 10));
    b->SetPictureSize(ENUM_PICTURE_SIZES::PictureNormal);
    EXPECT_EQ(b->PictureSizeX(), 10);
    EXPECT_EQ(b->PictureSizeY(), 20);
    // A hot picture of another size makes the size Custom first.
    b->SetPictureOn(Pixels(16, 16));
    EXPECT_EQ(b->PictureSize(), ENUM_PICTURE_SIZES::PictureCustom);
    EXPECT_EQ(b->PictureSizeX(), 10);
    // Opacity is a percentage.
    b->SetPictureOpacity(-5);
    EXPECT_EQ(b->PictureOpacity(), 0);
    b->SetPictureOpacity(250);
    EXPECT_EQ(b->PictureOpacity(), 100);
}

TEST_F(USButtonPropertiesTest, HotAndPressedPicturesGoToPictureWhileThereIsNone) {
    USButton* b = AddStored("cmdOk", PropertyBag(), {0, 0, 80, 25});
    const auto hot = Pixels(24, 24);
    b->SetPictureOn(hot);
    EXPECT_EQ(b->Picture(), hot);
    EXPECT_EQ(b->PictureOn(), nullptr);
    EXPECT_EQ(b->PictureSizeX(), 24) << "taken as Picture, under PictureSize Normal";
    const auto pressed = Pixels(24, 24);
    b->SetPictureOver(pressed);
    EXPECT_EQ(b->PictureOver(), pressed);
    EXPECT_EQ(b->PictureSize(), ENUM_PICTURE_SIZES::PictureNormal) << "same size: no change";
    // Bytes take over from the picture object.
    b->SetPictureBytes(PngBytes(2, 2, 0));
    EXPECT_EQ(b->Picture(), nullptr);
}

TEST_F(USButtonPropertiesTest, HandPointerAndMousePointerFollowEachOther) {
    USButton* b = AddStored("cmdOk", PropertyBag(), {0, 0, 80, 25});
    b->SetHandPointer(true);
    EXPECT_EQ(b->MousePointer(), vbCustom);
    EXPECT_EQ(b->MouseIcon(), HandCursor().get());
    b->SetMousePointer(vbArrow);
    EXPECT_FALSE(b->HandPointer());
    b->SetHandPointer(true);
    b->SetHandPointer(false);
    EXPECT_EQ(b->MousePointer(), vbDefault);
    EXPECT_EQ(b->MouseIcon(), nullptr);
    b->SetMouseIcon(Pixels(32, 32));
    EXPECT_EQ(b->MousePointer(), vbCustom);
    b->SetMouseIcon(nullptr);
    EXPECT_EQ(b->MousePointer(), vbDefault);

    // A stored hand pointer shows in a running form only.
    PropertyBag stored;
    stored.WriteProperty("HandPointer", Variant(true), Variant(false));
    EXPECT_EQ(AddStored("cmdRun", stored, {0, 30, 80, 55})->MousePointer(), vbCustom);
    auto design = MakeForm(FormMode::Design);
    EXPECT_EQ(AddStored("cmdDesign", stored, {0, 0, 80, 25}, design.get())->MousePointer(),
              vbDefault);
}

TEST_F(USButtonPropertiesTest, AccessKeyIsTheLetterAfterTheLastSingleAmpersand) {
    struct Case {
        const char* caption;
        const char* key;
    } cases[] = {
        {"&Salvar", "s"},
        {"Sa&lvar", "l"},
        {"&A&B", "b"},
        {"Fish && &Chips", "c"},
        {"Fish && Chips", ""},
        {"&", ""},
        {"A&", ""},
        {"&&x", ""},
        {"", ""},
        {"&Ção", "ç"},
        {"x&Ñ", "ñ"},
        // Deliberate: the run is paired off from its end.
        {"a&&&b", "&"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(USButton::GetAccessKey(c.caption), c.key) << c.caption;
    }
    USButton* b = AddStored("cmdOk", PropertyBag(), {0, 0, 80, 25});
    b->SetCaption("&Cancelar");
    EXPECT_EQ(b->AccessKeys(), "c");
}

}  // namespace
}  // namespace kelvara
