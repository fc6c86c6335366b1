#include "support/relay.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace iqrx::testing {

namespace {

using Clock = std::chrono::steady_clock;
using Moment = Clock::time_point;

sockaddr_in Loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

void SendAtOnce(int socket) {
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

bool WouldBlock() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

// What flows from one socket to another.
class Way {
public:
    Way(int from, int to, Relay::Delay delay) : from_(from), to_(to), delay_(delay) {}

    int From() const { return from_; }
    int To() const { return to_; }
    bool Reads() const { return !sourceEnded_; }
    bool IsDone() const { return sourceEnded_ && parts_.empty() && endPassedOn_; }
    // When the next part is due; none when the receiver has to take what was due before.
    std::optional<Moment> Due() const {
        if (isFull_ || (parts_.empty() && (!sourceEnded_ || endPassedOn_))) return std::nullopt;
        return parts_.empty() ? endDue_ : parts_.front().due;
    }
    bool IsFull() const { return isFull_; }

    void Take() {
        std::array<char, 65536> buffer;
        const ssize_t count = recv(from_, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (count > 0) {
            parts_.push_back({Clock::now() + delay_, {buffer.data(), static_cast<std::size_t>(count)}});
        } else if (count == 0 || !WouldBlock()) {
            sourceEnded_ = true;
            endDue_ = Clock::now() + delay_;
        }
    }

    void Deliver() {
        const Moment now = Clock::now();
        isFull_ = false;
        while (!parts_.empty() && parts_.front().due <= now) {
            const std::string& bytes = parts_.front().bytes;
            const ssize_t count =
                send(to_, bytes.data() + sent_, bytes.size() - sent_, MSG_DONTWAIT | MSG_NOSIGNAL);
            if (count < 0) {
                isFull_ = WouldBlock();
                if (!isFull_) GiveUp();
                return;
            }
            sent_ += static_cast<std::size_t>(count);
            if (sent_ < bytes.size()) continue;
            parts_.pop_front();
            sent_ = 0;
        }
        if (parts_.empty() && sourceEnded_ && !endPassedOn_ && endDue_ <= now) {
            shutdown(to_, SHUT_WR);
            endPassedOn_ = true;
        }
    }

private:
    // The receiver is gone. What it said last is on the other way.
    void GiveUp() {
        parts_.clear();
        sourceEnded_ = endPassedOn_ = true;
    }

    struct Part {
        Moment due;
        std::string bytes;
    };

    const int from_, to_;
    const Relay::Delay delay_;
    std::deque<Part> parts_;
    std::size_t sent_ = 0;  // of the first part
    bool isFull_ = false, sourceEnded_ = false, endPassedOn_ = false;
    Moment endDue_;
};

}  // namespace

class Relay::Connection {
public:
    Connection(int client, int server, Delay delay)
        : client_(client), server_(server), there_(client, server, delay), back_(server, client, delay) {}
    ~Connection() {
        close(client_);
        close(server_);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool IsDone() const { return there_.IsDone() && back_.IsDone(); }

    void AddTo(std::vector<pollfd>& awaited, bool delivers) const {
        for (const Way* way : {&there_, &back_}) {
            if (way->Reads()) awaited.push_back({way->From(), POLLIN, 0});
            if (delivers && way->IsFull()) awaited.push_back({way->To(), POLLOUT, 0});
        }
    }
    std::optional<Moment> Due() const {
        const auto there = there_.Due(), back = back_.Due();
        if (!there || !back) return there ? there : back;
        return std::min(*there, *back);
    }

    void Work(bool delivers) {
        for (Way* way : {&there_, &back_}) {
            if (way->Reads()) way->Take();
            if (delivers) way->Deliver();
        }
    }

private:
    const int client_, server_;
    Way there_, back_;
};

Relay::Relay(int serverPort, Delay delay) : serverPort_(serverPort), delay_(delay) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = Loopback(0);
    socklen_t length = sizeof address;
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener_, 64) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no port on 127.0.0.1 can be had");
    port_ = ntohs(address.sin_port);
    wake_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    thread_ = std::thread([this] { Run(); });
}

Relay::~Relay() {
    {
        const std::lock_guard lock(mutex_);
        isOver_ = true;
    }
    Wake();
    thread_.join();
    connections_.clear();
    close(listener_);
    close(wake_);
}

void Relay::Wake() const {
    const std::uint64_t one = 1;
    (void)!write(wake_, &one, sizeof one);
}

void Relay::Stall() {
    const std::lock_guard lock(mutex_);
    isStalled_ = true;
}

void Relay::Resume() {
    {
        const std::lock_guard lock(mutex_);
        isStalled_ = false;
    }
    Wake();
}

void Relay::Cut() {
    {
        const std::lock_guard lock(mutex_);
        connections_.clear();
    }
    Wake();
}

// A server that is not there ends the client's connection.
void Relay::Accept() {
    const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) return;
    const int server = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Loopback(serverPort_);
    if (connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(server);
        close(client);
        return;
    }
    SendAtOnce(client);
    SendAtOnce(server);
    connections_.push_back(std::make_unique<Connection>(client, server, delay_));
}

void Relay::Run() {
    for (;;) {
        std::vector<pollfd> awaited{{wake_, POLLIN, 0}, {listener_, POLLIN, 0}};
        std::optional<Moment> next;
        {
            const std::lock_guard lock(mutex_);
            if (isOver_) return;
            for (const auto& connection : connections_) {
                connection->AddTo(awaited, !isStalled_);
                const auto due = isStalled_ ? std::nullopt : connection->Due();
                if (due && (!next || *due < *next)) next = due;
            }
        }
        timespec patience{};
        if (next) {
            const auto left = std::max(Clock::duration::zero(), *next - Clock::now());
            patience.tv_sec = std::chrono::duration_cast<std::chrono::seconds>(left).count();
            patience.tv_nsec = (left % std::chrono::seconds(1)).count();
        }
        if (ppoll(awaited.data(), awaited.size(), next ? &patience : nullptr, nullptr) < 0 && errno != EINTR)
            return;
        const std::lock_guard lock(mutex_);
        std::uint64_t woken = 0;
        (void)!read(wake_, &woken, sizeof woken);
        if (awaited[1].revents != 0) Accept();
        for (const auto& connection : connections_) connection->Work(!isStalled_);
        std::erase_if(connections_, [](const auto& connection) { return connection->IsDone(); });
    }
}

}  // namespace iqrx::testing
