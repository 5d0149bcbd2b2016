#include "kelvara/frame/ControlPatterns.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kelvara/backends/headless/HeadlessDesktop.h"
#include "kelvara/host/Form.h"
#include "kelvara/host/Intrinsics.h"

namespace kelvara {
namespace {

// A control in the shared pattern: property writes go through the gate,
// painting through the persistent image.
class Swatch : public UserControl {
public:
    Swatch() : UserControl("Test.Swatch") {}
    int32_t paints = 0;
    std::vector<std::string> announced;
    OLE_COLOR color = 0x0000FF;

    bool Redraw() const { return gate.Redraw(); }
    void SetRedraw(bool value) {
        if (gate.SetRedraw(value)) {
            Refresh();
        }
        PropertyChanged("Redraw");
    }
    // A "repaint" kind of property.
    void SetColor(OLE_COLOR value) {
        color = value;
        PropertyChanged("Color");
        PaintState(-1, true);
    }
    void Refresh() { PaintState(-1, true); }
    void PaintState(int32_t state, bool force) {
        if (!gate.ShouldPaint(state, false, force)) {
            return;
        }
        PaintOffscreen(*this, [&] {
            ++paints;
            hDC().FillRect(RECT{0, 0, 100, 100}, color);
        });
    }

protected:
    void UserControl_Initialize() override {
        PropertyChanges.Connect([this](const std::string& key) { announced.push_back(key); });
    }
    void UserControl_Resize() override {
        if (EnforceMinimumSize(*this, 15, 15)) {
            return;
        }
        if (gate.Redraw()) {
            Refresh();
        }
    }

private:
    RedrawGate gate;
};

class ControlPatternsTest : public ::testing::Test {
protected:
    HeadlessDesktop desktop;
    Form form{"frm"};
    Swatch* swatch = nullptr;

    void SetUp() override {
        form.SetBorderStyle(FormBorderStyle::None);
        swatch = form.Controls().Add<Swatch>("sw");
        swatch->SetBounds(RECT{0, 0, 40, 30});
        swatch->SetVisible(true);
        swatch->paints = 0;
        swatch->announced.clear();
    }
};

TEST_F(ControlPatternsTest, RedrawBatchesChangesIntoOnePaint) {
    swatch->SetRedraw(false);
    for (int i = 0; i < 10; ++i) {
        swatch->SetColor(static_cast<OLE_COLOR>(i));
    }
    EXPECT_EQ(swatch->paints, 0);
    swatch->SetRedraw(true);
    EXPECT_EQ(swatch->paints, 1);
    // True again changes nothing and paints nothing, but is announced.
    swatch->SetRedraw(true);
    EXPECT_EQ(swatch->paints, 1);
    EXPECT_EQ(swatch->announced.back(), "Redraw");
    EXPECT_EQ(std::count(swatch->announced.begin(), swatch->announced.end(), "Color"), 10);
}

TEST_F(ControlPatternsTest, TheGateSkipsARepaintOfTheSameStateUnlessForced) {
    RedrawGate gate;
    int32_t state = 1;
    EXPECT_TRUE(gate.ShouldPaint(state, false, false));
    state = 1;
    EXPECT_FALSE(gate.ShouldPaint(state, false, false));
    EXPECT_TRUE(gate.ShouldPaint(state, true, false)) << "the focus flag changed";
    state = -1;
    EXPECT_TRUE(gate.ShouldPaint(state, true, true));
    EXPECT_EQ(state, 1) << "-1 stands for the state painted last";
}

TEST_F(ControlPatternsTest, ResizeBelowTheLeastSizePaintsOnlyInTheNestedResize) {
    swatch->SetBounds(RECT{0, 0, 10, 5});
    EXPECT_EQ(swatch->Bounds(), (RECT{0, 0, 15, 15}));
    EXPECT_EQ(swatch->paints, 1);
}

TEST_F(ControlPatternsTest, FontAttributesAnnounceTheirKeysAndPersistInTheFont) {
    int32_t refreshed = 0;
    const auto refresh = [&] { ++refreshed; };
    SetFontAttribute(*swatch, FontAttribute::Bold, 1, refresh);
    SetFontAttribute(*swatch, FontAttribute::Italic, 1, refresh);
    SetFontAttribute(*swatch, FontAttribute::Size, 12, refresh);
    SetFontAttribute(*swatch, FontAttribute::Strikethrough, 1, refresh);
    SetFontAttribute(*swatch, FontAttribute::Underline, 1, refresh);
    EXPECT_EQ(swatch->announced, (std::vector<std::string>{"FontBold", "FontItalic", "FontSize",
                                                           "FontStrikethru", "FontUnderline"}));
    EXPECT_EQ(refreshed, 5);
    PropertyBag bag;
    WriteFontProperty(bag, "Font", swatch->Font(), DefaultFont());
    EXPECT_EQ(bag.Keys(), std::vector<std::string>{"Font"});
    const StdFont back = ReadFontProperty(bag, "Font", DefaultFont());
    EXPECT_TRUE(back.Bold() && back.Italic() && back.Strikethrough() && back.Underline());
    EXPECT_EQ(back.Size(), 12);
}

TEST_F(ControlPatternsTest, HandPointerOnlyInARunningControl) {
    ApplyHandPointer(*swatch, false, true);
    EXPECT_EQ(swatch->MousePointer(), 0);
    ApplyHandPointer(*swatch, true, false);
    EXPECT_EQ(swatch->MousePointer(), 0);
    ApplyHandPointer(*swatch, true, true);
    EXPECT_EQ(swatch->MousePointer(), vbCustom);
    ASSERT_NE(swatch->MouseIcon(), nullptr);
    EXPECT_EQ(swatch->MouseIcon()->Width(), 32);
    // The finger's tip is drawn; a corner is clear.
    EXPECT_EQ(swatch->MouseIcon()->Row(0)[5 * 4 + 3], 255);
    EXPECT_EQ(swatch->MouseIcon()->Row(31)[31 * 4 + 3], 0);
}

TEST(DefaultThemeTest, StartsAsWindowsThemeLight) {
    EXPECT_EQ(DefaultTheme(), ENUM_THEME::WindowsThemeLight);
    SetDefaultTheme(ENUM_THEME::OfficeThemeBlue);
    EXPECT_EQ(DefaultTheme(), ENUM_THEME::OfficeThemeBlue);
    SetDefaultTheme(ENUM_THEME::WindowsThemeLight);
}

}  // namespace
}  // namespace kelvara

namespace kelvara {
namespace {

TEST(AccessKey, TheLastSingleAmpersandNamesTheKey) {
    const std::pair<const char*, const char*> cases[] = {
        {"&Salvar", "s"}, {"Sa&lvar", "l"}, {"&&Salvar", ""}, {"a&&&b", "&"}, {"&", ""},
        {"x&", ""},       {"&Ação", "a"},   {"S&ÃO", "ã"},    {"&a&b", "b"},  {"", ""},
    };
    for (const auto& [caption, key] : cases) {
        EXPECT_EQ(GetAccessKey(caption), key) << caption;
    }
}

}  // namespace
}  // namespace kelvara
