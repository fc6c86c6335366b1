// What a look at the site has found.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace iqrx::qrxctl {

struct CheckedItem {
    enum class Grade : std::uint8_t { Ok, Note, Wrong };
    Grade grade = Grade::Ok;
    std::string subject, text;
    std::string step;  // what to do; may be empty
};

class Findings {
public:
    void Ok(std::string subject, std::string text, std::string step = {});
    void Note(std::string subject, std::string text, std::string step = {});
    void Wrong(std::string subject, std::string text, std::string step = {});

    std::int64_t Count(CheckedItem::Grade grade) const;

    std::string Text(bool onlyWhatIsWrong) const;  // lines; the last says how many there are
    std::string Json() const;                      // one object

private:
    std::vector<CheckedItem> all_;
};

}  // namespace iqrx::qrxctl
