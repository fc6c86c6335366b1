#include "platform/posix/machine.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <future>

#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/error.h"
#include "support/temporary_directory.h"

namespace iqrx::platform::posix {
namespace {

constexpr const char* kRegistry = "iQRXyInstHandler.InstanceHandle";

class Registry : public ::testing::Test {
protected:
    std::string Written() const {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    const testing::TemporaryDirectory directory;
    const std::filesystem::path file = directory.path / "instance";
};

std::int32_t NumberRaisedBy(ObjectFactory& factory, std::string_view progId) {
    try {
        factory.CreateObject(progId);
    } catch (const RuntimeError& error) {
        return error.number;
    }
    return 0;
}

TEST_F(Registry, WritesTheCallsOnItselfAndOnTheInstanceInOrder) {
    const auto factory = CreateInstanceRegistries(file);
    const ObjectRef registry = factory->CreateObject(kRegistry);
    Value number = Integer{2};
    const ObjectRef instance = ToObject(Call(*registry, "getInstance", ByRef{number}));
    registry->Set("CurrentInstanceNumber", Integer{2});
    Value statusKey = Long{77};
    const Date time = ParseIsoDate("2026-11-21 14:03:07").value();
    Call(*instance, "writeToMessageBox", std::string("a \"text\"\r\n"), time);
    Call(*instance, "UpdateSyncStatus", Integer{1}, time);
    Call(*instance, "WriteToAlertBox", std::string("alert"), time);
    Call(*instance, "UpdateStatusByTable", std::string("Service Types"), std::string("tsmdm030"), Integer{2},
         ByRef{statusKey});
    EXPECT_EQ(Written(),
              R"({"call":"getInstance","args":[2]}
{"set":"CurrentInstanceNumber","value":2}
{"call":"writeToMessageBox","args":["a \"text\"\r\n","14:03:07"]}
{"call":"UpdateSyncStatus","args":[1,"14:03:07"]}
{"call":"WriteToAlertBox","args":["alert","14:03:07"]}
{"call":"UpdateStatusByTable","args":["Service Types","tsmdm030",2,77]}
)");
    EXPECT_EQ(number, Value(Integer{2}));
    EXPECT_EQ(statusKey, Value(Long{77}));
}

TEST_F(Registry, AppendsToWhatTheFileHolds) {
    for (const Integer number : {Integer{1}, Integer{2}})
        CreateInstanceRegistries(file)->CreateObject(kRegistry)->Set("CurrentInstanceNumber", number);
    EXPECT_EQ(Written(),
              "{\"set\":\"CurrentInstanceNumber\",\"value\":1}\n"
              "{\"set\":\"CurrentInstanceNumber\",\"value\":2}\n");
}

TEST_F(Registry, DoesNotExistWithoutAFile) {
    const auto factory = CreateInstanceRegistries(std::nullopt);
    EXPECT_EQ(NumberRaisedBy(*factory, kRegistry), kCannotCreateObject);
}

TEST_F(Registry, IsTheOnlyClass) {
    const auto factory = CreateInstanceRegistries(file);
    EXPECT_EQ(NumberRaisedBy(*factory, "ADODB.Connection"), kCannotCreateObject);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(Registry, ThatCannotBeWrittenIsAnErrorThatNamesTheFile) {
    const auto factory = CreateInstanceRegistries(file / "below" / "nothing");
    try {
        factory->CreateObject(kRegistry);
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, kCannotCreateObject);
        EXPECT_NE(error.description.find(file.string()), std::string::npos) << error.description;
    }
}

TEST_F(Registry, AnswersNoMemberThatItDoesNotHave) {
    const auto factory = CreateInstanceRegistries(file);
    const ObjectRef registry = factory->CreateObject(kRegistry);
    Value number = Integer{1};
    const ObjectRef instance = ToObject(Call(*registry, "getInstance", ByRef{number}));
    EXPECT_THROW(Call(*registry, "writeToMessageBox", std::string("x")), RuntimeError);
    EXPECT_THROW(Call(*instance, "getInstance", Integer{1}), RuntimeError);
    EXPECT_THROW(instance->Set("CurrentInstanceNumber", Integer{1}), RuntimeError);
}

TEST_F(Registry, SpeaksToTheReaderOfAFifo) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    auto read = std::async(std::launch::async, [&] {
        std::ifstream stream(file);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    });
    {
        const auto factory = CreateInstanceRegistries(file);
        Value number = Integer{3};
        Call(*factory->CreateObject(kRegistry), "getInstance", ByRef{number});
        factory->CreateObject(kRegistry)->Set("CurrentInstanceNumber", Integer{3});
    }
    EXPECT_EQ(read.get(),
              "{\"call\":\"getInstance\",\"args\":[3]}\n{\"set\":\"CurrentInstanceNumber\",\"value\":3}\n");
}

void Interrupted(int) {}

// A timer that interrupts whatever call waits, again and again.
class Interruptions {
public:
    Interruptions() {
        struct sigaction action {};
        action.sa_handler = Interrupted;  // without SA_RESTART
        sigaction(SIGALRM, &action, &before_);
        constexpr suseconds_t kFiveMilliseconds = 5000;
        const itimerval often{{0, kFiveMilliseconds}, {0, kFiveMilliseconds}};
        setitimer(ITIMER_REAL, &often, nullptr);
    }
    ~Interruptions() {
        const itimerval never{};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &before_, nullptr);
    }
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;

private:
    struct sigaction before_ {};
};

TEST_F(Registry, IsNotDisturbedByASignalWhileItWaitsForItsReader) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    const std::string text(100'000, 'x');  // more than a FIFO holds
    const pid_t reader = fork();
    if (reader == 0) {
        usleep(100'000);
        std::ifstream stream(file);
        usleep(100'000);
        const std::string all{std::istreambuf_iterator<char>(stream), {}};
        _exit(all.find(text) != std::string::npos ? 0 : 1);
    }
    {
        const Interruptions interruptions;
        const auto factory = CreateInstanceRegistries(file);
        Value number = Integer{3};
        const Value instance = Call(*factory->CreateObject(kRegistry), "getInstance", ByRef{number});
        EXPECT_NO_THROW(Call(*ToObject(instance), "writeToMessageBox", text, Date{}));
    }
    int status = -1;
    waitpid(reader, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(Registry, RaisesWhenTheReaderOfAFifoHasLeft) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    auto reader = std::async(std::launch::async, [&] { std::ifstream stream(file); });
    const auto factory = CreateInstanceRegistries(file);
    const ObjectRef registry = factory->CreateObject(kRegistry);
    reader.get();
    EXPECT_THROW(registry->Set("CurrentInstanceNumber", Integer{3}), RuntimeError);
}

}  // namespace
}  // namespace iqrx::platform::posix
