#include <algorithm>
#include <chrono>

#include "kelvara/base/Number.h"
#include "kelvara/base/Text.h"
#include "kelvara/grid/GridModel.h"
#include "kelvara/grid/detail/TextRules.h"

// Filters, finding and type-to-search. A filter only flips each row's
// Visible field; a search only walks rows.
//
//   FilterOn → Matcher over each row's cells → Visible → cursor, SelectionChanged
//   FindItem → Matcher over one column → first position
//   TypeToSearch → FindItem(..., SearchNavigate, ...) → cursor
//
// Matcher holds what a search compares against, prepared once. The common
// case, ASCII text, is compared byte by byte; anything else goes through
// the runtime's text functions, which give the same answers slower.

namespace kelvara {

namespace {

bool IsAscii(std::string_view text) {
    return detail::IsAscii(text);
}

char AsciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

// Whether needle occurs in text, ignoring ASCII case (both ASCII).
bool ContainsNoCase(std::string_view text, std::string_view needle) {
    if (needle.size() > text.size()) {
        return false;
    }
    const char first = AsciiLower(needle[0]);
    const char firstUpper = first >= 'a' && first <= 'z' ? static_cast<char>(first - 32) : first;
    const size_t last = text.size() - needle.size();
    for (size_t at = 0; at <= last; ++at) {
        const char c = text[at];
        if (c != first && c != firstUpper) {
            continue;
        }
        size_t k = 1;
        while (k < needle.size() && AsciiLower(text[at + k]) == AsciiLower(needle[k])) {
            ++k;
        }
        if (k == needle.size()) {
            return true;
        }
    }
    return false;
}

// The runtime's case folding for text compare.
char32_t Fold(char32_t c) {
    if (c < 0x80) {
        return c >= 'A' && c <= 'Z' ? c + 32 : c;
    }
    return LCaseChar(UCaseChar(c));
}

// Uppercases into out, reusing its storage for ASCII text.
void UpperInto(std::string& out, std::string_view text) {
    if (!IsAscii(text)) {
        out = UCase(text);
        return;
    }
    out.assign(text);
    for (char& c : out) {
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 32);
        }
    }
}

enum class LikeMeaning {
    ContainsIgnoringCase,  // the filters: a reverse search with text compare
    Pattern,               // FindItem: the runtime's Like with "*" around
};

class Matcher {
public:
    Matcher(GRID_SEARCH_MODE mode, std::string needle, LikeMeaning like)
        : mode(mode), like(like), needle(std::move(needle)) {
        ascii = IsAscii(this->needle);
        needleLength = Len(this->needle);
        for (const char32_t c : ToUtf32(this->needle)) {
            foldedNeedle.push_back(Fold(c));
        }
        if (mode == GRID_SEARCH_MODE::SearchLike && like == LikeMeaning::Pattern) {
            literal = this->needle.find_first_of("*?#[") == std::string::npos;
            pattern = "*" + this->needle + "*";
        }
    }

    bool Matches(std::string_view text) const {
        switch (mode) {
            case GRID_SEARCH_MODE::SearchEqual:
                return Equal(text, needle);
            case GRID_SEARCH_MODE::SearchGreaterEqual:
                return StrComp(needle, text, CompareMethod::Binary) <= 0;
            case GRID_SEARCH_MODE::SearchLike:
                return MatchesLike(text);
            case GRID_SEARCH_MODE::SearchNavigate:
                return !text.empty() && StrComp(needle, text, CompareMethod::Binary) <= 0 &&
                       Equal(Left(text, 1), Left(needle, 1));
            case GRID_SEARCH_MODE::SearchBeginsWith:
                if (ascii) {
                    return text.starts_with(needle);
                }
                return Len(text) >= needleLength && Equal(Left(text, needleLength), needle);
            case GRID_SEARCH_MODE::SearchEndsWith:
                if (ascii) {
                    return text.ends_with(needle);
                }
                return Len(text) >= needleLength && Equal(Right(text, needleLength), needle);
            default:
                return false;
        }
    }

private:
    // Binary equality as the runtime sees it: malformed bytes all read as
    // U+FFFD, so different bytes can still be equal text.
    static bool Equal(std::string_view a, std::string_view b) {
        if (a == b) {
            return true;
        }
        // Only two non-ASCII texts can differ in bytes and still be equal.
        return !IsAscii(a) && !IsAscii(b) && StrComp(a, b, CompareMethod::Binary) == 0;
    }

