// The command table: each member's name, typed parameters (with the
// defaults of the optional ones) and the call. Help, argument checks and
// dispatch all read this one table. The picture commands (kv image ...,
// kv imagelist ...) have tables of their own (ImageCommands.h).

#include "KVCommands.h"

#include <charconv>
#include <functional>
#include <new>
#include <optional>
#include <string_view>

#include "CommandLine.h"
#include "ImageCommands.h"
#include "kelvara/base/Date.h"
#include "kelvara/base/Error.h"
#include "kelvara/base/Text.h"
#include "kelvara/util/KV.h"

namespace kelvara::kvtool {

namespace {

enum class Kind { Text, Integer, Long, Number, Boolean, Date };

struct Param {
    std::string_view name;
    Kind kind;
    std::optional<std::string_view> fallback = std::nullopt;  // the default of an optional one
};

// The arguments of one call, read by the parameter kinds.
class Arguments {
public:
    explicit Arguments(std::vector<std::string> values) : values(std::move(values)) {}

    std::string_view Text(size_t i) const { return values[i]; }

    double Number(size_t i) const {
        std::string_view text = values[i];
        if (text.starts_with('+')) {
            text.remove_prefix(1);
        }
        double value = 0;
        const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (text.empty() || ec != std::errc() || end != text.data() + text.size()) {
            throw UsageError{"'" + values[i] + "' is not a number (write 1234.56)"};
        }
        return value;
    }

    int32_t Long(size_t i) const { return IntegerIn(i, INT32_MIN, INT32_MAX); }
    int16_t Integer(size_t i) const {
        return static_cast<int16_t>(IntegerIn(i, INT16_MIN, INT16_MAX));
    }

    bool Boolean(size_t i) const {
        const std::string word = LCase(values[i]);
        if (word == "true" || word == "-1" || word == "1") {
            return true;
        }
        if (word == "false" || word == "0") {
            return false;
        }
        throw UsageError{"'" + values[i] + "' is not True or False"};
    }

    kelvara::Date DateValue(size_t i) const {
        const auto date = CDate(values[i], Locale::PtBR());
        if (!date) {
            throw UsageError{"'" + values[i] + "' is not a date (write dd/mm/yyyy)"};
        }
        return *date;
    }

private:
    int32_t IntegerIn(size_t i, int64_t low, int64_t high) const {
        const std::string& text = values[i];
        int64_t value = 0;
        const char* begin = text.data() + (text.starts_with('+') ? 1 : 0);
        const auto [end, ec] = std::from_chars(begin, text.data() + text.size(), value);
        if (begin == text.data() + text.size() || ec != std::errc() ||
            end != text.data() + text.size()) {
            throw UsageError{"'" + text + "' is not a whole number"};
        }
        if (value < low || value > high) {
            throw UsageError{"'" + text + "' is out of range (" + std::to_string(low) + " to " +
                             std::to_string(high) + ")"};
        }
        return static_cast<int32_t>(value);
    }

