#include "journal/machine.h"

namespace iqrx::testing {

namespace {

class FileOnFullDisk final : public platform::HeldFile {
public:
    FileOnFullDisk(std::unique_ptr<platform::HeldFile> real, const FakeHost& host, std::filesystem::path name)
        : real_(std::move(real)), host_(host), name_(std::move(name)) {}
    bool IsNew() const override { return real_->IsNew(); }
    void Write(std::string_view text) override {
        host_.RaiseWhenFull(name_);
        real_->Write(text);
    }
    void Remove() noexcept override { real_->Remove(); }

private:
    const std::unique_ptr<platform::HeldFile> real_;
    const FakeHost& host_;
    const std::filesystem::path name_;
};

}  // namespace

// A full disk has room for names.
std::unique_ptr<platform::HeldFile> FakeHost::TryHold(const std::filesystem::path& file) {
    auto held = real_.TryHold(file);
    if (!held) return nullptr;
    return std::make_unique<FileOnFullDisk>(std::move(held), *this, file);
}

}  // namespace iqrx::testing