    bool MatchesLike(std::string_view text) const {
        if (like == LikeMeaning::Pattern) {
            if (literal && ascii) {
                return text.find(needle) != std::string_view::npos;
            }
            return Like(text, pattern, CompareMethod::Binary);
        }
        if (text.empty()) {
            return false;
        }
        if (needle.empty()) {
            return true;
        }
        if (ascii && IsAscii(text)) {
            return ContainsNoCase(text, needle);
        }
        // What a reverse search with text compare finds: the needle,
        // character by character case-folded, anywhere in the text.
        scratch = ToUtf32(text);
        for (char32_t& c : scratch) {
            c = Fold(c);
        }
        return std::u32string_view(scratch).find(foldedNeedle) != std::u32string_view::npos;
    }

    GRID_SEARCH_MODE mode;
    LikeMeaning like;
    std::string needle;
    std::string pattern;
    std::u32string foldedNeedle;
    mutable std::u32string scratch;
    int32_t needleLength = 0;
    bool ascii = false;
    bool literal = false;
};

// The filters' form of a cell text when MatchCase is on: numbers stay as
// they are, all else is uppercased without accents.
std::string_view NormaliseCell(std::string_view text, std::string& buffer) {
    if (IsAscii(text) &&
        std::none_of(text.begin(), text.end(), [](char c) { return c >= 'a' && c <= 'z'; })) {
        return text;
    }
    if (IsNumeric(text)) {
        return text;
    }
    buffer = detail::Normalise(text);
    return buffer;
}

}  // namespace

void GridModel::FilterOn(std::string_view FilterText, int32_t SearchColumn,
                         GRID_SEARCH_MODE SearchMode, bool MatchCase, int32_t StartingRow) {
    if (lastRow < 0 || StartingRow < 0 || StartingRow > lastRow) {
        return;
    }
    if (FilterText.empty()) {
        FilterOff(0);
        return;
    }
    // Deliberate: MatchCase True means "ignore case and accents" here.
    std::string filter = MatchCase ? detail::Normalise(FilterText) : std::string(FilterText);
    if (SearchMode == GRID_SEARCH_MODE::SearchLike) {
        filter = Trim(filter);
    }
    const Matcher matcher(SearchMode, filter, LikeMeaning::ContainsIgnoringCase);

    const bool allColumns = SearchColumn <= -1;
    int32_t first = SearchColumn;
    int32_t last = SearchColumn;
    if (allColumns) {
        // Deliberate: the ids from 0 to the count of visible columns less
        // one, whichever columns are visible.
        first = 0;
        last = static_cast<int32_t>(std::count_if(columnRecords.begin(), columnRecords.end(),
                                                  [](const GridColumn& c) { return c.Visible; })) -
               1;
    } else if (!ColumnExists(SearchColumn)) {
        return;
    }
    std::string buffer;
    const auto matches = [&](int32_t slot, int32_t c) {
        std::string_view text = TextOf(rowRecords.Cell(slot, c));
        if (MatchCase) {
            text = NormaliseCell(text, buffer);
        }
        return matcher.Matches(text);
    };
    const auto filterRow = [&](int32_t slot) {
        detail::GridRowRecord& record = rowRecords.Row(slot);
        if (!allColumns) {
            record.Visible = columnRecords[SearchColumn].Visible && matches(slot, SearchColumn);
            return;
        }
        // Deliberate: a row without a match is hidden when the last column
        // of the range is reached; if that column is hidden the row keeps
        // its Visible as it was.
        for (int32_t c = first; c <= last; ++c) {
            if (!columnRecords[c].Visible) {
                continue;
            }
            if (matches(slot, c)) {
                record.Visible = true;
                break;
            }
            if (c == last) {
                record.Visible = false;
            }
        }
    };
    // Every row is judged alone, so a filter of all rows goes in slot order,
    // straight through memory whatever the sort.
    if (StartingRow == 0) {
        for (const int32_t slot : SlotsInUse()) {
            filterRow(slot);
        }
    } else {
        for (int32_t p = StartingRow; p <= lastRow; ++p) {
            filterRow(rowOrder[p]);
        }
    }
    ClearSelection();
    MoveCursorToAvailable();
    RepaintIfRedraw();
    SelectionChanged();
}

