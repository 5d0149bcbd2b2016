#include "kelvara/gfx/TextLayout.h"

#include <algorithm>

#include "kelvara/base/Text.h"

namespace kelvara {

namespace {

constexpr std::u32string_view kEllipsis = U"...";
constexpr int32_t kTabStopChars = 8;
constexpr size_t kNoMark = std::u32string::npos;

// A line on its way through layout: its text and the index of its mnemonic
// letter within that text.
struct Piece {
    std::u32string text;
    size_t mark = kNoMark;
};

bool IsBlank(char32_t c) {
    return c == U' ';
}

// Positions are worked out in 64 bits and brought back into range, so
// rectangles near the limits of int32_t cannot overflow.
int32_t Clamp32(int64_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX));
}

// Removes the prefix marks: "&x" underlines x, "&&" is one '&', and a lone
// '&' at the end is dropped. Deliberate: only the last marked letter is
// underlined, as the host shows one mnemonic per text.
Piece StripPrefixes(std::u32string_view text) {
    Piece out;
    out.text.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != U'&') {
            out.text.push_back(text[i]);
            continue;
        }
        if (i + 1 >= text.size())
            break;
        ++i;
        if (text[i] != U'&')
            out.mark = out.text.size();
        out.text.push_back(text[i]);
    }
    return out;
}

// Cuts at CR LF, LF or CR.
std::vector<Piece> SplitHardLines(const Piece& all) {
    std::vector<Piece> lines;
    size_t start = 0;
    const std::u32string& t = all.text;
    auto emit = [&](size_t end) {
        Piece p;
        p.text = t.substr(start, end - start);
        if (all.mark != kNoMark && all.mark >= start && all.mark < end)
            p.mark = all.mark - start;
        lines.push_back(std::move(p));
    };
    for (size_t i = 0; i < t.size(); ++i) {
        if (t[i] != U'\r' && t[i] != U'\n')
            continue;
        emit(i);
        if (t[i] == U'\r' && i + 1 < t.size() && t[i + 1] == U'\n')
            ++i;
        start = i + 1;
    }
    emit(t.size());
    return lines;
}

Piece Slice(const Piece& p, size_t begin, size_t end) {
    Piece out;
    out.text = p.text.substr(begin, end - begin);
    if (p.mark != kNoMark && p.mark >= begin && p.mark < end)
        out.mark = p.mark - begin;
    return out;
}

size_t TrimmedEnd(std::u32string_view t, size_t begin, size_t end) {
    while (end > begin && IsBlank(t[end - 1]))
        --end;
    return end;
}

// Greedy word wrap: each line takes as many whole words as fit. A word wider
// than the line alone is cut at the character that overflows (at least one
// character a line, so narrow rectangles still make progress), unless an
// ellipsis will shorten it instead. Blanks at a wrap are dropped.
void WrapParagraph(const TextMeasurer& m, const Piece& para, int32_t limit, int32_t tabWidth,
                   bool keepLongWords, std::vector<Piece>& out) {
    const std::u32string_view t = para.text;
    size_t pos = 0;
    if (t.empty()) {
        out.push_back(para);
        return;
    }
    while (pos < t.size()) {
        size_t lastFit = kNoMark;
        size_t firstWordEnd = kNoMark;
        for (size_t i = pos + 1; i <= t.size(); ++i) {
            const bool wordEnd = i == t.size() || (IsBlank(t[i]) && !IsBlank(t[i - 1]));
            if (!wordEnd)
                continue;
            if (firstWordEnd == kNoMark)
                firstWordEnd = i;
            const size_t end = TrimmedEnd(t, pos, i);
            if (LineWidth(m, t.substr(pos, end - pos), tabWidth) > limit)
                break;
            lastFit = i;
        }
        size_t end = 0;
        if (lastFit != kNoMark) {
            end = lastFit;
        } else if (keepLongWords) {
            end = firstWordEnd == kNoMark ? t.size() : firstWordEnd;
        } else {
            size_t count = 1;
            while (pos + count < t.size() &&
                   LineWidth(m, t.substr(pos, count + 1), tabWidth) <= limit) {
                ++count;
            }
            end = pos + count;
        }
        out.push_back(Slice(para, pos, TrimmedEnd(t, pos, end)));
        pos = end;
        while (pos < t.size() && IsBlank(t[pos]))
            ++pos;
    }
}

// The longest prefix of text that, followed by the tail, fits the limit.
size_t FittingPrefix(const TextMeasurer& m, std::u32string_view text, std::u32string_view tail,
                     int32_t limit, int32_t tabWidth) {
    const int32_t tailWidth = m.Width(tail);
    size_t keep = text.size();
    while (keep > 0 && LineWidth(m, text.substr(0, keep), tabWidth) + tailWidth > limit)
        --keep;
    return keep;
}

