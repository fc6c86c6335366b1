#include "platform/input_file.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>
#include <system_error>

namespace iqrx::platform {
namespace {

class InputFiles : public ::testing::Test {
protected:
    InputFiles() {
        std::filesystem::remove_all(directory);
        std::filesystem::create_directories(directory);
        Write("0123456789");
    }
    ~InputFiles() override {
        std::error_code ignored;
        std::filesystem::remove_all(directory, ignored);
    }

    void Write(const std::string& text, std::ios::openmode mode = std::ios::trunc) const {
        std::ofstream(path, std::ios::binary | std::ios::out | mode) << text;
    }
    static std::string Read(InputFile& file, std::uint64_t offset, std::size_t size) {
        std::string text(size, '?');
        text.resize(file.Read(offset, text.data(), size));
        return text;
    }
    static std::error_code ErrorOf(const std::filesystem::path& opened) {
        try {
            OpenInputFile(opened);
        } catch (const std::system_error& error) {
            return error.code();
        }
        return {};
    }

    const std::filesystem::path directory =
        std::filesystem::temp_directory_path() /
        (std::string("iqrx-input-") + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    const std::filesystem::path path = directory / "file";
};

TEST_F(InputFiles, AreReadFromAnyPlace) {
    const auto file = OpenInputFile(path);
    EXPECT_EQ(Read(*file, 4, 3), "456");
    EXPECT_EQ(Read(*file, 0, 3), "012");
    EXPECT_EQ(Read(*file, 8, 100), "89");
    EXPECT_EQ(Read(*file, 10, 100), "");
    EXPECT_EQ(Read(*file, 1'000'000'000'000, 100), "");
}

TEST_F(InputFiles, KeepTheirStateUntilSomebodyWritesToThem) {
    const auto file = OpenInputFile(path);
    const FileState opened = file->State();
    Read(*file, 0, 100);
    EXPECT_EQ(file->State(), opened);
    EXPECT_EQ(opened.size, 10U);

    Write("more", std::ios::app);
    EXPECT_EQ(file->State().size, 14U);
    EXPECT_NE(file->State(), opened);

    Write("9876543210");
    std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + std::chrono::seconds(2));
    EXPECT_EQ(file->State().size, 10U);
    EXPECT_NE(file->State(), opened);
}

TEST_F(InputFiles, StayTheOnesThatWereOpened) {
    const auto file = OpenInputFile(path);
    const FileState opened = file->State();
    std::filesystem::rename(path, directory / "old");
    Write("another");
    EXPECT_EQ(Read(*file, 0, 100), "0123456789");
    EXPECT_EQ(file->State(), opened);
}

TEST_F(InputFiles, ThatCannotBeOpenedSayWhy) {
    EXPECT_EQ(ErrorOf(directory / "none"), std::errc::no_such_file_or_directory);
    EXPECT_EQ(ErrorOf(directory / "none" / "file"), std::errc::no_such_file_or_directory);
    EXPECT_EQ(ErrorOf(directory), std::errc::is_a_directory);
    EXPECT_EQ(ErrorOf(path), std::error_code());
}

}  // namespace
}  // namespace iqrx::platform
