#include "support/tds_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

#include "platform/text.h"

namespace iqrx::testing {

namespace {

constexpr int kBatch = 1, kCall = 3, kReply = 4, kCancel = 6, kTransaction = 14, kLogin = 16, kPrelogin = 18;
constexpr std::uint16_t kMore = 1, kFailed = 2, kCounted = 0x10, kCancelled = 0x20;
constexpr std::size_t kHeader = 8, kPacket = 4096;

std::string Little(std::uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> 8 * i);
    return text;
}
std::uint32_t ReadLittle(const std::string& text, std::size_t place, int bytes) {
    std::uint32_t value = 0;
    for (int i = bytes - 1; i >= 0; --i) value = value << 8 | static_cast<std::uint8_t>(text.at(place + i));
    return value;
}

std::string Wide(const std::string& text) {
    std::string bytes;
    for (char16_t unit : platform::ToUtf16(text)) bytes += Little(unit, 2);
    return bytes;
}
std::string ReadWide(const std::string& bytes, std::size_t place, std::size_t units) {
    std::u16string text;
    for (std::size_t i = 0; i < units; ++i)
        text += static_cast<char16_t>(ReadLittle(bytes, place + 2 * i, 2));
    return platform::ToUtf8(text);
}
// A text with its length in UTF-16 units before it.
std::string Counted(const std::string& text, int lengthBytes) {
    const std::string wide = Wide(text);
    return Little(wide.size() / 2, lengthBytes) + wide;
}

std::string Token(int token, const std::string& body) {
    return static_cast<char>(token) + Little(body.size(), 2) + body;
}
std::string DatabaseChange(const std::string& name) { return Token(0xE3, '\1' + Counted(name, 1) + '\0'); }

bool ReadAll(int socket, char* bytes, std::size_t count) {
    while (count > 0) {
        const auto got = recv(socket, bytes, count, 0);
        if (got <= 0) return false;
        bytes += got;
        count -= static_cast<std::size_t>(got);
    }
    return true;
}

// A message: its packets' contents joined. The kind is 0 when the client is gone.
int ReadMessage(int socket, std::string& message) {
    message.clear();
    for (;;) {
        std::string header(kHeader, '\0');
        if (!ReadAll(socket, header.data(), kHeader)) return 0;
        const std::size_t length =
            static_cast<std::uint8_t>(header[2]) << 8 | static_cast<std::uint8_t>(header[3]);
        std::string body(length - kHeader, '\0');
        if (!ReadAll(socket, body.data(), body.size())) return 0;
        message += body;
        if (header[1] & 1) return header[0];
    }
}

void SendMessage(int socket, const std::string& message) {
    for (std::size_t sent = 0; sent < message.size() || sent == 0;) {
        const std::string body = message.substr(sent, kPacket - kHeader);
        sent += body.size();
        const std::size_t length = body.size() + kHeader;
        std::string packet{kReply,
                           static_cast<char>(sent >= message.size()),
                           static_cast<char>(length >> 8),
                           static_cast<char>(length & 0xFF),
                           0,
                           51,
                           1,
                           0};
        packet += body;
        if (send(socket, packet.data(), packet.size(), MSG_NOSIGNAL) < 0) return;
        if (body.empty()) return;
    }
}

// A packet after which others should come.
void SendBeginning(int socket, const std::string& message) {
    const std::size_t length = message.size() + kHeader;
    const std::string packet{
        kReply, 0, static_cast<char>(length >> 8), static_cast<char>(length & 0xFF), 0, 51, 1, 0};
    send(socket, (packet + message).data(), length, MSG_NOSIGNAL);
}

}  // namespace

