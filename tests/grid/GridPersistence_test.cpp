#include <gtest/gtest.h>

#include "GridTestSupport.h"
#include "kelvara/base/PropertyBag.h"
#include "kelvara/frame/ColorRoutines.h"

namespace kelvara {
namespace {

using test::AddColumns;
using test::AddRows;
using test::Texts;

struct Key {
    const char* name;
    Variant fallback;  // the default
    Variant changed;   // a value that is not
};

Variant L(int32_t v) {
    return Variant(v);
}
Variant I(int16_t v) {
    return Variant(v);
}
Variant B(bool v) {
    return Variant(v);
}

// Every key but the two fonts, in reading order, with its default and type.
const std::vector<Key>& Keys() {
    static const std::vector<Key> keys = {
        {"Enabled", B(true), B(false)},
        {"BackColorEvenRows", L(16514044), L(1)},
        {"BackColorEvenRowsEnabled", B(true), B(false)},
        {"BackColorSelected1", L(16764835), L(2)},
        {"BackColorSelected2", L(16764835), L(3)},
        {"BorderColor", L(16764835), L(4)},
        {"CaptionGradientColor1", L(10114859), L(5)},
        {"CaptionGradientColor2", L(10114859), L(6)},
        {"FocusRectBorderColor", L(16774117), L(7)},
        {"FocusRectColor", L(16774117), L(8)},
        {"ForeColorHeader", L(0), L(9)},
        {"ForeColorHeaderOver", L(0), L(10)},
        {"GridColor", L(16448254), L(11)},
        {"HeaderBorderColorOver", L(8076800), L(12)},
        {"HeaderBorderColorDown", L(5249536), L(13)},
        {"HeaderGradientColor1", L(16764835), L(14)},
        {"HeaderGradientColor2", L(16764835), L(15)},
        {"HeaderGradientColorOver1", L(16769975), L(16)},
        {"HeaderGradientColorOver2", L(16769975), L(17)},
        {"HeaderGradientColorDown1", L(16767405), L(18)},
        {"HeaderGradientColorDown2", L(16767405), L(19)},
        {"ColumnSeparatorColor", L(10114859), L(20)},
        {"ColumnSeparatorColorOver", L(8076800), L(21)},
        {"ColumnSeparatorColorDown", L(5249536), L(22)},
        {"ProgressBarColor1", L(32768), L(23)},
        {"ProgressBarColor2", L(32768), L(24)},
        {"ArrowColor", L(0), L(25)},
        {"BackColorBackground", L(16777215), L(26)},
        {"BackColorEdit", L(14155006), L(27)},
        {"ForeColor", L(0), L(28)},
        {"ForeColorEdit", L(128), L(29)},
        {"ForeColorSelected", L(128), L(-2147483633)},
        {"ColumnDrag", B(false), B(true)},
        {"AllowColumnHover", B(true), B(false)},
        {"AllowColumnResizing", B(false), B(true)},
        {"ColumnSort", B(false), B(true)},
        {"ColumnSwap", B(false), B(true)},
        {"AllowDelete", B(false), B(true)},
        {"Editable", B(false), B(true)},
        {"AllowInsert", B(false), B(true)},
        {"AllowRowResizing", B(false), B(true)},
        {"AllowWordWrap", B(false), B(true)},
        {"ApplySelectionToImages", B(false), B(true)},
        {"AutoToolTips", B(true), B(false)},
        {"BorderStyle", L(1), L(0)},
        {"CacheIncrement", L(1000), L(50)},
        {"Caption", Variant(""), Variant("Clientes")},
        {"CaptionAlignment", L(5), L(4)},
        {"CaptionHeight", L(26), L(40)},
        {"CaptionWordWrap", B(false), B(true)},
        {"CenterRowImage", B(true), B(false)},
        {"ColumnHeaderLines", I(3), I(2)},
        {"ColumnHeaderSmall", B(true), B(false)},
        {"DisplayEllipsis", B(true), B(false)},
        {"EditMove", L(0), L(2)},
        {"EditTrigger", L(52), L(2)},
        {"FocusRectMode", L(1), L(2)},
        {"FocusRowHighlightKeepTextForeColor", B(true), B(false)},
        {"FreezeAtCol", I(-1), I(1)},
        {"GridLines", L(0), L(3)},
        {"GridLineWidth", L(1), L(2)},
        {"HeaderFormatString", Variant(""), Variant("A;500;4;0;;;4;0;0;1;0")},
        {"HideSelection", B(false), B(true)},
        {"MinRowHeight", I(27), I(300)},
        {"MinVerticalOffset", L(6), L(2)},
        {"MultiSelect", I(0), I(2)},
        {"PreserveSortedColumns", B(true), B(false)},
        {"CheckBoxes", B(false), B(true)},
        {"ScrollBars", L(2), L(3)},
        {"ScrollTrack", B(true), B(false)},
        {"SearchColumn", I(0), I(1)},
        {"ShowColumnHeaders", B(true), B(false)},
        {"ShowRowNumbers", B(false), B(true)},
        {"Theme", L(2), L(5)},
        {"TotalLineShow", B(false), B(true)},
    };
    return keys;
}

PropertyBag FontBag(const char* name, double size, bool bold) {
    PropertyBag font;
    font.WriteProperty("Name", Variant(name), Variant());
    font.WriteProperty("Size", Variant(size), Variant());
    font.WriteProperty("Charset", Variant(int16_t{0}), Variant());
    font.WriteProperty("Weight", Variant(static_cast<int16_t>(bold ? 700 : 400)), Variant());
    font.WriteProperty("Underline", Variant(false), Variant());
    font.WriteProperty("Italic", Variant(false), Variant());
    font.WriteProperty("Strikethrough", Variant(false), Variant());
    return font;
}

TEST(GridPersistence, KeysAreReadInTheirFixedOrder) {
    Texts want = {"Font", "FontHeader"};
    for (const Key& key : Keys()) {
        want.push_back(key.name);
    }
    EXPECT_EQ(GridModel::PropertyKeys(), want);
    EXPECT_EQ(want.size(), 77U);
}

TEST(GridPersistence, EveryKeyReadsItsDefaultFromAnEmptyBag) {
    PropertyBag defaults;
    defaults.WriteBag("Font", FontBag("MS Sans Serif", 8.25, false));
    defaults.WriteBag("FontHeader", FontBag("MS Sans Serif", 8.25, false));
    for (const Key& key : Keys()) {
        defaults.WriteProperty(key.name, key.fallback, Variant());
    }
    GridModel fromDefaults;
    fromDefaults.ReadProperties(defaults);
    GridModel fromNothing;
    fromNothing.ReadProperties(PropertyBag());
    EXPECT_TRUE(fromDefaults.Properties() == fromNothing.Properties());
    PropertyBag written;
    fromNothing.WriteProperties(written);
    EXPECT_EQ(written.Keys(), (Texts{"Font", "FontHeader"})) << "fonts are always written";
}

TEST(GridPersistence, EveryKeyWritesBackWhatWasRead) {
    PropertyBag bag;
    bag.WriteBag("Font", FontBag("Tahoma", 9.75, true));
    bag.WriteBag("FontHeader", FontBag("Arial", 12, false));
    for (const Key& key : Keys()) {
        bag.WriteProperty(key.name, key.changed, key.fallback);
    }
    GridModel grid;
    grid.ReadProperties(bag);
    EXPECT_EQ(grid.Properties().Font.Name(), "Tahoma");
    EXPECT_TRUE(grid.Properties().Font.Bold());
    EXPECT_EQ(grid.Cols(), 1) << "columns come from HeaderFormatString";
    PropertyBag written;
    grid.WriteProperties(written);
    EXPECT_TRUE(written == bag);
    // One key at a time: only that key (and the fonts) is written.
    for (const Key& key : Keys()) {
        PropertyBag one;
        one.WriteProperty(key.name, key.changed, Variant());
        GridModel single;
        single.ReadProperties(one);
        PropertyBag out;
        single.WriteProperties(out);
        EXPECT_EQ(out.Keys(), (Texts{"Font", "FontHeader", key.name})) << key.name;
    }
}

TEST(GridPersistence, ValuesOfOtherTypesAreConvertedAndSomeReadAsAbsolute) {
    struct Case {
        const char* key;
        Variant stored;
        std::function<int64_t(const GridProperties&)> field;
        int64_t want;
    };
    const Case cases[] = {
        {"GridLines", L(-3),
         [](const GridProperties& p) { return static_cast<int64_t>(p.GridLines); }, 3},
        {"MultiSelect", I(-2),
         [](const GridProperties& p) { return static_cast<int64_t>(p.MultiSelect); }, 2},
        {"ScrollBars", L(-1),
         [](const GridProperties& p) { return static_cast<int64_t>(p.ScrollBars); }, -1},
        {"Enabled", Variant("0"), [](const GridProperties& p) { return int64_t{p.Enabled}; }, 0},
        {"CheckBoxes", Variant("True"),
         [](const GridProperties& p) { return int64_t{p.RowCheckBoxes}; }, 1},
        {"CacheIncrement", Variant("500"),
         [](const GridProperties& p) { return int64_t{p.CacheIncrement}; }, 500},
        {"CacheIncrement", Variant("abc"),
         [](const GridProperties& p) { return int64_t{p.CacheIncrement}; }, 1000},
        {"Theme", Variant(2.5),
         [](const GridProperties& p) { return static_cast<int64_t>(p.Theme); }, 2},
        {"MinRowHeight", L(70000), [](const GridProperties& p) { return int64_t{p.MinRowHeight}; },
         27},
        {"GridColor", Variant(255.0), [](const GridProperties& p) { return int64_t{p.GridColor}; },
         255},
    };
    for (const Case& c : cases) {
        PropertyBag bag;
        bag.WriteProperty(c.key, c.stored, Variant());
        GridModel grid;
        grid.ReadProperties(bag);
        EXPECT_EQ(c.field(grid.Properties()), c.want) << c.key;
    }
}

TEST(GridPersistence, HeaderFormatStringMakesTheColumns) {
    GridModel grid;
    grid.SetUserMode(false);
    grid.SetHeaderFormatString(
        "Nome;1500;6;0;;;4;256;0;1;0|Valor;750;2;1;#,##0.00;123;8;0;0;0;1|Data;600;4;2;;;4;0;1");
    ASSERT_EQ(grid.Cols(), 3);
    EXPECT_EQ(grid.ColHeading(0), "Nome");
    EXPECT_FLOAT_EQ(grid.ColWidth(0), 1500.0F);
    EXPECT_EQ(grid.Column(0)->WidthPixels, 100);
    EXPECT_EQ(grid.ColAlignment(0), GRID_ALIGNMENT::AlignToRightCenter);
    EXPECT_TRUE(grid.ColWordWrap(0));
    EXPECT_EQ(grid.ColType(1), GRID_DATA_TYPE::TypeNumeric);
    EXPECT_EQ(grid.ColFormat(1), "#,##0.00");
    EXPECT_EQ(grid.ColInputFilter(1), "123");
    EXPECT_EQ(grid.ColImageAlignment(1), GRID_ALIGNMENT::AlignToLeftBottom);
    EXPECT_FALSE(grid.ColVisible(1));
    EXPECT_TRUE(grid.ColLocked(1));
    EXPECT_EQ(grid.ColInputFilter(2), "1234567890./-");
    EXPECT_EQ(grid.ColumnAt(1), 2) << "the third column asked for index 1";
    // At run time the text is only kept.
    GridModel running;
    running.SetHeaderFormatString("A|B");
    EXPECT_EQ(running.Cols(), 0);
}

TEST(GridPersistence, MalformedHeaderFieldsTakeTheDefaults) {
    GridModel grid;
    grid.SetUserMode(false);
    grid.SetHeaderFormatString(
        "X;abc;zz;1e9;f|;;||Y|Z;100000000000000000000000000000000000000000;9");
    ASSERT_EQ(grid.Cols(), 4);
    EXPECT_EQ(grid.ColHeading(0), "X");
    EXPECT_FLOAT_EQ(grid.ColWidth(0), 500.0F);
    EXPECT_EQ(grid.ColAlignment(0), GRID_ALIGNMENT::AlignToLeftCenter);
    EXPECT_EQ(grid.ColType(0), GRID_DATA_TYPE::TypeString) << "1e9 is no Integer";
    EXPECT_EQ(grid.ColFormat(0), "f");
    EXPECT_EQ(grid.ColHeading(1), "");
    EXPECT_EQ(grid.ColHeading(2), "Y");
    EXPECT_FLOAT_EQ(grid.ColWidth(3), 500.0F);
    EXPECT_EQ(static_cast<int>(grid.ColAlignment(3)), 9);
    std::string many;
    for (int i = 0; i < 5000; ++i) {
        many += "c|";
    }
    grid.SetHeaderFormatString(many);
    EXPECT_EQ(grid.Cols(), 4096);
}

TEST(GridPersistence, HeaderFormatStringIsBuiltFromTheColumnsWhenNoneIsStored) {
    GridModel grid;
    GridColumnOptions options;
    options.width = 1500.0F;
    options.alignment = GRID_ALIGNMENT::AlignToRightCenter;
    options.wordWrap = true;
    grid.AddColumn("Nome", options);
    options = GridColumnOptions();
    options.dataType = GRID_DATA_TYPE::TypeNumeric;
    options.format = "0.00";
    options.locked = true;
    options.visible = false;
    grid.AddColumn("Valor", options);
    const std::string built = grid.HeaderFormatString();
    EXPECT_EQ(built, "Nome;100;6;0;;;4;256;0;1;0|Valor;33;4;1;0.00;1234567890.-,;4;0;0;0;1");
    PropertyBag bag;
    grid.WriteProperties(bag);
    EXPECT_EQ(bag.ReadProperty("HeaderFormatString", Variant()), Variant(built));
    // Deliberate: read back, the pixel widths are taken as twips.
    GridModel loaded;
    loaded.ReadProperties(bag);
    EXPECT_FLOAT_EQ(loaded.ColWidth(0), 100.0F);
    EXPECT_EQ(loaded.ColHeading(1), "Valor");
    EXPECT_TRUE(loaded.ColLocked(1));
}

TEST(GridPersistence, ThemesSetTheirColourSets) {
    GridModel grid;
    grid.SetTheme(ENUM_THEME::WindowsThemeLight);
    const GridProperties& p = grid.Properties();
    EXPECT_EQ(p.BackColorSelected1, 16447476U);
    EXPECT_EQ(p.BorderColor, 16771276U);
    EXPECT_EQ(p.ColumnHeaderLines, 5);
    EXPECT_EQ(p.ColumnSeparatorColorDown, 11908016U);
    EXPECT_EQ(p.ProgressBarColor2, 10847232U);
    EXPECT_EQ(p.BackColorEvenRows,
              static_cast<OLE_COLOR>(ThemeColor(ENUM_THEME::WindowsThemeLight, 24)));

    grid.SetTheme(ENUM_THEME::OfficeThemeSilver);
    EXPECT_EQ(p.BackColorSelected1, 14417407U);
    EXPECT_EQ(p.BackColorSelected2, 12317439U);
    EXPECT_EQ(p.HeaderGradientColorDown1, 10802943U);
    EXPECT_EQ(p.GridColor, 16514043U);

    grid.Properties().ForeColorHeader = 255;
    grid.SetTheme(ENUM_THEME::WindowsThemeGreen);
    const auto palette = [](int32_t slot) {
        return ThemeColor(ENUM_THEME::WindowsThemeGreen, slot);
    };
    EXPECT_EQ(p.BackColorSelected2, static_cast<OLE_COLOR>(ShiftRGBColor(palette(9), 120)));
    EXPECT_EQ(p.HeaderGradientColorOver1,
              static_cast<OLE_COLOR>(ShiftRGBColor(ShiftRGBColor(palette(8), 120), 20)));
    EXPECT_EQ(p.HeaderBorderColorDown, static_cast<OLE_COLOR>(palette(6)));
    EXPECT_EQ(p.ArrowColor, 255U);
    EXPECT_EQ(p.ColumnHeaderLines, 3);

    const GridProperties before = grid.Properties();
    grid.SetTheme(static_cast<ENUM_THEME>(9));
    GridProperties after = grid.Properties();
    after.Theme = before.Theme;
    EXPECT_TRUE(after == before);

    GridModel placed;
    placed.InitProperties();
    EXPECT_EQ(placed.Properties().Theme, ENUM_THEME::WindowsThemeLight);
    EXPECT_EQ(placed.Properties().GridColor, 16447476U);
}

}  // namespace
}  // namespace kelvara
