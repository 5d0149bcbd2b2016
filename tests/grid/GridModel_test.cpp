#include "kelvara/grid/GridModel.h"

#include <gtest/gtest.h>

#include "GridTestSupport.h"

namespace kelvara {
namespace {

using test::AddColumns;
using test::AddRows;
using test::Column0;
using test::EventLog;
using test::Texts;
using Type = GRID_DATA_TYPE;

std::vector<int32_t> ColumnOrder(const GridModel& grid) {
    std::vector<int32_t> order;
    for (int32_t p = 0; p < grid.Cols(); ++p) {
        order.push_back(grid.ColumnAt(p));
    }
    return order;
}

TEST(GridModel, AddColumnPlacesByIndexAndAnIndexOfZeroAppends) {
    struct Case {
        int existing;
        int32_t index;
        int32_t returned;
        std::vector<int32_t> order;
    };
    const Case cases[] = {
        {0, 0, 0, {0}},           {1, 0, 1, {0, 1}},       {1, 1, 1, {0, 1}},
        {3, 1, 1, {0, 3, 1, 2}},  {3, 2, 2, {0, 1, 3, 2}}, {3, 3, 3, {0, 1, 2, 3}},
        {3, -4, 3, {0, 1, 2, 3}}, {3, 9, 3, {0, 1, 2, 3}},
    };
    for (const Case& c : cases) {
        GridModel grid;
        for (int i = 0; i < c.existing; ++i) {
            grid.AddColumn("old");
        }
        GridColumnOptions options;
        options.index = c.index;
        EXPECT_EQ(grid.AddColumn("new", options), c.returned) << c.existing << "/" << c.index;
        EXPECT_EQ(ColumnOrder(grid), c.order) << c.existing << "/" << c.index;
        EXPECT_EQ(grid.ColHeading(c.existing), "new");
    }
}

TEST(GridModel, AddColumnFillsTheRecordAndDefaultsTheInputFilterByType) {
    GridModel grid;
    GridColumnOptions options;
    options.width = 1500.0F;
    options.wordWrap = true;
    options.dataType = Type::TypeNumeric;
    grid.AddColumn("Valor", options);
    options.dataType = Type::TypeDate;
    grid.AddColumn("Data", options);
    options.inputFilter = "abc";
    grid.AddColumn("Own", options);
    grid.AddColumn("Text");
    EXPECT_EQ(grid.ColInputFilter(0), "1234567890.-,");
    EXPECT_EQ(grid.ColInputFilter(1), "1234567890./-");
    EXPECT_EQ(grid.ColInputFilter(2), "abc");
    EXPECT_EQ(grid.ColInputFilter(3), "");
    EXPECT_EQ(grid.Column(0)->WidthPixels, 100);
    EXPECT_TRUE(grid.ColWordWrap(0));
    EXPECT_FALSE(grid.ColWordWrap(3));
    EXPECT_EQ(grid.Cols(), 4);
    grid.ClearAll();
    EXPECT_EQ(grid.Cols(), 0);
    EXPECT_EQ(grid.ColHeading(0), "");
}

TEST(GridModel, ColumnAddedToFilledGridTakesItsAlignmentInEveryRow) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"a", "b"});
    GridColumnOptions options;
    options.alignment = GRID_ALIGNMENT::AlignToRightCenter;
    grid.AddColumn("more", options);
    grid.AddItem("c\tnew");
    EXPECT_EQ(grid.CellAlignment(0, 1), GRID_ALIGNMENT::AlignToRightCenter);
    EXPECT_EQ(grid.CellAlignment(1, 1), GRID_ALIGNMENT::AlignToRightCenter);
    EXPECT_EQ(grid.CellText(1, 1), "");
    // New rows and old cells keep the centred alignment of AddItem.
    EXPECT_EQ(grid.CellAlignment(2, 1), GRID_ALIGNMENT::AlignToCenterCenter);
    EXPECT_EQ(grid.CellAlignment(0, 0), GRID_ALIGNMENT::AlignToCenterCenter);
    EXPECT_EQ(grid.CellText(2, 1), "new");
    EXPECT_EQ(grid.CellFormatIndex(1, 1), 0);
}

