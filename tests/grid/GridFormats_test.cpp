#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <random>
#include <set>
#include <tuple>

#include "GridTestSupport.h"
#include "kelvara/base/Number.h"
#include "kelvara/grid/detail/TextRules.h"

// The format pool, the total line and the range formatters.

namespace kelvara {
namespace {

using test::AddColumns;
using test::AddRows;
using Type = GRID_DATA_TYPE;

using Look = std::tuple<OLE_COLOR, OLE_COLOR, std::string, bool, int16_t>;

Look LookOf(const GridModel& grid, int32_t row, int32_t col) {
    return {grid.CellBackColor(row, col), grid.CellForeColor(row, col), grid.CellFontName(row, col),
            grid.CellHandPointer(row, col), grid.CellImage(row, col)};
}

// Every record above 0 is counted exactly by the cells pointing at it, and
// no two records in use look alike.
void ExpectPoolExact(const GridModel& grid) {
    const auto& pool = grid.FormatPool();
    std::vector<int32_t> counted(pool.size(), 0);
    for (int32_t p = 0; p < grid.Rows(); ++p) {
        for (int32_t c = 0; c < grid.Cols(); ++c) {
            const int32_t index = grid.CellFormatIndex(p, c);
            ASSERT_GE(index, 0);
            ASSERT_LT(index, static_cast<int32_t>(pool.size()));
            ++counted[index];
        }
    }
    std::set<Look> inUse;
    for (size_t k = 1; k < pool.size(); ++k) {
        ASSERT_EQ(pool[k].RefCount, counted[k]) << "record " << k;
        if (pool[k].RefCount > 0) {
            const Look look{pool[k].BackColor, pool[k].ForeColor, pool[k].FontName,
                            pool[k].HandPointer, pool[k].Image};
            ASSERT_TRUE(inUse.insert(look).second) << "record " << k << " is a duplicate";
        }
    }
}

TEST(GridFormats, EqualLooksShareOneRecordAndResettingOneLeavesTheOther) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeString});
    AddRows(grid, {"a\tb"});
    const Look plain = LookOf(grid, 0, 0);
    EXPECT_EQ(plain, Look(16777215, 0, "MS Sans Serif", false, 0));
    for (int32_t c = 0; c < 2; ++c) {
        grid.SetCellBackColor(0, c, 255);
        grid.SetCellFontName(0, c, "Tahoma");
    }
    EXPECT_EQ(grid.CellFormatIndex(0, 0), grid.CellFormatIndex(0, 1));
    EXPECT_EQ(grid.FormatPool()[grid.CellFormatIndex(0, 0)].RefCount, 2);
    grid.SetCellBackColor(0, 1, 16777215);
    grid.SetCellFontName(0, 1, "MS Sans Serif");
    EXPECT_EQ(grid.CellFormatIndex(0, 1), 0);
    EXPECT_EQ(LookOf(grid, 0, 1), plain);
    EXPECT_EQ(LookOf(grid, 0, 0), Look(255, 0, "Tahoma", false, 0));
    ExpectPoolExact(grid);
}

TEST(GridFormats, TheDefaultLookIsNeverHandedOutAsAFreeRecord) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"a", "b", "c"});
    const Look plain = LookOf(grid, 2, 0);
    grid.SetCellBackColor(0, 0, 1);
    grid.SetCellBackColor(1, 0, 2);
    EXPECT_EQ(LookOf(grid, 2, 0), plain);
    // A record given back is reused by the next new look.
    grid.SetCellBackColor(0, 0, 16777215);
    const int32_t freed = grid.CellFormatIndex(1, 0) - 1;
    EXPECT_EQ(grid.FormatPool()[freed].RefCount, 0);
    grid.SetCellForeColor(2, 0, 99);
    EXPECT_EQ(grid.CellFormatIndex(2, 0), freed);
    EXPECT_EQ(grid.FormatPool().size(), 3U);
    ExpectPoolExact(grid);
}

