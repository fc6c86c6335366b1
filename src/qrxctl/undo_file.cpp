#include "qrxctl/undo_file.h"

#include "platform/error.h"

namespace iqrx::qrxctl {

namespace {
constexpr std::size_t kBlock = 64 * 1024;
}

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
    if (directory_.IsWritable()) Try([&] { file_ = directory_.Files().OpenForAppending(Part()); });
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
    std::filesystem::path kept = Part();
    if (removed && wasKept)
        std::filesystem::rename(Part(), kept.replace_extension(".sql"), failure);
    else
        std::filesystem::remove(Part(), failure);
    table_.clear();
}

}  // namespace iqrx::qrxctl
