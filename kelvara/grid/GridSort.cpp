#include <algorithm>
#include <cmath>
#include <cstring>

#include "kelvara/base/Text.h"
#include "kelvara/grid/GridModel.h"
#include "kelvara/grid/detail/TextRules.h"

// Sorting rearranges rowOrder and nothing else.
//
//   Sort → RunSort → by the column's type:
//     TypeBoolean            → HoareSort on the check flag, pivot from text
//     TypeDate / TypeNumeric → HoareSort on DateKey / TextToNumber
//     TypeCustom             → CustomQuickSort, the host compares (CustomSort)
//     anything else          → HoareSort on the uppercased text
//
// HoareSort is the grid's one quicksort: the pivot taken once per range
// from the middle position, two inward scans with strict comparisons,
// a swap when they have not crossed, then the left part and the right part.
// It is not stable and has no tie-break, so rows with equal keys end in
// whatever order the swaps leave them; that order is part of how the grid
// behaves and must not change. Each row's key is worked out once, into an
// array that moves with rowOrder, which changes no comparison and no swap.
// The ranges wait on an explicit stack, in the order of the recursion.

namespace kelvara {

using detail::GridCellRecord;

namespace {

template <typename Key>
struct Entry {
    Key key;
    int32_t slot;
};

// Sorts entries[0 .. size-1] by key. pivotAt(entries, mid) gives the pivot
// key of a range, or nothing to stop the whole sort where it stands (false).
// A pivot taken from its range stops both scans inside the range. A pivot
// from elsewhere (Bounded) may not: a scan that runs off either end of the
// rows stops the sort where it stands too, and so does a partition that
// leaves its whole range to one side, which would recurse for ever.
template <bool Descending, bool Bounded, typename Key, typename Less, typename PivotAt>
bool HoareSort(std::vector<Entry<Key>>& entries, Less less, PivotAt pivotAt) {
    if (entries.size() < 2) {
        return true;
    }
    struct Range {
        int32_t lo;
        int32_t hi;
    };
    const auto end = static_cast<int32_t>(entries.size());
    std::vector<Range> pending{{0, end - 1}};
    Entry<Key>* a = entries.data();
    // The element at i belongs before the pivot.
    const auto before = [&](const Key& key, const Key& pivot) {
        return Descending ? less(pivot, key) : less(key, pivot);
    };
    while (!pending.empty()) {
        const Range range = pending.back();
        pending.pop_back();
        const std::optional<Key> pivotKey = pivotAt(entries, (range.lo + range.hi) / 2);
        if (!pivotKey) {
            return false;
        }
        const Key pivot = *pivotKey;
        int32_t i = range.lo;
        int32_t j = range.hi;
        while (i <= j) {
            while (before(a[i].key, pivot)) {
                if (Bounded && i + 1 >= end) {
                    return false;
                }
                ++i;
            }
            while (before(pivot, a[j].key)) {
                if (Bounded && j == 0) {
                    return false;
                }
                --j;
            }
            if (i <= j) {
                std::swap(a[i], a[j]);
                ++i;
                --j;
            }
        }
        if ((range.lo < j && j == range.hi) || (i < range.hi && i == range.lo)) {
            return false;
        }
        // Pushed right first, so the left range is done first, as the
        // recursion does.
        if (i < range.hi) {
            pending.push_back({i, range.hi});
        }
        if (range.lo < j) {
            pending.push_back({range.lo, j});
        }
    }
    return true;
}

template <bool Bounded = false, typename Key, typename Less, typename PivotAt>
bool HoareSort(std::vector<Entry<Key>>& entries, bool descending, Less less, PivotAt pivotAt) {
    return descending ? HoareSort<true, Bounded>(entries, less, pivotAt)
                      : HoareSort<false, Bounded>(entries, less, pivotAt);
}

// --- Text keys --------------------------------------------------------------------------------
//
// Text sorts by code unit of the uppercased text in UTF-16, which is the
// order of UTF-8 bytes except that characters from U+E000 to U+FFFF come
// after those beyond U+FFFF (surrogates sort below U+E000). Bytes from 0xEE
// up only ever start such characters in well-formed text, so remapping
// them fixes the order: 0xF0..0xF4 (beyond U+FFFF) become 0xEE..0xF2 and
// 0xEE, 0xEF become 0xF3, 0xF4. Keys of malformed text fall back to the
// runtime's comparison, which is the same order wherever both apply.

uint8_t Utf16Rank(uint8_t b) {
    if (b < 0xEE) {
        return b;
    }
    return b >= 0xF0 ? static_cast<uint8_t>(b - 2) : static_cast<uint8_t>(b + 5);
}

bool IsWellFormed(std::string_view text) {
    const auto* p = reinterpret_cast<const uint8_t*>(text.data());
    const size_t n = text.size();
    for (size_t at = 0; at < n;) {
        const uint8_t lead = p[at];
        if (lead < 0x80) {
            ++at;
            continue;
        }
        size_t size = 0;
        uint8_t low = 0x80;
        uint8_t high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            size = 2;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            size = 3;
            low = lead == 0xE0 ? 0xA0 : 0x80;
            high = lead == 0xED ? 0x9F : 0xBF;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            size = 4;
            low = lead == 0xF0 ? 0x90 : 0x80;
            high = lead == 0xF4 ? 0x8F : 0xBF;
        } else {
            return false;
        }
        if (n - at < size || p[at + 1] < low || p[at + 1] > high) {
            return false;
        }
        for (size_t k = 2; k < size; ++k) {
            if ((p[at + k] & 0xC0) != 0x80) {
                return false;
            }
        }
        at += size;
    }
    return true;
}

struct TextKey {
    uint64_t prefix;  // the first eight bytes, remapped, big-endian; 0 padded
    size_t offset;
    uint32_t length;  // bit 31: malformed
};

constexpr uint32_t kMalformed = 0x80000000U;

class TextKeys {
public:
    TextKey Add(std::string_view text) {
        const size_t offset = bytes.size();
        bool ascii = true;
        for (const char c : text) {
            ascii = ascii && static_cast<unsigned char>(c) < 0x80;
        }
        if (ascii) {
            for (const char c : text) {
                bytes.push_back(c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c);
            }
        } else {
            bytes += UCase(text);
        }
        const auto length = static_cast<uint32_t>(bytes.size() - offset);
        const bool wellFormed = ascii || IsWellFormed(std::string_view(bytes).substr(offset));
        uint64_t prefix = 0;
        for (uint32_t k = 0; k < 8; ++k) {
            const uint8_t b =
                k < length ? Utf16Rank(static_cast<uint8_t>(bytes[offset + k])) : uint8_t{0};
            prefix = (prefix << 8) | b;
        }
        return TextKey{prefix, offset, length | (wellFormed ? 0 : kMalformed)};
    }