TEST(GridModel, AddItemFillsCellsByColumnIdFromTabSeparatedText) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeBoolean, Type::TypeNumeric});
    struct Case {
        const char* item;
        const char* first;
        bool checked;
        const char* third;
    };
    const Case cases[] = {
        {"a\tTrue\t3", "a", true, "3"},
        {"b\t1", "b", true, ""},
        {"c\ttrue\t4\textra", "c", false, "4"},
        {"", "", false, ""},
        {"\t\t", "", false, ""},
        {"long text, more than seven bytes\t0\t-1", "long text, more than seven bytes", false,
         "-1"},
    };
    for (const Case& c : cases) {
        const int32_t slot = grid.AddItem(c.item);
        const int32_t p = grid.Rows() - 1;
        EXPECT_EQ(slot, p);
        EXPECT_EQ(grid.CellText(p, 0), c.first) << c.item;
        EXPECT_EQ(grid.CellChecked(p, 1), c.checked) << c.item;
        EXPECT_EQ(grid.CellText(p, 1), "") << "a Boolean cell keeps no text";
        EXPECT_EQ(grid.CellText(p, 2), c.third) << c.item;
        EXPECT_FALSE(grid.CellChanged(p, 0));
    }
}

TEST(GridModel, InsertedRowsTakeNewSlotsAndOnlyRowOrderShowsIt) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"a", "b"});
    GridItemOptions options;
    options.row = 1;
    EXPECT_EQ(grid.AddItem("mid", options), 2);
    options.row = 0;
    EXPECT_EQ(grid.AddItem("top", options), 3);
    EXPECT_EQ(Column0(grid), (Texts{"top", "a", "mid", "b"}));
    EXPECT_EQ(grid.SlotAt(0), 3);
    EXPECT_EQ(grid.SlotAt(2), 2);
    options.row = 4;  // not below lastRow: appends
    grid.AddItem("end", options);
    EXPECT_EQ(Column0(grid).back(), "end");
}

TEST(GridModel, EmptyGridCountsNothingAndItsMembersAnswerNothing) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    EXPECT_EQ(grid.Rows(), 0);
    EXPECT_EQ(grid.ListCount(), 0);
    EXPECT_EQ(grid.Row(), -1);
    EXPECT_EQ(grid.CellText(0, 0), "");
    grid.SetCellText(0, 0, "x");
    grid.SetRowData(0, 5);
    EXPECT_EQ(grid.RowData(0), 0);
    EXPECT_FALSE(grid.RowChanged(0));
}

TEST(GridModel, RowStorageGrowsOnlyAtCacheIncrementSteps) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeString});
    grid.Properties().CacheIncrement = 10;
    std::vector<size_t> sizes;
    for (int i = 0; i < 23; ++i) {
        grid.AddItem("x\ty");
        sizes.push_back(grid.Memory().rowBytes);
    }
    // Room for slots 0..10 after the first row, 0..21 after row 11, ...
    const size_t perRow = 16 + 2 * 20;
    EXPECT_EQ(sizes[0] - sizes[0] % perRow, 11 * perRow);
    EXPECT_EQ(sizes[10], sizes[0]);
    EXPECT_EQ(sizes[11] - sizes[0], 11 * perRow);
    EXPECT_EQ(sizes[21], sizes[11]);
    EXPECT_EQ(sizes[22] - sizes[11], 11 * perRow);
}

TEST(GridModel, CellValidationClampsRowsAndMapsTheCurrentColumn) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeString});
    AddRows(grid, {"a0\ta1", "b0\tb1", "c0\tc1"});
    struct Case {
        int32_t row;
        int32_t col;
        const char* text;
    };
    // Row -1 with no current row takes row 0; column -1 with no current
    // column is no column.
    EXPECT_EQ(grid.CellText(-1, 1), "a1");
    EXPECT_EQ(grid.CellText(0, -1), "");
    grid.SetRow(1);
    grid.SetCol(1);
    const Case cases[] = {
        {0, 0, "a0"},  {2, 1, "c1"},  {9, 0, "c0"}, {-1, 0, "b0"},
        {-7, 0, "b0"}, {0, -1, "a1"}, {0, 2, ""},   {0, -2, ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(grid.CellText(c.row, c.col), c.text) << c.row << ", " << c.col;
    }
    // With no current row, a hidden or locked row 0 makes row -1 invalid.
    GridModel locked;
    AddColumns(locked, {Type::TypeString});
    GridItemOptions options;
    options.rowLocked = true;
    locked.AddItem("z", options);
    EXPECT_EQ(locked.CellText(-1, 0), "");
    EXPECT_EQ(locked.CellText(0, 0), "z");
}