// Shortens a line that is too wide so it fits with an ellipsis. On one line
// the end and word forms cut the same way, at the character that overflows;
// the path form keeps the last path segment whole and cuts before it.
void Ellipsize(const TextMeasurer& m, Piece& line, int32_t limit, int32_t tabWidth,
               uint32_t format) {
    if (LineWidth(m, line.text, tabWidth) <= limit)
        return;
    Piece shortened;
    const size_t slash = line.text.find_last_of(U"\\/");
    if ((format & DT_PATH_ELLIPSIS) != 0 && slash != std::u32string::npos && slash > 0) {
        const std::u32string tail = std::u32string(kEllipsis) + line.text.substr(slash);
        const size_t keep = FittingPrefix(m, std::u32string_view(line.text).substr(0, slash), tail,
                                          limit, tabWidth);
        if (keep > 0 || m.Width(tail) <= limit) {
            shortened.text = line.text.substr(0, keep) + tail;
            if (line.mark != kNoMark && line.mark < keep)
                shortened.mark = line.mark;
            if (line.mark != kNoMark && line.mark >= slash) {
                shortened.mark = line.mark - slash + keep + kEllipsis.size();
            }
            line = std::move(shortened);
            return;
        }
    }
    const size_t keep = FittingPrefix(m, line.text, kEllipsis, limit, tabWidth);
    if (keep == 0 && m.Width(kEllipsis) > limit) {
        // Not even the dots fit: as many of them as do.
        size_t dots = kEllipsis.size();
        while (dots > 0 && m.Width(kEllipsis.substr(0, dots)) > limit)
            --dots;
        shortened.text = kEllipsis.substr(0, dots);
    } else {
        shortened.text = line.text.substr(0, keep) + std::u32string(kEllipsis);
        if (line.mark != kNoMark && line.mark < keep)
            shortened.mark = line.mark;
    }
    line = std::move(shortened);
}

class EngineMeasurer final : public TextMeasurer {
public:
    EngineMeasurer(FontEngine& engine, const FontInstance& font)
        : engine(engine), font(font), metrics(engine.GetTextMetrics(font)) {}
    int32_t Width(std::u32string_view text) const override {
        return engine.GetTextExtentPoint32(font, text).cx;
    }
    int32_t LineHeight() const override { return metrics.tmHeight; }
    int32_t AveCharWidth() const override { return metrics.tmAveCharWidth; }

private:
    FontEngine& engine;
    const FontInstance& font;
    TextMetrics metrics;
};

// Calls draw(offset, run) for each tab-free run of a line.
template <typename Draw>
void ForEachRun(const TextMeasurer& m, std::u32string_view line, int32_t tabWidth, Draw draw) {
    if (tabWidth <= 0) {
        draw(0, line);
        return;
    }
    int32_t x = 0;
    size_t start = 0;
    for (size_t i = 0; i <= line.size(); ++i) {
        if (i < line.size() && line[i] != U'\t')
            continue;
        const std::u32string_view run = line.substr(start, i - start);
        draw(x, run);
        x += m.Width(run);
        if (i < line.size())
            x = (x / tabWidth + 1) * tabWidth;
        start = i + 1;
    }
}

}  // namespace

int32_t LineWidth(const TextMeasurer& m, std::u32string_view line, int32_t tabWidth) {
    if (tabWidth <= 0)
        return m.Width(line);
    int32_t end = 0;
    ForEachRun(m, line, tabWidth,
               [&](int32_t x, std::u32string_view run) { end = x + m.Width(run); });
    // A trailing tab still moves the pen.
    if (!line.empty() && line.back() == U'\t')
        end = (end / tabWidth + 1) * tabWidth;
    return end;
}

