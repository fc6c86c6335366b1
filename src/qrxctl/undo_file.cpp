#include "qrxctl/undo_file.h"

#include <algorithm>
#include <array>

#include "platform/error.h"
#include "platform/printable.h"

namespace iqrx::qrxctl {

namespace {
constexpr std::size_t kBlock = 64 * 1024;
constexpr std::array kExtensions{".part", ".sql", ".undone"};
}  // namespace

template <class Act>
void UndoFile::Try(Act act) {
    try {
        act();
    } catch (...) {
        problem_ = "the removed rows are not kept: " + platform::CurrentError().description;
        file_.reset();
    }
}

UndoFile::~UndoFile() { Settle(false); }

void UndoFile::Begin(std::string_view table) {
    table_ = table;
    text_ = "-- " + table_ + ", run " + run_ + "\n";
    if (directory_.IsWritable())
        Try([&] {
            part_ = FreeName();
            file_ = directory_.Files().OpenForAppending(part_);
        });
}

// What the same run kept before it was stopped or killed stays.
std::filesystem::path UndoFile::FreeName() const {
    for (int number = 1;; ++number) {
        const std::string suffix = number == 1 ? "" : "." + std::to_string(number);
        std::filesystem::path file = directory_.Undo() / (run_ + "-" + table_ + suffix + kExtensions.front());
        const bool isFree = std::ranges::none_of(kExtensions, [&](const char* extension) {
            return std::filesystem::exists(file.replace_extension(extension));
        });
        if (isFree) return file.replace_extension(kExtensions.front());
    }
}

void UndoFile::Row(std::string_view statement) {
    if (!file_) return;
    text_.append(statement).append("\n");
    if (text_.size() >= kBlock) Flush();
}

void UndoFile::End() { Flush(); }

void UndoFile::Flush() {
    if (file_) Try([&] { file_->Append(text_); });
    text_.clear();
}

void UndoFile::Settle(bool removed) {
    const bool wasKept = file_ != nullptr;
    file_.reset();
    if (table_.empty()) return;
    std::error_code failure;
    std::filesystem::path kept = part_;
    if (removed && wasKept)
        std::filesystem::rename(part_, kept.replace_extension(".sql"), failure);
    else if (!part_.empty())
        std::filesystem::remove(part_, failure);
    if (failure) problem_ = platform::Shown(part_) + " cannot be renamed or removed: " + failure.message();
    part_.clear();
    table_.clear();
}

}  // namespace iqrx::qrxctl