void GridModel::FilterOnEx(std::string_view FilterText, int32_t SearchColumn,
                           GRID_SEARCH_MODE SearchMode, int32_t StartingRow) {
    FilterOn(FilterText, SearchColumn, SearchMode, true, StartingRow);
}

void GridModel::FilterOff(int32_t StartingRow) {
    if (lastRow < 0) {
        return;
    }
    bool changed = false;
    const auto show = [&](int32_t slot) {
        detail::GridRowRecord& record = rowRecords.Row(slot);
        if (!record.Visible) {
            record.Visible = true;
            changed = true;
        }
    };
    const int32_t start = std::clamp(StartingRow, 0, lastRow);
    if (start == 0) {
        for (const int32_t slot : SlotsInUse()) {
            show(slot);
        }
    } else {
        for (int32_t p = start; p <= lastRow; ++p) {
            show(rowOrder[p]);
        }
    }
    if (!changed) {
        return;
    }
    ClearSelection();
    MoveCursorToAvailable();
    RepaintIfRedraw();
    SelectionChanged();
}

// The cursor goes back to its row, or to the nearest row it may stand on
// when a filter hid that one.
void GridModel::MoveCursorToAvailable() {
    if (row < 0 || lastRow < 0) {
        return;
    }
    const int32_t target = CurrentRowAvailable();
    if (target >= 0) {
        MoveCursor(target, -1, false);
    }
}

int32_t GridModel::FindItem(std::string_view SearchText, int32_t SearchColumn,
                            GRID_SEARCH_MODE SearchMode, bool MatchCase,
                            int32_t StartingRow) const {
    if (lastRow < 0 || SearchText.empty()) {
        return -1;
    }
    if (StartingRow < 0 || StartingRow > lastRow) {
        StartingRow = 0;
    }
    // Deliberate: -1 does not mean every column; the column stays id 0.
    int32_t column = 0;
    if (SearchColumn > -1) {
        column = ColumnAt(SearchColumn);
    }
    if (!ColumnExists(column)) {
        return -1;
    }
    std::string needle(SearchText);
    if (!MatchCase) {
        needle = UCase(needle);
    }
    const Matcher matcher(SearchMode, needle, LikeMeaning::Pattern);
    std::string upper;
    for (int32_t p = StartingRow; p <= lastRow; ++p) {
        std::string_view text = TextOf(rowRecords.Cell(rowOrder[p], column));
        if (!MatchCase) {
            UpperInto(upper, text);
            text = upper;
        }
        if (matcher.Matches(text)) {
            return p;
        }
    }
    return -1;
}

int32_t GridModel::GetIndexFromData(int32_t xDataToFind, bool DefaultAsNullResult) const {
    for (int32_t p = 0; p <= lastRow; ++p) {
        if (rowRecords.Row(rowOrder[p]).Data == xDataToFind) {
            return p;
        }
    }
    return DefaultAsNullResult ? -1 : 0;
}

int32_t GridModel::GetIndexFromCellData(int32_t xDataToFind, int32_t xCol,
                                        bool DefaultAsNullResult) const {
    if (ColumnExists(xCol)) {
        for (int32_t p = 0; p <= lastRow; ++p) {
            if (rowRecords.Cell(rowOrder[p], xCol).Data == xDataToFind) {
                return p;
            }
        }
    }
    return DefaultAsNullResult ? -1 : 0;
}

bool GridModel::TypeToSearch(char32_t c) {
    if (!IsCharAlphaNumeric(c)) {
        return false;
    }
    uint32_t tick = 0;
    if (hooks.tickCount) {
        tick = hooks.tickCount();
    } else {
        tick = static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                         std::chrono::steady_clock::now().time_since_epoch())
                                         .count());
    }
    // Keys a second or more apart start a new search text.
    if (tick - typeSearchTick >= 1000) {
        typeSearchText = ChrW(c);
    } else {
        typeSearchText += ChrW(c);
    }
    typeSearchTick = tick;
    const int32_t found = FindItem(typeSearchText, properties.SearchColumn,
                                   GRID_SEARCH_MODE::SearchNavigate, false, 0);
    if (found < 0) {
        return false;
    }
    MoveCursor(found, -1, false);
    RepaintIfRedraw();
    return true;
}

}  // namespace kelvara