TEST(GridModel, CellTextMarksChangesAndDrivesBooleanCells) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeBoolean});
    AddRows(grid, {"a\t0", "b\t0"});
    grid.SetCellText(1, 0, "changed");
    EXPECT_TRUE(grid.CellChanged(1, 0));
    EXPECT_TRUE(grid.RowChanged(1));
    EXPECT_FALSE(grid.RowChanged(0));
    EXPECT_FALSE(grid.RowChanged(5));
    struct Case {
        const char* text;
        bool checked;
    };
    for (const Case& c :
         {Case{"True", true}, Case{"0", false}, Case{"1", true}, Case{"Verdadeiro", false}}) {
        grid.SetCellText(0, 1, c.text);
        EXPECT_EQ(grid.CellChecked(0, 1), c.checked) << c.text;
        EXPECT_EQ(grid.CellValue(0, 1), Variant(c.checked)) << c.text;
    }
    // CellChecked writes the host's Boolean text back.
    grid.SetCellChecked(1, 1, true);
    EXPECT_EQ(grid.CellText(1, 1), "Verdadeiro");
    grid.SetCellChecked(1, 1, false);
    EXPECT_EQ(grid.CellText(1, 1), "Falso");
    // In a text column only the flag moves.
    grid.SetCellChecked(0, 0, true);
    EXPECT_EQ(grid.CellText(0, 0), "a");
    EXPECT_TRUE(grid.CellChecked(0, 0));
}

TEST(GridModel, ProgressValuesAreClampedAndShownAsPercent) {
    GridModel grid;
    GridColumnOptions options;
    options.dataType = Type::TypeProgressBar;
    options.wordWrap = true;
    grid.AddColumn("p", options);
    grid.AddColumn("t");
    AddRows(grid, {"\tx"});
    EXPECT_EQ(grid.CellProgressValue(0, 0), 256) << "the word-wrap template, until first set";
    struct Case {
        int32_t value;
        int32_t stored;
        const char* text;
    };
    for (const Case& c :
         {Case{150, 100, "100%"}, Case{101, 100, "100%"}, Case{-3, 0, "0%"}, Case{42, 42, "42%"}}) {
        grid.SetCellProgressValue(0, 0, c.value);
        EXPECT_EQ(grid.CellProgressValue(0, 0), c.stored);
        EXPECT_EQ(grid.CellText(0, 0), c.text);
    }
    grid.SetCellProgressValue(0, 1, 50);
    EXPECT_EQ(grid.CellText(0, 1), "x");
    EXPECT_EQ(grid.CellProgressValue(0, 1), 0);
}

TEST(GridModel, RowHeightOfMinusOneMeasuresTheCurrentRow) {
    GridModel grid;
    std::vector<int32_t> measured;
    GridHooks hooks;
    hooks.measureRow = [&](int32_t p) { measured.push_back(p); };
    grid.SetHooks(hooks);
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"a", "b", "c"});
    grid.SetRow(2);
    grid.SetRowHeight(0, -1);
    EXPECT_EQ(measured, (std::vector<int32_t>{2}));
    grid.SetRowHeight(0, 40);
    EXPECT_EQ(grid.RowHeight(0), 40);
    EXPECT_EQ(grid.RowHeight(2), 0);
}

TEST(GridModel, WideAndTaggedCellsKeepTheirExtrasThroughDeletion) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeString});
    AddRows(grid, {"a", "b", "c"});
    grid.SetCellAlignment(2, 1, static_cast<GRID_ALIGNMENT>(0x40025));
    grid.SetCellTag(2, 0, "tag c");
    grid.SetRowTag(2, "row c");
    grid.SetRowChecked(0, true);
    grid.DeleteChecked();
    EXPECT_EQ(Column0(grid), (Texts{"b", "c"}));
    EXPECT_EQ(static_cast<int32_t>(grid.CellAlignment(1, 1)), 0x40025);
    EXPECT_EQ(grid.CellTag(1, 0), "tag c");
    EXPECT_EQ(grid.RowTag(1), "row c");
    EXPECT_EQ(grid.CellTag(0, 0), "");
}

