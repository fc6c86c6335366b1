#include "platform/posix/machine.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fstream>

#include "platform/error.h"
#include "support/temporary_directory.h"

namespace iqrx::platform::posix {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

class TextFilesOfPosix : public ::testing::Test {
protected:
    static std::string Contents(const std::filesystem::path& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    const testing::TemporaryDirectory owned;
    const std::filesystem::path directory = owned.path;
    const std::unique_ptr<TextFiles> created = CreateTextFiles();
    TextFiles& files = *created;
};

TEST_F(TextFilesOfPosix, AppendToWhatIsThere) {
    files.OpenForAppending(directory / "log")->Append("one\n");
    files.OpenForAppending(directory / "log")->Append("two\n");
    EXPECT_EQ(Contents(directory / "log"), "one\ntwo\n");
}

TEST_F(TextFilesOfPosix, MakeFilesThatOthersCannotRead) {
    const mode_t before = umask(0);
    files.OpenForAppending(directory / "log");
    files.CreateTextFile(directory / "codes");
    umask(before);
    for (const char* name : {"log", "codes"}) {
        struct stat status {};
        ASSERT_EQ(stat((directory / name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0640U) << name;
    }
}

TEST_F(TextFilesOfPosix, LeaveTheTargetOfALinkAlone) {
    std::ofstream(directory / "target") << "precious";
    std::filesystem::create_symlink(directory / "target", directory / "link");

    const std::string why = (directory / "link").string() + ": it is a link";
    EXPECT_THAT([&] { files.CreateTextFile(directory / "link"); }, ThrowsMessage<RuntimeError>(HasSubstr(why)));
    EXPECT_THAT([&] { files.OpenForAppending(directory / "link"); },
                ThrowsMessage<RuntimeError>(HasSubstr(why)));
    EXPECT_THAT([&] { files.OpenTextFile(directory / "link"); }, ThrowsMessage<RuntimeError>(HasSubstr(why)));
    EXPECT_EQ(Contents(directory / "target"), "precious");
}

TEST_F(TextFilesOfPosix, DoNotWaitForTheOtherEndOfAPipe) {
    ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);

    const auto isNoRegularFile = ThrowsMessage<RuntimeError>(HasSubstr("it is not a regular file"));
    EXPECT_THAT([&] { files.CreateTextFile(directory / "pipe"); }, isNoRegularFile);
    EXPECT_THAT([&] { files.OpenForAppending(directory / "pipe"); }, isNoRegularFile);
    EXPECT_THAT([&] { files.OpenTextFile(directory / "pipe"); }, isNoRegularFile);
}

TEST_F(TextFilesOfPosix, RefuseADirectoryInAFilesPlace) {
    EXPECT_THAT([&] { files.OpenForAppending(directory); },
                ThrowsMessage<RuntimeError>(HasSubstr("Is a directory")));
    EXPECT_THAT([&] { files.OpenTextFile(directory); },
                ThrowsMessage<RuntimeError>(HasSubstr("it is not a regular file")));
}

TEST_F(TextFilesOfPosix, ReadLinesLongerThanWhatIsReadAtOnce) {
    const std::string longLine(10'000, 'x');
    std::ofstream(directory / "codes", std::ios::binary) << longLine << "\r\n" << longLine << "y\n";
    const auto stream = files.OpenTextFile(directory / "codes");
    EXPECT_EQ(stream->ReadLine(), longLine);
    EXPECT_EQ(stream->ReadLine(), longLine + "y");
    EXPECT_TRUE(stream->AtEndOfStream());
}

}  // namespace
}  // namespace iqrx::platform::posix
