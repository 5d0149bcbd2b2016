#include "kelvara/base/Locale.h"

namespace kelvara {

namespace {

Locale MakePtBR() {
    Locale l;
    l.name = "pt-BR";
    l.decimalSymbol = ",";
    l.groupSymbol = ".";
    l.currencySymbol = "R$";
    l.dateSeparator = "/";
    l.timeSeparator = ":";
    l.dateOrder = DateOrder::DayMonthYear;
    l.shortDateFormat = "dd/mm/yyyy";
    l.mediumDateFormat = "dd-mmm-yy";
    l.longDateFormat = "dddd, d \"de\" mmmm \"de\" yyyy";
    l.shortTimeFormat = "hh:nn";
    l.mediumTimeFormat = "hh:nn AMPM";
    l.longTimeFormat = "hh:nn:ss";
    l.currencyFormat = "\"R$ \"#,##0.00;\"-R$ \"#,##0.00";
    l.amSymbol = "";
    l.pmSymbol = "";
    l.trueText = "Verdadeiro";
    l.falseText = "Falso";
    l.monthNames = {"janeiro", "fevereiro", "março",    "abril",   "maio",     "junho",
                    "julho",   "agosto",    "setembro", "outubro", "novembro", "dezembro"};
    l.monthAbbreviations = {"jan", "fev", "mar", "abr", "mai", "jun",
                            "jul", "ago", "set", "out", "nov", "dez"};
    l.dayNames = {"domingo",      "segunda-feira", "terça-feira", "quarta-feira",
                  "quinta-feira", "sexta-feira",   "sábado"};
    l.dayAbbreviations = {"dom", "seg", "ter", "qua", "qui", "sex", "sáb"};
    return l;
}

Locale MakeEnUS() {
    Locale l;
    l.name = "en-US";
    l.decimalSymbol = ".";
    l.groupSymbol = ",";
    l.currencySymbol = "$";
    l.dateSeparator = "/";
    l.timeSeparator = ":";
    l.dateOrder = DateOrder::MonthDayYear;
    l.shortDateFormat = "m/d/yyyy";
    l.mediumDateFormat = "dd-mmm-yy";
    l.longDateFormat = "dddd, mmmm d, yyyy";
    l.shortTimeFormat = "hh:nn";
    l.mediumTimeFormat = "hh:nn AMPM";
    l.longTimeFormat = "h:nn:ss AMPM";
    l.currencyFormat = "$#,##0.00;($#,##0.00)";
    l.amSymbol = "AM";
    l.pmSymbol = "PM";
    l.trueText = "True";
    l.falseText = "False";
    l.monthNames = {"January", "February", "March",     "April",   "May",      "June",
                    "July",    "August",   "September", "October", "November", "December"};
    l.monthAbbreviations = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    l.dayNames = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
    l.dayAbbreviations = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    return l;
}

Locale& CurrentLocale() {
    static Locale current = Locale::PtBR();
    return current;
}

}  // namespace

const Locale& Locale::PtBR() {
    static const Locale locale = MakePtBR();
    return locale;
}

const Locale& Locale::EnUS() {
    static const Locale locale = MakeEnUS();
    return locale;
}

const Locale& Locale::Current() {
    return CurrentLocale();
}

void Locale::SetCurrent(const Locale& locale) {
    CurrentLocale() = locale;
}

LocaleScope::LocaleScope(const Locale& locale) : saved(Locale::Current()) {
    Locale::SetCurrent(locale);
}

LocaleScope::~LocaleScope() {
    Locale::SetCurrent(saved);
}

}  // namespace kelvara
