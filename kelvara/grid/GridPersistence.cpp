#include <algorithm>
#include <cmath>
#include <limits>

#include "kelvara/base/Number.h"
#include "kelvara/base/PropertyBag.h"
#include "kelvara/base/Text.h"
#include "kelvara/grid/GridModel.h"

// The grid in a property bag, and HeaderFormatString.
//
// Every key is listed once, in VisitKeys, in the order it is read; reading,
// writing and counting are visitors over that list, so a key cannot be
// written under one name and read under another. Keys are a persisted
// format: a bag has no version, and a missing key reads as its default.
//
// HeaderFormatString holds the design-time columns: columns joined by "|",
// a column's fields by ";": caption; width; alignment; data type; format;
// input filter; image alignment; word wrap; index; visible; locked.
// How it treats malformed text: an empty column is skipped; a missing field,
// or a number field that does not read as a number of its type, takes
// AddColumn's default; fields past the eleventh are ignored; at most
// kMaxHeaderColumns columns are made. Captions and formats cannot hold "|"
// or ";", which have no escape.

namespace kelvara {

namespace {

constexpr size_t kMaxHeaderColumns = 4096;

OLE_COLOR ColourFrom(int32_t value) {
    return static_cast<OLE_COLOR>(value);
}

int32_t ColourBits(OLE_COLOR value) {
    return static_cast<int32_t>(value);
}

std::optional<double> Number(const Variant& value) {
    const auto number = value.ToDouble();
    return number && std::isfinite(*number) ? number : std::nullopt;
}

// Reads each key into its field.
struct Reader {
    const PropertyBag& bag;

    void Bool(const char* key, bool& field, bool fallback) {
        field = bag.ReadProperty(key, Variant(fallback)).ToBool().value_or(fallback);
    }
    void Long(const char* key, int32_t& field, int32_t fallback, bool absolute = false) {
        auto number = Number(bag.ReadProperty(key, Variant(fallback)));
        if (number && absolute) {
            number = std::fabs(*number);
        }
        field = number ? CLng(*number).value_or(fallback) : fallback;
    }
    void Integer(const char* key, int16_t& field, int16_t fallback, bool absolute = false) {
        auto number = Number(bag.ReadProperty(key, Variant(fallback)));
        if (number && absolute) {
            number = std::fabs(*number);
        }
        field = number ? CInt(*number).value_or(fallback) : fallback;
    }
    void Colour(const char* key, OLE_COLOR& field, OLE_COLOR fallback) {
        int32_t bits = ColourBits(fallback);
        Long(key, bits, ColourBits(fallback));
        field = ColourFrom(bits);
    }
    template <typename Enum>
    void LongEnum(const char* key, Enum& field, Enum fallback, bool absolute = false) {
        int32_t value = static_cast<int32_t>(fallback);
        Long(key, value, value, absolute);
        field = static_cast<Enum>(value);
    }
    template <typename Enum>
    void IntegerEnum(const char* key, Enum& field, Enum fallback, bool absolute = false) {
        int16_t value = static_cast<int16_t>(fallback);
        Integer(key, value, value, absolute);
        field = static_cast<Enum>(value);
    }
    void Text(const char* key, std::string& field, const std::string& fallback) {
        field = bag.ReadProperty(key, Variant(fallback)).ToText().value_or(fallback);
    }
    void Font(const char* key, StdFont& field, const StdFont& fallback) {
        field = fallback;
        const PropertyBag* font = bag.ReadBag(key);
        if (font == nullptr) {
            return;
        }
        Reader inner{*font};
        std::string name;
        inner.Text("Name", name, fallback.Name());
        field.SetName(name);
        const auto size = Number(font->ReadProperty("Size", Variant(fallback.Size())));
        field.SetSize(size && *size > 0 ? *size : fallback.Size());
        int16_t number = 0;
        inner.Integer("Charset", number, fallback.Charset());
        field.SetCharset(number);
        inner.Integer("Weight", number, fallback.Weight());
        field.SetWeight(number);
        bool flag = false;
        inner.Bool("Underline", flag, fallback.Underline());
        field.SetUnderline(flag);
        inner.Bool("Italic", flag, fallback.Italic());
        field.SetItalic(flag);
        inner.Bool("Strikethrough", flag, fallback.Strikethrough());
        field.SetStrikethrough(flag);
    }
};

// Writes each field under its key, unless it equals its default. Fonts are
// written whole, always, as the host writes its font objects.
struct Writer {
    PropertyBag& bag;

