#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <random>

#include "GridTestSupport.h"
#include "kelvara/base/Date.h"
#include "kelvara/base/Text.h"
#include "kelvara/grid/detail/TextRules.h"

namespace kelvara {
namespace {

using test::AddColumns;
using test::AddRows;
using test::Column0;
using test::EventLog;
using test::Texts;
using Type = GRID_DATA_TYPE;

// The grid's quicksort written out plainly, as the reference: recursive,
// keys worked out again at every comparison. A scan that runs off the rows,
// or a range that recurses into itself (only a pivot from outside the range
// can make either happen), stops the sort.
template <typename Key>
struct Literal {
    std::function<Key(int32_t)> key;
    std::function<std::optional<Key>(int32_t)> pivot;
    std::function<bool(const Key&, const Key&)> less;
    bool ascending = true;
    bool stopped = false;

    void Sort(std::vector<int32_t>& order, int32_t lo, int32_t hi) {
        if (stopped) {
            return;
        }
        const auto n = static_cast<int32_t>(order.size());
        const auto at = [&](int32_t k) {
            if (k < 0 || k >= n) {
                throw k;
            }
            return key(order[k]);
        };
        try {
            Partition(order, lo, hi, at);
        } catch (int32_t) {
            stopped = true;
        }
    }

    template <typename At>
    void Partition(std::vector<int32_t>& order, int32_t lo, int32_t hi, At at) {
        int32_t i = lo;
        int32_t j = hi;
        const std::optional<Key> p = pivot(order[(lo + hi) / 2]);
        if (!p) {
            stopped = true;
            return;
        }
        while (i <= j) {
            if (ascending) {
                while (less(at(i), *p)) {
                    ++i;
                }
                while (less(*p, at(j))) {
                    --j;
                }
            } else {
                while (less(*p, at(i))) {
                    ++i;
                }
                while (less(at(j), *p)) {
                    --j;
                }
            }
            if (i <= j) {
                std::swap(order[i], order[j]);
                ++i;
                --j;
            }
        }
        if ((lo < j && j == hi) || (i < hi && i == lo)) {
            stopped = true;
            return;
        }
        if (lo < j) {
            Partition(order, lo, j, at);
        }
        if (i < hi && !stopped) {
            Partition(order, i, hi, at);
        }
    }
};

std::vector<int32_t> Slots(const GridModel& grid) {
    std::vector<int32_t> slots;
    for (int32_t p = 0; p < grid.Rows(); ++p) {
        slots.push_back(grid.SlotAt(p));
    }
    return slots;
}

// A cell's text and check flag by slot, whatever the order.
struct BySlot {
    std::vector<std::string> text;
    std::vector<bool> checked;