TEST(GridModel, ClearRaisesItsEventsOnlyWhenRowsWentAndKeepsColumns) {
    GridModel grid;
    EventLog log(grid);
    AddColumns(grid, {Type::TypeNumeric});
    grid.Clear();
    EXPECT_TRUE(log.names.empty());
    AddRows(grid, {"1"});
    log.names.clear();
    grid.Clear();
    EXPECT_EQ(log.names, (Texts{"AfterDelete", "RowCountChanged", "SelectionChanged"}));
    EXPECT_EQ(grid.Cols(), 1);
    EXPECT_EQ(grid.Rows(), 0);
    EXPECT_EQ(grid.Memory().rowBytes, 0U);
    grid.SetUserMode(false);
    AddRows(grid, {"1"});
    log.names.clear();
    grid.Clear();
    EXPECT_TRUE(log.names.empty()) << "no events at design time";
}

TEST(GridModel, FillKeepsRedrawOffAndEndFillReturnsToTheRowAndScroll) {
    GridModel grid;
    int repaints = 0;
    GridHooks hooks;
    hooks.repaint = [&] { ++repaints; };
    grid.SetHooks(hooks);
    AddColumns(grid, {Type::TypeString});
    for (int i = 0; i < 8; ++i) {
        grid.AddItem("r" + std::to_string(i));
    }
    grid.SetRow(5);
    grid.SetTopRow(20);
    repaints = 0;
    grid.BeginFill(-1, 50, true);
    EXPECT_FALSE(grid.Redraw());
    EXPECT_EQ(grid.TagID(), 7) << "the top row, clamped to the last row";
    EXPECT_EQ(grid.Properties().CacheIncrement, 50);
    for (int i = 0; i < 9; ++i) {
        grid.AddItem("n" + std::to_string(i));
    }
    EXPECT_EQ(repaints, 0);
    grid.EndFill();
    EXPECT_TRUE(grid.Redraw());
    EXPECT_EQ(grid.Row(), 5);
    EXPECT_TRUE(grid.RowSelected(5));
    EXPECT_EQ(grid.TopRow(), 7);
    EXPECT_EQ(repaints, 1);
}

// --- Deletion ---------------------------------------------------------------------------------

TEST(GridModel, DeleteCheckedKeepsOrderReselectsAndRaisesEventsOnce) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeNumeric});
    grid.SetTotalLineShow(true);
    AddRows(grid, {"a\t1", "b\t2", "c\t4", "d\t8", "e\t16"});
    grid.SetRow(0);
    EventLog log(grid);
    grid.SetRowChecked(1, true);
    grid.SetRowChecked(4, true);
    grid.DeleteChecked();
    EXPECT_EQ(Column0(grid), (Texts{"a", "c", "d"}));
    EXPECT_EQ(log.names,
              (Texts{"BeforeDelete", "AfterDelete", "RowCountChanged", "SelectionChanged"}));
    EXPECT_DOUBLE_EQ(grid.TotalColumns(1), 13.0);
    // The first dropped position (1) is selected again, besides row 0.
    EXPECT_TRUE(grid.RowSelected(1));
    EXPECT_EQ(grid.SelectedCount(false), 2);

    // A dropped last row selects the new last row.
    grid.UnselectAllRows();
    grid.SetRowChecked(2, true);
    grid.DeleteChecked();
    EXPECT_EQ(Column0(grid), (Texts{"a", "c"}));
    EXPECT_TRUE(grid.RowSelected(1));
}

TEST(GridModel, DeletingEveryRowGoesThroughClear) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"a", "b"});
    grid.SelectAllRows();
    EventLog log(grid);
    grid.DeleteSelected();
    EXPECT_EQ(grid.Rows(), 0);
    EXPECT_EQ(log.names,
              (Texts{"BeforeDelete", "AfterDelete", "RowCountChanged", "SelectionChanged"}));
}

TEST(GridModel, CancelledDeletionLeavesRowsAndRedrawOff) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"a", "b"});
    grid.SetRowChecked(0, true);
    grid.BeforeDelete.Connect([](int32_t, bool& cancel) { cancel = true; });
    grid.DeleteChecked();
    EXPECT_EQ(grid.Rows(), 2);
    EXPECT_FALSE(grid.Redraw());
}

