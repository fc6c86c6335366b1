// The user's locale, as the environment names it.
#pragma once

#include "platform/machine.h"

namespace iqrx::platform::posix {

// The decimal separator follows LC_ALL, LC_NUMERIC or LANG as they are when the object is made; a locale that
// the machine does not have reads as "C". Dates and times are ISO.
class UserLocale : public Locale {
public:
    UserLocale();
    std::string DecimalSeparator() override { return decimalSeparator_; }
    std::string ShortDate(Date moment) override;
    std::string LongTime(Date moment) override;

private:
    std::string decimalSeparator_;
};

}  // namespace iqrx::platform::posix
