#include "platform/posix/locale.h"

#include <langinfo.h>
#include <locale.h>

#include "platform/date.h"

namespace iqrx::platform::posix {

UserLocale::UserLocale() : decimalSeparator_(".") {
    // A locale object of its own: setlocale would change how the whole process writes numbers.
    const locale_t locale = newlocale(LC_NUMERIC_MASK | LC_CTYPE_MASK, "", static_cast<locale_t>(nullptr));
    if (locale == static_cast<locale_t>(nullptr)) return;
    const std::string separator = nl_langinfo_l(RADIXCHAR, locale);
    if (!separator.empty()) decimalSeparator_ = separator;
    freelocale(locale);
}

std::string UserLocale::ShortDate(Date moment) { return IsoDate(moment); }

std::string UserLocale::LongTime(Date moment) { return IsoTime(moment); }

}  // namespace iqrx::platform::posix
