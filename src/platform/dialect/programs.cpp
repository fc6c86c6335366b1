#include "platform/dialect/programs.h"

#include <algorithm>

namespace iqrx::platform::dialect {

Found Programs::Find(const platform::Statement& statement) {
    if (!statement.CanBeBound()) return FindText(statement.Text());
    const Form& form = FormOf(statement);
    const Program& program = *form.program;
    const std::span<const Literal> values = statement.Values();
    const std::size_t places = form.holes.size(), sets = form.values > 0 ? values.size() / form.values : 1;
    // The steps of a batch share statements, and a large result is read through another one: they bind all
    // that they need.
    const bool isBound =
        program.boundBy == &form && program.translation.steps.size() == 1 && !program.translation.isSelect;
    found_.resize(sets * places);
    for (std::size_t set = 0; set < sets; ++set)
        for (std::size_t i = 0; i < places; ++i)
            found_[set * places + i] = form.holes[i] ? &values[set * form.values + *form.holes[i]]
                                       : isBound     ? nullptr
                                                     : &form.literals.Items()[i];
    return {form.program, &form, found_, sets};
}

Found Programs::FindText(std::string_view text) {
    const auto& program = ProgramOf(text, Tokenize(text, literals_));
    found_.clear();
    for (const Literal& literal : literals_.Items()) found_.push_back(&literal);
    return {program, nullptr, found_};
}

const Programs::Form& Programs::FormOf(const platform::Statement& statement) {
    const platform::Shape::Key shape = statement.Form().Identity();
    for (const auto& form : forms_)
        if (form->shape == shape && form->table == statement.Table()) return *form;
    auto form = Cut(statement);
    if (forms_.size() == kCapacity) {
        forms_.back()->program->boundBy = nullptr;
        forms_.pop_back();
    }
    return **forms_.insert(forms_.begin(), std::move(form));
}

// The sample is the shape with an empty text in each hole.
std::unique_ptr<Programs::Form> Programs::Cut(const platform::Statement& statement) {
    constexpr std::string_view kFilling = "''";
    const platform::Shape& shape = statement.Form();
    auto form = std::make_unique<Form>(grammar_);
    form->shape = shape.Identity();
    form->table = statement.Table();
    form->sample = shape.opening;
    std::vector<std::size_t> places;
    for (const Piece& piece : shape.pieces) {
        form->sample += piece.text;
        if (piece.then == Piece::Then::Table) form->sample += form->table;
        if (piece.then != Piece::Then::Value) continue;
        places.push_back(form->sample.size());
        form->sample += kFilling;
    }
    const std::vector<Token> tokens = Tokenize(form->sample, form->literals);
    for (const Token& token : tokens) {
        if (token.kind != Token::Kind::Literal) continue;
        const bool isHole = form->values < places.size() && token.place == places[form->values];
        form->holes.push_back(isHole ? std::optional(form->values++) : std::nullopt);
    }
    form->program = ProgramOf(form->sample, tokens);
    return form;
}

const std::shared_ptr<Program>& Programs::ProgramOf(std::string_view text, const std::vector<Token>& tokens) {
    const std::string shape = ShapeOf(text, tokens);
    for (const auto& program : programs_)
        if (program->shape == shape) return program;
    Translation translation = Translate(text, tokens, grammar_);
    const bool touches = std::ranges::any_of(
        translation.tables, [&](const std::string& table) { return controlTables_.contains(table); });
    auto program = prepare_(std::move(translation));
    program->touchesControlTable = touches;
    program->shape = shape;
    if (programs_.size() == kCapacity) programs_.pop_back();
    return *programs_.insert(programs_.begin(), std::move(program));
}

void Programs::Forget() {
    forms_.clear();
    programs_.clear();
}

}  // namespace iqrx::platform::dialect
