#include "platform/posix/machine.h"

#include <fcntl.h>
#include <langinfo.h>
#include <locale.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "platform/connection_string.h"
#include "platform/date.h"
#include "platform/printable.h"

namespace iqrx::platform::posix {

namespace {

class LocalClock : public Clock {
public:
    Date Now() override {
        const std::time_t now = std::time(nullptr);
        std::tm local{};
        localtime_r(&now, &local);
        return FromCivil({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                          local.tm_sec});
    }
};

// The decimal separator follows LC_ALL, LC_NUMERIC or LANG; a locale that the machine does not have reads as
// "C". Dates and times are ISO.
class UserLocale : public Locale {
public:
    UserLocale() {
        // A locale object of its own: setlocale would change how the whole process writes numbers.
        const locale_t locale = newlocale(LC_NUMERIC_MASK | LC_CTYPE_MASK, "", static_cast<locale_t>(nullptr));
        if (locale == static_cast<locale_t>(nullptr)) return;
        const std::string separator = nl_langinfo_l(RADIXCHAR, locale);
        if (!separator.empty()) decimalSeparator_ = separator;
        freelocale(locale);
    }
    std::string DecimalSeparator() override { return decimalSeparator_; }
    std::string ShortDate(Date moment) override { return IsoDate(moment); }
    std::string LongTime(Date moment) override { return IsoTime(moment); }

private:
    std::string decimalSeparator_ = ".";
};

// Seconds east of Greenwich in standard time: the offset of the first week from now on that has no summer
// time. Some zones keep their summer time as the standard one and call the winter a time set back; theirs is
// the winter's offset, as everywhere else.
long StandardOffset() {
    constexpr std::time_t kWeek = 7 * kSecondsPerDay;
    const std::time_t now = std::time(nullptr);
    std::optional<long> standard, setBack;
    for (int week = 0; week < 53; ++week) {
        const std::time_t moment = now + week * kWeek;
        std::tm local{};
        localtime_r(&moment, &local);
        if (local.tm_isdst > 0)
            setBack = std::min(setBack.value_or(local.tm_gmtoff), local.tm_gmtoff);
        else if (!standard)
            standard = local.tm_gmtoff;
    }
    if (!standard) return setBack.value_or(0);
    return std::min(*standard, setBack.value_or(*standard));
}

class StandardTimeZone : public TimeZone {
public:
    StandardTimeZone() {
        tzset();
        biasMinutes_ = static_cast<int>(-StandardOffset() / 60);
    }
    int BiasMinutes() override { return biasMinutes_; }

private:
    int biasMinutes_;
};

// Nobody sits before a service's screen: the text goes to standard error, in one line.
class ErrorLine : public MessageDisplay {
public:
    void Show(const std::string& text) override { std::fprintf(stderr, "%s\n", OneLine(text).c_str()); }
};

struct Parts {
    LocalClock clock;
    UserLocale locale;
    StandardTimeZone timeZone;
    ErrorLine messageBox;
    const std::unique_ptr<TextFiles> files = CreateTextFiles();
    const Machine ports{.clock = clock,
                        .locale = locale,
                        .timeZone = timeZone,
                        .messageBox = messageBox,
                        .makeXmlDocument = CreateXmlDocument,
                        .files = *files,
                        .programFolder = ProgramFile().parent_path()};
};

}  // namespace

std::shared_ptr<const Machine> CreateMachine() {
    const auto parts = std::make_shared<Parts>();
    return {parts, &parts->ports};
}

std::filesystem::path ProgramFile() { return std::filesystem::read_symlink("/proc/self/exe"); }

std::vector<std::string> TakeArguments(int argc, char** argv) {
    std::vector<std::string> words(argv, argv + argc);
    for (std::size_t i = 0; i < words.size(); ++i) {
        std::string shown = Masked(words[i]);
        if (shown == words[i]) continue;
        // The list shows the word's own bytes, of which there are no more and no fewer: what is left over is blank.
        shown.resize(words[i].size(), ' ');
        std::ranges::copy(shown, argv[i]);
    }
    return words;
}

// For reading, so that who prints where nobody can read is told.
void FillStandardStreams() {
    int opened = open("/dev/null", O_RDONLY);
    while (opened >= 0 && opened <= STDERR_FILENO) opened = open("/dev/null", O_RDONLY);
    if (opened > STDERR_FILENO) close(opened);
}

}  // namespace iqrx::platform::posix