    BySlot(const GridModel& grid, int32_t column) : text(grid.Rows()), checked(grid.Rows()) {
        for (int32_t p = 0; p < grid.Rows(); ++p) {
            text[grid.SlotAt(p)] = grid.CellText(p, column);
            checked[grid.SlotAt(p)] = grid.CellChecked(p, column);
        }
    }
};

const char* const kWords[] = {"ana",    "Ana", "ANA", "bruno", "Álvaro", "alvaro", "",
                              "zé",     "Zé",  "ção", "😀x",    "\uE000", "b",      "B",
                              "ab\xFF", "ab",  "éa",  "ÉA",    "z"};
const char* const kNumbers[] = {"1",       "1,0", "2",   "-1",   "",  "abc",  "1.000",
                                "R$ 2,00", "10",  "3,5", "True", "0", "-0,5", "&HA"};
const char* const kDates[] = {"01/02/2020", "1/2/2020",   "31/12/1999",       "",
                              "xx",         "2020-02-01", "15/03/2021 10:00", "29/02/2021",
                              "3/3/03",     "12/13/2020"};

template <size_t N>
std::string Pick(std::mt19937& random, const char* const (&words)[N]) {
    return words[random() % N];
}

// Fills a grid whose columns are: 0 text, 1 number, 2 date, 3 Boolean, and
// 4, placed at position 3, the text that the Boolean sort reads its pivot
// from.
void FillMixed(GridModel& grid, std::mt19937& random, int rows) {
    AddColumns(grid, {Type::TypeString, Type::TypeNumeric, Type::TypeDate, Type::TypeBoolean});
    GridColumnOptions pivotText;
    pivotText.index = 3;
    grid.AddColumn("pivot", pivotText);
    const char* const kBooleans[] = {"True", "False", "1", "0", "Verdadeiro", "Falso", "", "x"};
    for (int r = 0; r < rows; ++r) {
        grid.AddItem(Pick(random, kWords) + "\t" + Pick(random, kNumbers) + "\t" +
                     Pick(random, kDates) + "\t" + (random() % 2 ? "1" : "0") + "\t" +
                     Pick(random, kBooleans));
    }
}

TEST(GridSort, EqualKeysEndInTheOrderOfTheLiteralQuicksort) {
    std::mt19937 random(11);
    for (int trial = 0; trial < 24; ++trial) {
        GridModel grid;
        FillMixed(grid, random, 1 + static_cast<int>(random() % (trial < 20 ? 200 : 3000)));
        // Start from an order that is not the natural one.
        grid.Sort(0, static_cast<int32_t>(GRID_SORT_TYPE::SortDescending));
        for (const int32_t column : {0, 1, 2, 3}) {
            for (const auto type :
                 {GRID_SORT_TYPE::SortAscending, GRID_SORT_TYPE::SortDescending}) {
                const BySlot cells(grid, column);
                const BySlot pivots(grid, 4);
                std::vector<int32_t> want = Slots(grid);
                const bool ascending = type == GRID_SORT_TYPE::SortAscending;
                bool stopped = false;
                if (column == 0) {
                    Literal<std::string> literal;
                    literal.key = [&](int32_t s) { return UCase(cells.text[s]); };
                    literal.pivot = [&](int32_t s) { return std::optional(UCase(cells.text[s])); };
                    literal.less = [](const std::string& a, const std::string& b) {
                        return StrComp(a, b, CompareMethod::Binary) < 0;
                    };
                    literal.ascending = ascending;
                    literal.Sort(want, 0, grid.Rows() - 1);
                } else if (column == 3) {
                    Literal<int> literal;
                    literal.key = [&](int32_t s) { return cells.checked[s] ? -1 : 0; };
                    literal.pivot = [&](int32_t s) -> std::optional<int> {
                        const auto value = Variant(pivots.text[s]).ToBool();
                        return value ? std::optional<int>(*value ? -1 : 0) : std::nullopt;
                    };
                    literal.less = std::less<int>();
                    literal.ascending = ascending;
                    literal.Sort(want, 0, grid.Rows() - 1);
                    stopped = literal.stopped;
                } else {
                    const auto key = [&](int32_t s) {
                        if (column == 1) {
                            return detail::TextToNumber(cells.text[s]);
                        }
                        const auto date = CDate(cells.text[s]);
                        return date ? date->Serial() : detail::kNoDateKey;
                    };
                    Literal<double> literal;
                    literal.key = key;
                    literal.pivot = [&](int32_t s) { return std::optional(key(s)); };
                    literal.less = std::less<double>();
                    literal.ascending = ascending;
                    literal.Sort(want, 0, grid.Rows() - 1);
                }
                grid.Sort(column, static_cast<int32_t>(type));
                ASSERT_EQ(Slots(grid), want)
                    << "trial " << trial << ", column " << column << ", ascending " << ascending
                    << (stopped ? ", stopped" : "");
            }
        }
    }
}

TEST(GridSort, BooleanSortStopsWhereThePivotTextDoesNotRead) {
    GridModel grid;
    AddColumns(grid, {Type::TypeBoolean, Type::TypeString});
    AddRows(grid, {"1\ta", "0\tb", "1\tc"});
    EventLog log(grid);
    grid.Sort(0, static_cast<int32_t>(GRID_SORT_TYPE::SortAscending));
    EXPECT_EQ(Column0(grid), (Texts{"", "", ""}));
    EXPECT_EQ(grid.CellText(0, 1), "a") << "no text in a Boolean cell: the sort stops at once";
    EXPECT_EQ(log.names, (Texts{"SortComplete"}));
    EXPECT_TRUE(grid.IsGridSorted());
    for (int32_t p = 0; p < 3; ++p) {
        grid.SetCellChecked(p, 0, p != 1);
    }
    grid.Sort(0, static_cast<int32_t>(GRID_SORT_TYPE::SortDescending));
    EXPECT_EQ(grid.CellText(0, 1), "b") << "False (0) sorts above True (-1) descending";
}

TEST(GridSort, HeaderCycleGoesAscendingDescendingNatural) {
    GridModel grid;
    AddColumns(grid, {Type::TypeNumeric});
    AddRows(grid, {"3", "1"});
    GridItemOptions middle;
    middle.row = 1;
    grid.AddItem("2", middle);
    ASSERT_EQ(Column0(grid), (Texts{"3", "2", "1"}));
    grid.Sort(0);
    EXPECT_EQ(Column0(grid), (Texts{"1", "2", "3"}));
    EXPECT_EQ(grid.SortDirection(), ColumnSort::Ascending);
    grid.Sort(0);
    EXPECT_EQ(Column0(grid), (Texts{"3", "2", "1"}));
    grid.Sort(0);
    EXPECT_EQ(Column0(grid), (Texts{"3", "1", "2"})) << "natural order is slot order";
    EXPECT_FALSE(grid.IsGridSorted());
}

TEST(GridSort, CursorAndSelectionStayWithTheirRecords) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"d", "b", "a", "c"});
    grid.SetRow(1);
    grid.SetRowSelected(3, true);
    EventLog log(grid);
    grid.Sort(0, static_cast<int32_t>(GRID_SORT_TYPE::SortAscending));
    EXPECT_EQ(grid.Row(), 1);
    EXPECT_EQ(grid.CellText(-1, 0), "b");
    EXPECT_TRUE(grid.RowSelected(2)) << "c moved from 3 to 2 with its flag";
    EXPECT_EQ(log.names, (Texts{"SortComplete"}));
    grid.Sort(0, static_cast<int32_t>(GRID_SORT_TYPE::SortDescending));
    EXPECT_EQ(grid.CellText(-1, 0), "b");
    EXPECT_EQ(grid.Row(), 2);
}