    void Bool(const char* key, bool& field, bool fallback) {
        bag.WriteProperty(key, Variant(field), Variant(fallback));
    }
    void Long(const char* key, int32_t& field, int32_t fallback, bool = false) {
        bag.WriteProperty(key, Variant(field), Variant(fallback));
    }
    void Integer(const char* key, int16_t& field, int16_t fallback, bool = false) {
        bag.WriteProperty(key, Variant(field), Variant(fallback));
    }
    void Colour(const char* key, OLE_COLOR& field, OLE_COLOR fallback) {
        bag.WriteProperty(key, Variant(ColourBits(field)), Variant(ColourBits(fallback)));
    }
    template <typename Enum>
    void LongEnum(const char* key, Enum& field, Enum fallback, bool = false) {
        bag.WriteProperty(key, Variant(static_cast<int32_t>(field)),
                          Variant(static_cast<int32_t>(fallback)));
    }
    template <typename Enum>
    void IntegerEnum(const char* key, Enum& field, Enum fallback, bool = false) {
        bag.WriteProperty(key, Variant(static_cast<int16_t>(field)),
                          Variant(static_cast<int16_t>(fallback)));
    }
    void Text(const char* key, std::string& field, const std::string& fallback) {
        bag.WriteProperty(key, Variant(field), Variant(fallback));
    }
    void Font(const char* key, StdFont& field, const StdFont&) {
        PropertyBag font;
        font.WriteProperty("Name", Variant(field.Name()), Variant());
        font.WriteProperty("Size", Variant(field.Size()), Variant());
        font.WriteProperty("Charset", Variant(field.Charset()), Variant());
        font.WriteProperty("Weight", Variant(field.Weight()), Variant());
        font.WriteProperty("Underline", Variant(field.Underline()), Variant());
        font.WriteProperty("Italic", Variant(field.Italic()), Variant());
        font.WriteProperty("Strikethrough", Variant(field.Strikethrough()), Variant());
        bag.WriteBag(key, std::move(font));
    }
};

// Every key in reading order, with its field and its default. A default
// may depend on a field read before it (ArrowColor on ForeColorHeader).
template <typename Visitor>
void VisitKeys(GridProperties& p, const GridProperties& d, Visitor& v) {
    v.Font("Font", p.Font, d.Font);
    v.Font("FontHeader", p.FontHeader, d.FontHeader);
    v.Bool("Enabled", p.Enabled, d.Enabled);
    v.Colour("BackColorEvenRows", p.BackColorEvenRows, d.BackColorEvenRows);
    v.Bool("BackColorEvenRowsEnabled", p.BackColorEvenRowsEnabled, d.BackColorEvenRowsEnabled);
    v.Colour("BackColorSelected1", p.BackColorSelected1, d.BackColorSelected1);
    v.Colour("BackColorSelected2", p.BackColorSelected2, d.BackColorSelected2);
    v.Colour("BorderColor", p.BorderColor, d.BorderColor);
    v.Colour("CaptionGradientColor1", p.CaptionGradientColor1, d.CaptionGradientColor1);
    v.Colour("CaptionGradientColor2", p.CaptionGradientColor2, d.CaptionGradientColor2);
    v.Colour("FocusRectBorderColor", p.FocusRectBorderColor, d.FocusRectBorderColor);
    v.Colour("FocusRectColor", p.FocusRectColor, d.FocusRectColor);
    v.Colour("ForeColorHeader", p.ForeColorHeader, d.ForeColorHeader);
    v.Colour("ForeColorHeaderOver", p.ForeColorHeaderOver, d.ForeColorHeaderOver);
    v.Colour("GridColor", p.GridColor, d.GridColor);
    v.Colour("HeaderBorderColorOver", p.HeaderBorderColorOver, d.HeaderBorderColorOver);
    v.Colour("HeaderBorderColorDown", p.HeaderBorderColorDown, d.HeaderBorderColorDown);
    v.Colour("HeaderGradientColor1", p.HeaderGradientColor1, d.HeaderGradientColor1);
    v.Colour("HeaderGradientColor2", p.HeaderGradientColor2, d.HeaderGradientColor2);
    v.Colour("HeaderGradientColorOver1", p.HeaderGradientColorOver1, d.HeaderGradientColorOver1);
    v.Colour("HeaderGradientColorOver2", p.HeaderGradientColorOver2, d.HeaderGradientColorOver2);
    v.Colour("HeaderGradientColorDown1", p.HeaderGradientColorDown1, d.HeaderGradientColorDown1);
    v.Colour("HeaderGradientColorDown2", p.HeaderGradientColorDown2, d.HeaderGradientColorDown2);
    v.Colour("ColumnSeparatorColor", p.ColumnSeparatorColor, d.ColumnSeparatorColor);
    v.Colour("ColumnSeparatorColorOver", p.ColumnSeparatorColorOver, d.ColumnSeparatorColorOver);
    v.Colour("ColumnSeparatorColorDown", p.ColumnSeparatorColorDown, d.ColumnSeparatorColorDown);
    v.Colour("ProgressBarColor1", p.ProgressBarColor1, d.ProgressBarColor1);
    v.Colour("ProgressBarColor2", p.ProgressBarColor2, d.ProgressBarColor2);
    v.Colour("ArrowColor", p.ArrowColor, p.ForeColorHeader);
    v.Colour("BackColorBackground", p.BackColorBackground, d.BackColorBackground);
    v.Colour("BackColorEdit", p.BackColorEdit, d.BackColorEdit);
    v.Colour("ForeColor", p.ForeColor, d.ForeColor);
    v.Colour("ForeColorEdit", p.ForeColorEdit, d.ForeColorEdit);
    v.Colour("ForeColorSelected", p.ForeColorSelected, d.ForeColorSelected);
    v.Bool("ColumnDrag", p.AllowColumnDrag, d.AllowColumnDrag);
    v.Bool("AllowColumnHover", p.AllowColumnHover, d.AllowColumnHover);
    v.Bool("AllowColumnResizing", p.AllowColumnResizing, d.AllowColumnResizing);
    v.Bool("ColumnSort", p.AllowColumnSort, d.AllowColumnSort);
    v.Bool("ColumnSwap", p.AllowColumnSwap, d.AllowColumnSwap);
    v.Bool("AllowDelete", p.AllowDelete, d.AllowDelete);
    v.Bool("Editable", p.AllowEdit, d.AllowEdit);
    v.Bool("AllowInsert", p.AllowInsert, d.AllowInsert);
    v.Bool("AllowRowResizing", p.AllowRowResizing, d.AllowRowResizing);
    v.Bool("AllowWordWrap", p.AllowWordWrap, d.AllowWordWrap);
    v.Bool("ApplySelectionToImages", p.ApplySelectionToImages, d.ApplySelectionToImages);
    v.Bool("AutoToolTips", p.AutoToolTips, d.AutoToolTips);
    v.LongEnum("BorderStyle", p.BorderStyle, d.BorderStyle);
    v.Long("CacheIncrement", p.CacheIncrement, d.CacheIncrement);
    v.Text("Caption", p.Caption, d.Caption);
    v.LongEnum("CaptionAlignment", p.CaptionAlignment, d.CaptionAlignment);
    v.Long("CaptionHeight", p.CaptionHeight, d.CaptionHeight);
    v.Bool("CaptionWordWrap", p.CaptionWordWrap, d.CaptionWordWrap);
    v.Bool("CenterRowImage", p.CenterRowImage, d.CenterRowImage);
    v.Integer("ColumnHeaderLines", p.ColumnHeaderLines, d.ColumnHeaderLines);
    v.Bool("ColumnHeaderSmall", p.ColumnHeaderSmall, d.ColumnHeaderSmall);
    v.Bool("DisplayEllipsis", p.DisplayEllipsis, d.DisplayEllipsis);
    v.LongEnum("EditMove", p.EditMove, d.EditMove);
    v.LongEnum("EditTrigger", p.EditTrigger, d.EditTrigger);
    v.LongEnum("FocusRectMode", p.FocusRectMode, d.FocusRectMode);
    v.Bool("FocusRowHighlightKeepTextForeColor", p.FocusRowHighlightKeepTextForeColor,
           d.FocusRowHighlightKeepTextForeColor);
    v.Integer("FreezeAtCol", p.FreezeAtCol, d.FreezeAtCol);
    v.LongEnum("GridLines", p.GridLines, d.GridLines, true);
    v.Long("GridLineWidth", p.GridLineWidth, d.GridLineWidth);
    v.Text("HeaderFormatString", p.HeaderFormatString, d.HeaderFormatString);
    v.Bool("HideSelection", p.FocusRectHide, d.FocusRectHide);
    v.Integer("MinRowHeight", p.MinRowHeight, d.MinRowHeight);
    v.Long("MinVerticalOffset", p.MinVerticalOffset, d.MinVerticalOffset);
    v.IntegerEnum("MultiSelect", p.MultiSelect, d.MultiSelect, true);
    v.Bool("PreserveSortedColumns", p.PreserveSortedColumns, d.PreserveSortedColumns);
    v.Bool("CheckBoxes", p.RowCheckBoxes, d.RowCheckBoxes);
    v.LongEnum("ScrollBars", p.ScrollBars, d.ScrollBars);
    v.Bool("ScrollTrack", p.ScrollTrack, d.ScrollTrack);
    v.Integer("SearchColumn", p.SearchColumn, d.SearchColumn);
    v.Bool("ShowColumnHeaders", p.ColumnHeaders, d.ColumnHeaders);
    v.Bool("ShowRowNumbers", p.ShowRowNumbers, d.ShowRowNumbers);
    v.LongEnum("Theme", p.Theme, d.Theme);
    v.Bool("TotalLineShow", p.TotalLineShow, d.TotalLineShow);
}

// Counts the keys and records their names.
struct Lister {
    std::vector<std::string> keys;

