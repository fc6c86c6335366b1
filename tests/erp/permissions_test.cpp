// Files that the service may not read.
#include <unistd.h>

#include "erp/extract_fixture.h"

namespace iqrx::erp::extract {
namespace {

// The superuser may read everything: for a while it becomes somebody who may not.
class WithoutPrivileges {
public:
    WithoutPrivileges() {
        constexpr uid_t kNobody = 65534;
        if (user_ == 0 && seteuid(kNobody) != 0)
            throw std::runtime_error("the test cannot give up its rights");
    }
    ~WithoutPrivileges() {
        if (user_ == 0 && seteuid(user_) != 0) std::abort();
    }

private:
    const uid_t user_ = geteuid();
};

class Permissions : public Extract {
protected:
    std::string Complaint() {
        const WithoutPrivileges now;
        return ErrorOf([&] {
            Call(*OpenExtract(directory)->CreateManager(kTypeCodes), "GetByKeyRange", std::string(),
                 Highest(3));
        });
    }
    void Deny(const std::filesystem::path& file) const {
        std::filesystem::permissions(file, std::filesystem::perms::none);
    }
    ~Permissions() override { std::filesystem::permissions(directory, std::filesystem::perms::owner_all); }
};

TEST_F(Permissions, ThatAFileLacksAreNamedAsTheCause) {
    Write("tsmdm030.csv", "cstp\nA\n");
    EXPECT_EQ(Complaint(), "(no error)");
    Deny(directory / "tsmdm030.csv");
    EXPECT_EQ(Complaint(), PathOf("tsmdm030.csv") + " cannot be read: Permission denied");
}

TEST_F(Permissions, ThatTheDirectoryLacksAreNamedAsTheCause) {
    Write("tsmdm030.csv", "cstp\nA\n");
    Deny(directory);
    EXPECT_EQ(Complaint(), PathOf("tsmdm030.csv") + " cannot be read: Permission denied");
}

TEST_F(Permissions, ThatADirectoryAboveLacksAreNamedAsTheCause) {
    std::filesystem::create_directory(directory / "below");
    Deny(directory);
    const WithoutPrivileges now;
    EXPECT_EQ(ErrorOf([&] { OpenExtract(directory / "below"); }),
              PathOf("below") + " cannot be read: Permission denied");
}

}  // namespace
}  // namespace iqrx::erp::extract
