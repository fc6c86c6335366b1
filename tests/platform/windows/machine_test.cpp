#include "platform/windows/machine.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "platform/date.h"
#include "platform/error.h"
#include "platform/windows/com.h"
#include "support/apartment.h"
#include "support/temporary_directory.h"

namespace iqrx::platform::windows {
namespace {

class WindowsMachineTest : public ::testing::Test {
protected:
    ~WindowsMachineTest() override { std::filesystem::remove(file); }

    std::string Contents() const {
        std::ifstream stream(file, std::ios::binary);
        std::ostringstream text;
        text << stream.rdbuf();
        return text.str();
    }
    void Fill(const std::string& text) const { std::ofstream(file, std::ios::binary) << text; }

    Apartment apartment;
    const std::shared_ptr<const Machine> machine = CreateMachine(Audience::Nobody);
    const Machine& ports = *machine;
    const testing::TemporaryDirectory directory;
    const std::filesystem::path file = directory.path / "file.txt";
};

TEST_F(WindowsMachineTest, TellsThePresentInLocalTime) {
    SYSTEMTIME before;
    GetLocalTime(&before);
    const CivilTime now = ToCivil(ports.clock.Now());
    EXPECT_GE(now.year, before.wYear);
}

TEST_F(WindowsMachineTest, HasADecimalSeparatorAndTheUsersDateAndTimeFormats) {
    EXPECT_FALSE(ports.locale.DecimalSeparator().empty());
    const Date moment = FromCivil({2009, 5, 7, 14, 3, 7});
    const std::string date = ports.locale.ShortDate(moment);
    EXPECT_NE(date.find("09"), std::string::npos) << date;
    EXPECT_NE(ports.locale.LongTime(moment).find("03"), std::string::npos);
}

TEST_F(WindowsMachineTest, PathsAndDefaultsAreThoseOfTheSystem) {
    EXPECT_EQ(ports.pathSeparator, '\\');
    EXPECT_EQ(ports.blankDirectory, "");
    EXPECT_EQ(ports.defaultLogDirectory, "C:");
    EXPECT_TRUE(std::filesystem::exists(ports.programFolder / ProgramFile().filename()));
}

TEST_F(WindowsMachineTest, ReadsTheTextOfANode) {
    Fill("<I18NTEXT><SLBL0504>Gestartet: Z\xC3\xBCrich</SLBL0504></I18NTEXT>");
    const auto document = ports.makeXmlDocument();
    ASSERT_TRUE(document->Load(file));
    EXPECT_EQ(document->SelectSingleNodeText("I18NTEXT/SLBL0504"), "Gestartet: Z\xC3\xBCrich");
    EXPECT_EQ(document->SelectSingleNodeText("I18NTEXT/SLBL9999"), std::nullopt);
}

TEST_F(WindowsMachineTest, ADocumentThatIsMissingOrBrokenDoesNotLoad) {
    EXPECT_FALSE(ports.makeXmlDocument()->Load(file));
    Fill("<I18NTEXT>");
    EXPECT_FALSE(ports.makeXmlDocument()->Load(file));
}

TEST_F(WindowsMachineTest, WritesAndReadsLines) {
    {
        const auto stream = ports.files.CreateTextFile(file);
        stream->WriteLine("CAL1");
        stream->WriteLine("CAL2");
        stream->Close();
    }
    EXPECT_EQ(Contents(), "CAL1\r\nCAL2\r\n");

    const auto stream = ports.files.OpenTextFile(file);
    EXPECT_FALSE(stream->AtEndOfStream());
    EXPECT_EQ(stream->ReadLine(), "CAL1");
    EXPECT_EQ(stream->ReadLine(), "CAL2");
    EXPECT_TRUE(stream->AtEndOfStream());
}

TEST_F(WindowsMachineTest, CreatingAFileOverwritesIt) {
    Fill("old and longer text");
    ports.files.CreateTextFile(file)->WriteLine("new");
    EXPECT_EQ(Contents(), "new\r\n");
}

TEST_F(WindowsMachineTest, AMissingFileDoesNotOpen) {
    EXPECT_THROW(ports.files.OpenTextFile(file), RuntimeError);
}

TEST(MessageBoxes, NoBoxHoldsAServerUp) { CreateMachine(Audience::Nobody)->messageBox.Show("text"); }

}  // namespace
}  // namespace iqrx::platform::windows