    void Reserve(size_t size) { bytes.reserve(size); }

    std::string_view View(const TextKey& key) const {
        return std::string_view(bytes).substr(key.offset, key.length & ~kMalformed);
    }

    bool Less(const TextKey& a, const TextKey& b) const {
        if (((a.length | b.length) & kMalformed) != 0) {
            return StrComp(View(a), View(b), CompareMethod::Binary) < 0;
        }
        if (a.prefix != b.prefix) {
            return a.prefix < b.prefix;
        }
        const std::string_view x = View(a);
        const std::string_view y = View(b);
        const size_t common = std::min(x.size(), y.size());
        for (size_t k = 8; k < common; ++k) {
            if (x[k] != y[k]) {
                return Utf16Rank(static_cast<uint8_t>(x[k])) <
                       Utf16Rank(static_cast<uint8_t>(y[k]));
            }
        }
        return x.size() < y.size();
    }

private:
    std::string bytes;
};

}  // namespace

void GridModel::Sort(int32_t xCol, int32_t xSortType) {
    if (lastRow < 0) {
        return;
    }
    if (hooks.commitEdit && !hooks.commitEdit()) {
        return;
    }
    // Deliberate: -1 runs the stored sortColumn through columnOrder, since
    // a header click stores a position there.
    const int32_t column = xCol == -1 ? ColumnAt(sortColumn) : xCol;
    if (!ColumnExists(column)) {
        return;
    }
    sortColumn = column;
    GridColumn& record = columnRecords[column];
    int32_t state = ColumnSort::Unsorted;
    if (xSortType == -1) {
        state = record.SortState == ColumnSort::Unsorted    ? ColumnSort::Ascending
                : record.SortState == ColumnSort::Ascending ? ColumnSort::Descending
                                                            : ColumnSort::Unsorted;
    } else if (xSortType == static_cast<int32_t>(GRID_SORT_TYPE::SortAscending)) {
        state = ColumnSort::Ascending;
    } else if (xSortType == static_cast<int32_t>(GRID_SORT_TYPE::SortDescending)) {
        state = ColumnSort::Descending;
    }
    record.SortState = state;

    const int32_t currentSlot = row >= 0 && row <= lastRow ? rowOrder[row] : -1;
    if (state != ColumnSort::Unsorted) {
        RunSort(column, state);
        sortDirection = state;
    } else {
        for (int32_t p = 0; p <= lastRow; ++p) {
            rowOrder[p] = p;
        }
        sortColumn = -1;
    }
    // The cursor stays on its record; selection flags live on the records
    // and follow them with no work.
    if (currentSlot >= 0) {
        const auto at = std::find(rowOrder.begin(), rowOrder.end(), currentSlot);
        if (at != rowOrder.end()) {
            MoveCursor(static_cast<int32_t>(at - rowOrder.begin()), -1, false);
        }
    }
    RepaintIfRedraw();
    SortComplete();
}

void GridModel::ReapplySort() {
    if (ColumnExists(sortColumn) && sortDirection != ColumnSort::Unsorted) {
        RunSort(sortColumn, sortDirection);
    }
}