TEST(GridModel, BeforeDeleteHandlersMayChangeTheFlagsUnderTheDeletion) {
    for (const bool checkAll : {false, true}) {
        GridModel grid;
        AddColumns(grid, {Type::TypeString});
        AddRows(grid, {"a", "b", "c"});
        grid.SetRowChecked(1, true);
        grid.BeforeDelete.Connect([&](int32_t, bool&) {
            for (int32_t p = 0; p < 3; ++p) {
                grid.SetRowChecked(p, checkAll);
            }
        });
        grid.DeleteChecked();
        EXPECT_EQ(grid.Rows(), checkAll ? 0 : 3);
    }
}

TEST(GridModel, OnlyVisibleRowsKeepsHiddenCheckedRows) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"a", "b", "c"});
    for (int32_t p = 0; p < 3; ++p) {
        grid.SetRowChecked(p, true);
    }
    grid.SetRowVisible(1, false);
    EXPECT_EQ(grid.CheckedCount(true), 2);
    grid.DeleteChecked(true);
    EXPECT_EQ(Column0(grid), (Texts{"b"}));
}

// rowOrder [2, 0, 1] from inserts: the kept rows are copied back to the
// slots the truncated rowOrder names, so a row whose slot is gone is lost
// and its position shows a blank, hidden row.
TEST(GridModel, DeletionOnAReorderedGridLosesRowsAsItAlwaysHas) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"A", "B"});
    GridItemOptions top;
    top.row = 0;
    grid.AddItem("C", top);
    ASSERT_EQ(Column0(grid), (Texts{"C", "A", "B"}));
    grid.SetRowChecked(1, true);
    grid.DeleteChecked();
    EXPECT_EQ(grid.Rows(), 2);
    EXPECT_EQ(Column0(grid), (Texts{"", "B"}));
    EXPECT_FALSE(grid.RowVisible(0));
    EXPECT_TRUE(grid.RowSelected(1));
    // The next row takes slot 2, which position 0 still names: it shows
    // twice.
    AddRows(grid, {"D"});
    EXPECT_EQ(Column0(grid), (Texts{"D", "B", "D"}));
}

TEST(GridModel, RemoveRowMapsThePositionTwice) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"A", "B"});
    GridItemOptions top;
    top.row = 0;
    grid.AddItem("C", top);
    // Position 0 holds slot 2; position 2 holds slot 1, "B", which goes.
    grid.RemoveRow(0);
    EXPECT_EQ(Column0(grid), (Texts{"", "A"}));

    GridModel plain;
    AddColumns(plain, {Type::TypeString});
    AddRows(plain, {"A", "B", "C"});
    plain.RemoveRow(1);
    EXPECT_EQ(Column0(plain), (Texts{"A", "C"}));
    plain.RemoveRow(7);
    EXPECT_EQ(Column0(plain), (Texts{"A"}));
}

TEST(GridModel, RowQueriesSkipHiddenAndLockedRows) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"a", "b", "c", "d", "e"});
    grid.SetRowVisible(0, false);
    grid.SetRowLocked(1, true);
    grid.SetRowVisible(4, false);
    EXPECT_EQ(grid.RowFirstVisible(), 1);
    EXPECT_EQ(grid.RowLastVisible(), 3);
    EXPECT_EQ(grid.RowFirstAvailable(), 2);
    EXPECT_EQ(grid.RowLastAvailable(), 3);
    grid.SetRow(3);
    grid.SetRowLocked(3, true);
    EXPECT_EQ(grid.CurrentRowAvailable(), 2) << "forward finds nothing, backward finds 2";
    EXPECT_TRUE(grid.HasRowsVisible());
    // The check members work only with row check boxes.
    grid.CheckAllRowsVisibles();
    EXPECT_EQ(grid.CheckedCount(false), 0);
    grid.Properties().RowCheckBoxes = true;
    grid.CheckAllRowsVisibles();
    EXPECT_EQ(grid.CheckedCount(false), 3);
    grid.InvertCheckedAllRows();
    EXPECT_EQ(grid.CheckedCount(false), 2);
    EXPECT_EQ(grid.CheckedCount(true), 0);
}

}  // namespace
}  // namespace kelvara
