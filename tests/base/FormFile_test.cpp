#include "kelvara/base/FormFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

namespace kelvara {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

// Stores value whatever it is, as a form file read does.
void Put(PropertyBag& bag, std::string_view key, const Variant& value) {
    bag.WriteProperty(key, value, value.IsNull() ? Variant() : Variant::Null());
}

FormObject Form(std::string_view key, const Variant& value) {
    FormObject form;
    form.TypeName = "VB.Form";
    form.Name = "f";
    Put(form.Properties, key, value);
    return form;
}

// The file of one form with one property; the key is padded as written.
std::string FileWith(std::string key, std::string_view valueText) {
    key.resize(std::max<size_t>(key.size() + 1, 16), ' ');
    return "VERSION 5.00\r\nBegin VB.Form f\r\n   " + key + "=   " + std::string(valueText) +
           "\r\nEnd\r\n";
}

// Lines joined with LF, which reading takes as well as CR LF.
std::string Lines(std::initializer_list<std::string_view> lines) {
    std::string text;
    for (const std::string_view line : lines) {
        text.append(line);
        text.push_back('\n');
    }
    return text;
}

// The same type and, for numbers and dates, the same bits: -0.0 is not 0.0
// and a NaN is a NaN.
bool SameBits(const Variant& a, const Variant& b) {
    if (a.Type() != b.Type()) {
        return false;
    }
    if (const double* x = a.Get<double>()) {
        return std::bit_cast<uint64_t>(*x) == std::bit_cast<uint64_t>(*b.Get<double>()) ||
               (std::isnan(*x) && std::isnan(*b.Get<double>()));
    }
    if (const Date* x = a.Get<Date>()) {
        const double y = b.Get<Date>()->Serial();
        return std::bit_cast<uint64_t>(x->Serial()) == std::bit_cast<uint64_t>(y) ||
               (std::isnan(x->Serial()) && std::isnan(y));
    }
    return a == b;
}

Variant ReadBack(const std::string& text, std::string_view key) {
    const auto read = ReadFormFile(text);
    if (!read) {
        ADD_FAILURE() << FormFileErrorText(read.Error()) << " in\n" << text;
        return Variant();
    }
    return read.Value().Properties.ReadProperty(key, Variant("(missing)"));
}

struct ValueCase {
    const char* key;
    Variant value;
    const char* text;  // the value as written
};

TEST(FormFile, EveryValueIsWrittenInItsFormAndReadsBackWithItsTypeAndBits) {
    const ValueCase cases[] = {
        {"Caption", Variant(""), R"("")"},
        {"Caption", Variant("Cadastro de Clientes"), R"("Cadastro de Clientes")"},
        {"Caption", Variant("say \"hi\""), R"("say ""hi""")"},
        {"Caption", Variant("'no comment"), R"("'no comment")"},
        {"Caption", Variant("a\r\nb"), R"("a" & vbCrLf & "b")"},
        {"Caption", Variant("\r\n"), "vbCrLf"},
        {"Caption", Variant("\n\r"), "vbLf & vbCr"},
        {"Caption", Variant("\tx\t"), R"(vbTab & "x" & vbTab)"},
        {"Caption", Variant(std::string("x\0\x1F\x7F", 4)), R"("x" & Chr(0) & Chr(31) & Chr(127))"},
        {"Caption", Variant("ação ✓ 😀 \xC2\x85"), "\"ação ✓ 😀 \xC2\x85\""},
        {"Caption", Variant("\xFF\xC3"), "ChrB(255) & ChrB(195)"},
        {"Caption", Variant("\xC3\xA7\xC3"), R"("ç" & ChrB(195))"},
        {"Caption", Variant("\xED\xA0\x80"), "ChrB(237) & ChrB(160) & ChrB(128)"},  // surrogate
        {"Caption", Variant("\xC0\xAF"), "ChrB(192) & ChrB(175)"},                  // overlong
        {"Caption", Variant("\xF4\x90\x80\x80"),
         "ChrB(244) & ChrB(144) & ChrB(128) & ChrB(128)"},  // above U+10FFFF
        {"Height", Variant(int32_t{0}), "0"},
        {"Height", Variant(int32_t{-1}), "-1"},
        {"Height", Variant(int32_t{2147483647}), "2147483647"},
        {"Height", Variant(int32_t{-2147483647 - 1}), "-2147483648"},
        {"BackColor", Variant(static_cast<int32_t>(0x8000000Fu)), "&H8000000F&"},
        {"gradientcolor1", Variant(int32_t{0xFFF3E5}), "&H00FFF3E5&"},
        {"Weight", Variant(int16_t{400}), "400%"},
        {"Weight", Variant(int16_t{-32768}), "-32768%"},
        {"BackColor", Variant(int16_t{-1}), "-1%"},  // only a Long is a colour
        {"Mode", Variant(uint8_t{0}), "CByte(0)"},
        {"Mode", Variant(uint8_t{255}), "CByte(255)"},
        {"Size", Variant(8.25), "8.25"},
        {"Size", Variant(0.1), "0.1"},
        {"Size", Variant(3.0), "3#"},
        {"Size", Variant(-0.0), "-0#"},
        {"Size", Variant(0.0), "0#"},
        {"Size", Variant(1e300), "1E+300"},
        {"Size", Variant(1e-5), "1E-05"},
        {"Size", Variant(-2.5e-7), "-2.5E-07"},
        {"Size", Variant(5e-324), "5E-324"},
        {"Size", Variant(1.7976931348623157e308), "1.7976931348623157E+308"},
        {"Size", Variant(123456789012345680000.0), "123456789012345683968#"},
        {"Size", Variant(kInf), "1.#INF"},
        {"Size", Variant(-kInf), "-1.#INF"},
        {"Size", Variant(std::numeric_limits<double>::quiet_NaN()), "1.#QNAN"},
        {"Enabled", Variant(true), "-1  'True"},
        {"Enabled", Variant(false), "0   'False"},
        {"Value", Variant(Date(45322.5)), "#2024-01-31 12:00:00#"},
        {"Value", Variant(Date(0.0)), "#1899-12-30 00:00:00#"},
        {"Value", Variant(Date(-1.25)), "#1899-12-29 06:00:00#"},
        {"Value", Variant(Date(Date::MinSerial)), "#0100-01-01 00:00:00#"},
        {"Value", Variant(Date(2958465.0 + 86399 / 86400.0)), "#9999-12-31 23:59:59#"},
        {"Value", Variant(Date(45322.5 + 0.5 / 86400)), "CDate(45322.500005787035)"},
        {"Value", Variant(Date(45322.123456789)), "CDate(45322.123456789)"},
        {"Value", Variant(Date(Date::MaxSerial)), "CDate(2958465.99999999)"},
        {"Value", Variant(Date(-0.5)), "CDate(-0.5)"},  // day 0 has no negative side
        {"Value", Variant(Date(-0.0)), "CDate(-0#)"},
        {"Value", Variant(Date(1e10)), "CDate(1E+10)"},
        {"Value", Variant(Date(std::numeric_limits<double>::quiet_NaN())), "CDate(1.#QNAN)"},
        {"Tag", Variant(), "Empty"},
        {"Tag", Variant::Null(), "Null"},
        {"Picture", Variant(ByteArray{}), "Bytes 0"},
        {"Picture", Variant(ByteArray{0xFF}), "Bytes 1\r\n      /w=="},
        {"Picture", Variant(ByteArray{0xFB, 0xEF}), "Bytes 2\r\n      ++8="},
        {"Picture", Variant(ByteArray{0, 1, 2, 3}), "Bytes 4\r\n      AAECAw=="},
    };
    for (const ValueCase& c : cases) {
        SCOPED_TRACE(c.text);
        const std::string written = WriteFormFile(Form(c.key, c.value));
        EXPECT_EQ(written, FileWith(c.key, c.text));
        const Variant read = ReadBack(written, c.key);
        EXPECT_TRUE(SameBits(read, c.value)) << "have type " << static_cast<int>(read.Type());
    }
}

TEST(FormFile, ByteArraysWrapAtSeventySixColumnsAndReadBack) {
    struct Case {
        size_t size;
        std::vector<size_t> lineLengths;  // of the base64 lines
    };
    const Case cases[] = {
        {56, {76}},  // 56 bytes are 75 characters with their padding: 76
        {57, {76}},
        {58, {76, 4}},
        {1000, {76, 76, 76, 76, 76, 76, 76, 76, 76, 76, 76, 76, 76, 76, 76, 76, 76, 44}},
    };
    for (const Case& c : cases) {
        ByteArray bytes(c.size);
        for (size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<uint8_t>(i * 37 + 11);
        }
        const std::string written = WriteFormFile(Form("Picture", Variant(bytes)));
        std::vector<size_t> lengths;
        for (size_t at = written.find("\r\n      "); at != std::string::npos;
             at = written.find("\r\n      ", at + 2)) {
            lengths.push_back(written.find("\r\n", at + 2) - at - 8);
        }
        EXPECT_EQ(lengths, c.lineLengths) << c.size << " bytes";
        EXPECT_EQ(ReadBack(written, "Picture"), Variant(bytes)) << c.size << " bytes";
    }
}

// Serials with and without fractions of a second, from a fixed generator:
// every one reads back with the same bits, whichever form it took.
TEST(FormFile, DatesAndDoublesReadBackBitForBit) {
    uint64_t state = 0x9E3779B97F4A7C15u;
    const auto next = [&] {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    };
    FormObject form;
    for (int32_t i = 0; i < 3000; ++i) {
        const double day = static_cast<double>(static_cast<int64_t>(next() % 3615900) - 657434);
        const double seconds = static_cast<double>(next() % 86400);
        const double serial = i % 3 == 0   ? day + seconds / 86400.0
                              : i % 3 == 1 ? day + static_cast<double>(next() % 1000000) / 1e6
                                           : std::bit_cast<double>(next());
        Put(form.Properties, "D" + std::to_string(i), Variant(Date(serial)));
        Put(form.Properties, "X" + std::to_string(i), Variant(std::bit_cast<double>(next())));
    }
    const std::string written = WriteFormFile(form);
    const auto read = ReadFormFile(written);
    ASSERT_TRUE(read) << FormFileErrorText(read.Error());
    for (const std::string& key : form.Properties.Keys()) {
        const Variant want = form.Properties.ReadProperty(key, Variant());
        EXPECT_TRUE(SameBits(read.Value().Properties.ReadProperty(key, Variant()), want)) << key;
    }
    EXPECT_EQ(WriteFormFile(read.Value()), written);
}

TEST(FormFile, NamesThatAreNoIdentifiersAreQuoted) {
    struct Case {
        const char* name;
        const char* asType;  // written as a type name
        const char* asName;  // written as a control's name or a key
    };
    const Case cases[] = {
        {"VB.Form", "VB.Form", R"("VB.Form")"},
        {"_x9", "_x9", "_x9"},
        {"vbCrLf", "vbCrLf", "vbCrLf"},  // a key, not a line break
        {"", R"("")", R"("")"},
        {"my form", R"("my form")", R"("my form")"},
        {"9lives", R"("9lives")", R"("9lives")"},
        {"VB.", R"("VB.")", R"("VB.")"},
        {"A..B", R"("A..B")", R"("A..B")"},
        {"end", R"("end")", R"("end")"},
        {"BeginProperty", R"("BeginProperty")", R"("BeginProperty")"},
        {"Ação", R"("Ação")", R"("Ação")"},
        {"\r", R"("" & vbCr)", R"("" & vbCr)"},
        {"a\"b", R"("a""b")", R"("a""b")"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.asName);
        FormObject form;
        form.TypeName = c.name;
        form.Name = c.name;
        Put(form.Properties, c.name, Variant(int32_t{1}));
        const std::string written = WriteFormFile(form);
        std::string key = c.asName;
        key.resize(std::max<size_t>(key.size() + 1, 16), ' ');
        EXPECT_EQ(written, "VERSION 5.00\r\nBegin " + std::string(c.asType) + " " + c.asName +
                               "\r\n   " + key + "=   1\r\nEnd\r\n");
        const auto read = ReadFormFile(written);
        ASSERT_TRUE(read) << FormFileErrorText(read.Error());
        EXPECT_EQ(read.Value(), form);
        EXPECT_EQ(read.Value().Properties.Keys(), std::vector<std::string>{c.name});
    }
}

// A form as the writer lays it out (the picture is a 1 x 1 RGBA PNG made
// with Python's zlib and struct): reading and writing it again gives the
// same bytes, and the tree holds the values with their types.
TEST(FormFile, CanonicalFileResavesByteForByte) {
    const std::string text =
        "VERSION 5.00\r\n"
        "Begin VB.Form frmCadastro\r\n"
        "   Caption         =   \"Cadastro\"\r\n"
        "   ClientHeight    =   3195\r\n"
        "   BackColor       =   &H8000000F&\r\n"
        "   StartUpPosition =   3\r\n"
        "   BorderColorDisabled =   &H00DBCDCC&\r\n"
        "   BeginProperty Font {0BE35203-8F91-11CE-9DE3-00AA004BB851}\r\n"
        "      Name            =   \"Tahoma\"\r\n"
        "      Size            =   8.25\r\n"
        "      Charset         =   0%\r\n"
        "      Weight          =   700%\r\n"
        "      Underline       =   0   'False\r\n"
        "      Italic          =   -1  'True\r\n"
        "   EndProperty\r\n"
        "   Begin KelvaraEx.USButton cmdOk\r\n"
        "      Caption         =   \"&OK\"\r\n"
        "      Enabled         =   0   'False\r\n"
        "      PicNormal       =   Bytes 70\r\n"
        "         iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mP4z8DQAAAEgQGA8wvc\r\n"
        "         oAAAAABJRU5ErkJggg==\r\n"
        "      ToolTipText     =   \"Grava\" & vbCrLf & \"(Ctrl+S)\"\r\n"
        "   End\r\n"
        "   Begin KelvaraEx.USDatePicker dtpNascimento\r\n"
        "      Value           =   #1987-06-15 00:00:00#\r\n"
        "      BeginProperty Panels\r\n"
        "         Count           =   2\r\n"
        "         BeginProperty Panel1\r\n"
        "            Width           =   1.5\r\n"
        "         EndProperty\r\n"
        "      EndProperty\r\n"
        "   End\r\n"
        "End\r\n";
    const auto read = ReadFormFile(text);
    ASSERT_TRUE(read) << FormFileErrorText(read.Error());
    const FormObject& form = read.Value();
    EXPECT_EQ(WriteFormFile(form), text);

    EXPECT_EQ(form.TypeName, "VB.Form");
    EXPECT_EQ(form.Name, "frmCadastro");
    EXPECT_EQ(form.Line, 2);
    EXPECT_EQ(form.Properties.Keys(),
              (std::vector<std::string>{"Caption", "ClientHeight", "BackColor", "StartUpPosition",
                                        "BorderColorDisabled", "Font"}));
    const PropertyBag* font = form.Properties.ReadBag("font");
    ASSERT_NE(font, nullptr);
    EXPECT_TRUE(SameBits(font->ReadProperty("Size", Variant()), Variant(8.25)));
    EXPECT_TRUE(SameBits(font->ReadProperty("Weight", Variant()), Variant(int16_t{700})));
    EXPECT_TRUE(SameBits(font->ReadProperty("Italic", Variant()), Variant(true)));
    ASSERT_EQ(form.Children.size(), 2u);
    const FormObject& button = form.Children[0];
    EXPECT_EQ(button.TypeName, "KelvaraEx.USButton");
    EXPECT_EQ(button.Line, 16);
    const Variant picture = button.Properties.ReadProperty("PicNormal", Variant());
    ASSERT_EQ(picture.Type(), VariantType::ByteArray);
    const ByteArray& png = *picture.Get<ByteArray>();
    ASSERT_EQ(png.size(), 70u);
    EXPECT_EQ(png[0], 0x89);
    EXPECT_EQ(png[1], 'P');
    EXPECT_EQ(png[69], 0x82);
    EXPECT_EQ(button.Properties.ReadProperty("ToolTipText", Variant()),
              Variant("Grava\r\n(Ctrl+S)"));
    const FormObject& picker = form.Children[1];
    EXPECT_EQ(picker.Line, 24);
    EXPECT_TRUE(
        SameBits(picker.Properties.ReadProperty("Value", Variant()), Variant(Date(31943.0))));
    const PropertyBag* panels = picker.Properties.ReadBag("Panels");
    ASSERT_NE(panels, nullptr);
    ASSERT_NE(panels->ReadBag("Panel1"), nullptr);
    EXPECT_TRUE(
        SameBits(panels->ReadBag("Panel1")->ReadProperty("Width", Variant()), Variant(1.5)));
}

// What reading takes beyond the written layout, and how it is written again.
TEST(FormFile, LenientTextReadsAndIsWrittenInTheCanonicalForm) {
    struct Case {
        const char* value;      // as found after "Key = "
        const char* canonical;  // as written
    };
    const Case cases[] = {
        {"&HFF", "255"},
        {"&hff&", "255"},
        {"&HFFFF%", "-1%"},
        {"&HFFFFFFFF", "-1"},
        {"0005&", "5"},
        {"2.5#", "2.5"},
        {".5", "0.5"},
        {"-.5e1", "-5#"},
        {"1e3", "1000#"},
        {"1.#inf", "1.#INF"},
        {"-1  'true", "-1  'True"},
        {"0'FALSE  ", "0   'False"},
        {"0   ' neither", "0"},
        {"-1 'True is the default", "-1"},
        {"\"a\tb\"", R"("a" & vbTab & "b")"},
        {"Chr(65) & chr ( 66 ) & ChrB(67)", R"("ABC")"},
        {"VBCRLF", "vbCrLf"},
        {"\"\" & \"\"", R"("")"},
        {"#2024-01-31#", "#2024-01-31 00:00:00#"},
        {"CDate(45322.5)", "#2024-01-31 12:00:00#"},
        {"cdate( 1 )", "#1899-12-31 00:00:00#"},
        {"CByte(&HFF)", "CByte(255)"},
        {"empty", "Empty"},
        {"\"x\"   ' a comment", R"("x")"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value);
        const std::string text =
            Lines({"VERSION 5.00", "Begin VB.Form f", "Key =" + std::string(c.value), "End"});
        const auto read = ReadFormFile(text);
        ASSERT_TRUE(read) << FormFileErrorText(read.Error());
        EXPECT_EQ(WriteFormFile(read.Value()), FileWith("Key", c.canonical));
    }
}

TEST(FormFile, LenientLayoutReadsToTheSameTree) {
    const std::string text =
        "\xEF\xBB\xBF"
        "' saved by hand\n"
        "\n"
        "version 5.00   ' the only version\n"
        "BEGIN VB.Form f 'the form\r\n"
        "\tCaption=\"x\"\n"
        "        begin VB.Label lbl\n"
        "   end\n"
        "   ' properties may follow the children\n"
        "   Picture   =   Bytes 5   ' five bytes\n"
        "\n"
        "      AAEC\r\n"
        "          AwQ=    \n"
        "   beginproperty Font\n"
        "   endproperty\n"
        "End\n"
        "\n"
        "' the end\n";
    const auto read = ReadFormFile(text);
    ASSERT_TRUE(read) << FormFileErrorText(read.Error());
    FormObject want;
    want.TypeName = "VB.Form";
    want.Name = "f";
    Put(want.Properties, "Caption", Variant("x"));
    Put(want.Properties, "Picture", Variant(ByteArray{0, 1, 2, 3, 4}));
    want.Properties.WriteBag("Font", PropertyBag());
    FormObject label;
    label.TypeName = "VB.Label";
    label.Name = "lbl";
    want.Children.push_back(label);
    EXPECT_EQ(read.Value(), want);  // Line is not compared
    EXPECT_EQ(read.Value().Line, 4);
    EXPECT_EQ(read.Value().Children[0].Line, 6);
    EXPECT_EQ(WriteFormFile(read.Value()),
              "VERSION 5.00\r\n"
              "Begin VB.Form f\r\n"
              "   Caption         =   \"x\"\r\n"
              "   Picture         =   Bytes 5\r\n"
              "      AAECAwQ=\r\n"
              "   BeginProperty Font {0BE35203-8F91-11CE-9DE3-00AA004BB851}\r\n"
              "   EndProperty\r\n"
              "   Begin VB.Label lbl\r\n"
              "   End\r\n"
              "End\r\n");
}

TEST(FormFile, LongKeysAndLongLinesKeepTheirLayout) {
    FormObject form;
    form.TypeName = "VB.Form";
    form.Name = "f";
    Put(form.Properties, "ABCDEFGHIJKLMNO", Variant(int32_t{15}));
    Put(form.Properties, "ABCDEFGHIJKLMNOP", Variant(int32_t{16}));
    Put(form.Properties, "ABCDEFGHIJKLMNOPQ", Variant(int32_t{17}));
    const std::string big(1 << 20, 'w');
    Put(form.Properties, "Text", Variant(big));
    const std::string written = WriteFormFile(form);
    EXPECT_EQ(written,
              "VERSION 5.00\r\nBegin VB.Form f\r\n"
              "   ABCDEFGHIJKLMNO =   15\r\n"
              "   ABCDEFGHIJKLMNOP =   16\r\n"
              "   ABCDEFGHIJKLMNOPQ =   17\r\n"
              "   Text            =   \"" +
                  big + "\"\r\nEnd\r\n");
    const auto read = ReadFormFile(written);
    ASSERT_TRUE(read);
    EXPECT_EQ(read.Value(), form);
}

// The deepest nesting allowed reads; one block more does not. Writing does
// not refuse either tree.
TEST(FormFile, NestingStopsAtItsLimit) {
    const auto nested = [](int32_t objects, int32_t bags) {
        PropertyBag bag;
        Put(bag, "Leaf", Variant(int32_t{1}));
        for (int32_t i = 1; i < bags; ++i) {
            PropertyBag outer;
            outer.WriteBag("Inner", std::move(bag));
            bag = std::move(outer);
        }
        FormObject object;
        object.TypeName = "VB.Frame";
        object.Name = "fra";
        object.Properties.WriteBag("Font", std::move(bag));
        for (int32_t i = 1; i < objects; ++i) {
            FormObject outer;
            outer.TypeName = "VB.Frame";
            outer.Name = "fra";
            outer.Children.push_back(std::move(object));
            object = std::move(outer);
        }
        return object;
    };
    const FormObject deepest = nested(40, kMaxFormFileDepth - 40);
    const auto read = ReadFormFile(WriteFormFile(deepest));
    ASSERT_TRUE(read) << FormFileErrorText(read.Error());
    EXPECT_EQ(read.Value(), deepest);

    const auto tooDeep = ReadFormFile(WriteFormFile(nested(40, kMaxFormFileDepth - 39)));
    ASSERT_FALSE(tooDeep);
    EXPECT_EQ(tooDeep.Error().Code, FormFileErrorCode::TooDeep);
    EXPECT_EQ(tooDeep.Error().Line, 2 + 64);
    EXPECT_EQ(FormFileErrorText(tooDeep.Error()), "line 66: blocks nested deeper than 64");
}

struct MalformedCase {
    std::string text;
    FormFileErrorCode code;
    int32_t line;
    const char* message;
};

// Lines of a form f around the given lines.
std::string InForm(std::initializer_list<std::string_view> lines) {
    std::string text = "VERSION 5.00\nBegin VB.Form f\n";
    for (const std::string_view line : lines) {
        text.append(line);
        text.push_back('\n');
    }
    return text + "End\n";
}

TEST(FormFile, MalformedTextFailsWithItsLineAndWhy) {
    using enum FormFileErrorCode;
    const MalformedCase cases[] = {
        {"", MissingVersion, 1, "'VERSION 5.00' expected"},
        {Lines({"VERSION 6.00", "Begin VB.Form f", "End"}), MissingVersion, 1,
         "'VERSION 5.00' expected, not 'VERSION 6.00'"},
        {Lines({"", "Begin VB.Form f", "End"}), MissingVersion, 2,
         "'VERSION 5.00' expected, not 'Begin VB.Form f'"},
        {Lines({"VERSION 5.00"}), MissingForm, 1, "'Begin' expected before end of file"},
        {Lines({"VERSION 5.00", "Object = \"{831FDD16}#2.0#0\"; \"x.ocx\""}), UnexpectedLine, 2,
         "'Begin' expected, not 'Object = \"{831FDD16}#2.0#0\"; \"x.ocx\"'"},
        {Lines({"VERSION 5.00", "Begin VB.Form f", "   Caption = \"x\""}), MissingEnd, 3,
         "'End' expected before end of file ('Begin VB.Form f' at line 2 is open)"},
        {Lines({"VERSION 5.00 beta"}), MissingVersion, 1,
         "'VERSION 5.00' expected, not 'VERSION 5.00 beta'"},
        {InForm({"BeginProperty Font"}), UnmatchedEnd, 4,
         "'End' inside 'BeginProperty Font' (line 3); 'EndProperty' expected"},
        {Lines({"VERSION 5.00", "Begin VB.Form f", "BeginProperty Font"}), MissingEnd, 3,
         "'EndProperty' expected before end of file ('BeginProperty Font' at line 3 is open)"},
        {InForm({"EndProperty"}), UnmatchedEnd, 3, "'EndProperty' without 'BeginProperty'"},
        {Lines({"VERSION 5.00", "End"}), UnmatchedEnd, 2, "'End' without 'Begin'"},
        {InForm({"BeginProperty Font", "Begin VB.Label l"}), MisplacedBegin, 4,
         "'Begin' inside 'BeginProperty Font' (line 3); 'EndProperty' expected first"},
        {Lines({"VERSION 5.00", "Begin VB.Form f", "End", "Begin VB.Form g", "End"}),
         UnexpectedLine, 4, "a second form: the form ended at line 3"},
        {Lines({"VERSION 5.00", "Begin VB.Form f", "End", "Attribute VB_Name = \"f\""}),
         UnexpectedLine, 4, "'Attribute VB_Name = \"f\"' after the form's 'End' at line 3"},
        {InForm({"hello world"}), UnexpectedLine, 3, "'=' expected after 'hello'"},
        {InForm({"Caption"}), UnexpectedLine, 3, "'=' expected after 'Caption'"},
        {InForm({"= 5"}), UnexpectedLine, 3, "'key = value' expected, not '= 5'"},
        {InForm({"Caption = \"a\rb\""}), UnexpectedLine, 3,
         "carriage return inside a line; lines end in LF or CR LF"},
        {InForm({"Caption = \"x\"", "Top = 0", "caption = \"y\""}), DuplicateProperty, 5,
         "property 'caption' is already given at line 3"},
        {InForm({"Font = 1", "BeginProperty FONT", "EndProperty"}), DuplicateProperty, 4,
         "property 'FONT' is already given at line 3"},
        {Lines({"VERSION 5.00", "Begin VB.Form"}), BadName, 2, "name expected at ''"},
        {Lines({"VERSION 5.00", "Begin"}), BadName, 2, "type name expected at ''"},
        {Lines({"VERSION 5.00", "Begin VB..Form f"}), BadName, 2,
         "type name expected at 'VB..Form f'"},
        {Lines({"VERSION 5.00", "Begin \"VB\"f"}), BadName, 2,
         "blank expected after the type name, at 'f'"},
        {Lines({"VERSION 5.00", "Begin VB.Form 1f"}), BadName, 2, "name expected at '1f'"},
        {Lines({"VERSION 5.00", "Begin VB.Form f g"}), TrailingText, 2,
         "unexpected 'g' after the name"},
        {InForm({"BeginProperty Font {0BE35203-8F91}", "EndProperty"}), BadName, 3,
         "bad class id '{0BE35203-8F91}'"},
        {Lines({"VERSION 5.00", "Begin VB.Form f", "End x"}), TrailingText, 3,
         "unexpected 'x' after 'End'"},
        {InForm({"Caption ="}), MissingValue, 3, "value expected after '='"},
        {InForm({"Caption = True"}), MissingValue, 3, "unknown value 'True'"},
        {InForm({"Caption = CDate 5"}), MissingValue, 3, "'(' expected after 'CDate'"},
        {InForm({"Caption = \"abc"}), UnterminatedString, 3, "string has no closing quote mark"},
        {InForm({"Caption = \"abc\"\" & vbCr"}), UnterminatedString, 3,
         "string has no closing quote mark"},
        {InForm({"Caption = \"a\" &"}), BadString, 3, "string piece expected at ''"},
        {InForm({"Caption = \"a\" & vbNewLine"}), BadString, 3,
         "string piece expected at 'vbNewLine'"},
        {InForm({"Caption = Chr(128)"}), BadString, 3, "Chr(n) with n from 0 to 127 expected"},
        {InForm({"Caption = ChrB(256)"}), BadString, 3, "ChrB(n) with n from 0 to 255 expected"},
        {InForm({"Caption = ChrB()"}), BadString, 3, "ChrB(n) with n from 0 to 255 expected"},
        {InForm({"Caption = \"a\" \"b\""}), TrailingText, 3, "unexpected '\"b\"' after the value"},
        {InForm({"Top = 12x"}), BadNumber, 3, "bad number '12x'"},
        {InForm({"Top = 1.5%"}), BadNumber, 3, "bad number '1.5%'"},
        {InForm({"Top = 1e"}), BadNumber, 3, "bad number '1e'"},
        {InForm({"Top = -"}), BadNumber, 3, "bad number '-'"},
        {InForm({"Top = &H"}), BadNumber, 3, "bad number '&H'"},
        {InForm({"Top = &5"}), BadNumber, 3, "bad number '&5'"},
        {InForm({"Top = 0 'True"}), BadNumber, 3,
         "'0 'True' is no Boolean: -1 'True or 0 'False expected"},
        {InForm({"Top = CByte(2.5)"}), BadNumber, 3, "CByte takes a plain whole number"},
        {InForm({"Top = 2147483648"}), NumberOutOfRange, 3,
         "'2147483648' is out of range for a Long"},
        {InForm({"Top = 32768%"}), NumberOutOfRange, 3, "'32768%' is out of range for an Integer"},
        {InForm({"Top = &H10000%"}), NumberOutOfRange, 3,
         "'&H10000%' is out of range for an Integer"},
        {InForm({"Top = &H100000000"}), NumberOutOfRange, 3,
         "'&H100000000' is out of range for a Long"},
        {InForm({"Top = 1E+999"}), NumberOutOfRange, 3, "'1E+999' is out of range for a Double"},
        {InForm({"Top = CByte(256)"}), NumberOutOfRange, 3,
         "CByte(256) is out of range for a Byte"},
        {InForm({"Top = 5 6"}), TrailingText, 3, "unexpected '6' after the value"},
        {InForm({"Top = #2023-02-29 00:00:00#"}), BadDate, 3,
         "bad date '#2023-02-29 00:00:00#', #yyyy-mm-dd hh:nn:ss# expected"},
        {InForm({"Top = #2024-01-31 24:00:00#"}), BadDate, 3,
         "bad date '#2024-01-31 24:00:00#', #yyyy-mm-dd hh:nn:ss# expected"},
        {InForm({"Top = #0099-12-31#"}), BadDate, 3,
         "bad date '#0099-12-31#', #yyyy-mm-dd hh:nn:ss# expected"},
        {InForm({"Top = #2024-1-31#"}), BadDate, 3,
         "bad date '#2024-1-31#', #yyyy-mm-dd hh:nn:ss# expected"},
        {InForm({"Top = #2024-01-31"}), BadDate, 3,
         "bad date '#2024-01-31', #yyyy-mm-dd hh:nn:ss# expected"},
        {InForm({"Top = Bytes", "AAAA"}), BadNumber, 3, "byte count expected after 'Bytes'"},
        {InForm({"Pic = Bytes 3", "AAA="}), BadBase64, 4, "'=' inside base64"},
        {InForm({"Pic = Bytes 1", "AAA="}), BadBase64, 4,
         "'=' expected to pad the base64 of 1 bytes"},
        {InForm({"Pic = Bytes 1", "AB=="}), BadBase64, 4,
         "the base64 ends in bits that belong to no byte"},
        {InForm({"Pic = Bytes 2", "AAB="}), BadBase64, 4,
         "the base64 ends in bits that belong to no byte"},
        {InForm({"Pic = Bytes 3", "A!AA"}), BadBase64, 4, "'!' is not base64"},
        {InForm({"Pic = Bytes 3",
                 "AA\x01"
                 "A"}),
         BadBase64, 4, "byte 1 is not base64"},
        {InForm({"Pic = Bytes 6", "AAA"}), BadBase64, 4,
         "a line of base64 holds a multiple of 4 characters, not 3"},
        {InForm({"Pic = Bytes 6", "AAAA"}), ByteCountMismatch, 5,
         "'End' is not base64: 6 bytes of 'Pic' (line 3) need 8 base64 characters, 4 given"},
        {InForm({"Pic = Bytes 6", "AAAA", "Top = 1"}), ByteCountMismatch, 5,
         "'Top = 1' is not base64: 6 bytes of 'Pic' (line 3) need 8 base64 characters, 4 given"},
        {InForm({"Pic = Bytes 3", "AAAAAAAA"}), ByteCountMismatch, 4,
         "more base64 than the byte count says: 3 bytes of 'Pic' (line 3) need 4 base64 "
         "characters, 0 given"},
        {Lines({"VERSION 5.00", "Begin VB.Form f", "Pic = Bytes 3", "", "AA"}), BadBase64, 5,
         "a line of base64 holds a multiple of 4 characters, not 2"},
        {std::string("VERSION 5.00\nBegin VB.Form f\nPic = Bytes 60\n") + std::string(76, 'A'),
         ByteCountMismatch, 3, "60 bytes for 'Pic' are more than the rest of the file can hold"},
        {InForm({"Pic = Bytes 99999999999999999999"}), ByteCountMismatch, 3,
         "byte count '99999999999999999999' is beyond the size of a form file"},
        {InForm({"Caption = \"" + std::string(100, 'a')}), UnterminatedString, 3,
         "string has no closing quote mark"},
        {InForm({"Top = 1" + std::string(100, '2') + "x"}), BadNumber, 3,
         "bad number '1222222222222222222222222222222222222222...'"},
    };
    for (const MalformedCase& c : cases) {
        SCOPED_TRACE(c.text.substr(0, 200));
        const auto read = ReadFormFile(c.text);
        ASSERT_FALSE(read);
        EXPECT_EQ(read.Error().Code, c.code);
        EXPECT_EQ(read.Error().Line, c.line);
        EXPECT_EQ(read.Error().Message, c.message);
    }
}

TEST(FormFile, TextBeyondTheSizeLimitIsRefusedUnread) {
    const auto read = ReadFormFile(std::string(kMaxFormFileBytes + 1, ' '));
    ASSERT_FALSE(read);
    EXPECT_EQ(read.Error().Code, FormFileErrorCode::TooLarge);
    EXPECT_EQ(FormFileErrorText(read.Error()),
              "line 1: text of 67108865 bytes is longer than the 67108864 a form file may have");
}

// Every prefix of a file either fails with a line inside the prefix or,
// once the last End is complete, reads to the whole form.
TEST(FormFile, EveryTruncationFailsCleanlyInsideThePrefix) {
    FormObject form;
    form.TypeName = "VB.Form";
    form.Name = "frm";
    Put(form.Properties, "Caption", Variant("a\r\nb"));
    PropertyBag font;
    Put(font, "Size", Variant(8.25));
    form.Properties.WriteBag("Font", font);
    FormObject child;
    child.TypeName = "VB.Image";
    child.Name = "img";
    Put(child.Properties, "Picture", Variant(ByteArray(100, 0x5A)));
    Put(child.Properties, "Stamp", Variant(Date(45322.75)));
    form.Children.push_back(child);
    const std::string text = WriteFormFile(form);
    const size_t complete = text.size() - 2;  // through "End", before its CR LF
    for (size_t length = 0; length < text.size(); ++length) {
        const std::string prefix = text.substr(0, length);
        const auto read = ReadFormFile(prefix);
        if (length >= complete) {
            ASSERT_TRUE(read) << length;
            EXPECT_EQ(read.Value(), form);
            continue;
        }
        ASSERT_FALSE(read) << length;
        const auto lines = static_cast<int32_t>(std::count(prefix.begin(), prefix.end(), '\n'));
        EXPECT_GE(read.Error().Line, 1) << length;
        EXPECT_LE(read.Error().Line, lines + 1) << length;
    }
}

}  // namespace
}  // namespace kelvara
