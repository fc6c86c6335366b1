#include "platform/posix/machine.h"

#include <cstdio>
#include <ctime>

#include "platform/date.h"
#include "platform/posix/locale.h"
#include "platform/posix/text_files.h"
#include "platform/posix/time_zone.h"
#include "platform/posix/xml_document.h"

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

// Nobody sits before a service's screen: the text goes to standard error, in one line.
class ErrorLine : public MessageBox {
public:
    void Show(const std::string& text) override {
        std::string line;
        for (const char c : text) {
            if (c == '\r') continue;
            line += c == '\n' ? ' ' : c;
        }
        std::fprintf(stderr, "%s\n", line.c_str());
    }
};

}  // namespace

struct PosixMachine::Parts {
    LocalClock clock;
    UserLocale locale;
    StandardTimeZone timeZone;
    ErrorLine messageBox;
    PugiDocumentFactory xml;
    PlainTextFiles files;
};

PosixMachine::PosixMachine() : parts_(std::make_unique<Parts>()) {}

PosixMachine::~PosixMachine() = default;

Machine PosixMachine::Ports() {
    return {.clock = parts_->clock,
            .locale = parts_->locale,
            .timeZone = parts_->timeZone,
            .messageBox = parts_->messageBox,
            .xml = parts_->xml,
            .files = parts_->files,
            .programFolder = ProgramFile().parent_path()};
}

std::filesystem::path ProgramFile() { return std::filesystem::read_symlink("/proc/self/exe"); }

}  // namespace iqrx::platform::posix
