#include "platform/ini_file.h"

#include <gtest/gtest.h>

#include <fstream>

#include "support/temporary_directory.h"

namespace iqrx::platform {
namespace {

class IniFileTest : public ::testing::Test {
protected:
    IniFile Read(const std::string& text) {
        std::ofstream(file, std::ios::binary) << text;
        return IniFile(file);
    }
    const testing::TemporaryDirectory directory;
    const std::filesystem::path file = directory.path / "settings.ini";
};

TEST_F(IniFileTest, FindsAKeyOfItsSectionWhateverTheCase) {
    const IniFile ini = Read("[tsmdm030]\r\nManager = A.Manager \r\n[tsmdm100]\r\nManager=B.Manager\r\n");
    EXPECT_EQ(ini.Find("TSMDM030", "manager"), "A.Manager");
    EXPECT_EQ(ini.Find("tsmdm100", "Manager"), "B.Manager");
    EXPECT_EQ(ini.Find("tsmdm100", "Record"), std::nullopt);
    EXPECT_EQ(ini.Find("tsmdm105", "Manager"), std::nullopt);
}

TEST_F(IniFileTest, PassesOverCommentsBlankLinesAndAByteOrderMark) {
    const IniFile ini = Read("\xEF\xBB\xBF[a]\n; k=1\n# k=2\n\nno pair\nk=\n");
    EXPECT_EQ(ini.Find("a", "k"), "");
}

TEST_F(IniFileTest, AMissingFileIsEmpty) { EXPECT_EQ(IniFile(file).Find("a", "b"), std::nullopt); }

}  // namespace
}  // namespace iqrx::platform