    std::vector<std::string> values;
};

std::string Bool(bool value) {
    return value ? "True" : "False";
}

ENUM_DATE_FORMAT Layout(int32_t value) {
    return static_cast<ENUM_DATE_FORMAT>(value);
}

struct Member {
    std::string_view name;
    std::vector<Param> params;
    std::function<std::string(const Arguments&)> call;
};

const std::vector<Member>& Members() {
    using A = const Arguments&;
    static const std::vector<Member> members = {
        {"IsValidDate",
         {{"xDate", Kind::Text}, {"xFormat", Kind::Long}},
         [](A a) { return Bool(KV::IsValidDate(a.Text(0), Layout(a.Long(1)))); }},
        {"IsValidDateEx",
         {{"xDate", Kind::Text}, {"xFormat", Kind::Long, "1"}},
         [](A a) { return Bool(KV::IsValidDateEx(a.Text(0), Layout(a.Long(1)))); }},
        {"IsValidTime",
         {{"xTime", Kind::Text}, {"xDelimiter", Kind::Text, ":"}},
         [](A a) { return Bool(KV::IsValidTime(a.Text(0), a.Text(1))); }},
        {"FormatAsDate",
         {{"xDate", Kind::Text}, {"xFormat", Kind::Text}},
         [](A a) { return KV::FormatAsDate(a.Text(0), a.Text(1)); }},
        {"FormatAsDateEx",
         {{"xDate", Kind::Text}, {"xFormat", Kind::Text, "DD/MM/YYYY"}},
         [](A a) { return KV::FormatAsDateEx(a.Text(0), a.Text(1)); }},
        {"DateFormatText", {{"value", Kind::Long}}, [](A a) { return DateFormatText(a.Long(0)); }},
        {"IsValidCPFOrCNPJ",
         {{"xDocument", Kind::Text}},
         [](A a) { return Bool(KV::IsValidCPFOrCNPJ(a.Text(0))); }},
        {"IsValidEmail",
         {{"xEmail", Kind::Text}},
         [](A a) { return Bool(KV::IsValidEmail(a.Text(0))); }},
        {"IsValidURL", {{"xUrl", Kind::Text}}, [](A a) { return Bool(KV::IsValidURL(a.Text(0))); }},
        {"IsValidIP", {{"xIP", Kind::Text}}, [](A a) { return Bool(KV::IsValidIP(a.Text(0))); }},
        {"IsValidFileName",
         {{"xFileName", Kind::Text}},
         [](A a) { return Bool(KV::IsValidFileName(a.Text(0))); }},
        {"RemoveAccents",
         {{"xString", Kind::Text}},
         [](A a) { return KV::RemoveAccents(a.Text(0)); }},
        {"ReturnNumbersOnly",
         {{"xString", Kind::Text}},
         [](A a) { return KV::ReturnNumbersOnly(a.Text(0)); }},
        {"ReturnTextsOnly",
         {{"xString", Kind::Text}},
         [](A a) { return KV::ReturnTextsOnly(a.Text(0)); }},
        {"ReturnTextsAndNumbersOnly",
         {{"xString", Kind::Text}},
         [](A a) { return KV::ReturnTextsAndNumbersOnly(a.Text(0)); }},
        {"GetStringContent",
         {{"xString", Kind::Text}, {"xStringFrom", Kind::Text}, {"xStringTo", Kind::Text}},
         [](A a) { return KV::GetStringContent(a.Text(0), a.Text(1), a.Text(2)); }},
        {"FormatWithZeros",
         {{"xString", Kind::Text}, {"xNumberOfZeros", Kind::Integer}},
         [](A a) { return KV::FormatWithZeros(a.Text(0), a.Integer(1)); }},
        {"CalculateAge",
         {{"xBirthday", Kind::Date}},
         [](A a) { return std::to_string(KV::CalculateAge(a.DateValue(0))); }},
        {"IsYearLeap",
         {{"xYear", Kind::Integer}},
         [](A a) { return Bool(KV::IsYearLeap(a.Integer(0))); }},
        {"NumberOfDaysOnMonth",
         {{"xMonth", Kind::Integer}, {"xYear", Kind::Integer, "0"}},
         [](A a) { return std::to_string(KV::NumberOfDaysOnMonth(a.Integer(0), a.Integer(1))); }},
        {"NameOfTheDay",
         {{"xDate", Kind::Date}, {"xAbbreviated", Kind::Boolean, "False"}},
         [](A a) { return KV::NameOfTheDay(a.DateValue(0), a.Boolean(1)); }},
        {"FormatFileSizeEx",
         {{"xValue", Kind::Number}},
         [](A a) { return KV::FormatFileSizeEx(a.Number(0)); }},
        {"CurrencyAsStr",
         {{"xValue", Kind::Number},
          {"xSingularCurrencyCountry", Kind::Text, "real"},
          {"xPluralCurrencyCountry", Kind::Text, "reais"},
          {"xSingularDecimalCountry", Kind::Text, "centavo"},
          {"xPluralDecimalCountry", Kind::Text, "centavos"}},
         [](A a) {
             return KV::CurrencyAsStr(a.Number(0), a.Text(1), a.Text(2), a.Text(3), a.Text(4));
         }},
    };
    return members;
}

std::string Signature(const Member& member) {
    std::string line(member.name);
    for (const auto& param : member.params) {
        line += " ";
        line += param.fallback ? "[" : "<";
        line += param.name;
        if (param.fallback) {
            line += "=" + std::string(*param.fallback);
        }
        line += param.fallback ? "]" : ">";
    }
    return line;
}

bool IsGroup(std::string_view word) {
    return word == "image" || word == "imagelist";
}

std::vector<const Command*> GroupCommands() {
    std::vector<const Command*> commands;
    for (const auto* table : {&ImageCommands(), &ImageListCommands()}) {
        for (const Command& command : *table) {
            commands.push_back(&command);
        }
    }
    return commands;
}

std::string Usage(const Command& command) {
    return "kv " + std::string(command.group) + " " + std::string(command.name) + " " +
           std::string(command.usage);
}

void Help(std::ostream& out) {
    out << "usage: kv <Member> [arguments...]\n"
           "       kv image|imagelist <command> [arguments...]\n"
           "Calls a member of KV and prints its result on one line.\n"
           "Numbers are written with a point (1234.56), dates day first (21/11/2026),\n"
           "date layouts by their number (1 = dd/mm/yyyy), Booleans as True/False.\n\n"
           "members:\n";
    for (const auto& member : Members()) {
        out << "  " << Signature(member) << "\n";
    }
    out << "\npictures (reads PNG, GIF, ICO, CUR and BMP; writes PNG, GIF, JPEG and BMP):\n";
    for (const Command* command : GroupCommands()) {
        out << "  " << Usage(*command) << "\n";
    }
    out << "\nimage convert options (OUT's extension chooses the format: .png, .gif,\n"
           ".jpg or .jpeg, .bmp):\n";
    ConvertOptionsHelp(out);
    out << "\nimagelist export: --key and --tag follow the IMAGE they are for; --no-scale\n"
           "centres each picture at its own size instead of fitting it to WxH.\n"
           "imagelist import writes each image as OUTDIR/<index>-<key>.png, replacing\n"
           "files of those names.\n";
}

// kv image ... and kv imagelist ...: the exit code.
int RunGroup(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    if (args.size() > 1 && (args[1] == "--help" || args[1] == "-h" || args[1] == "help")) {
        Help(out);
        return 0;
    }
    const Command* command = nullptr;
    for (const Command* candidate : GroupCommands()) {
        if (args.size() > 1 && candidate->group == args[0] && candidate->name == args[1]) {
            command = candidate;
        }
    }
    if (command == nullptr) {
        err << "kv " << args[0] << ": "
            << (args.size() > 1 ? "unknown command '" + args[1] + "'" : "name a command") << "\n";
        for (const Command* candidate : GroupCommands()) {
            if (candidate->group == args[0]) {
                err << "  usage: " << Usage(*candidate) << "\n";
            }
        }
        return 2;
    }
    const std::string label = "kv " + args[0] + " " + args[1];
    try {
        command->run(std::span(args).subspan(2), out);
    } catch (const UsageError& e) {
        err << label << ": " << e.message << "\n  usage: " << Usage(*command)
            << "\n  (kv help lists the options)\n";
        return 2;
    } catch (const CommandFailure& e) {
        err << label << ": " << e.message << "\n";
        return 1;
    } catch (const KelvaraError& e) {
        err << label << ": error " << e.number << ": " << e.description << "\n";
        return 1;
    } catch (const std::bad_alloc&) {
        err << label << ": not enough memory\n";
        return 1;
    }
    return 0;
}

// Checks every argument against its kind before the call, so that a wrong
// argument is reported as such and not as a result.
void CheckKinds(const Member& member, const Arguments& args) {
    for (size_t i = 0; i < member.params.size(); ++i) {
        switch (member.params[i].kind) {
            case Kind::Text:
                break;
            case Kind::Integer:
                args.Integer(i);
                break;
            case Kind::Long:
                args.Long(i);
                break;
            case Kind::Number:
                args.Number(i);
                break;
            case Kind::Boolean:
                args.Boolean(i);
                break;
            case Kind::Date:
                args.DateValue(i);
                break;
        }
    }
}

}  // namespace

int Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    if (args.empty()) {
        Help(err);
        return 2;
    }
    if (args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
        Help(out);
        return 0;
    }
    if (IsGroup(args[0])) {
        return RunGroup(args, out, err);
    }
    const Member* member = nullptr;
    for (const auto& candidate : Members()) {
        if (candidate.name == args[0]) {
            member = &candidate;
        }
    }
    if (member == nullptr) {
        err << "kv: unknown member '" << args[0] << "' (kv --help lists them)\n";
        return 2;
    }

    const size_t given = args.size() - 1;
    size_t required = 0;
    for (const auto& param : member->params) {
        required += param.fallback ? 0 : 1;
    }
    if (given < required || given > member->params.size()) {
        err << "kv: " << member->name << " takes " << required;
        if (member->params.size() != required) {
            err << " to " << member->params.size();
        }
        err << " argument(s), " << given << " given\n  usage: kv " << Signature(*member) << "\n";
        return 2;
    }
    std::vector<std::string> values(args.begin() + 1, args.end());
    for (size_t i = given; i < member->params.size(); ++i) {
        values.emplace_back(*member->params[i].fallback);
    }

    const Arguments arguments(std::move(values));
    try {
        CheckKinds(*member, arguments);
    } catch (const UsageError& e) {
        err << "kv: " << member->name << ": " << e.message << "\n  usage: kv " << Signature(*member)
            << "\n";
        return 2;
    }
    try {
        out << member->call(arguments) << "\n";
    } catch (const KelvaraError& e) {
        err << "kv: " << member->name << ": error " << e.number << ": " << e.description << "\n";
        return 1;
    }
    return 0;
}

}  // namespace kelvara::kvtool
