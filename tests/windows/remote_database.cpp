// Before windows.h, which would draw in the older socket declarations.
#include <winsock2.h>

#include "windows/remote_database.h"

#include "platform/conversions.h"
#include "platform/error.h"
#include "windows/bridge_message.h"

namespace iqrx::testing {

using namespace platform;

namespace {

class Bridge {
public:
    explicit Bridge(unsigned short port) {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
        socket_ = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            throw RuntimeError(kDatabaseError, "Test provider", "the database cannot be reached");
    }
    ~Bridge() { closesocket(socket_); }
    Bridge(const Bridge&) = delete;
    Bridge& operator=(const Bridge&) = delete;

    Message Ask(const Message& request) {
        const std::string line = Line(request);
        send(socket_, line.data(), static_cast<int>(line.size()), 0);
        for (std::size_t end; (end = received_.find('\n')) == std::string::npos;) {
            char buffer[4096];
            const int length = recv(socket_, buffer, sizeof buffer, 0);
            if (length <= 0) throw RuntimeError(kDatabaseError, "Test provider", "the database is gone");
            received_.append(buffer, static_cast<std::size_t>(length));
        }
        const auto end = received_.find('\n');
        Message answer = Parsed(std::string_view(received_).substr(0, end));
        received_.erase(0, end + 1);
        if (ToText(answer.at(0)) == "error")
            throw RuntimeError(ToLong(answer.at(1)), ToText(answer.at(2)), ToText(answer.at(3)));
        return answer;
    }
    template <class... Values>
    Value Call(const char* name, const Values&... values) {
        return Ask({std::string(name), Value(values)...}).at(1);
    }

private:
    SOCKET socket_;
    std::string received_;
};

class ErrorObject : public Object {
public:
    explicit ErrorObject(Message parts) : parts_(std::move(parts)) {}
    Value Invoke(std::string_view member, std::span<Argument>) override {
        constexpr std::string_view kMembers[] = {"Number", "Source", "Description", "SQLState"};
        for (std::size_t i = 0; i < 4; ++i)
            if (member == kMembers[i]) return parts_.at(i);
        RaiseRuntimeError(kNoSuchMember, std::string(member));
    }

private:
    Message parts_;
};

class ErrorsObject : public Object {
public:
    explicit ErrorsObject(std::shared_ptr<Bridge> bridge) : bridge_(std::move(bridge)) {
        entries_ = bridge_->Ask({std::string("Errors")});
        entries_.erase(entries_.begin());
    }
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        if (member == "Count") return static_cast<Long>(entries_.size() / 4);
        if (member == "Clear") return bridge_->Ask({std::string("ClearErrors")}), Value();
        if (member != "Item") RaiseRuntimeError(kNoSuchMember, std::string(member));
        const auto first = entries_.begin() + 4 * ToLong(arguments[0].value);
        return ObjectRef(std::make_shared<ErrorObject>(Message(first, first + 4)));
    }

private:
    std::shared_ptr<Bridge> bridge_;
    Message entries_;
};

class ConnectionObject : public Object {
public:
    ConnectionObject(unsigned short port, std::function<bool()> wrong)
        : bridge(std::make_shared<Bridge>(port)), wrong_(std::move(wrong)) {}

    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        if (member == "Open") return bridge->Call("Open", connectionString_);
        if (member == "Close") return bridge->Call("Close");
        if (member == "DefaultDatabase") return bridge->Call("GetDefaultDatabase");
        if (member == "Errors") return ObjectRef(std::make_shared<ErrorsObject>(bridge));
        if (member != "Execute") RaiseRuntimeError(kNoSuchMember, std::string(member));
        const bool marks = ToText(arguments[0].value).ends_with("SET upd_flag = 1 ");
        if (marks && wrong_())
            arguments[1].value = std::string("many");
        else
            arguments[1].value = bridge->Call("Execute", arguments[0].value);
        return ObjectRef();
    }
    void Set(std::string_view member, const Value& value) override {
        if (member == "ConnectionString") connectionString_ = ToText(value);
        if (member == "DefaultDatabase") bridge->Call("SetDefaultDatabase", value);
    }

    const std::shared_ptr<Bridge> bridge;

private:
    std::function<bool()> wrong_;
    std::string connectionString_;
};

class FieldObject : public Object {
public:
    FieldObject(std::shared_ptr<Bridge> bridge, Value recordset, Value which)
        : bridge_(std::move(bridge)), recordset_(std::move(recordset)), which_(std::move(which)) {}
    Value Invoke(std::string_view member, std::span<Argument>) override {
        return bridge_->Call(member == "Name" ? "GetFieldName" : "GetField", recordset_, which_);
    }
    void Set(std::string_view, const Value& value) override {
        bridge_->Call("SetField", recordset_, which_, value);
    }

private:
    std::shared_ptr<Bridge> bridge_;
    Value recordset_, which_;
};

class FieldsObject : public Object {
public:
    FieldsObject(std::shared_ptr<Bridge> bridge, Value recordset)
        : bridge_(std::move(bridge)), recordset_(std::move(recordset)) {}
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        if (member == "Count") return bridge_->Call("CountFields", recordset_);
        return ObjectRef(std::make_shared<FieldObject>(bridge_, recordset_, arguments[0].value));
    }

private:
    std::shared_ptr<Bridge> bridge_;
    Value recordset_;
};

class RecordsetObject : public Object {
public:
    Value Invoke(std::string_view member, std::span<Argument> arguments) override {
        if (member == "Open") {
            const auto connection = std::dynamic_pointer_cast<ConnectionObject>(ToObject(arguments[1].value));
            if (!connection) RaiseRuntimeError(kTypeMismatch);
            bridge_ = connection->bridge;
            id_ = bridge_->Call("OpenRecordset", arguments[0].value, arguments[2].value, arguments[3].value);
            return {};
        }
        if (!bridge_) RaiseRuntimeError(kObjectNotSet);
        if (member == "Fields") return ObjectRef(std::make_shared<FieldsObject>(bridge_, id_));
        if (member == "Close") return bridge_->Call("CloseRecordset", id_);
        return bridge_->Call(std::string(member).c_str(), id_);
    }

private:
    std::shared_ptr<Bridge> bridge_;
    Value id_;
};

}  // namespace

ObjectRef CreateRemoteConnection(unsigned short port, std::function<bool()> wrong) {
    return std::make_shared<ConnectionObject>(port, std::move(wrong));
}

ObjectRef CreateRemoteRecordset() { return std::make_shared<RecordsetObject>(); }

}  // namespace iqrx::testing
