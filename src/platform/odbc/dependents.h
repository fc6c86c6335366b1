// The open recordsets of a connection, as the connection sees them.
#pragma once

#include <algorithm>
#include <vector>

namespace iqrx::platform::odbc {

class Dependent {
public:
    virtual ~Dependent() = default;
    virtual void SendPending() = 0;       // the rows that it holds back
    virtual void DropPending() = 0;       // the same rows: what they belong to is taken back
    virtual void Release() noexcept = 0;  // its statements; the connection is closing
};

class Dependents {
public:
    void Add(Dependent& dependent) { all_.push_back(&dependent); }
    void Remove(Dependent& dependent) { std::erase(all_, &dependent); }

    // Called before every statement, so that it finds what was added.
    void SendPending() const { std::ranges::for_each(all_, &Dependent::SendPending); }
    void DropPending() const { std::ranges::for_each(all_, &Dependent::DropPending); }
    void Release() const noexcept { std::ranges::for_each(all_, &Dependent::Release); }

private:
    std::vector<Dependent*> all_;
};

}  // namespace iqrx::platform::odbc
