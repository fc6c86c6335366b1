// Values as SQL literals, the same way in every statement.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/machine.h"

namespace iqrx::runtime {

enum DatabasePlatform : platform::Integer { kSqlServer = 1, kOracle = 2 };

class SqlLiterals {
public:
    // Every platform but kOracle writes SQL Server's literals.
    SqlLiterals(platform::Machine& machine, platform::Integer platform)
        : machine_(machine), platform_(platform) {}

    platform::Integer Platform() const { return platform_; }
    void SetPlatform(platform::Integer platform) { platform_ = platform; }

    // N'...' with apostrophes doubled; on Oracle an empty text is one blank, since Oracle keeps an empty text
    // as NULL.
    std::string QuoteSqlString(std::string_view text) const;
    void AppendQuoted(std::string& sql, std::string_view text) const;  // the same, at the end of a statement

    // The text of a date and time, which may be empty, as a date of the database.
    std::string WrapDateLiteral(std::string_view text) const;

    // The UTC literal of a local date. Nothing for Null, for a moment of 1970-01-01 00:00:00 or before, and
    // for a value that is no date: callers write NULL.
    std::optional<std::string> UtcDateLiteral(const platform::Value& local) const;

    std::string CurrentTimeLiteral() const;  // the present local time

    // The number's text with "." as its separator, whatever the user's locale.
    std::string FormatDecimal(platform::Double number) const;
    // The number's text as the user's locale writes it.
    std::string LocaleText(platform::Double number) const;

private:
    platform::Machine& machine_;
    platform::Integer platform_;
};

// year-month-day hours:minutes:seconds, two digits each but the year.
std::string FormatIsoDateTime(platform::Date moment);

// `count` characters of code 127: the upper bound of a key range.
std::string MaxKeyString(int count);

// The empty text: marks of full copies and change-log rows carry no real time.
std::string GetSyncTimeText();

}  // namespace iqrx::runtime
