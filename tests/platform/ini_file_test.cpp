#include "platform/ini_file.h"

#include <gtest/gtest.h>

#include <fstream>

namespace iqrx::platform {
namespace {

class IniFileTest : public ::testing::Test {
protected:
    ~IniFileTest() override { std::filesystem::remove(file); }
    IniFile Read(const std::string& text) {
        std::ofstream(file, std::ios::binary) << text;
        return IniFile(file);
    }
    std::filesystem::path file = std::filesystem::temp_directory_path() / "iqrx_ini_file_test.ini";
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

TEST_F(IniFileTest, AMissingFileIsEmpty) {
    EXPECT_EQ(IniFile(std::filesystem::temp_directory_path() / "no_such.ini").Find("a", "b"), std::nullopt);
}

}  // namespace
}  // namespace iqrx::platform
