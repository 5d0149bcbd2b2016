#include "kelvara/host/detail/EditLayout.h"

#include <algorithm>

#include "kelvara/host/detail/EditText.h"

namespace kelvara::detail {

namespace {

bool IsBlank(char32_t c) {
    return ClassOf(c) == CharClass::Space;
}

// Measures one line from a start, character by character.
class LineWalker {
public:
    LineWalker(const TextMeasurer& measurer, int32_t tabWidth)
        : measurer(measurer), tabWidth(tabWidth) {}

    // Where the next character ends if it follows the last one.
    int32_t Next(char32_t c) const {
        if (c == U'\t' && tabWidth > 0) {
            return (x / tabWidth + 1) * tabWidth;
        }
        if (previous == 0) {
            return x + measurer.Width(std::u32string_view(&c, 1));
        }
        const char32_t pair[2] = {previous, c};
        return x + measurer.Width(std::u32string_view(pair, 2)) -
               measurer.Width(std::u32string_view(&previous, 1));
    }
    void Take(char32_t c, int32_t end) {
        x = end;
        // A tab stop starts afresh: no kerning reaches across it.
        previous = c == U'\t' && tabWidth > 0 ? 0 : c;
    }

private:
    const TextMeasurer& measurer;
    int32_t tabWidth;
    int32_t x = 0;
    char32_t previous = 0;
};

// Lays out text[start, end) (one line between hard breaks) as one line or,
// with a wrap width, as several; the last gets `breakLength`.
void LayOutParagraph(const TextMeasurer& measurer, std::u32string_view text, int32_t start,
                     int32_t end, int32_t breakLength, const EditLayoutOptions& options,
                     std::vector<EditLine>& lines) {
    int32_t pos = start;
    while (true) {
        EditLine line;
        line.Start = pos;
        line.X.push_back(0);
        LineWalker walker(measurer, options.TabWidth);
        int32_t opportunity = -1;  // the last place the line may end, after blanks
        int32_t wrapAt = -1;
        for (int32_t i = pos; i < end; ++i) {
            const char32_t c = text[static_cast<size_t>(i)];
            const int32_t right = walker.Next(c);
            if (options.WrapWidth > 0 && i > pos && !IsBlank(c) && right > options.WrapWidth) {
                wrapAt = opportunity > pos ? opportunity : i;
                break;
            }
            walker.Take(c, right);
            line.X.push_back(right);
            if (IsBlank(c) && i + 1 < end && !IsBlank(text[static_cast<size_t>(i) + 1])) {
                opportunity = i + 1;
            }
        }
        if (wrapAt < 0) {
            line.Length = end - pos;
            line.BreakLength = breakLength;
            lines.push_back(std::move(line));
            return;
        }
        line.Length = wrapAt - pos;
        line.X.resize(static_cast<size_t>(line.Length) + 1);
        lines.push_back(std::move(line));
        pos = wrapAt;
    }
}

}  // namespace

std::vector<EditLine> LayOutEditText(const TextMeasurer& measurer, std::u32string_view text,
                                     const EditLayoutOptions& options) {
    std::vector<EditLine> lines;
    const auto n = static_cast<int32_t>(text.size());
    if (!options.MultiLine) {
        EditLayoutOptions single;
        LayOutParagraph(measurer, text, 0, n, 0, single, lines);
        return lines;
    }
    int32_t start = 0;
    for (int32_t i = 0; i < n;) {
        const int32_t br = BreakAt(text, i);
        if (br == 0) {
            ++i;
            continue;
        }
        LayOutParagraph(measurer, text, start, i, br, options, lines);
        i += br;
        start = i;
    }
    LayOutParagraph(measurer, text, start, n, 0, options, lines);
    return lines;
}

int32_t LineOfPosition(const std::vector<EditLine>& lines, int32_t pos) {
    const auto after = std::upper_bound(lines.begin(), lines.end(), pos,
                                        [](int32_t p, const EditLine& l) { return p < l.Start; });
    if (after == lines.begin()) {
        return 0;
    }
    return static_cast<int32_t>(after - lines.begin()) - 1;
}

int32_t NearestOnLine(const EditLine& line, int32_t x) {
    if (line.X.empty() || x <= 0) {
        return 0;
    }
    // The first offset at or past x (offsets only grow, save for a rare
    // negative kerning, which at worst picks a neighbour); then whichever
    // side is nearer.
    int32_t low = 0;
    auto high = static_cast<int32_t>(line.X.size());
    while (low < high) {
        const int32_t mid = low + (high - low) / 2;
        if (line.X[static_cast<size_t>(mid)] < x) {
            low = mid + 1;
        } else {
            high = mid;
        }
    }
    if (low >= static_cast<int32_t>(line.X.size())) {
        return line.Length;
    }
    const int32_t right = line.X[static_cast<size_t>(low)];
    if (low == 0 || right == x) {
        return low;
    }
    const int32_t left = line.X[static_cast<size_t>(low) - 1];
    return 2 * x >= left + right ? low : low - 1;
}

}  // namespace kelvara::detail
