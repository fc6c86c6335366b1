// A database file that is read without locks.
#pragma once

#include <filesystem>
#include <string>

namespace iqrx::platform::sqlite {

// Nobody has a database open that has no log of changes beside it. Its file can be read as it stands, without
// locks and without the files that they need: a reader must be allowed to make those, and may leave them
// behind as his own, so that the copy's user could not write any more.
class Unlocked {
public:
    static bool IsPossible(const std::filesystem::path& file);

    explicit Unlocked(const std::filesystem::path& file) : file_(file), before_(StateOf(file)) {}

    std::string Uri() const;  // what to open
    // Since this was made; then what was read may be half of the one and half of the other.
    bool HasChanged() const { return !IsPossible(file_) || StateOf(file_) != before_; }

private:
    struct State {
        std::uintmax_t size;
        std::filesystem::file_time_type lastWrite;
        bool operator==(const State&) const = default;
    };
    static State StateOf(const std::filesystem::path& file);

    const std::filesystem::path file_;
    const State before_;
};

}  // namespace iqrx::platform::sqlite
