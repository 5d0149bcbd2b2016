// Arbitrary bytes as a form file.
//
// Input: the whole text. Traps (abort) when one of these breaks:
// - A failure names a line of the text (1 to the number of lines + 1) and
//   says something.
// - A form that reads is written, and that text reads again to the same
//   tree: the same names, keys in the same order, the same value types, and
//   doubles and dates with the same bits (any NaN matching any NaN, since
//   all are written alike).
// - Writing the second tree gives the very bytes of the first writing.
// - Every object read again has the line of its Begin.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

#include "kelvara/base/FormFile.h"

#include "FuzzInput.h"

namespace {

using kelvara::FormObject;
using kelvara::PropertyBag;
using kelvara::Variant;
using kelvara::fuzz::Check;

bool SameNumber(double a, double b) {
    return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

bool SameValue(const Variant& a, const Variant& b) {
    if (a.Type() != b.Type()) {
        return false;
    }
    if (const double* x = a.Get<double>()) {
        return SameNumber(*x, *b.Get<double>());
    }
    if (const kelvara::Date* x = a.Get<kelvara::Date>()) {
        return SameNumber(x->Serial(), b.Get<kelvara::Date>()->Serial());
    }
    return a == b;
}

bool SameBag(const PropertyBag& a, const PropertyBag& b) {
    if (a.Keys() != b.Keys()) {
        return false;
    }
    for (const std::string& key : a.Keys()) {
        const PropertyBag* innerA = a.ReadBag(key);
        const PropertyBag* innerB = b.ReadBag(key);
        if ((innerA == nullptr) != (innerB == nullptr)) {
            return false;
        }
        if (innerA != nullptr
                ? !SameBag(*innerA, *innerB)
                : !SameValue(a.ReadProperty(key, Variant()), b.ReadProperty(key, Variant()))) {
            return false;
        }
    }
    return true;
}

bool SameTree(const FormObject& a, const FormObject& b) {
    if (a.TypeName != b.TypeName || a.Name != b.Name || a.Children.size() != b.Children.size() ||
        !SameBag(a.Properties, b.Properties)) {
        return false;
    }
    for (size_t i = 0; i < a.Children.size(); ++i) {
        if (!SameTree(a.Children[i], b.Children[i])) {
            return false;
        }
    }
    return true;
}

void CheckLines(const FormObject& object, int32_t lines) {
    Check(object.Line >= 2 && object.Line <= lines);
    for (const FormObject& child : object.Children) {
        Check(child.Line > object.Line);
        CheckLines(child, lines);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto first = kelvara::ReadFormFile(text);
    if (!first) {
        const auto lines = static_cast<int32_t>(std::count(text.begin(), text.end(), '\n'));
        Check(first.Error().Line >= 1 && first.Error().Line <= lines + 1);
        Check(!first.Error().Message.empty());
        return 0;
    }
    const std::string written = kelvara::WriteFormFile(first.Value());
    const auto second = kelvara::ReadFormFile(written);
    Check(second.Ok());
    Check(SameTree(first.Value(), second.Value()));
    Check(kelvara::WriteFormFile(second.Value()) == written);
    CheckLines(second.Value(),
               static_cast<int32_t>(std::count(written.begin(), written.end(), '\n')));
    return 0;
}
