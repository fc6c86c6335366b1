#include "erp/extract/keys_outside.h"

#include "platform/printable.h"

namespace iqrx::erp::extract {

void KeysOutside::Add(const Rows& row) {
    if (++count_ > 1) return;
    for (std::size_t field = 0; field < keyFields_; ++field)
        first_.append(field == 0 ? "" : ", ").append(row.Text(field));
}

void KeysOutside::Tell() const {
    if (count_ == 0 || !notice_) return;
    constexpr std::size_t kLongest = 100;
    const std::string first = "\"" + platform::Printable(first_, kLongest) + "\"";
    const std::string range = " outside the key range that the copy asks for, ";
    notice_(file_ + ": " +
            (count_ == 1 ? "1 record lies" + range + first + "; it is not copied"
                         : std::to_string(count_) + " records lie" + range + "the first is " + first +
                               "; they are not copied"));
}

}  // namespace iqrx::erp::extract
