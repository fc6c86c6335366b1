// A directory that no other test or program has, and that goes with the test.
#pragma once

#include <filesystem>
#include <random>
#include <string>
#include <system_error>

namespace iqrx::testing {

class TemporaryDirectory {
public:
    TemporaryDirectory() : path(Fresh()) {}
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path path;

private:
    static std::filesystem::path Fresh() {
        std::random_device random;
        for (;;) {
            const auto path = std::filesystem::temp_directory_path() /
                              ("iqrx-test-" + std::to_string(random()) + "-" + std::to_string(random()));
            if (std::filesystem::create_directory(path)) return path;
        }
    }
};

}  // namespace iqrx::testing
