// Values as SQL literals, the same way in every statement. Texts are borrowed: they must outlive the literals.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/literal.h"
#include "platform/machine.h"
#include "runtime/dialect.h"

namespace iqrx::runtime {

using platform::Literal;

class SqlLiterals {
public:
    SqlLiterals(platform::Machine& machine, const Dialect& dialect) : machine_(machine), dialect_(&dialect) {}

    const Dialect& Speaks() const { return *dialect_; }
    void Speak(const Dialect& dialect) { dialect_ = &dialect; }

    // N'...' with apostrophes doubled.
    Literal QuoteSqlString(std::string_view text) const {
        return Literal::Text(text.empty() ? dialect_->emptyText : text);
    }

    // The text of a date and time, which may be empty, as a date of the database.
    Literal WrapDateLiteral(std::string_view text) const;

    // The UTC literal of a local date, by the zone's standard offset only: summer time is not taken into
    // account, so that a moment has the same distance to UTC all year round. Nothing for Null, for a moment
    // of 1970-01-01 00:00:00 or before, and for a value that is not a date: callers write NULL.
    std::optional<Literal> UtcDateLiteral(const platform::Value& local) const;

    // The present local time.
    Literal CurrentTimeLiteral() const { return DateLiteral(machine_.clock.Now()); }

    // The number with "." as its separator, whatever the user's locale.
    Literal FormatDecimal(platform::Double number) const;
    // The number's text as the user's locale writes it.
    std::string LocaleText(platform::Double number) const;

private:
    Literal DateLiteral(platform::Date moment) const;

    platform::Machine& machine_;
    const Dialect* dialect_;
};

// A name between N' and ' as it stands, apostrophes and all.
Literal UnescapedName(std::string_view name);

// year-month-day hours:minutes:seconds, two digits each but the year.
std::string FormatIsoDateTime(platform::Date moment);

// `count` characters of code 127: the upper bound of a key range.
inline std::string MaxKeyString(int count) { return std::string(static_cast<std::size_t>(count), '\x7f'); }

// The empty text: marks of full copies and change-log rows carry no real time.
inline std::string GetSyncTimeText() { return {}; }

}  // namespace iqrx::runtime
