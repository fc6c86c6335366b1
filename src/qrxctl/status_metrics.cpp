#include <fmt/format.h>

#include <functional>

#include "qrxctl/status_output.h"

namespace iqrx::qrxctl {

namespace {

// A family of metrics: what it says of a table; nothing where there is nothing to say.
struct Family {
    std::string_view name, type, help;
    std::function<std::string(const TableStatus&, const journal::Timestamp&)> samples;
};

std::string Escaped(const std::string& label) {
    std::string text;
    for (const char c : label) {
        if (c == '\\' || c == '"') text += '\\';
        text += c == '\n' ? ' ' : c;
    }
    return text;
}

std::string Sample(std::string_view name, const TableStatus& status, std::int64_t value) {
    return fmt::format("{}{{table=\"{}\"}} {}\n", name, Escaped(status.table), value);
}

std::string Sample(std::string_view name, const TableStatus& status, std::optional<std::int64_t> value) {
    return value ? Sample(name, status, *value) : "";
}

std::string Runs(std::string_view name, const TableStatus& status) {
    std::string samples;
    for (const auto& [outcome, count] : status.runs)
        samples += fmt::format("{}{{table=\"{}\",outcome=\"{}\"}} {}\n", name, Escaped(status.table),
                               Escaped(outcome), count);
    return samples;
}

const Family kFamilies[] = {
    {"qrx_copy_age_seconds", "gauge", "Time since the last copy that went well began.",
     [](const TableStatus& status, const journal::Timestamp& now) {
         return Sample("qrx_copy_age_seconds", status, Age(status, now));
     }},
    {"qrx_rows", "gauge", "Rows in the table; of a large table as the last run left them.",
     [](const TableStatus& status, const journal::Timestamp&) {
         return status.problem.empty() && !status.isMore ? Sample("qrx_rows", status, status.rows)
                                                         : std::string();
     }},
    {"qrx_lock_age_seconds", "gauge", "Time since the table was locked; 0 while it is free.",
     [](const TableStatus& status, const journal::Timestamp& now) {
         return status.lock == Lock::Free ? Sample("qrx_lock_age_seconds", status, std::int64_t{0})
                                          : Sample("qrx_lock_age_seconds", status, SecondsHeld(status, now));
     }},
    {"qrx_lock_left", "gauge", "1 for a table that is locked by a process that is gone.",
     [](const TableStatus& status, const journal::Timestamp&) {
         return Sample("qrx_lock_left", status, std::int64_t{status.lock == Lock::Left});
     }},
    {"qrx_trail_gap_seconds", "gauge", "Length of what was not read of the trail.",
     [](const TableStatus& status, const journal::Timestamp&) {
         return Sample("qrx_trail_gap_seconds", status, GapSeconds(status));
     }},
    {"qrx_runs_total", "counter", "Runs in the history, by their outcome.",
     [](const TableStatus& status, const journal::Timestamp&) { return Runs("qrx_runs_total", status); }},
};

}  // namespace

std::string StatusMetrics(const Overview& overview) {
    std::string text;
    for (const Family& family : kFamilies) {
        text += fmt::format("# HELP {0} {2}\n# TYPE {0} {1}\n", family.name, family.type, family.help);
        for (const TableStatus& status : overview.tables) text += family.samples(status, overview.now);
    }
    return text;
}

}  // namespace iqrx::qrxctl
