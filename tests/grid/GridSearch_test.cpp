#include <gtest/gtest.h>

#include <random>

#include "GridTestSupport.h"
#include "kelvara/base/Text.h"

namespace kelvara {
namespace {

using test::AddColumns;
using test::AddRows;
using test::EventLog;
using test::Texts;
using Mode = GRID_SEARCH_MODE;
using Type = GRID_DATA_TYPE;

const std::initializer_list<const char*> kCities = {
    "São Paulo", "sao bernardo", "Santos", "SÃO JOSÉ", "", "123", "Paulo", "paulo afonso"};

// The positions left visible, as a string of 0 and 1.
std::string Shown(const GridModel& grid) {
    std::string shown;
    for (int32_t p = 0; p < grid.Rows(); ++p) {
        shown += grid.RowVisible(p) ? '1' : '0';
    }
    return shown;
}

TEST(GridSearch, FilterOnComparesEachModeWithAndWithoutCaseAndAccents) {
    struct Case {
        const char* filter;
        Mode mode;
        bool matchCase;
        const char* shown;
    };
    const Case cases[] = {
        {"Santos", Mode::SearchEqual, false, "00100000"},
        {"santos", Mode::SearchEqual, false, "00000000"},
        {"santos", Mode::SearchEqual, true, "00100000"},
        {"sao", Mode::SearchBeginsWith, false, "01000000"},
        {"sao", Mode::SearchBeginsWith, true, "11010000"},
        {"paulo", Mode::SearchEndsWith, false, "00000000"},
        {"Paulo", Mode::SearchEndsWith, false, "10000010"},
        {"PAULO", Mode::SearchLike, false, "10000011"},
        {"  ão ", Mode::SearchLike, false, "10010000"},
        {"ao", Mode::SearchLike, true, "11010000"},
        {"S", Mode::SearchGreaterEqual, false, "11110001"},
        {"Sa", Mode::SearchNavigate, false, "10110000"},
        {"1", Mode::SearchNavigate, false, "00000100"},
        {"x", static_cast<Mode>(3), false, "00000000"},
    };
    for (const Case& c : cases) {
        GridModel grid;
        AddColumns(grid, {Type::TypeString});
        AddRows(grid, kCities);
        grid.FilterOn(c.filter, 0, c.mode, c.matchCase);
        EXPECT_EQ(Shown(grid), c.shown)
            << "\"" << c.filter << "\" mode " << static_cast<int>(c.mode) << " " << c.matchCase;
    }
}

TEST(GridSearch, FilterOnReplacesThePreviousFilterAndAnEmptyOneShowsAll) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeNumeric});
    grid.SetTotalLineShow(true);
    AddRows(grid, {"ab\t1", "b\t2", "abc\t4"});
    EventLog log(grid);
    grid.FilterOn("ab", 0, Mode::SearchBeginsWith);
    EXPECT_EQ(Shown(grid), "101");
    EXPECT_EQ(log.names, (Texts{"SelectionChanged"}));
    grid.FilterOn("b", 0, Mode::SearchEqual);
    EXPECT_EQ(Shown(grid), "010");
    EXPECT_DOUBLE_EQ(grid.TotalColumns(1), 7.0) << "filters leave totals alone";
    grid.FilterOn("", 0);
    EXPECT_EQ(Shown(grid), "111");
    // Out of range starting rows do nothing; a later start leaves rows above.
    grid.FilterOn("b", 0, Mode::SearchEqual, false, 3);
    EXPECT_EQ(Shown(grid), "111");
    grid.FilterOn("b", 0, Mode::SearchEqual, false, 2);
    EXPECT_EQ(Shown(grid), "110");
}

TEST(GridSearch, FilterLikeFindsWhatAReverseTextSearchFinds) {
    // Letters whose case folding crosses into ASCII, accents, four-byte and
    // malformed text: the quick paths must agree with the runtime.
    const char* const pieces[] = {"a", "S",      "s", "k", "K", "\u212A", "\u017F", "é",
                                  "É", "\u0130", "i", "ß", "😀", "\xC3",   " ",      "x"};
    std::mt19937 random(9);
    const auto text = [&](size_t most) {
        std::string t;
        for (size_t n = random() % most; n > 0; --n) {
            t += pieces[random() % std::size(pieces)];
        }
        return t;
    };
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    std::vector<std::string> texts;
    for (int i = 0; i < 300; ++i) {
        texts.push_back(text(8));
        grid.AddItem(texts.back());
    }
    for (int trial = 0; trial < 200; ++trial) {
        const std::string needle = text(3);
        grid.FilterOn(needle, 0, Mode::SearchLike);
        const std::string trimmed = Trim(needle);
        for (int32_t p = 0; p < grid.Rows(); ++p) {
            const bool want =
                needle.empty() ||
                (trimmed.empty() ? !texts[p].empty()
                                 : InStrRev(texts[p], trimmed, -1, CompareMethod::Text) > 0);
            ASSERT_EQ(grid.RowVisible(p), want) << "\"" << texts[p] << "\" / \"" << needle << "\"";
        }
    }
}