TEST(GridSort, TextWithoutADateSortsLastAscendingAndFirstDescending) {
    GridModel grid;
    AddColumns(grid, {Type::TypeDate});
    AddRows(grid, {"05/01/2021", "", "31/12/2020", "abc"});
    grid.Sort(0, static_cast<int32_t>(GRID_SORT_TYPE::SortAscending));
    EXPECT_EQ(Column0(grid)[0], "31/12/2020");
    EXPECT_EQ(Column0(grid)[1], "05/01/2021");
    grid.Sort(0, static_cast<int32_t>(GRID_SORT_TYPE::SortDescending));
    EXPECT_EQ(Column0(grid)[3], "31/12/2020");
    EXPECT_TRUE(Column0(grid)[0].empty() || Column0(grid)[0] == "abc");
}

TEST(GridSort, MinusOneSortsTheStoredColumnThroughColumnOrder) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeString});
    GridColumnOptions first;
    first.index = 1;
    grid.AddColumn("moved", first);  // order 0, 2, 1
    AddRows(grid, {"b\tx\t2", "a\ty\t1", "c\tz\t3"});
    grid.Sort(1, static_cast<int32_t>(GRID_SORT_TYPE::SortDescending));
    EXPECT_EQ(grid.SortColumn(), 1);
    // Sort(-1) takes columnOrder[1], which is column 2.
    grid.Sort(-1, static_cast<int32_t>(GRID_SORT_TYPE::SortAscending));
    EXPECT_EQ(grid.SortColumn(), 2);
    EXPECT_EQ(Column0(grid), (Texts{"a", "b", "c"}));
}

TEST(GridSort, EndFillSortsAgainWithoutSortComplete) {
    GridModel grid;
    AddColumns(grid, {Type::TypeNumeric});
    AddRows(grid, {"2", "1"});
    grid.Sort(0, static_cast<int32_t>(GRID_SORT_TYPE::SortDescending));
    EventLog log(grid);
    grid.BeginFill(-1, -1, false);
    AddRows(grid, {"5", "0"});
    grid.EndFill();
    EXPECT_EQ(Column0(grid), (Texts{"5", "2", "1", "0"}));
    EXPECT_EQ(std::count(log.names.begin(), log.names.end(), "SortComplete"), 0);

    grid.Properties().PreserveSortedColumns = false;
    grid.BeginFill(-1, -1, false);
    AddRows(grid, {"9"});
    grid.EndFill();
    EXPECT_EQ(Column0(grid).back(), "9");
    EXPECT_FALSE(grid.IsGridSorted());
}