TEST(GridFormats, ReferenceCountsStayExactUnderRandomSetsAndResets) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeNumeric, Type::TypeProgressBar});
    for (int i = 0; i < 40; ++i) {
        grid.AddItem("x\t1\t2");
    }
    std::mt19937 random(7);
    std::map<std::pair<int32_t, int32_t>, Look> want;
    const Look plain = LookOf(grid, 0, 0);
    for (int step = 0; step < 4000; ++step) {
        const int32_t row = static_cast<int32_t>(random() % 40);
        const int32_t col = static_cast<int32_t>(random() % 3);
        Look& look = want.try_emplace({row, col}, plain).first->second;
        const auto value = static_cast<int>(random() % 3);
        switch (random() % 6) {
            case 0:
                std::get<0>(look) = value == 0 ? 16777215 : 0x10 * value;
                grid.SetCellBackColor(row, col, std::get<0>(look));
                break;
            case 1:
                std::get<1>(look) = static_cast<OLE_COLOR>(value);
                grid.SetCellForeColor(row, col, std::get<1>(look));
                break;
            case 2:
                std::get<2>(look) = value == 0 ? "MS Sans Serif" : "F" + std::to_string(value);
                grid.SetCellFontName(row, col, std::get<2>(look));
                break;
            case 3:
                std::get<3>(look) = value == 1;
                grid.SetCellHandPointer(row, col, std::get<3>(look));
                break;
            case 4:
                std::get<4>(look) = static_cast<int16_t>(value);
                grid.SetCellImage(row, col, std::get<4>(look));
                break;
            default: {
                // Drop a checked row now and then; its formats go back.
                if (value == 0 && grid.Rows() > 20) {
                    grid.SetRowChecked(row, true);
                    grid.DeleteChecked();
                    std::map<std::pair<int32_t, int32_t>, Look> moved;
                    for (const auto& [at, kept] : want) {
                        if (at.first != row) {
                            moved[{at.first > row ? at.first - 1 : at.first, at.second}] = kept;
                        }
                    }
                    want = moved;
                    grid.AddItem("x\t1\t2");
                }
                break;
            }
        }
        if (step % 97 == 0) {
            ExpectPoolExact(grid);
        }
    }
    ExpectPoolExact(grid);
    for (const auto& [at, look] : want) {
        ASSERT_EQ(LookOf(grid, at.first, at.second), look) << at.first << ", " << at.second;
    }
}

TEST(GridFormats, RowWideSettersSkipProgressColumns) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeProgressBar, Type::TypeNumeric});
    AddRows(grid, {"a\t\t1", "b\t\t2"});
    grid.SetRowBackColor(1, 123);
    grid.SetRowFontBold(1, true);
    grid.SetRowForeColorAndFontItalic(0, 77, true, true);
    EXPECT_EQ(grid.CellBackColor(1, 0), 123U);
    EXPECT_EQ(grid.CellBackColor(1, 1), 16777215U);
    EXPECT_TRUE(grid.CellFontBold(1, 2));
    EXPECT_FALSE(grid.CellFontBold(1, 1));
    EXPECT_EQ(grid.CellForeColor(0, 2), 77U);
    EXPECT_TRUE(grid.CellFontItalic(0, 0));
    EXPECT_TRUE(grid.RowChecked(0));
    EXPECT_EQ(grid.CellProgressValue(1, 1), 0);
    ExpectPoolExact(grid);
}