void GridModel::RunSort(int32_t column, int32_t state) {
    const GRID_DATA_TYPE type = columnRecords[column].DataType;
    if (type == GRID_DATA_TYPE::TypeCustom) {
        CustomQuickSort(column, state);
        return;
    }
    const bool descending = state == ColumnSort::Descending;
    const auto count = static_cast<size_t>(lastRow + 1);
    const auto textAt = [&](int32_t slot, int32_t c) { return TextOf(rowRecords.Cell(slot, c)); };
    const auto writeBack = [&](const auto& entries) {
        for (size_t p = 0; p < count; ++p) {
            rowOrder[p] = entries[p].slot;
        }
    };
    const auto keyAt = [](const auto& entries, int32_t mid) {
        return std::optional(entries[mid].key);
    };
    // Keys are worked out in slot order, which reads the column straight
    // through however the rows are ordered, then laid out by position.
    const std::vector<int32_t> slots = SlotsInUse();
    const auto gather = [&](auto makeKey) {
        using Key = decltype(makeKey(0));
        std::vector<Key> bySlot(static_cast<size_t>(rowRecords.Capacity()));
        for (const int32_t slot : slots) {
            bySlot[static_cast<size_t>(slot)] = makeKey(slot);
        }
        std::vector<Entry<Key>> entries(count);
        for (size_t p = 0; p < count; ++p) {
            entries[p] = {bySlot[static_cast<size_t>(rowOrder[p])], rowOrder[p]};
        }
        return entries;
    };

    if (type == GRID_DATA_TYPE::TypeBoolean) {
        // Deliberate: rows compare by their check flag, but the pivot is
        // the text of the pivot row's cell at columnOrder[column], read as
        // a Boolean. A Boolean column stores no text from AddItem, and when
        // the text does not read the sort stops where it stands.
        const int32_t pivotColumn = ColumnAt(column);
        auto entries = gather([&](int32_t slot) {
            return (rowRecords.Cell(slot, column).Flags & CellFlag::Checked) != 0 ? int32_t{-1}
                                                                                  : int32_t{0};
        });
        const auto pivotAt = [&](const auto& all, int32_t mid) -> std::optional<int32_t> {
            if (!ColumnExists(pivotColumn)) {
                return std::nullopt;
            }
            const auto value = Variant(std::string(textAt(all[mid].slot, pivotColumn))).ToBool();
            return value ? std::optional<int32_t>(*value ? -1 : 0) : std::nullopt;
        };
        HoareSort<true>(entries, descending, std::less<int32_t>(), pivotAt);
        writeBack(entries);
        return;
    }
    if (type == GRID_DATA_TYPE::TypeNumeric || type == GRID_DATA_TYPE::TypeDate) {
        const bool date = type == GRID_DATA_TYPE::TypeDate;
        auto entries = gather([&](int32_t slot) {
            const std::string_view text = textAt(slot, column);
            return date ? detail::DateKey(text) : detail::TextToNumber(text);
        });
        HoareSort(entries, descending, std::less<double>(), keyAt);
        writeBack(entries);
        return;
    }
    TextKeys keys;
    keys.Reserve(texts.LiveBytes() / std::max<size_t>(columnRecords.size(), 1) + count * 8);
    auto entries = gather([&](int32_t slot) { return keys.Add(textAt(slot, column)); });
    const auto less = [&keys](const TextKey& a, const TextKey& b) { return keys.Less(a, b); };
    HoareSort(entries, descending, less, keyAt);
    writeBack(entries);
}

// The host compares: each element against the pivot, which is first moved
// to the front of its range.
void GridModel::CustomQuickSort(int32_t column, int32_t state) {
    struct Range {
        int32_t lo;
        int32_t hi;
    };
    const int32_t rows = lastRow + 1;
    std::vector<Range> pending{{0, lastRow}};
    while (!pending.empty()) {
        const Range range = pending.back();
        pending.pop_back();
        const int32_t lo = range.lo;
        const int32_t hi = range.hi;
        if (hi <= lo) {
            continue;
        }
        // The middle rounded to nearest, halves to even, as the host's
        // division does when its result is used as an index.
        const auto middle = static_cast<int32_t>(std::nearbyint((lo + hi) / 2.0));
        std::swap(rowOrder[lo], rowOrder[middle]);
        int32_t last = lo;
        for (int32_t i = lo + 1; i <= hi; ++i) {
            bool swap = false;
            // Deliberate: True for the descending state, although state 2
            // means ascending everywhere else.
            bool ascending = state == ColumnSort::Descending;
            int32_t col = column;
            std::string value1(TextOf(rowRecords.Cell(rowOrder[i], column)));
            std::string value2(TextOf(rowRecords.Cell(rowOrder[lo], column)));
            CustomSort(ascending, col, value1, value2, swap);
            if (static_cast<int32_t>(rowOrder.size()) != rows ||
                static_cast<int32_t>(columnRecords.size()) <= column) {
                return;  // the handler changed the rows under the sort
            }
            if (swap) {
                ++last;
                std::swap(rowOrder[last], rowOrder[i]);
            }
        }
        std::swap(rowOrder[lo], rowOrder[last]);
        pending.push_back({last + 1, hi});
        pending.push_back({lo, last - 1});
    }
}

}  // namespace kelvara
