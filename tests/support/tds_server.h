// The server's side of a TDS 7.4 conversation on loopback, for drivers that speak to SQL Server: it keeps
// what the client says and answers texts as it was told. It knows no SQL.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace iqrx::testing {

// The results that answer a text, in their order.
class TdsReply {
public:
    static constexpr std::uint16_t kSelect = 0xC1, kInsert = 0xC3, kDelete = 0xC4, kUpdate = 0xC5;

    TdsReply& Count(std::uint64_t rows, std::uint16_t command);
    TdsReply& NoCount();
    TdsReply& Cancelled();
    TdsReply& Error(std::uint32_t number, const std::string& text);
    TdsReply& Database(const std::string& name);  // the connection is in this database from now on
    // A result of two columns, a whole number and a text that may be Null (no value in the pair's second).
    TdsReply& Rows(const std::string& number, const std::string& text,
                   const std::vector<std::pair<std::int32_t, const char*>>& rows);

    std::string Bytes() const;
    std::string Beginning() const { return bytes_; }  // results follow

private:
    TdsReply& Done(std::uint16_t status, std::uint16_t command, std::uint64_t rows);

    std::string bytes_;
    std::size_t lastDone_ = 0;
};

class TdsServer {
public:
    TdsServer();
    ~TdsServer();

    int Port() const { return port_; }
    // A text that nothing was told about is answered without a count.
    void WhenSent(const std::string& text, const TdsReply& reply);
    // Every text that begins so and that nothing else was told about.
    void WhenSentBeginning(const std::string& beginning, const TdsReply& reply);
    // Asked first, for every text and by the names below for what concerns transactions; it may leave the
    // answer to what was told.
    using Ask = std::function<std::optional<TdsReply>(const std::string& text)>;
    void WhenSentAnything(Ask ask);
    // Such a text is answered with these results and no end, and then the connection breaks.
    void BreakOff(const std::string& text, const TdsReply& reply);
    void Stop();  // breaks the connection

    // UTF-8; "(cancel)" where the client gave up an answer, "(call)" for a prepared text, "(begin)",
    // "(commit)" and "(roll back)" for its requests about transactions, "(commit)(begin)" for one that begins
    // the next at once.
    std::vector<std::string> Texts() const;
    std::string User() const;
    std::string LoginDatabase() const;

private:
    void Serve();
    void Converse(int client);
    std::string Answer(int kind, const std::string& message);
    std::string AnswerText(const std::string& text);
    std::string AnswerTransaction(const std::string& message);
    std::string AnswerLogin(const std::string& message);

    mutable std::mutex mutex_;
    std::map<std::string, std::string> replies_, beginnings_;
    Ask ask_ = [](const std::string&) { return std::nullopt; };
    bool breaksOff_ = false;  // after the reply under way
    std::set<std::string> breaks_;
    std::vector<std::string> texts_;
    std::string user_, database_;
    int listener_ = -1, client_ = -1, port_ = 0;
    std::thread thread_;
};

}  // namespace iqrx::testing
