#include "platform/kept_statement.h"

namespace iqrx::platform {

KeptStatement::KeptStatement(const Statement& statement)
    : shape_(statement.Form()),
      text_(shape_.pieces.empty() ? statement.Text() : statement.Table()),
      values_(statement.Values().begin(), statement.Values().end()) {
    std::size_t size = 0;
    for (const Literal& value : values_) size += value.TextValue().size();
    letters_.reserve(size);
    for (Literal& value : values_) {
        const std::string_view text = value.TextValue();
        const std::size_t begin = letters_.size();
        letters_.insert(letters_.end(), text.begin(), text.end());
        value = value.WithItsTextAt({letters_.data() + begin, text.size()});
    }
}

Statement KeptStatement::Borrowed() const {
    if (shape_.pieces.empty()) return Statement(text_);
    return Statement(shape_, text_, values_);
}

}  // namespace iqrx::platform
