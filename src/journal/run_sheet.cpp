#include "journal/run_sheet.h"

#include <algorithm>

#include "journal/files.h"
#include "journal/sheet_text.h"
#include "platform/error.h"

namespace iqrx::journal {

namespace {

// And no other file, which may lie beside the sheets: those that are about to become one have a dot.
bool IsTable(std::string_view name) {
    return !name.empty() && std::ranges::all_of(name, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    });
}

std::filesystem::path SheetFile(const StateDirectory& directory, const std::string& table) {
    if (!IsTable(table))
        throw platform::RuntimeError(platform::kInvalidProcedureCall, platform::kProgram,
                                     "no table has the name " + table);
    return directory.Sheets() / table;
}

SheetState Unread(const std::string& table, Holder holder) {
    SheetState state{.holder = holder, .sheet = {}};
    state.sheet.table = table;
    return state;
}

// Of a sheet that nobody holds. One that names no host was written here, or not to its end: a file system
// that is shared would show another host's in whole.
SheetState Free(SheetState state, const platform::Host& host) {
    const bool here = state.sheet.by.host.empty() || state.sheet.by.host == host.Self().host;
    if (here && state.sheet.waits) return Unread(state.sheet.table, Holder::Nobody);
    state.holder = here ? Holder::Dead : Holder::Elsewhere;
    return state;
}

// Nothing when there is no sheet.
std::optional<SheetState> Read(const std::string& table, const std::filesystem::path& file) {
    constexpr int kTries = 3;  // a sign is written in no time, once a second
    for (int attempt = 1;; ++attempt) {
        const auto text = ReadText(file);
        if (!text) return std::nullopt;
        SheetState state = ReadSheet(table, *text);
        if (!HasUnreadSign(state, *text) || attempt == kTries) return state;
    }
}

SheetState Look(const StateDirectory& directory, const std::string& table) {
    const auto file = SheetFile(directory, table);
    const bool held = directory.Host().IsHeld(file);
    auto state = Read(table, file);
    if (!state) return Unread(table, Holder::Nobody);
    return held ? *std::move(state) : Free(*std::move(state), directory.Host());
}

}  // namespace

RunSheet::RunSheet(std::unique_ptr<platform::HeldFile> file, SheetText sheet, std::string before)
    : file_(std::move(file)), sheet_(std::move(sheet)), text_(TextOf(sheet_)), before_(std::move(before)) {}

RunSheet::~RunSheet() {
    try {
        if (before_.empty())
            file_->Remove();
        else
            file_->Write(before_);
    } catch (...) {
        file_->Remove();  // the disk is full: no sheet is better than one that speaks of this process
    }
}

void RunSheet::Write() { file_->Write(text_); }

void RunSheet::Tell(const SignOfLife& sign) noexcept {
    const std::lock_guard lock(mutex_);
    try {
        file_->Write(text_ + TextOf(sign, text_));
    } catch (...) {
        // The disk is full: the last sign stays.
    }
}

void RunSheet::Say(bool waits) noexcept {
    const std::lock_guard lock(mutex_);
    before_.clear();
    try {
        sheet_.waits = waits;
        text_ = TextOf(sheet_);
        Write();
    } catch (...) {
        // The disk is full: what the sheet says stays.
    }
}

SheetState RunSheets::StateOf(const std::string& table) const {
    try {
        if (directory_.IsUsable()) return Look(directory_, table);
    } catch (...) {
        return Unread(table, Holder::Elsewhere);
    }
    return Unread(table, Holder::Nobody);
}

TakenSheet RunSheets::Take(const SheetText& text) {
    TakenSheet taken{nullptr, Unread(text.table, Holder::Nobody)};
    if (!directory_.IsWritable()) return taken;
    try {
        const auto file = SheetFile(directory_, text.table);
        auto held = directory_.Host().TryHold(file);
        if (!held) {
            taken.found = ReadSheet(text.table, ReadText(file).value_or(""));
            return taken;
        }
        std::string before = ReadText(file).value_or("");
        if (!held->IsNew()) taken.found = Free(ReadSheet(text.table, before), directory_.Host());
        // The end of one that was proved dead is the lock's end, too, whoever of the two is asked for.
        if (taken.found.holder == Holder::Nobody) before.clear();
        SheetText own = text;
        own.waits = taken.found.holder != Holder::Dead;
        taken.sheet = std::make_unique<RunSheet>(std::move(held), std::move(own), std::move(before));
        taken.sheet->Write();
    } catch (...) {
        // A sheet that could not be written is held all the same: it keeps others away.
        directory_.Note("the run sheet cannot be written: " + platform::CurrentError().description);
    }
    return taken;
}

}  // namespace iqrx::journal
