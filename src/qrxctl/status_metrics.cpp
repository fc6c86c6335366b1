#include <fmt/format.h>

#include "qrxctl/status_output.h"

namespace iqrx::qrxctl {

namespace {

// A family of metrics: its value of a table; nothing where there is nothing to say.
struct Family {
    std::string_view name, help;
    std::optional<std::int64_t> (*value)(const TableStatus&, const journal::Timestamp&);
};

std::string Escaped(const std::string& label) {
    std::string text;
    for (const char c : label) {
        if (c == '\\' || c == '"') text += '\\';
        text += c == '\n' ? ' ' : c;
    }
    return text;
}

constexpr Family kFamilies[] = {
    {"qrx_copy_age_seconds", "Time since the last copy that went well began.", Age},
    {"qrx_rows", "Rows in the table; of a large table as the last run left them.",
     [](const TableStatus& status, const journal::Timestamp&) {
         return status.problem.empty() && !status.isMore ? status.rows : std::nullopt;
     }},
    {"qrx_lock_age_seconds", "Time since the table was locked; 0 while it is free.",
     [](const TableStatus& status, const journal::Timestamp& now) {
         return status.lock == Lock::Free ? std::optional<std::int64_t>(0) : SecondsHeld(status, now);
     }},
    {"qrx_lock_left", "1 for a table that is locked by a process that is gone.",
     [](const TableStatus& status, const journal::Timestamp&) {
         return std::optional<std::int64_t>(status.lock == Lock::Left);
     }},
    {"qrx_trail_gap_seconds", "Length of what was not read of the trail.",
     [](const TableStatus& status, const journal::Timestamp&) { return std::optional(GapSeconds(status)); }},
};

std::string Heading(std::string_view name, std::string_view type, std::string_view help) {
    return fmt::format("# HELP {0} {2}\n# TYPE {0} {1}\n", name, type, help);
}

}  // namespace

std::string StatusMetrics(const Overview& overview) {
    std::string text;
    for (const Family& family : kFamilies) {
        text += Heading(family.name, "gauge", family.help);
        for (const TableStatus& status : overview.tables)
            if (const auto value = family.value(status, overview.now))
                text += fmt::format("{}{{table=\"{}\"}} {}\n", family.name, Escaped(status.table), *value);
    }
    text += Heading("qrx_runs_total", "counter", "Runs in the history, by their outcome.");
    for (const TableStatus& status : overview.tables)
        for (const auto& [outcome, count] : status.runs)
            text += fmt::format("qrx_runs_total{{table=\"{}\",outcome=\"{}\"}} {}\n", Escaped(status.table),
                                Escaped(outcome), count);
    return text;
}

}  // namespace iqrx::qrxctl
