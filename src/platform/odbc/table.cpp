#include "platform/odbc/table.h"

#include "platform/text.h"

namespace iqrx::platform::odbc {

std::string CatalogName(std::string_view written, NameCase nameCase) {
    if (written.ends_with('"') || written.ends_with(']')) {
        const auto open = written.rfind(written.back() == ']' ? '[' : '"', written.size() - 2);
        return std::string(written.substr(open + 1, written.size() - open - 2));
    }
    const std::string_view name = written.substr(written.rfind('.') + 1);
    return nameCase == NameCase::Upper   ? Upper(name)
           : nameCase == NameCase::Lower ? Lower(name)
                                         : std::string(name);
}

std::string LastPart(std::string_view written) { return Lower(CatalogName(written, NameCase::AsWritten)); }

}  // namespace iqrx::platform::odbc