TdsReply& TdsReply::Done(std::uint16_t status, std::uint16_t command, std::uint64_t rows) {
    lastDone_ = bytes_.size();
    bytes_ += '\xFD' + Little(status | kMore, 2) + Little(command, 2) + Little(rows, 8);
    return *this;
}
TdsReply& TdsReply::Count(std::uint64_t rows, std::uint16_t command) { return Done(kCounted, command, rows); }
TdsReply& TdsReply::NoCount() { return Done(0, 0, 0); }
TdsReply& TdsReply::Cancelled() { return Done(kCancelled, 0, 0); }
TdsReply& TdsReply::Error(std::uint32_t number, const std::string& text) {
    bytes_ += Token(0xAA, Little(number, 4) + '\1' + '\x10' + Counted(text, 2) + Counted("loopback", 1) +
                              Counted("", 1) + Little(1, 4));
    return Done(kFailed, 0, 0);
}
TdsReply& TdsReply::Database(const std::string& name) {
    bytes_ += DatabaseChange(name);
    return *this;
}
TdsReply& TdsReply::Rows(const std::string& number, const std::string& text,
                         const std::vector<std::pair<std::int32_t, const char*>>& rows) {
    const std::string collation("\x09\x04\xD0\x00\x34", 5);
    bytes_ += '\x81' + Little(2, 2);
    bytes_ += Little(0, 4) + Little(0, 2) + '\x26' + '\4' + Counted(number, 1);
    bytes_ += Little(0, 4) + Little(1, 2) + '\xE7' + Little(80, 2) + collation + Counted(text, 1);
    for (const auto& [whole, name] : rows) {
        bytes_ += '\xD1';
        bytes_ += '\4' + Little(static_cast<std::uint32_t>(whole), 4);
        bytes_ += name ? Little(Wide(name).size(), 2) + Wide(name) : Little(0xFFFF, 2);
    }
    return Done(kCounted, kSelect, rows.size());
}
std::string TdsReply::Bytes() const {
    std::string bytes = bytes_;
    bytes[lastDone_ + 1] = static_cast<char>(bytes[lastDone_ + 1] & ~kMore);
    return bytes;
}

TdsServer::TdsServer() : listener_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener_, 4) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no port on 127.0.0.1 can be had");
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { Serve(); });
}

TdsServer::~TdsServer() {
    Stop();
    thread_.join();
}

void TdsServer::WhenSent(const std::string& text, const TdsReply& reply) {
    const std::lock_guard lock(mutex_);
    replies_[text] = reply.Bytes();
}

void TdsServer::WhenSentBeginning(const std::string& beginning, const TdsReply& reply) {
    const std::lock_guard lock(mutex_);
    beginnings_[beginning] = reply.Bytes();
}

void TdsServer::WhenSentAnything(Ask ask) {
    const std::lock_guard lock(mutex_);
    ask_ = std::move(ask);
}

void TdsServer::BreakOff(const std::string& text, const TdsReply& reply) {
    const std::lock_guard lock(mutex_);
    replies_[text] = reply.Beginning();
    breaks_.insert(text);
}

void TdsServer::Stop() {
    const std::lock_guard lock(mutex_);
    if (listener_ < 0) return;
    shutdown(listener_, SHUT_RDWR);
    close(listener_);
    listener_ = -1;
    if (client_ >= 0) shutdown(client_, SHUT_RDWR);
}

std::vector<std::string> TdsServer::Texts() const {
    const std::lock_guard lock(mutex_);
    return texts_;
}
std::string TdsServer::User() const {
    const std::lock_guard lock(mutex_);
    return user_;
}
std::string TdsServer::LoginDatabase() const {
    const std::lock_guard lock(mutex_);
    return database_;
}

// One client after the other.
void TdsServer::Serve() {
    const int listener = listener_;
    for (int client; (client = accept(listener, nullptr, nullptr)) >= 0;) {
        {
            const std::lock_guard lock(mutex_);
            client_ = client;
            if (listener_ < 0) shutdown(client, SHUT_RDWR);
        }
        Converse(client);
        const std::lock_guard lock(mutex_);
        client_ = -1;
        close(client);
    }
}

