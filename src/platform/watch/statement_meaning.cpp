#include "platform/watch/statement_meaning.h"

#include <algorithm>
#include <utility>

#include "platform/text.h"

namespace iqrx::platform::watch {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kBatchStart = "declare";
constexpr std::string_view kCount = "count(*)";

// Takes the next word off the text: up to a blank or a sign that ends a name.
std::string_view TakeWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(" \t\r\n(=,;"));
    text.remove_prefix(word.size());
    return word;
}

bool TakeWord(std::string_view& text, std::string_view expected) {
    std::string_view rest = text;
    if (!EqualIgnoringCase(TakeWord(rest), expected)) return false;
    text = rest;
    return true;
}

std::string WithoutBlanks(std::string_view text) {
    std::string result = Lower(text);
    std::erase_if(result, [](char c) { return kBlanks.find(c) != std::string_view::npos; });
    return result;
}

std::string BareName(std::string_view name) {
    name.remove_prefix(name.find_last_of('.') + 1);  // npos + 1 is 0
    std::string bare = Lower(name);
    std::erase_if(bare, [](char c) { return c == '[' || c == ']' || c == '"'; });
    return bare;
}

TableKind KindOf(std::string_view table) {
    constexpr std::array<std::string_view, 5> kControl{"tstables", "tstreenodes", "tsi18ntext", "tsfullsyncs",
                                                       "tsparameters"};
    if (std::ranges::find(kControl, table) != kControl.end()) return TableKind::Control;
    return table.ends_with("_audit") ? TableKind::ChangeLog : TableKind::Copied;
}

Meaning On(std::string_view name, Deed deed) {
    std::string table = BareName(name);
    const TableKind kind = KindOf(table);
    return {deed, kind, std::string(name), std::move(table)};
}

// What stands after the first FROM or INTO of a text.
std::string_view After(std::string_view word, std::string_view text) {
    const auto place = Lower(text).find(word);
    return place == std::string::npos ? std::string_view() : text.substr(place + word.size());
}

Meaning OfUpdate(std::string_view rest) {
    const std::string_view name = TakeWord(rest);
    if (!TakeWord(rest, "set")) return {};
    return On(name, WithoutBlanks(rest) == "upd_flag=1" ? Deed::Mark : Deed::Update);
}

Meaning OfDelete(std::string_view rest) {
    if (!TakeWord(rest, "from")) return {};
    const std::string_view name = TakeWord(rest);
    const std::string condition = WithoutBlanks(rest);
    if (condition == "whereupd_flag=1") return On(name, Deed::Sweep);
    return On(name, condition.starts_with("whereccal=") ? Deed::Replace : Deed::Delete);
}

std::string SampleOf(const Statement& statement) {
    std::string sample(statement.Form().opening);
    for (const Piece& piece : statement.Form().pieces) {
        sample += piece.text;
        if (piece.then == Piece::Then::Table) sample += statement.Table();
        if (piece.then == Piece::Then::Value) sample += '?';
    }
    return sample;
}

std::size_t HolesOf(const Shape& shape) {
    return static_cast<std::size_t>(
        std::ranges::count(shape.pieces, Piece::Then::Value, [](const Piece& piece) { return piece.then; }));
}

// Texts between apostrophes are values, whatever they say.
std::size_t CountsIn(std::string_view text) {
    std::size_t counts = 0;
    bool isValue = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\'') isValue = !isValue;
        if (!isValue && EqualIgnoringCase(text.substr(i, kCount.size()), kCount)) ++counts;
    }
    return counts;
}

}  // namespace

Meaning MeaningOf(std::string_view text) {
    std::string_view rest = text;
    const std::string first = Lower(TakeWord(rest));
    if (first == "update") return OfUpdate(rest);
    if (first == "delete") return OfDelete(rest);
    if (first == "insert" && TakeWord(rest, "into")) return On(TakeWord(rest), Deed::Insert);
    if (first == "truncate" && TakeWord(rest, "table")) return On(TakeWord(rest), Deed::Replace);
    if (first == "select") return On(TakeWord(rest = After(" from ", rest)), Deed::Read);
    if (first == kBatchStart) return On(TakeWord(rest = After("insert into ", rest)), Deed::Batch);
    return {};
}

std::size_t SetsOf(const Statement& statement, const Meaning& meaning) {
    return meaning.holes > 0 ? statement.Values().size() / meaning.holes : CountsIn(statement.Text());
}

std::string CountOfDoomed(std::string_view deleteText) {
    TakeWord(deleteText);
    return "SELECT count(*)" + std::string(deleteText);
}

// A mark has no values.
bool OnlyWritesARow(const Statement& statement) {
    const Shape& shape = statement.Form();
    if (shape.pieces.empty() || statement.Values().empty() || !shape.opening.empty()) return false;
    const char first = shape.pieces.front().text.front();
    return first == 'U' || first == 'I';
}

const Meaning& Meanings::Of(const Statement& statement) {
    if (statement.Form().pieces.empty()) return last_ = MeaningOf(statement.Text());
    const Shape::Key shape = statement.Form().Identity();
    const auto isIt = [&](const Known& known) {
        return known.shape == shape && known.table == statement.Table();
    };
    for (const Known* usual : usual_)
        if (usual && isIt(*usual)) return usual->meaning;
    auto found = std::ranges::find_if(known_, isIt);
    if (found == known_.end())
        found = known_.insert(found, {shape, std::string(statement.Table()), Learned(statement)});
    usual_ = {&*found, usual_[0]};
    return found->meaning;
}

Meaning Meanings::Learned(const Statement& statement) {
    Meaning meaning = MeaningOf(SampleOf(statement));
    meaning.holes = HolesOf(statement.Form());
    return meaning;
}

}  // namespace iqrx::platform::watch
