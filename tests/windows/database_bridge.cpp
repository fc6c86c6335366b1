// Serves the embedded database to the test's ADO classes: a connection of this program's socket is a
// connection of the database. Usage: database_bridge PORTFILE
#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <thread>

#include "platform/conversions.h"
#include "platform/error.h"
#include "platform/sqlite/sqlite_database.h"
#include "windows/bridge_message.h"

namespace iqrx::testing {
namespace {

using namespace platform;

class Client {
public:
    Message Answer(const Message& request) {
        try {
            return {std::string("ok"), Call(ToText(request.at(0)), request)};
        } catch (...) {
            const RuntimeError error = CurrentError();
            return {std::string("error"), error.number, error.source, error.description};
        }
    }

    Message Errors() {
        Message answer{std::string("ok")};
        for (const ErrorEntry& entry : connection_->LastErrors())
            answer.insert(answer.end(), {entry.number, entry.source, entry.description, entry.sqlState});
        return answer;
    }
    void ClearErrors() { connection_->LastErrors().clear(); }

private:
    Value Call(const std::string& name, const Message& request) {
        const auto text = [&](std::size_t i) { return ToText(request.at(i)); };
        const auto number = [&](std::size_t i) { return ToLong(request.at(i)); };
        if (name == "Open") return connection_->Open(text(1)), Value();
        if (name == "Close") return recordsets_.clear(), connection_->Close(), Value();
        if (name == "Execute") return connection_->Execute(text(1));
        if (name == "GetDefaultDatabase") return connection_->DefaultDatabase();
        if (name == "SetDefaultDatabase") return connection_->SetDefaultDatabase(text(1)), Value();
        if (name == "OpenRecordset") {
            auto recordset = connection_->CreateRecordset();
            recordset->Open(text(1), static_cast<CursorType>(number(2)), static_cast<LockType>(number(3)));
            recordsets_[++last_] = std::move(recordset);
            return last_;
        }
        return OnRecordset(name, *recordsets_.at(number(1)), request);
    }

    Value OnRecordset(const std::string& name, Recordset& recordset, const Message& request) {
        if (name == "CloseRecordset")
            return recordset.Close(), recordsets_.erase(ToLong(request.at(1))), Value();
        if (name == "BOF") return recordset.Bof();
        if (name == "EOF") return recordset.Eof();
        if (name == "RecordCount") return recordset.RecordCount();
        if (name == "MoveFirst") return recordset.MoveFirst(), Value();
        if (name == "MoveNext") return recordset.MoveNext(), Value();
        if (name == "AddNew") return recordset.AddNew(), Value();
        if (name == "Update") return recordset.Update(), Value();
        if (name == "Delete") return recordset.Delete(), Value();
        if (name == "CountFields") return static_cast<Long>(recordset.FieldNames().size());
        if (name == "GetFieldName")
            return recordset.FieldNames().at(static_cast<std::size_t>(ToLong(request.at(2))));
        if (name == "GetField")
            return request.at(2).Is<std::string>() ? recordset.Field(request.at(2).As<std::string>())
                                                   : recordset.Field(ToLong(request.at(2)));
        if (name == "SetField") return recordset.SetField(ToLong(request.at(2)), request.at(3)), Value();
        RaiseRuntimeError(kNoSuchMember, name);
    }

    std::unique_ptr<Connection> connection_ =
        CreateSqliteConnection({"tstables", "tstreenodes", "tsi18ntext", "tsfullsyncs", "tsparameters"});
    std::map<Long, std::unique_ptr<Recordset>> recordsets_;
    Long last_ = 0;
};

void Serve(int socket) {
    Client client;
    FILE* stream = fdopen(socket, "r+");
    char* line = nullptr;
    std::size_t size = 0;
    for (ssize_t length; (length = getline(&line, &size, stream)) > 0;) {
        const Message request = Parsed({line, static_cast<std::size_t>(length) - 1});
        Message answer;
        if (ToText(request.at(0)) == "Errors")
            answer = client.Errors();
        else if (ToText(request.at(0)) == "ClearErrors")
            client.ClearErrors(), answer = {std::string("ok")};
        else
            answer = client.Answer(request);
        const std::string text = Line(answer);
        if (write(socket, text.data(), text.size()) < 0) break;
    }
    std::free(line);
    std::fclose(stream);
}

}  // namespace
}  // namespace iqrx::testing

int main(int argc, char** argv) {
    if (argc != 2) return 64;
    const int listening = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(listening, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(listening, 16) != 0)
        return 1;
    getsockname(listening, reinterpret_cast<sockaddr*>(&address), &size);
    std::ofstream(argv[1]) << ntohs(address.sin_port) << '\n';
    for (;;) {
        const int client = accept(listening, nullptr, nullptr);
        if (client >= 0) std::thread(iqrx::testing::Serve, client).detach();
    }
}
