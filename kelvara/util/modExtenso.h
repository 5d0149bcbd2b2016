#pragma once

// Amounts in Brazilian Portuguese words, for cheques and receipts.

#include <string>
#include <string_view>

namespace kelvara::modExtenso {

std::string CurrencyAsStr(double xValue, std::string_view xSingularCurrencyCountry,
                          std::string_view xPluralCurrencyCountry,
                          std::string_view xSingularDecimalCountry,
                          std::string_view xPluralDecimalCountry);

}  // namespace kelvara::modExtenso