TEST(GridSearch, FilterOnAllColumnsTakesIdsUpToTheVisibleCount) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeString, Type::TypeString});
    AddRows(grid, {"x\ty\tkey", "key\ty\tz", "x\tkey\tz"});
    // All three visible: every column is searched.
    grid.FilterOn("key", -1);
    EXPECT_EQ(Shown(grid), "111");
    // Column 0 hidden: two visible, so ids 0 and 1 are the range and 0 is
    // skipped; the key in column 2 is not seen.
    grid.SetColVisible(0, false);
    grid.FilterOn("key", -1);
    EXPECT_EQ(Shown(grid), "001");
    // Column 1 hidden instead: ids 0 and 1 again, 1 skipped, and a row
    // without a match keeps its Visible since the last id is hidden.
    grid.SetColVisible(0, true);
    grid.SetColVisible(1, false);
    grid.FilterOn("key", -1);
    EXPECT_EQ(Shown(grid), "011");
}

TEST(GridSearch, FilterOffShowsRowsFromTheStartAndOnlyReportsAChange) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"a", "b", "c", "d"});
    grid.FilterOn("z", 0);
    EventLog log(grid);
    grid.FilterOff(2);
    EXPECT_EQ(Shown(grid), "0011");
    grid.FilterOff(-5);
    EXPECT_EQ(Shown(grid), "1111");
    EXPECT_EQ(log.names, (Texts{"SelectionChanged", "SelectionChanged"}));
    grid.FilterOff();
    EXPECT_EQ(log.names.size(), 2U);
}

TEST(GridSearch, FilterMovesTheCursorOffAHiddenRow) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"a", "b", "a", "b"});
    grid.SetRow(1);
    grid.FilterOn("a", 0);
    EXPECT_EQ(grid.Row(), 2);
    EXPECT_TRUE(grid.RowSelected(2));
    EXPECT_EQ(grid.SelectedCount(false), 1);
}

TEST(GridSearch, FindItemSearchesOneColumnByPosition) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeString});
    GridColumnOptions first;
    first.index = 1;
    grid.AddColumn("moved", first);  // positions: ids 0, 2, 1
    AddRows(grid, {"Ana\tx\tq1", "bia\ty\tq2", "Bia Maria\tz\tq?", "ana\tx\tw"});
    grid.SetRowVisible(1, false);
    struct Case {
        const char* text;
        int32_t column;
        Mode mode;
        bool matchCase;
        int32_t start;
        int32_t found;
    };
    const Case cases[] = {
        {"bia", -1, Mode::SearchEqual, false, 0, 1},
        {"bia", -1, Mode::SearchEqual, true, 0, 1},
        {"Bia", -1, Mode::SearchEqual, true, 0, -1},
        {"ana", 0, Mode::SearchEqual, false, 1, 3},
        {"ana", 0, Mode::SearchEqual, false, 9, 0},
        {"ia", -1, Mode::SearchLike, false, 0, 1},
        {"b?a m", -1, Mode::SearchLike, false, 0, 2},
        {"q?", 1, Mode::SearchLike, false, 0, 0},
        {"q[?]", 1, Mode::SearchLike, false, 0, 2},
        {"z", 2, Mode::SearchEqual, false, 0, 2},
        {"z", 1, Mode::SearchEqual, false, 0, -1},
        {"ma", -1, Mode::SearchEndsWith, false, 0, -1},
        {"RIA", -1, Mode::SearchEndsWith, false, 0, 2},
        {"B", -1, Mode::SearchNavigate, false, 0, 1},
        {"", -1, Mode::SearchEqual, false, 0, -1},
        {"x", 5, Mode::SearchEqual, false, 0, -1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(grid.FindItem(c.text, c.column, c.mode, c.matchCase, c.start), c.found)
            << "\"" << c.text << "\" in " << c.column << " mode " << static_cast<int>(c.mode);
    }
}

TEST(GridSearch, IndexFromDataAnswersZeroOrMinusOneWhenNothingMatches) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    GridItemOptions options;
    for (int32_t data : {10, 20, 30}) {
        options.rowData = data;
        grid.AddItem("r", options);
    }
    grid.SetCellData(2, 0, 7);
    EXPECT_EQ(grid.GetIndexFromData(20), 1);
    EXPECT_EQ(grid.GetIndexFromData(99), 0);
    EXPECT_EQ(grid.GetIndexFromData(99, true), -1);
    EXPECT_EQ(grid.GetIndexFromCellData(7, 0), 2);
    EXPECT_EQ(grid.GetIndexFromCellData(7, 3, true), -1);
}

TEST(GridSearch, TypedCharactersWithinASecondBuildOneSearch) {
    GridModel grid;
    uint32_t now = 5000;
    GridHooks hooks;
    hooks.tickCount = [&] { return now; };
    grid.SetHooks(hooks);
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"Alberto", "Bruna", "Bruno", "Carla", "carlos"});
    struct Step {
        char32_t key;
        uint32_t later;
        bool moved;
        int32_t row;
    };
    const Step steps[] = {
        {U'b', 0, true, 1},     {U'r', 300, true, 1},  {U'u', 999, true, 1},  {U'n', 200, true, 1},
        {U'o', 100, true, 2},   {U'x', 100, false, 2}, {U'c', 1000, true, 3}, {U'a', 10, true, 3},
        {U'-', 10, false, 3},   {U'r', 10, true, 3},   {U'l', 10, true, 3},   {U'o', 10, true, 4},
        {U'z', 5000, false, 4},
    };
    for (const Step& s : steps) {
        now += s.later;
        EXPECT_EQ(grid.TypeToSearch(s.key), s.moved) << static_cast<char>(s.key);
        EXPECT_EQ(grid.Row(), s.row) << static_cast<char>(s.key);
    }
}

}  // namespace
}  // namespace kelvara
