// A stretch of network between clients and a server of this machine, with a distance that a test chooses. It
// is as wide as anybody needs: what comes on one side goes out on the other after the delay, however much is
// under way.
#pragma once

#include <chrono>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace iqrx::testing {

class Relay {
public:
    using Delay = std::chrono::microseconds;  // each way

    // Takes clients on a port of 127.0.0.1 and connects each to the server's port there. Throws
    // std::runtime_error.
    explicit Relay(int serverPort, Delay delay = {});
    ~Relay();  // cuts
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    int Port() const { return port_; }

    // Nothing arrives any more, ends of connections included, until it is resumed; then all of it does.
    void Stall();
    void Resume();
    // Ends the connections that there are, and what is under way is lost. Later ones go through.
    void Cut();

private:
    class Connection;

    void Run();
    void Accept();
    void Wake() const;

    const int serverPort_;
    const Delay delay_;
    int port_ = 0, listener_ = -1, wake_ = -1;
    std::mutex mutex_;  // of the members below
    bool isStalled_ = false, isOver_ = false;
    std::list<std::unique_ptr<Connection>> connections_;
    std::thread thread_;
};

}  // namespace iqrx::testing