// The custom sort written out as the reference.
void LiteralCustom(std::vector<std::string>& values, int lo, int hi, int& events) {
    if (hi <= lo) {
        return;
    }
    std::swap(values[lo], values[static_cast<int>(std::nearbyint((lo + hi) / 2.0))]);
    int last = lo;
    for (int i = lo + 1; i <= hi; ++i) {
        ++events;
        if (std::stoi(values[i]) < std::stoi(values[lo])) {
            std::swap(values[++last], values[i]);
        }
    }
    std::swap(values[lo], values[last]);
    LiteralCustom(values, lo, last - 1, events);
    LiteralCustom(values, last + 1, hi, events);
}

TEST(GridSort, CustomSortAsksTheHostAndSaysTrueForDescending) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString, Type::TypeCustom});
    std::mt19937 random(5);
    std::vector<std::string> values;
    for (int i = 0; i < 60; ++i) {
        values.push_back(std::to_string(random() % 20));
        grid.AddItem("r\t" + values.back());
    }
    int events = 0;
    std::vector<bool> ascendingSeen;
    grid.CustomSort.Connect(
        [&](bool& ascending, int32_t& col, std::string& value1, std::string& value2, bool& swap) {
            ++events;
            ascendingSeen.push_back(ascending);
            EXPECT_EQ(col, 1);
            swap = std::stoi(value1) < std::stoi(value2);
        });
    grid.Sort(1, static_cast<int32_t>(GRID_SORT_TYPE::SortDescending));
    int wantEvents = 0;
    LiteralCustom(values, 0, 59, wantEvents);
    std::vector<std::string> have;
    for (int32_t p = 0; p < 60; ++p) {
        have.push_back(grid.CellText(p, 1));
    }
    EXPECT_EQ(have, values);
    EXPECT_EQ(events, wantEvents);
    EXPECT_TRUE(std::all_of(ascendingSeen.begin(), ascendingSeen.end(), [](bool a) { return a; }));
}

// On a sorted grid rowOrder is no longer the identity, and the copy-back of
// the kept rows loses rows whose slot is gone.
TEST(GridSort, DeletionOnASortedGridLosesTheRowsWhoseSlotIsGone) {
    GridModel grid;
    AddColumns(grid, {Type::TypeString});
    AddRows(grid, {"c", "a", "d", "b"});  // slots 0..3
    grid.Sort(0, static_cast<int32_t>(GRID_SORT_TYPE::SortAscending));
    ASSERT_EQ(Column0(grid), (Texts{"a", "b", "c", "d"}));  // rowOrder 1, 3, 0, 2
    grid.SetRowChecked(1, true);                            // "b"
    grid.DeleteChecked();
    // Kept a, c, d go to slots 1, 3, 0: "c" aims past the last slot and is
    // lost, "d" lands in slot 0; slot 2 (position 3 before) is blank.
    EXPECT_EQ(grid.Rows(), 3);
    EXPECT_EQ(Column0(grid), (Texts{"a", "", "d"}));
    EXPECT_FALSE(grid.RowVisible(1));
    EXPECT_EQ(grid.SlotAt(1), 3);
}

TEST(GridSort, DateKeysReadPlainDatesAsTheParserDoes) {
    std::mt19937 random(2);
    for (int i = 0; i < 20000; ++i) {
        const int day = static_cast<int>(random() % 33);
        const int month = static_cast<int>(random() % 14);
        const int year = static_cast<int>(990 + random() % 9100);
        const std::string text =
            std::to_string(day) + "/" + std::to_string(month) + "/" + std::to_string(year);
        const auto date = CDate(text);
        ASSERT_EQ(detail::DateKey(text), date ? date->Serial() : detail::kNoDateKey) << text;
    }
    // Long runs of digits are no plain date (and must not overflow).
    EXPECT_EQ(detail::DateKey("01/02/44444444444444444444"), detail::kNoDateKey);
    EXPECT_EQ(detail::DateKey("0000000001/2/2020"), CDate("0000000001/2/2020")
                                                        ? CDate("0000000001/2/2020")->Serial()
                                                        : detail::kNoDateKey);
}

}  // namespace
}  // namespace kelvara
