// The values of a statement as the server reads them: texts, whose types it takes from the columns.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/literal.h"
#include "platform/postgres/handles.h"
#include "platform/value.h"

namespace iqrx::platform::postgres {

class Parameters {
public:
    void Clear();

    // The empty text is the zero of a number or of a date, as on the servers that the texts are meant for.
    // Raises when the text holds a NUL, which ends a text for the server.
    void Add(const Literal& literal, Oid type, bool isNegative = false);
    void Add(const Value& value, Oid type);

    std::optional<std::string_view> At(std::size_t place) const;  // nothing: null
    int Count() const { return static_cast<int>(places_.size()); }
    const char* const* Texts() const;  // valid until the next call of another member

private:
    void AddNull() { places_.push_back(kNull); }
    void AddText(std::string_view text, Oid type);

    static constexpr std::size_t kNull = std::string::npos;
    std::string texts_;  // each with its end
    std::vector<std::size_t> places_;
    mutable std::vector<const char*> pointers_;
};

}  // namespace iqrx::platform::postgres
