#include "support/relay.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

namespace iqrx::testing {
namespace {

using std::chrono::milliseconds;

// One end of a connection.
class End {
public:
    explicit End(int socket) : socket_(socket) {}
    End(End&& other) noexcept : socket_(std::exchange(other.socket_, -1)) {}
    ~End() {
        if (socket_ >= 0) close(socket_);
    }

    void Say(const std::string& text) const { (void)!send(socket_, text.data(), text.size(), MSG_NOSIGNAL); }
    void SayNoMore() const { shutdown(socket_, SHUT_WR); }
    // So many characters, or those that came before the end.
    std::string Hear(std::size_t count) const {
        std::string heard(count, ' ');
        std::size_t size = 0;
        while (size < count) {
            const ssize_t more = recv(socket_, heard.data() + size, count - size, 0);
            if (more <= 0) break;
            size += static_cast<std::size_t>(more);
        }
        return heard.substr(0, size);
    }
    bool HearsTheEnd() const {
        char more = 0;
        return recv(socket_, &more, 1, 0) <= 0;
    }
    bool HearsNothingFor(milliseconds patience) const {
        const timeval limit{0, std::chrono::microseconds(patience).count()}, none{};
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        char more = 0;
        const bool nothing = recv(socket_, &more, 1, MSG_PEEK) < 0 && errno == EAGAIN;
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &none, sizeof none);
        return nothing;
    }

private:
    int socket_;
};

class ARelay : public ::testing::Test {
protected:
    ARelay() : listener_(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address = Loopback(0);
        socklen_t length = sizeof address;
        EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address), length), 0);
        EXPECT_EQ(listen(listener_, 8), 0);
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
        serverPort = ntohs(address.sin_port);
    }
    ~ARelay() override { StopServer(); }

    static sockaddr_in Loopback(int port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }
    static End Client(const Relay& relay) {
        const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
        const sockaddr_in address = Loopback(relay.Port());
        EXPECT_EQ(connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        return End(socket);
    }
    End Server() const { return End(accept(listener_, nullptr, nullptr)); }
    void StopServer() { close(std::exchange(listener_, -1)); }

    int serverPort = 0;

private:
    int listener_;
};

TEST_F(ARelay, BringsBothSidesWhatTheOtherSaysInItsOrder) {
    const Relay relay(serverPort);
    const End client = Client(relay), server = Server();
    std::string question;
    for (int i = 0; i < 1000; ++i) question += std::to_string(i) + ' ';
    client.Say(question);
    EXPECT_EQ(server.Hear(question.size()), question);
    server.Say("forty-two");
    EXPECT_EQ(client.Hear(9), "forty-two");
}

TEST_F(ARelay, TakesMoreThanTheReceiverReads) {
    const Relay relay(serverPort, milliseconds(1));
    const End client = Client(relay), server = Server();
    const std::string much(20'000'000, 'x');
    client.Say(much);
    client.SayNoMore();
    EXPECT_EQ(server.Hear(much.size() + 1).size(), much.size());
}

TEST_F(ARelay, TakesItsDelayEachWay) {
    const Relay relay(serverPort, milliseconds(30));
    const End client = Client(relay), server = Server();
    const auto begin = std::chrono::steady_clock::now();
    client.Say("?");
    EXPECT_EQ(server.Hear(1), "?");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(30));
    server.Say("!");
    EXPECT_EQ(client.Hear(1), "!");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(60));
}

TEST_F(ARelay, PassesAnEndOnAfterWhatWasSaidBefore) {
    const Relay relay(serverPort, milliseconds(5));
    const End client = Client(relay), server = Server();
    client.Say("good bye");
    client.SayNoMore();
    EXPECT_EQ(server.Hear(9), "good bye");
    server.Say("see you");
    EXPECT_EQ(client.Hear(7), "see you") << "this way is still open";
}

TEST_F(ARelay, HoldsEverythingWhileItIsStalled) {
    Relay relay(serverPort);
    const End client = Client(relay), server = Server();
    relay.Stall();
    client.Say("question");
    server.Say("answer");
    EXPECT_TRUE(server.HearsNothingFor(milliseconds(20)));
    EXPECT_TRUE(client.HearsNothingFor(milliseconds(20)));
    relay.Resume();
    EXPECT_EQ(server.Hear(8), "question");
    EXPECT_EQ(client.Hear(6), "answer");
}

TEST_F(ARelay, BringsTheLastWordsOfAServerThatIsGoneWhenTheClientSpeaks) {
    Relay relay(serverPort);
    const End client = Client(relay);
    {
        const End server = Server();
        client.Say("hello");
        EXPECT_EQ(server.Hear(5), "hello");
        relay.Stall();
        server.Say("good bye");
    }
    for (const char* unheard : {"are", "you", "there"}) {
        client.Say(unheard);
        EXPECT_TRUE(client.HearsNothingFor(milliseconds(20)));
    }
    relay.Resume();
    EXPECT_EQ(client.Hear(9), "good bye");
}

TEST_F(ARelay, CutsBothSidesAndLetsOthersThroughAfterwards) {
    Relay relay(serverPort);
    const End client = Client(relay), server = Server();
    client.Say("hello");
    EXPECT_EQ(server.Hear(5), "hello");
    relay.Stall();
    client.Say("lost");
    relay.Cut();
    relay.Resume();
    EXPECT_TRUE(client.HearsTheEnd());
    EXPECT_EQ(server.Hear(4), "");
    const End next = Client(relay), nextServer = Server();
    next.Say("hello");
    EXPECT_EQ(nextServer.Hear(5), "hello");
}

TEST_F(ARelay, EndsAClientThatNoServerIsThereFor) {
    const Relay relay(serverPort);
    StopServer();
    EXPECT_TRUE(Client(relay).HearsTheEnd());
}

}  // namespace
}  // namespace iqrx::testing