    template <typename... Rest>
    void Add(const char* key, Rest&&...) {
        keys.emplace_back(key);
    }
    template <typename F, typename D>
    void Bool(const char* key, F&, D, bool = false) {
        Add(key);
    }
    template <typename F, typename D>
    void Long(const char* key, F&, D, bool = false) {
        Add(key);
    }
    template <typename F, typename D>
    void Integer(const char* key, F&, D, bool = false) {
        Add(key);
    }
    template <typename F, typename D>
    void Colour(const char* key, F&, D) {
        Add(key);
    }
    template <typename F, typename D>
    void LongEnum(const char* key, F&, D, bool = false) {
        Add(key);
    }
    template <typename F, typename D>
    void IntegerEnum(const char* key, F&, D, bool = false) {
        Add(key);
    }
    template <typename F, typename D>
    void Text(const char* key, F&, const D&) {
        Add(key);
    }
    template <typename F, typename D>
    void Font(const char* key, F&, const D&) {
        Add(key);
    }
};

// One HeaderFormatString field, or AddColumn's default.
template <typename T>
T Field(const std::vector<std::string>& fields, size_t index, T fallback,
        std::optional<T> (*read)(double)) {
    if (index >= fields.size()) {
        return fallback;
    }
    const auto number = CDbl(fields[index]);
    if (!number || !std::isfinite(*number)) {
        return fallback;
    }
    return read(*number).value_or(fallback);
}

std::optional<int16_t> ToInteger(double value) {
    return CInt(value);
}

std::optional<int32_t> ToLong(double value) {
    return CLng(value);
}

std::optional<float> ToSingle(double value) {
    if (std::fabs(value) > std::numeric_limits<float>::max()) {
        return std::nullopt;
    }
    return static_cast<float>(value);
}

std::optional<bool> ToFlag(double value) {
    return value != 0.0;
}

}  // namespace

std::vector<std::string> GridModel::PropertyKeys() {
    GridProperties properties;
    Lister lister;
    VisitKeys(properties, properties, lister);
    return lister.keys;
}

void GridModel::InitProperties(const GridAmbient& ambient) {
    properties = GridProperties::Defaults(ambient);
    // A new grid takes the light theme, over the defaults.
    properties.ApplyTheme(ENUM_THEME::WindowsThemeLight);
}

void GridModel::ReadProperties(const PropertyBag& bag, const GridAmbient& ambient) {
    row = -1;
    col = -1;
    topRow = 0;
    const GridProperties defaults = GridProperties::Defaults(ambient);
    Reader reader{bag};
    VisitKeys(properties, defaults, reader);
    RebuildColumns();
}

void GridModel::WriteProperties(PropertyBag& bag, const GridAmbient& ambient) const {
    GridProperties written = properties;
    written.HeaderFormatString = HeaderFormatString();
    const GridProperties defaults = GridProperties::Defaults(ambient);
    Writer writer{bag};
    VisitKeys(written, defaults, writer);
}

void GridModel::SetTheme(ENUM_THEME value) {
    properties.ApplyTheme(value);
    if (!userMode) {
        RebuildColumns();
    }
    RepaintIfRedraw();
}

std::string GridModel::HeaderFormatString() const {
    if (!properties.HeaderFormatString.empty() || !hasColumns) {
        return properties.HeaderFormatString;
    }
    std::string text;
    for (size_t c = 0; c < columnRecords.size(); ++c) {
        const GridColumn& column = columnRecords[c];
        if (c > 0) {
            text += '|';
        }
        // Deliberate: the width goes out in pixels and comes back read as
        // twips, as stored forms have it.
        text += column.Heading + ';' + std::to_string(column.WidthPixels) + ';' +
                std::to_string(static_cast<int32_t>(column.Alignment)) + ';' +
                std::to_string(static_cast<int32_t>(column.DataType)) + ';' + column.Format + ';' +
                column.InputFilter + ';' +
                std::to_string(static_cast<int32_t>(column.ImageAlignment)) + ';' +
                (column.CellFlagsTemplate == CellFlag::WordWrap ? "256" : "0") + ";0;" +
                (column.Visible ? "1" : "0") + ';' + (column.Locked ? "1" : "0");
    }
    return text;
}

void GridModel::SetHeaderFormatString(std::string_view value) {
    properties.HeaderFormatString = value;
    if (!userMode) {
        RebuildColumns();
        RepaintIfRedraw();
    }
}

void GridModel::RebuildColumns() {
    ClearAll();
    const std::vector<std::string> columns = Split(properties.HeaderFormatString, "|");
    size_t made = 0;
    for (const std::string& column : columns) {
        if (column.empty()) {
            continue;
        }
        if (++made > kMaxHeaderColumns) {
            break;
        }
        const std::vector<std::string> fields = Split(column, ";");
        const GridColumnOptions defaults;
        GridColumnOptions options;
        options.width = Field(fields, 1, defaults.width, ToSingle);
        options.alignment = static_cast<GRID_ALIGNMENT>(
            Field<int16_t>(fields, 2, static_cast<int16_t>(defaults.alignment), ToInteger));
        options.dataType = static_cast<GRID_DATA_TYPE>(
            Field<int16_t>(fields, 3, static_cast<int16_t>(defaults.dataType), ToInteger));
        options.format = fields.size() > 4 ? fields[4] : std::string();
        options.inputFilter = fields.size() > 5 ? fields[5] : std::string();
        options.imageAlignment = static_cast<GRID_ALIGNMENT>(
            Field<int16_t>(fields, 6, static_cast<int16_t>(defaults.imageAlignment), ToInteger));
        options.wordWrap = Field(fields, 7, defaults.wordWrap, ToFlag);
        options.index = Field(fields, 8, defaults.index, ToLong);
        options.visible = Field(fields, 9, defaults.visible, ToFlag);
        options.locked = Field(fields, 10, defaults.locked, ToFlag);
        AddColumn(fields.empty() ? std::string() : fields[0], options);
    }
}

}  // namespace kelvara