TextLayoutResult LayoutText(const TextMeasurer& m, std::u32string_view text, const RECT& rect,
                            uint32_t format) {
    TextLayoutResult result;
    result.Bounds = {rect.Left, rect.Top, rect.Left, rect.Top};
    if (text.empty())
        return result;
    const bool singleLine = (format & DT_SINGLELINE) != 0;
    const bool ellipsis = (format & (DT_END_ELLIPSIS | DT_WORD_ELLIPSIS | DT_PATH_ELLIPSIS)) != 0;
    const int32_t limit = Clamp32(int64_t{rect.Right} - rect.Left);
    if ((format & DT_EXPANDTABS) != 0) {
        result.TabWidth = std::max(1, m.AveCharWidth()) * kTabStopChars;
    }

    Piece all;
    if ((format & DT_NOPREFIX) != 0) {
        all.text = text;
    } else {
        all = StripPrefixes(text);
    }

    std::vector<Piece> lines;
    if (singleLine) {
        lines.push_back(std::move(all));
    } else if ((format & DT_WORDBREAK) != 0) {
        for (const Piece& para : SplitHardLines(all)) {
            WrapParagraph(m, para, limit, result.TabWidth, ellipsis, lines);
        }
    } else {
        lines = SplitHardLines(all);
    }
    if (ellipsis) {
        for (Piece& line : lines)
            Ellipsize(m, line, limit, result.TabWidth, format);
    }

    const int32_t lineHeight = m.LineHeight();
    int64_t y = rect.Top;
    // Deliberate: vertical placement applies to single lines only; the host
    // ignores DT_VCENTER and DT_BOTTOM for wrapped or multi-line text.
    if (singleLine && (format & DT_VCENTER) != 0) {
        y = (int64_t{rect.Top} + rect.Bottom - lineHeight) / 2;
    } else if (singleLine && (format & DT_BOTTOM) != 0) {
        y = int64_t{rect.Bottom} - lineHeight;
    }
    const int64_t firstY = y;
    int32_t widest = 0;
    for (Piece& piece : lines) {
        LaidLine line;
        line.Width = LineWidth(m, piece.text, result.TabWidth);
        widest = std::max(widest, line.Width);
        if ((format & DT_CENTER) != 0) {
            line.X = Clamp32((int64_t{rect.Left} + rect.Right - line.Width) / 2);
        } else if ((format & DT_RIGHT) != 0) {
            line.X = Clamp32(int64_t{rect.Right} - line.Width);
        } else {
            line.X = rect.Left;
        }
        line.Y = Clamp32(y);
        y += lineHeight;
        if (piece.mark != kNoMark) {
            const std::u32string_view t = piece.text;
            line.MarkLeft = LineWidth(m, t.substr(0, piece.mark), result.TabWidth);
            line.MarkRight = LineWidth(m, t.substr(0, piece.mark + 1), result.TabWidth);
        }
        line.Text = std::move(piece.text);
        result.Lines.push_back(std::move(line));
    }
    const int64_t total = int64_t{lineHeight} * static_cast<int64_t>(result.Lines.size());
    result.Bounds = {rect.Left, rect.Top, Clamp32(int64_t{rect.Left} + widest),
                     Clamp32(rect.Top + total)};
    result.Height = singleLine && (format & (DT_VCENTER | DT_BOTTOM)) != 0
                        ? Clamp32(firstY + lineHeight - rect.Top)
                        : Clamp32(total);
    return result;
}

int32_t DrawText(FontEngine& engine, const FontInstance& font, PixelBuffer& target,
                 const Region& clip, std::string_view text, RECT& rect, uint32_t format,
                 uint32_t color, std::optional<uint32_t> background) {
    if (text.empty()) {
        if ((format & DT_CALCRECT) != 0)
            rect = {rect.Left, rect.Top, rect.Left, rect.Top};
        return 0;
    }
    const EngineMeasurer measurer(engine, font);
    const std::u32string wide = ToUtf32(text);
    const TextLayoutResult layout = LayoutText(measurer, wide, rect, format);
    if ((format & DT_CALCRECT) != 0) {
        rect = layout.Bounds;
        return layout.Height;
    }
    Region area;
    if ((format & DT_NOCLIP) != 0) {
        area = clip;
    } else {
        Region::CombineRgn(area, clip,
                           Region::CreateRectRgn(rect.Left, rect.Top, rect.Right, rect.Bottom),
                           RGN_MODE::RGN_AND);
    }
    if (area.IsEmpty())
        return layout.Height;
    const LineMarks marks = engine.GetLineMarks(font);
    for (const LaidLine& line : layout.Lines) {
        if (background) {
            FontEngine::FillSpan(target, area,
                                 {line.X, line.Y, Clamp32(int64_t{line.X} + line.Width),
                                  Clamp32(int64_t{line.Y} + measurer.LineHeight())},
                                 *background);
        }
        ForEachRun(measurer, line.Text, layout.TabWidth,
                   [&](int32_t offset, std::u32string_view run) {
                       engine.TextOut(font, target, area, Clamp32(int64_t{line.X} + offset), line.Y,
                                      run, color);
                   });
        if (line.MarkRight > line.MarkLeft) {
            const int32_t top = Clamp32(int64_t{line.Y} + marks.UnderlineTop);
            FontEngine::FillSpan(target, area,
                                 {Clamp32(int64_t{line.X} + line.MarkLeft), top,
                                  Clamp32(int64_t{line.X} + line.MarkRight),
                                  Clamp32(int64_t{top} + marks.UnderlineThickness)},
                                 color);
        }
    }
    return layout.Height;
}

int32_t DrawText(FontEngine& engine, const StdFont& font, PixelBuffer& target, const Region& clip,
                 std::string_view text, RECT& rect, uint32_t format, uint32_t color,
                 std::optional<uint32_t> background) {
    const FontInstance* instance = engine.Open(font);
    if (instance == nullptr) {
        if ((format & DT_CALCRECT) != 0)
            rect = {rect.Left, rect.Top, rect.Left, rect.Top};
        return 0;
    }
    return DrawText(engine, *instance, target, clip, text, rect, format, color, background);
}

}  // namespace kelvara
