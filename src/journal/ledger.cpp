#include "journal/ledger.h"

#include <algorithm>
#include <system_error>

#include "journal/files.h"
#include "journal/ledger_text.h"
#include "platform/date.h"
#include "platform/error.h"
#include "platform/text.h"

namespace iqrx::journal {

namespace {

struct LedgerRead {
    LedgerTables tables;
    bool isDamaged = false;
};

LedgerRead Read(const std::filesystem::path& file) {
    const auto text = ReadText(file);
    if (!text) return {};
    try {
        auto tables = ReadLedger(*text);
        if (!tables) return {{}, true};
        return {std::move(*tables)};
    } catch (const platform::RuntimeError& error) {
        throw platform::RuntimeError(error.number, error.source,
                                     platform::Utf8(file) + ": " + error.description);
    }
}

// How far the clock was set back since the last request was noted; nothing when only the clock tells, since
// the machine was started anew.
std::optional<std::chrono::seconds> SetBackBy(const TableLedger& table, const Begin& begin,
                                              const std::string& boot) {
    constexpr std::chrono::hours kPlausible{366 * 24};
    const auto elapsed = begin.uptime - table.noted.uptime;
    if (boot.empty() || boot != table.boot || elapsed.count() < 0 || elapsed > kPlausible)
        return std::nullopt;
    const auto expected = table.noted.local.secondsSince1970 + elapsed.count();
    return std::chrono::seconds(std::max<std::int64_t>(0, expected - begin.local.secondsSince1970));
}

platform::Date Back(platform::Date moment, std::chrono::seconds by) {
    return {moment.secondsSince1970 - by.count()};
}

// Up to which moment of today's clock everything was read. What changed since the last request is stamped
// later than what was read then, or, once the clock was set back, later than that request by the new clock.
// When nobody knows by how much, a day is read again: rather told twice than lost.
platform::Date ReadToOf(const TableLedger& table, const Begin& begin, const std::string& boot) {
    const auto setBack = SetBackBy(table, begin, boot);
    platform::Date readTo = table.readTo;
    if (setBack)
        readTo = std::min(readTo, Back(table.noted.local, *setBack));
    else if (begin.local < table.noted.local)
        readTo = std::min(readTo, Back(begin.local, std::chrono::hours(24)));
    return std::min(readTo, begin.local);
}

// The gaps in order, touching ones joined, without what was read.
std::vector<Stretch> Without(std::vector<Stretch> gaps, const Stretch& read) {
    std::ranges::sort(gaps, {}, &Stretch::from);
    std::vector<Stretch> left;
    const auto add = [&left](platform::Date from, platform::Date to) {
        if (from >= to) return;
        if (left.empty() || left.back().to < from)
            left.push_back({from, to});
        else
            left.back().to = std::max(left.back().to, to);
    };
    for (const auto& [from, to] : gaps) {
        add(from, std::min(to, read.from));
        add(std::max(from, read.to), to);
    }
    return left;
}

}  // namespace

std::map<std::string, TableLedger> Ledger::All() const {
    if (!directory_.IsUsable()) return {};
    try {
        LedgerRead read = Read(directory_.LedgerFile());
        if (read.isDamaged)
            directory_.Note(platform::Utf8(directory_.LedgerFile()) + ": damaged; it counts as empty");
        return std::move(read.tables);
    } catch (...) {
        directory_.Note("the ledger cannot be read: " + platform::CurrentError().description);
        return {};
    }
}

std::optional<TableLedger> Ledger::Of(const std::string& table) const {
    auto tables = All();
    const auto found = tables.find(table);
    if (found == tables.end()) return std::nullopt;
    return std::move(found->second);
}

Begin Ledger::BeginAt(platform::Date now) const { return {now, directory_.Host().Uptime()}; }

std::optional<platform::Date> Ledger::NextFrom(const std::string& table, const Begin& begin) const {
    const auto noted = Of(table);
    if (!noted) return std::nullopt;
    return ReadToOf(*noted, begin, directory_.Host().Boot());
}

void Ledger::ReadInFull(const std::string& table, platform::Date readTo, const Begin& begin) {
    Note(table, [&](const TableLedger*) {
        return TableLedger{std::min(readTo, begin.local), {}, begin, {}};
    });
}

void Ledger::ReadTrail(const std::string& table, const Stretch& read, const Begin& begin) {
    Note(table, [&](const TableLedger* before) {
        TableLedger after{read.from, {}, begin, {}};
        if (before != nullptr) {
            after.readTo = ReadToOf(*before, begin, directory_.Host().Boot());
            after.gaps = before->gaps;
        }
        const Stretch window{read.from, std::min(read.to, begin.local)};
        if (window.from >= window.to) return after;  // the export is older than what was asked for
        if (after.readTo < window.from) after.gaps.push_back({after.readTo, window.from});
        after.gaps = Without(std::move(after.gaps), window);
        after.readTo = std::max(after.readTo, window.to);
        return after;
    });
}

void Ledger::Note(const std::string& table, const Change& change) {
    directory_.Write([&] {
        const auto file = directory_.LedgerFile();
        LedgerRead read = Read(file);
        if (read.isDamaged) {
            auto aside = file;
            std::filesystem::rename(file, aside += ".damaged");
            directory_.Note(platform::Utf8(file) + ": damaged; kept as ledger.json.damaged");
        }
        const auto found = read.tables.find(table);
        TableLedger noted = change(found == read.tables.end() ? nullptr : &found->second);
        noted.boot = directory_.Host().Boot();
        read.tables.insert_or_assign(table, std::move(noted));
        directory_.Host().Replace(file, TextOf(read.tables));
    });
}

}  // namespace iqrx::journal
