#pragma once

// Form files: a form and its controls saved as text in the style of a
// Visual Basic form file. Each control's property bag is written out, so
// that loading can hand every control the bag it saved, value for value and
// type for type.
//
//   VERSION 5.00
//   Begin VB.Form frmMain
//      Caption         =   "Cadastro"
//      ClientHeight    =   3195
//      BackColor       =   &H8000000F&
//      Begin KelvaraEx.USButton cmdOk
//         Caption         =   "&OK" & vbCrLf & "second line"
//         Enabled         =   0   'False
//         BeginProperty Font {0BE35203-8F91-11CE-9DE3-00AA004BB851}
//            Name            =   "Tahoma"
//            Size            =   8.25
//            Weight          =   400%
//         EndProperty
//         PicNormal       =   Bytes 5
//            AAECAwQ=
//      End
//   End
//
// Layout as written: lines end in CR LF; each block indents its contents by
// three spaces; a property line is its key left-aligned in a 16-column field
// (a longer key is followed by one space), "=   ", then the value. Keys come
// in the bag's order; an object's properties come before its children.
//
// Values, one form per Variant type so that every value reads back with the
// type it was written with:
//   String     "text" with "" for a quote mark. Characters that cannot stand
//              inside a line are joined on with " & ": vbCrLf, vbCr, vbLf,
//              vbTab, Chr(n) for the other control characters (n < 128) and
//              ChrB(n) for a byte that is not part of well-formed UTF-8.
//              Other UTF-8 is written as it is.
//   Long       decimal digits: -42. A Long under a key that names a colour
//              ("BackColor", "GradientColor1") is written as eight hex digits
//              the way colours are usually read: &H8000000F&.
//   Integer    decimal with the type character %: 400%.
//   Byte       CByte(200).
//   Double     the shortest text that reads back to the same bits, with a
//              '.' and an exponent as needed ("0.1", "1E+300"); a whole
//              number gets the type character # ("3#", "-0#"). Infinities
//              and not-a-number are 1.#INF, -1.#INF and 1.#QNAN.
//   Boolean    -1  'True and 0   'False. This comment is what makes the
//              number a Boolean, so it is the one comment that is not ignored.
//   Date       #yyyy-mm-dd hh:nn:ss# when that text gives back exactly the
//              same serial; any other serial (fractions of a second, -0.5,
//              outside the years 100 to 9999) is CDate(<Double>).
//   Empty      Empty.       Null   Null.
//   ByteArray  Bytes <count>, then the bytes in base64 on the lines below,
//              indented one step further, 76 characters to a line.
// A type name, name or key that is not a plain identifier (letters, digits
// and '_', not starting with a digit; a type name may join them with '.'),
// or that is one of the words Begin, End, BeginProperty and EndProperty, is
// written as a string, quoted as above: Begin VB.Form "my form".
// A nested bag is a BeginProperty ... EndProperty block; one whose key
// contains "Font" is marked with the class id of a standard font object.
//
// Reading is more lenient than writing: any indentation (blanks or tabs),
// LF or CR LF line ends, blank lines and whole-line comments starting with
// ', a comment after any value, keywords in any case, a class id or none
// after BeginProperty, base64 in lines of any multiple of four characters
// (blank lines between them are skipped), &H with or without a type
// character (& Long, % Integer), & after a decimal Long, # after a Double,
// a date without its time, and a UTF-8 byte order mark. Reading is strict
// about everything else and stops at the first fault with its line:
// - a first line other than VERSION 5.00, text after the form's End, a
//   second form, a line that is none of Begin, End, BeginProperty,
//   EndProperty and key = value;
// - End or EndProperty that closes nothing or the wrong kind of block,
//   Begin inside BeginProperty, end of file inside a block;
// - a key given twice in one block (ASCII case ignored, as in a bag);
// - a number that is malformed or out of its type's range, a date that is
//   no calendar date, an unterminated string, Chr or ChrB out of range,
//   text after a value other than a comment;
// - base64 with a bad character, misplaced padding or non-zero spare bits,
//   a line of it that is no multiple of four characters, or base64 not
//   exactly as long as the byte count says;
// - blocks nested deeper than kMaxFormFileDepth, a file longer than
//   kMaxFormFileBytes.
// Reading takes time in proportion to the text (lines of any length) and
// keeps its open blocks on a stack of its own, not the call stack. A tree nested deeper than
// kMaxFormFileDepth, or one whose text would pass kMaxFormFileBytes, is still written, but that
// text will not read back.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kelvara/base/PropertyBag.h"
#include "kelvara/base/Result.h"

namespace kelvara {

// The most Begin and BeginProperty blocks open at once.
inline constexpr int32_t kMaxFormFileDepth = 64;
// The longest text ReadFormFile takes (pictures travel inside).
inline constexpr size_t kMaxFormFileBytes = size_t{64} << 20;

struct FormObject {
    std::string TypeName;    // "VB.Form", "VB.TextBox", "KelvaraEx.USButton"
    std::string Name;        // "Form1", "txtName", "cmdOk"
    PropertyBag Properties;  // a font is a nested bag (BeginProperty Font ... EndProperty)
    std::vector<FormObject> Children;  // contained controls, in file order
    int32_t Line = 0;  // line of its "Begin" in the text it was read from; 0 if made

    // Same type names, names, properties and children. Line is where an
    // object came from, not part of it, and is not compared.
    friend bool operator==(const FormObject& a, const FormObject& b);
};

enum class FormFileErrorCode : int32_t {
    TooLarge,            // the text is longer than kMaxFormFileBytes
    MissingVersion,      // the first line is not VERSION 5.00
    UnexpectedLine,      // a line that does not belong where it stands
    BadName,             // a type name, name or key that cannot be read
    MissingForm,         // no Begin after the version line
    MissingEnd,          // the text ends inside a block
    UnmatchedEnd,        // End or EndProperty that closes nothing, or the wrong block
    MisplacedBegin,      // Begin inside BeginProperty
    TooDeep,             // more than kMaxFormFileDepth blocks open
    DuplicateProperty,   // a key given twice in one block
    MissingValue,        // nothing, or nothing readable, after "="
    UnterminatedString,  // a quote mark that is never closed
    BadString,           // a malformed string piece (Chr out of range, missing "&")
    BadNumber,           // a malformed number
    NumberOutOfRange,    // a number too large for its type
    BadDate,             // a date that is malformed or not on the calendar
    BadBase64,           // a character or padding that base64 does not allow
    ByteCountMismatch,   // base64 data longer or shorter than its byte count
    TrailingText,        // text after a value that is not a comment
    // Faults found when a form is made from a well-formed file:
    UnknownControlType,    // a Begin with a type no control library registered
    DuplicateControlName,  // two controls with one name in one container
    NotAContainer,         // controls listed inside a control that holds none
};

struct FormFileError {
    FormFileErrorCode Code;
    int32_t Line;         // 1-based
    std::string Message;  // what is wrong, without the line: "'End' expected before end of file"
};

// "line 12: 'End' expected before end of file".
std::string FormFileErrorText(const FormFileError& error);

Result<FormObject, FormFileError> ReadFormFile(std::string_view text);
std::string WriteFormFile(const FormObject& form);

}  // namespace kelvara