TEST(GridFormats, FormatCellsAppliesOneModeToARange) {
    struct Case {
        GRID_CELL_FORMAT mode;
        const char* value;
        std::function<bool(const GridModel&, int32_t, int32_t)> formatted;
    };
    const Case cases[] = {
        {GRID_CELL_FORMAT::FormatBackColor, "255",
         [](const GridModel& g, int32_t r, int32_t c) { return g.CellBackColor(r, c) == 255; }},
        {GRID_CELL_FORMAT::FormatForeColor, "R$ 1.000",
         [](const GridModel& g, int32_t r, int32_t c) { return g.CellForeColor(r, c) == 1000; }},
        {GRID_CELL_FORMAT::FormatImage, "3",
         [](const GridModel& g, int32_t r, int32_t c) { return g.CellImage(r, c) == 3; }},
        {GRID_CELL_FORMAT::FormatFontName, "Tahoma",
         [](const GridModel& g, int32_t r, int32_t c) { return g.CellFontName(r, c) == "Tahoma"; }},
        {GRID_CELL_FORMAT::FormatFontBold, "1",
         [](const GridModel& g, int32_t r, int32_t c) { return g.CellFontBold(r, c); }},
        {GRID_CELL_FORMAT::FormatFontItalic, "-1",
         [](const GridModel& g, int32_t r, int32_t c) { return g.CellFontItalic(r, c); }},
        {GRID_CELL_FORMAT::FormatFontUnderline, "2",
         [](const GridModel& g, int32_t r, int32_t c) { return g.CellFontUnderline(r, c); }},
        {GRID_CELL_FORMAT::FormatHandPointer, "True",
         [](const GridModel& g, int32_t r, int32_t c) { return g.CellHandPointer(r, c); }},
        {GRID_CELL_FORMAT::FormatAlignment, "",
         [](const GridModel& g, int32_t r, int32_t c) {
             return g.CellAlignment(r, c) == GRID_ALIGNMENT::AlignToRightBottom;
         }},
    };
    for (const Case& c : cases) {
        GridModel grid;
        AddColumns(grid, {Type::TypeString, Type::TypeString, Type::TypeString});
        AddRows(grid, {"a", "b", "c", "d"});
        grid.FormatCells(1, 2, 1, -1, c.mode, Variant(c.value), GRID_ALIGNMENT::AlignToRightBottom);
        for (int32_t r = 0; r < 4; ++r) {
            for (int32_t col = 0; col < 3; ++col) {
                const bool inside = r >= 1 && r <= 2 && col >= 1;
                EXPECT_EQ(c.formatted(grid, r, col), inside)
                    << static_cast<int>(c.mode) << " at " << r << ", " << col;
            }
        }
    }
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"a"});
    grid.FormatCells(0, -1, 0, -1, GRID_CELL_FORMAT::FormatFontStrikethrough, Variant("1"));
    grid.FormatCells(0, -1, 0, -1, GRID_CELL_FORMAT::FormatFontName, Variant("  "));
    EXPECT_FALSE(grid.CellFontStrikethrough(0, 0));
    EXPECT_EQ(grid.CellFontName(0, 0), "MS Sans Serif");
    grid.FormatCellsAlignment(0, -1, 0, -1, GRID_ALIGNMENT::AlignToLeftTop);
    EXPECT_EQ(grid.CellAlignment(0, 0), GRID_ALIGNMENT::AlignToLeftTop);
}

TEST(GridFormats, TotalsAreKeptIncrementallyWhileTheTotalLineShows) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeNumeric});
    AddRows(grid, {"before\t100"});
    grid.SetTotalLineShow(true);
    AddRows(grid, {"a\t1,5", "b\t2", "c\tR$ 10,00", "d\tx"});
    EXPECT_DOUBLE_EQ(grid.TotalColumns(1), 13.5) << "the row added before stays out";
    grid.SetCellText(1, 1, "4");
    EXPECT_DOUBLE_EQ(grid.TotalColumns(1), 16.0);
    grid.SetRowVisible(2, false);
    grid.SetTotalLineColAvg(1, true);
    EXPECT_DOUBLE_EQ(grid.TotalLineValue(1), 16.0 / 5) << "hidden rows count";
    EXPECT_DOUBLE_EQ(grid.TotalColumns(0), 0.0);
    grid.Clear();
    EXPECT_DOUBLE_EQ(grid.TotalColumns(1), 0.0);
}

TEST(GridFormats, TextToNumberReadsWhatItCanOfTheText) {
    struct Case {
        const char* text;
        double value;
    };
    const Case cases[] = {
        {"", 0.0},       {"12,5", 12.5}, {"-3", -3.0},  {"-0,25", -0.25}, {"0", 0.0},
        {"True", 1.0},   {"False", 0.0}, {"true", 0.0}, {"abc", 0.0},     {"R$ 1.234,50", 1234.5},
        {"&HFF", 255.0}, {"&H", 0.0},    {"5 kg", 5.0}, {"3 £", 3.0},     {"£ 3", 0.0},
        {"1-2", 0.0},    {" 7 ", 7.0},   {"1.5", 15.0}, {"US$ 5", 0.0},   {"1e3", 1000.0},
    };
    for (const Case& c : cases) {
        EXPECT_DOUBLE_EQ(detail::TextToNumber(c.text), c.value) << c.text;
    }
    // The quick reading of plain numbers agrees with the host's parser.
    std::mt19937_64 random(3);
    for (int i = 0; i < 20000; ++i) {
        const uint64_t digits = random() % 1000000000000000ULL;
        std::string text = std::to_string(digits);
        const size_t point = random() % (text.size() + 1);
        if (point > 0 && point < text.size()) {
            text.insert(point, ",");
        }
        if (random() % 2 == 0) {
            text.insert(0, "-");
        }
        ASSERT_EQ(detail::TextToNumber(text), CDbl(text).value()) << text;
    }
}

}  // namespace
}  // namespace kelvara