void TdsServer::Converse(int client) {
    std::string message;
    while (const int kind = ReadMessage(client, message)) {
        const std::string answer = Answer(kind, message);
        if (breaksOff_) return SendBeginning(client, answer);
        SendMessage(client, answer);
    }
}

std::string TdsServer::Answer(int kind, const std::string& message) {
    if (kind == kPrelogin)  // version 11, no encryption, the first instance
        return std::string(
            "\x00\x00\x10\x00\x06"
            "\x01\x00\x16\x00\x01"
            "\x02\x00\x17\x00\x01\xFF"
            "\x0B\x00\x00\x00\x00\x00"
            "\x02"
            "\x00",
            24);
    if (kind == kLogin) return AnswerLogin(message);
    if (kind == kCancel) {
        const std::lock_guard lock(mutex_);
        texts_.push_back("(cancel)");
        return TdsReply().Cancelled().Bytes();
    }
    if (kind == kTransaction) return AnswerTransaction(message);
    if (kind == kCall) {
        const std::lock_guard lock(mutex_);
        texts_.push_back("(call)");
    }
    if (kind != kBatch) return TdsReply().NoCount().Bytes();
    const std::size_t headers = ReadLittle(message, 0, 4);
    return AnswerText(ReadWide(message, headers, (message.size() - headers) / 2));
}

std::string TdsServer::AnswerText(const std::string& text) {
    const std::lock_guard lock(mutex_);
    texts_.push_back(text);
    breaksOff_ = breaks_.contains(text);
    if (const auto told = ask_(text)) return told->Bytes();
    if (const auto told = replies_.find(text); told != replies_.end()) return told->second;
    for (const auto& [beginning, answer] : beginnings_)
        if (text.starts_with(beginning)) return answer;
    return TdsReply().NoCount().Bytes();
}

// A commit or rollback may begin the next transaction at once.
std::string TdsServer::AnswerTransaction(const std::string& message) {
    constexpr std::uint32_t kBegin = 5, kCommit = 7;
    constexpr int kBegun = 8, kCommitted = 9, kRolledBack = 10;
    const std::string identity("\1\0\0\0\0\0\0\0", 8);
    const auto change = [&](int what, const std::string& now, const std::string& before) {
        return Token(0xE3, static_cast<char>(what) + (static_cast<char>(now.size()) + now) +
                               (static_cast<char>(before.size()) + before));
    };
    const std::size_t place = ReadLittle(message, 0, 4);
    const auto request = ReadLittle(message, place, 2);
    const bool begins = request == kBegin || (message.size() > place + 3 && message.at(place + 3) & 1);
    const std::string name = request == kBegin ? "(begin)" : request == kCommit ? "(commit)" : "(roll back)";
    const std::lock_guard lock(mutex_);
    texts_.push_back(request != kBegin && begins ? name + "(begin)" : name);
    if (const auto told = ask_(name)) return told->Bytes();
    if (const auto told = replies_.find(name); told != replies_.end()) return told->second;
    std::string answer;
    if (request != kBegin) answer += change(request == kCommit ? kCommitted : kRolledBack, "", identity);
    if (begins) answer += change(kBegun, identity, "");
    return answer + TdsReply().NoCount().Bytes();
}

std::string TdsServer::AnswerLogin(const std::string& message) {
    const auto field = [&](std::size_t place) {
        return ReadWide(message, ReadLittle(message, place, 2), ReadLittle(message, place + 2, 2));
    };
    const std::lock_guard lock(mutex_);
    user_ = field(40);
    database_ = field(68);
    const std::string acknowledged = '\1' + std::string("\x74\x00\x00\x04", 4) + Counted("loopback", 1) +
                                     std::string("\x0B\x00\x00\x00", 4);
    return DatabaseChange(database_) + Token(0xAD, acknowledged) + TdsReply().NoCount().Bytes();
}

}  // namespace iqrx::testing
