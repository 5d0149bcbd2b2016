#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "USButtonTestSupport.h"
#include "kelvara/host/TextBox.h"
#include "kelvara/image/API32bppDIB.h"

namespace kelvara {
namespace {

using test::ButtonTest;
using test::Hex;
using test::PixelAt;

// A 40 × 20 caption-less button at (10, 10) of a shown form whose focus
// rests on a text box, so the button starts unfocused.
class USButtonPaintTest : public ButtonTest {
protected:
    USButton* button = nullptr;
    static constexpr int32_t kW = 40;
    static constexpr int32_t kH = 20;

    void SetUp() override {
        ButtonTest::SetUp();
        Fresh();
    }
    // A new form with the button, the mouse away from it.
    void Fresh() {
        desktop.MouseMove(390, 290);
        form = MakeForm(FormMode::Run);
        auto* text = form->Controls().Add<TextBox>("txt");
        text->SetBounds(RECT{200, 200, 280, 220});
        text->SetVisible(true);
        PropertyBag bag;
        bag.WriteProperty("Caption", Variant(""), Variant());
        button = AddStored("cmd", bag, {10, 10, 10 + kW, 10 + kH});
        form->Show();
    }
    OLE_COLOR At(int32_t x, int32_t y) const { return PixelAt(button->Image(), x, y); }
    // Face, border and the focus rectangle's top edge, as hex.
    std::vector<std::string> Look() const {
        return {Hex(At(kW / 2, kH / 2)), Hex(At(0, 0)), Hex(At(kW - 1, kH - 1)),
                Hex(At(kW / 2, 2))};
    }
};

enum class Scene { Normal, Over, Down, Disabled, Focused, Latched, Default, DownFocusShown };

TEST_F(USButtonPaintTest, FaceBorderAndFocusByStateAndTheme) {
    struct Case {
        ENUM_THEME theme;
        Scene setup;
        const char* face;
        const char* border;
        const char* focus;  // the pixel where the focus rectangle runs
    } cases[] = {
        {ENUM_THEME::WindowsTheme, Scene::Normal, "9A572B", "9A572B", "9A572B"},
        {ENUM_THEME::WindowsTheme, Scene::Over, "7B3E00", "7B3E00", "7B3E00"},
        {ENUM_THEME::WindowsTheme, Scene::Down, "501A00", "501A00", "501A00"},
        {ENUM_THEME::WindowsTheme, Scene::Disabled, "DBCECC", "DBCECC", "DBCECC"},
        {ENUM_THEME::WindowsTheme, Scene::Focused, "9A572B", "7B3E00", "7B3E00"},
        {ENUM_THEME::WindowsTheme, Scene::Latched, "501A00", "501A00", "501A00"},
        {ENUM_THEME::WindowsTheme, Scene::Default, "9A572B", "7B3E00", "7B3E00"},
        // Pressed with ShowFocusRectDown: the rectangle in the over colour.
        {ENUM_THEME::WindowsTheme, Scene::DownFocusShown, "501A00", "501A00", "7B3E00"},
        {ENUM_THEME::WindowsThemeBlack, Scene::Normal, "453F38", "453F38", "453F38"},
        {ENUM_THEME::WindowsThemeBlack, Scene::Focused, "453F38", "2C2821", "2C2821"},
        {ENUM_THEME::WindowsThemeLight, Scene::Normal, "FFE8CC", "FFE8CC", "FFE8CC"},
        {ENUM_THEME::WindowsThemeLight, Scene::Over, "FFCFA3", "FFCFA3", "FFCFA3"},
        {ENUM_THEME::WindowsThemeLight, Scene::Down, "F3B678", "F3B678", "F3B678"},
        {ENUM_THEME::WindowsThemeLight, Scene::Disabled, "EBEBEB", "EBEBEB", "EBEBEB"},
        {ENUM_THEME::WindowsThemeLight, Scene::Focused, "FFE8CC", "FFCFA3", "FFCFA3"},
        // Theme 0's resting face is a ramp from FFEFE3 down to FFE3CE: at
        // row 10 of 0 to 19, red E3 − 21·10/19 = D8 and green EF − 12·10/19
        // = E9; the focus rectangle's row 2 is its own colour.
        {ENUM_THEME::OfficeThemeBlue, Scene::Normal, "FFE9D8", "FFEFE3", "FFEEE1"},
        {ENUM_THEME::OfficeThemeBlue, Scene::Over, "BBF2FF", "BBF2FF", "BBF2FF"},
        {ENUM_THEME::OfficeThemeBlue, Scene::Focused, "FFE9D8", "BBF2FF", "BBF2FF"},
        // Latched: the pressed pair as a ramp (A4D6FF to 79C0FF), whatever
        // GradientColors says.
        {ENUM_THEME::OfficeThemeSilver, Scene::Latched, "8ECBFF", "A4D6FF", "A0D4FF"},
    };
    for (const Case& c : cases) {
        Fresh();
        button->SetTheme(c.theme);
        switch (c.setup) {
            case Scene::Normal:
                break;
            case Scene::Over:
                desktop.MouseMove(30, 20);
                break;
            case Scene::Down:
                desktop.MouseMove(30, 20);
                desktop.MouseDown();
                break;
            case Scene::DownFocusShown:
                button->SetShowFocusRectDown(true);
                desktop.MouseMove(30, 20);
                desktop.MouseDown();
                break;
            case Scene::Disabled:
                button->SetEnabled(false);
                break;
            case Scene::Focused:
                button->SetFocus();
                break;
            case Scene::Latched:
                button->SetCheckBoxMode(true);
                button->SetValue(true);
                break;
            case Scene::Default:
                button->SetDefault(true);
                button->Refresh();
                break;
        }
        EXPECT_EQ(Look(), (std::vector<std::string>{c.face, c.border, c.border, c.focus}))
            << "theme " << static_cast<int>(c.theme) << " setup " << static_cast<int>(c.setup);
        if (c.setup == Scene::Down || c.setup == Scene::DownFocusShown) {
            desktop.MouseUp();
        }
    }
}

TEST_F(USButtonPaintTest, TheFocusRectangleRunsTwoPixelsIn) {
    button->SetTheme(ENUM_THEME::WindowsThemeLight);
    button->SetFocus();
    // Rows and columns: border 0, face 1, focus 2, face 3 ... focus W-3.
    const OLE_COLOR face = 0xFFE8CC;
    const OLE_COLOR line = 0xFFCFA3;
    struct Probe {
        int32_t x, y;
        OLE_COLOR want;
    } probes[] = {
        {1, 1, face},           {2, 2, line},           {kW - 3, 2, line},      {2, kH - 3, line},
        {kW - 3, kH - 3, line}, {3, 3, face},           {kW - 2, kH - 2, face}, {20, 1, face},
        {20, kH - 3, line},     {kW - 4, kH - 4, face},
    };
    for (const Probe& p : probes) {
        EXPECT_EQ(Hex(At(p.x, p.y)), Hex(p.want)) << p.x << "," << p.y;
    }
    // With cropped corners the rectangle loses its corner pixels.
    button->SetCropBorders(ENUM_BUTTON_BORDERS::CropLeft);
    EXPECT_EQ((std::vector<std::string>{Hex(At(2, 2)), Hex(At(3, 2)), Hex(At(2, 3)),
                                        Hex(At(kW - 3, kH - 3)), Hex(At(kW - 4, kH - 3))}),
              (std::vector<std::string>{Hex(face), Hex(line), Hex(line), Hex(face), Hex(line)}));
    // Without ShowFocusRect the border still shows the focus.
    button->SetShowFocusRect(false);
    EXPECT_EQ(Hex(At(2, 2)), Hex(face));
    EXPECT_EQ(Hex(At(0, 0)), Hex(line));
}

TEST_F(USButtonPaintTest, CroppedCornersGetABorderPixelInside) {
    button->SetTheme(ENUM_THEME::WindowsThemeLight);
    button->SetBorderColor(0x0000FF);
    const OLE_COLOR face = 0xFFE8CC;
    const OLE_COLOR red = 0x0000FF;
    struct Case {
        ENUM_BUTTON_BORDERS crop;
        OLE_COLOR topLeft, bottomLeft, topRight, bottomRight;
    } cases[] = {
        {ENUM_BUTTON_BORDERS::DontCrop, face, face, face, face},
        {ENUM_BUTTON_BORDERS::CropLeft, red, red, face, face},
        {ENUM_BUTTON_BORDERS::CropRight, face, face, red, red},
        {ENUM_BUTTON_BORDERS::CropAll, red, red, red, red},
    };
    for (const Case& c : cases) {
        button->SetCropBorders(c.crop);
        EXPECT_EQ((std::vector<std::string>{Hex(At(1, 1)), Hex(At(1, kH - 2)), Hex(At(kW - 2, 1)),
                                            Hex(At(kW - 2, kH - 2))}),
                  (std::vector<std::string>{Hex(c.topLeft), Hex(c.bottomLeft), Hex(c.topRight),
                                            Hex(c.bottomRight)}))
            << "crop " << static_cast<int>(c.crop);
    }
}

TEST_F(USButtonPaintTest, CroppedCornersRoundTheWindowRegionFromTheNextRefresh) {
    button->SetTheme(ENUM_THEME::WindowsThemeLight);
    EXPECT_FALSE(GetWindowRgn(button->hWnd()).has_value());
    button->SetCropBorders(ENUM_BUTTON_BORDERS::CropLeft);
    EXPECT_FALSE(GetWindowRgn(button->hWnd()).has_value()) << "a repaint sets no region";
    button->Refresh();
    std::optional<Region> region = GetWindowRgn(button->hWnd());
    ASSERT_TRUE(region.has_value());
    // Which pixels of the window (and one past it) the region leaves out.
    const auto outside = [&](const Region& r) {
        std::vector<std::string> left;
        for (int32_t y = 0; y <= kH; ++y) {
            for (int32_t x = 0; x <= kW; ++x) {
                if (!r.PtInRegion(x, y) && x < kW && y < kH) {
                    left.push_back(std::to_string(x) + "," + std::to_string(y));
                }
            }
        }
        return left;
    };
    // Only the corner pixels of the rounded side go; the right half
    // (from 40 / 2 = 20) is square.
    EXPECT_EQ(outside(*region), (std::vector<std::string>{"0,0", "0,19"}));
    button->SetCropBorders(ENUM_BUTTON_BORDERS::CropRight);
    button->Refresh();
    EXPECT_EQ(outside(*GetWindowRgn(button->hWnd())), (std::vector<std::string>{"39,0", "39,19"}));
    button->SetCropBorders(ENUM_BUTTON_BORDERS::CropAll);
    button->Refresh();
    region = GetWindowRgn(button->hWnd());
    EXPECT_EQ(outside(*region), (std::vector<std::string>{"0,0", "39,0", "0,19", "39,19"}));
    // Back to Dont Crop: the last region stays.
    button->SetCropBorders(ENUM_BUTTON_BORDERS::DontCrop);
    button->Refresh();
    EXPECT_EQ(GetWindowRgn(button->hWnd()), region);
}

TEST_F(USButtonPaintTest, FourColorFacesAreTwoBandsOfHalfTheHeight) {
    struct Case {
        int32_t height;
        std::vector<std::pair<int32_t, const char*>> rows;
    } cases[] = {
        // 12 + 12 rows; the last row (24) is under the border.
        {25, {{1, "FFEEE2"}, {11, "FFE3CE"}, {12, "FFD1AE"}, {23, "FFDABE"}}},
        // 14 + 14: the lower band runs under the bottom border.
        {27, {{13, "FFE3CE"}, {14, "FFD1AE"}, {25, "FFD8BB"}}},
    };
    for (const Case& c : cases) {
        button->SetBounds(RECT{10, 10, 10 + kW, 10 + c.height});
        button->SetTheme(ENUM_THEME::OfficeThemeBlue);
        button->SetGradientColors(ENUM_GRADIENT_COLORS::FourColors);
        for (const auto& [y, want] : c.rows) {
            EXPECT_EQ(Hex(At(20, y)), want) << "height " << c.height << " row " << y;
        }
    }
}

TEST_F(USButtonPaintTest, SolidFacesTakeTheBackColour) {
    button->SetTheme(ENUM_THEME::OfficeThemeBlue);
    struct Case {
        ENUM_GRADIENT_COLORS mode;
        OLE_COLOR c1, c2, c3, c4;
        bool solid;
    } cases[] = {
        {ENUM_GRADIENT_COLORS::TwoColors, 0x112233, 0x112233, 0x445566, 0x778899, true},
        {ENUM_GRADIENT_COLORS::FourColors, 0x112233, 0x112233, 0x112233, 0x112233, true},
        // Deliberate: only the sum is tested, so these count as solid too.
        {ENUM_GRADIENT_COLORS::FourColors, 0x000010, 0x000008, 0x000018, 0x000010, true},
        {ENUM_GRADIENT_COLORS::FourColors, 0x112244, 0x112233, 0x112233, 0x112233, false},
    };
    for (const Case& c : cases) {
        button->SetGradientColors(c.mode);
        button->SetGradientColor1(c.c1);
        button->SetGradientColor2(c.c2);
        button->SetGradientColor3(c.c3);
        button->SetGradientColor4(c.c4);
        EXPECT_EQ(button->BackColor() == c.c1, c.solid) << Hex(c.c1) << " " << Hex(c.c4);
        if (c.solid) {
            EXPECT_EQ(Hex(At(20, 15)), Hex(c.c1));
        }
    }
}

TEST_F(USButtonPaintTest, ALatchedButtonKeepsThePressedLookUnderTheMouse) {
    button->SetTheme(ENUM_THEME::OfficeThemeBlue);
    button->SetForeColor(0x0000FF);
    button->SetCaption("W");
    button->SetCheckBoxMode(true);
    button->SetValue(true);
    desktop.MouseMove(30, 20);
    EXPECT_EQ(button->LastState(), 1);
    // Pressed face (two colours), pressed border, not the hot ones.
    EXPECT_EQ(Hex(At(2, kH / 2)), "79C0FF");
    EXPECT_EQ(Hex(At(0, 0)), "79C0FF");
    // The caption is in ForeColor (red), not ForeColorOver (black): its
    // strongest pixels are nearly pure red, and none darkens the red.
    int32_t leastGreen = 255;
    int32_t leastRed = 255;
    for (int32_t y = 1; y < kH - 1; ++y) {
        for (int32_t x = 1; x < kW - 1; ++x) {
            leastGreen = std::min<int32_t>(leastGreen, (At(x, y) >> 8) & 0xFF);
            leastRed = std::min<int32_t>(leastRed, At(x, y) & 0xFF);
        }
    }
    EXPECT_LT(leastGreen, 0x20);
    EXPECT_EQ(leastRed, 0xFF);
    // Disabled, it is the disabled face.
    button->SetEnabled(false);
    EXPECT_EQ(Hex(At(2, kH / 2)), "DBCECC");
    EXPECT_EQ(button->LastState(), 3);
}

TEST_F(USButtonPaintTest, RedrawFalseHoldsEveryChangeUntilItIsTrueAgain) {
    button->SetTheme(ENUM_THEME::WindowsThemeLight);
    button->SetRedraw(false);
    button->SetGradientColor1(0x0000FF);
    button->SetGradientColor2(0x0000FF);
    button->SetBorderColor(0x00FF00);
    button->SetCaption("Novo");
    button->SetBounds(RECT{10, 10, 10 + kW, 10 + kH + 4});
    EXPECT_EQ(Hex(At(20, 10)), "FFE8CC");
    EXPECT_EQ(Hex(At(0, 0)), "FFE8CC");
    button->SetRedraw(true);
    EXPECT_EQ(Hex(At(20, 2)), "0000FF");
    EXPECT_EQ(Hex(At(0, kH + 3)), "00FF00") << "laid out at the new size";

    // Setting True again paints nothing: a silent change stays unseen.
    desktop.MouseMove(30, 20);
    button->SetGradientColorOver1(0x00FFFF);
    button->SetGradientColorOver2(0x00FFFF);
    button->SetRedraw(true);
    EXPECT_EQ(Hex(At(20, 2)), "FFCFA3");
    button->Refresh();
    EXPECT_EQ(Hex(At(20, 2)), "00FFFF");
}

TEST_F(USButtonPaintTest, ASmallButtonGrowsToFifteenPixels) {
    button->SetTheme(ENUM_THEME::WindowsThemeLight);
    button->SetBorderColor(0x0000FF);
    button->SetBounds(RECT{10, 10, 18, 20});
    EXPECT_EQ(button->Bounds(), (RECT{10, 10, 25, 25}));
    EXPECT_EQ(button->Image().Width(), 15);
    EXPECT_EQ(Hex(At(14, 14)), "0000FF");
    EXPECT_EQ(Hex(At(7, 7)), "FFE8CC");
}

TEST_F(USButtonPaintTest, PicturesDrawAtTheirRectangleSwappedByTheirSizes) {
    button->SetTheme(ENUM_THEME::WindowsThemeLight);
    auto picture = std::make_shared<PixelBuffer>();
    picture->Allocate(4, 4, RowOrder::TopDown);
    for (int32_t y = 0; y < 4; ++y) {
        for (int32_t x = 0; x < 4; ++x) {
            uint8_t* p = picture->Row(y) + x * 4;
            p[0] = 0;
            p[1] = 0;
            p[2] = 255;
            p[3] = 255;
        }
    }
    button->SetPictureAlignment(ENUM_PIC_ALIGNMENTS::PictureBehindText);
    button->SetPicture(picture);
    button->SetPictureSizeX(6);   // the layout's height ...
    button->SetPictureSizeY(10);  // ... and width: a 10 × 6 rectangle,
    EXPECT_EQ(button->PictureRect(), (RECT{15, 7, 25, 13}));
    // ... but drawn 6 wide and 10 high from its corner.
    EXPECT_EQ(Hex(At(15, 7)), "0000FF");
    EXPECT_EQ(Hex(At(20, 7)), "0000FF");
    EXPECT_EQ(Hex(At(21, 7)), "FFE8CC");
    EXPECT_EQ(Hex(At(15, 16)), "0000FF");
    EXPECT_EQ(Hex(At(15, 17)), "FFE8CC");
}

TEST_F(USButtonPaintTest, PictureBytesDecodeAndTakeOpacity) {
    button->SetTheme(ENUM_THEME::WindowsThemeLight);
    API32bppDIB dib;
    dib.InitializeDIB(16, 16);
    for (int32_t y = 0; y < 16; ++y) {
        for (int32_t x = 0; x < 16; ++x) {
            dib.SetPixel(x, y, 0x000000);
        }
    }
    std::vector<uint8_t> png;
    ASSERT_TRUE(dib.SaveToStream_PNG(png));
    button->SetPictureAlignment(ENUM_PIC_ALIGNMENTS::PictureBehindText);
    ASSERT_TRUE(button->LoadImage_FromArray(png));
    EXPECT_EQ(button->PictureBytes(), ByteArray(png.begin(), png.end()));
    EXPECT_EQ(button->PictureRect(), (RECT{12, 2, 28, 18}));
    EXPECT_EQ(Hex(At(20, 10)), "000000");
    // Half opacity over FFE8CC: each channel halved, rounded.
    button->SetPictureOpacity(50);
    const OLE_COLOR half = At(20, 10);
    EXPECT_NEAR(half & 0xFF, 0xCC / 2, 1);
    EXPECT_NEAR((half >> 16) & 0xFF, 0xFF / 2, 1);
    // A load that fails keeps the picture.
    const std::vector<uint8_t> junk = {1, 2, 3, 4};
    EXPECT_FALSE(button->LoadImage_FromArray(junk));
    EXPECT_EQ(button->PictureBytes(), ByteArray(png.begin(), png.end()));
    // Cleared, there is no picture layer.
    button->ClearPictureBytes();
    EXPECT_FALSE(button->LayoutValid());
    EXPECT_EQ(Hex(At(20, 10)), "FFE8CC");
}

// Where the caption's ink lies: the box of pixels that differ from the
// face, inside the border (and within rows [top, bottom) when given).
RECT InkBox(const PixelBuffer& image, OLE_COLOR face, int32_t top = 1, int32_t bottom = -1) {
    RECT box{image.Width(), image.Height(), -1, -1};
    bottom = bottom < 0 ? image.Height() - 1 : std::min(bottom, image.Height() - 1);
    for (int32_t y = std::max(top, 1); y < bottom; ++y) {
        for (int32_t x = 1; x < image.Width() - 1; ++x) {
            if (PixelAt(image, x, y) != face) {
                box.Left = std::min(box.Left, x);
                box.Top = std::min(box.Top, y);
                box.Right = std::max(box.Right, x + 1);
                box.Bottom = std::max(box.Bottom, y + 1);
            }
        }
    }
    return box;
}

TEST_F(USButtonPaintTest, CaptionsAlignOnOneLine) {
    // A 120-pixel button, the caption 6 pixels from its edge. Glyphs have
    // side bearings, so the ink starts up to two pixels inside its cell.
    button->SetBounds(RECT{10, 10, 130, 10 + kH});
    button->SetTheme(ENUM_THEME::WindowsThemeLight);
    button->SetCaption("Direita");
    button->SetCaptionDistance(6);
    const RECT centred = button->CaptionRect();
    struct Case {
        ENUM_ALIGNMENTS alignment;
        int32_t inkLeftFrom, inkLeftTo;
    } cases[] = {
        {ENUM_ALIGNMENTS::ToLeftJustify, 6, 8},
        {ENUM_ALIGNMENTS::OnCenter, centred.Left, centred.Left + 2},
        {ENUM_ALIGNMENTS::ToRightJustify, 114 - centred.Width(), 114 - centred.Width() + 2},
    };
    for (const Case& c : cases) {
        button->SetAlignment(c.alignment);
        const RECT ink = InkBox(button->Image(), 0xFFE8CC);
        EXPECT_GE(ink.Left, c.inkLeftFrom) << static_cast<int>(c.alignment);
        EXPECT_LE(ink.Left, c.inkLeftTo) << static_cast<int>(c.alignment);
        // Still one line: the ink is no taller than the caption's line.
        EXPECT_LE(ink.Bottom - ink.Top, centred.Height()) << static_cast<int>(c.alignment);
        EXPECT_EQ(button->CaptionRect(), centred) << "alignment moves only the drawing";
    }
}

TEST_F(USButtonPaintTest, WrappedCaptionsStayInsideTheButton) {
    // A caption that fills the button, moved 6 pixels from its left edge,
    // wraps one word earlier ("ao" starts the second line) rather than
    // running out of the button.
    button->SetBounds(RECT{10, 10, 154, 62});
    button->SetTheme(ENUM_THEME::WindowsThemeLight);
    button->SetCaptionDistance(6);
    button->SetCaptionWordBreak(false);
    button->SetAlignment(ENUM_ALIGNMENTS::ToLeftJustify);
    const auto secondLineWidth = [&](const char* caption) {
        button->SetCaption(caption);
        const RECT all = InkBox(button->Image(), 0xFFE8CC);
        const RECT second = InkBox(button->Image(), 0xFFE8CC, (all.Top + all.Bottom) / 2 + 1);
        EXPECT_GE(all.Left, 6) << caption;
        return second.Right - second.Left;
    };
    const int32_t alone = secondLineWidth("Enviar boletos por e-mail\r\nao cliente");
    EXPECT_EQ(secondLineWidth("Enviar boletos por e-mail ao cliente"), alone);
}

TEST_F(USButtonPaintTest, CaptionWordBreakTrueIsOneLineWithAnEllipsis) {
    button->SetBounds(RECT{10, 10, 90, 60});
    button->SetTheme(ENUM_THEME::WindowsThemeLight);
    button->SetCaption("Salvar e fechar o cadastro");
    // False wraps: several lines.
    const int32_t lineHeight = [&] {
        button->SetCaptionWordBreak(true);
        return button->CaptionRect().Height();
    }();
    button->SetCaptionWordBreak(false);
    EXPECT_GE(button->CaptionRect().Height(), 2 * lineHeight);
    EXPECT_LE(button->CaptionRect().Width(), 80);
    // True: one line, cut to the button's width.
    button->SetCaptionWordBreak(true);
    EXPECT_EQ(button->CaptionRect().Height(), lineHeight);
    EXPECT_LE(button->CaptionRect().Width(), 80);
    const RECT ink = InkBox(button->Image(), 0xFFE8CC);
    EXPECT_LE(ink.Bottom - ink.Top, lineHeight);
}

}  // namespace
}  // namespace kelvara
