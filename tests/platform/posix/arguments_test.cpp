#include "platform/posix/machine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace iqrx::platform::posix {
namespace {

using ::testing::ElementsAre;

// As the system hands them to a program, and as it lists them: their own bytes.
class Arguments : public ::testing::Test {
protected:
    std::vector<std::string> Take() {
        std::vector<char*> places;
        for (std::string& word : listed) places.push_back(word.data());
        return TakeArguments(static_cast<int>(places.size()), places.data());
    }

    std::vector<std::string> listed;
};

TEST_F(Arguments, AreTakenAsGivenAndListedWithoutPasswords) {
    const std::string connection = "Driver=x;Uid=sa;Pwd=s3cret;Database=erp";
    listed = {"qrxctl", "--connection", connection, "status"};
    EXPECT_THAT(Take(), ElementsAre("qrxctl", "--connection", connection, "status"));
    EXPECT_THAT(listed,
                ElementsAre("qrxctl", "--connection", "Driver=x;Uid=sa;Pwd=***;Database=erp   ", "status"));
}

TEST_F(Arguments, WithAPasswordShorterThanItsMaskKeepTheirLength) {
    listed = {"service", "Driver=x;Pwd=a;Database=erp", "Pwd=b"};
    Take();
    EXPECT_THAT(listed, ElementsAre("service", "Driver=x;Pwd=***;Database=e", "Pwd=*"));
}

TEST_F(Arguments, HideThePasswordOfARequestsFirstArgument) {
    listed = {"service", "Provider=PostgreSQL;Password=s3cret{}{}2{}1{}/log"};
    Take();
    EXPECT_THAT(listed, ElementsAre("service", "Provider=PostgreSQL;Password=***{}{}2{}1{}/log   "));
}

}  // namespace
}  // namespace iqrx::platform::posix
